// The partial derivatives of one node by its operands.
#pragma once

#include "engine/nlp/tape/expression_graph.hpp"

namespace qlx::nlp {

struct Partials {
    struct Second {
        std::size_t i;  // operands, i >= j
        std::size_t j;
        int node;
    };

    std::vector<int> operands;  // distinct
    std::vector<int> first;     // by operand
    std::vector<Second> second;

    void clear() noexcept {
        operands.clear();
        first.clear();
        second.clear();
    }
};

// By the operands that `moves` is not 0 for; derivatives that are 0 are left out.
void find_partials(ExpressionGraph& graph, int index, const std::vector<char>& moves,
                   Partials& out);

}  // namespace qlx::nlp

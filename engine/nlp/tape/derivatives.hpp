// Derivatives of an expression as expressions of the same graph.
#pragma once

#include "engine/nlp/tape/expression_graph.hpp"

namespace qlx::nlp {

// By column i and column j <= i, in the numbering of the graph's columns.
struct SecondDerivative {
    int i;
    int j;
    int node;
};

struct Derivatives {
    std::vector<int> first;  // by column; kNoNode where it is 0
    std::vector<SecondDerivative> second;
};

// Of `root` by the columns 0 .. num_columns - 1: first derivatives in reverse mode, and second
// derivatives times `weight` by edge pushing (Gower, Mello 2012), both carried out on expressions
// instead of numbers. Where there is a kink they are those of the active piece.
[[nodiscard]] Derivatives differentiate(ExpressionGraph& graph, int root, int weight,
                                        int num_columns);

}  // namespace qlx::nlp

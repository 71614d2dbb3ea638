// The expressions that rows and objective add up, and those whose values several of them share.
#pragma once

#include <vector>

#include "engine/nlp/tape/expression_graph.hpp"

namespace qlx::nlp {

// What asks for an expression's value.
enum ExpressionUsers : unsigned { kUsedByObjective = 1, kUsedByRows = 2 };

struct Expression {
    int root;              // node of the graph
    unsigned users;        // that add it up; 0 where it is only a part of others
    unsigned needed_by;    // these and the users of expressions that it is a part of
    bool is_part = false;  // others read its value
    int level = 0;         // above those of the expressions whose values it reads
};

// Appends the subexpressions that are worth being evaluated once for all expressions that they are
// a part of, and sets what is known but for root and users.
void find_shared_parts(const ExpressionGraph& graph, std::vector<Expression>& expressions);

}  // namespace qlx::nlp

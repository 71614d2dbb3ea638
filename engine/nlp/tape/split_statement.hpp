// A statement split into constants, linear entries, products and sums of nonlinear expressions.
#pragma once

#include "engine/nlp/statement/statement.hpp"
#include "engine/nlp/tape/expression_graph.hpp"

namespace qlx::nlp {

// coefficient * expression, added to a row.
struct ExpressionUse {
    int row;
    int node;  // of the graph
    double coefficient;
};

// Columns count the moving ones; those that do not move are constants. Entries are sorted and
// merged: by row, then by column, pair of columns (first >= second) or node.
struct SplitStatement {
    int num_columns = 0;
    std::vector<double> constants;  // of the objective, then of the rows
    std::vector<LinearEntry> linear;
    std::vector<QuadraticEntry> quadratic;
    std::vector<ExpressionUse> uses;
    ExpressionGraph graph;
};

[[nodiscard]] SplitStatement split(const Statement& statement);

}  // namespace qlx::nlp

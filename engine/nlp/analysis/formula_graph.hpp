// The nonlinear terms of a statement as one graph, in which equal subexpressions are one node.
#pragma once

#include <span>
#include <vector>

#include "engine/nlp/statement/statement.hpp"

namespace qlx::nlp {

struct GraphNode {
    Operation operation;
    int argument;       // the column, or the number of a user's function
    int first_operand;  // among the graph's operands
    int operands;
    double constant;
};

// A nonlinear term: factor * node, the column that it multiplies being part of the node.
struct GraphRoot {
    int row;
    double factor;
    int node;
};

// Operands come before what is made of them. Columns that do not move are constants. The graph
// does not refer to the statement.
class FormulaGraph {
  public:
    explicit FormulaGraph(const Statement& statement);

    [[nodiscard]] int num_nodes() const noexcept { return static_cast<int>(nodes_.size()); }
    [[nodiscard]] const GraphNode& node(int k) const noexcept {
        return nodes_[static_cast<std::size_t>(k)];
    }
    [[nodiscard]] std::span<const int> operands(int k) const noexcept {
        const GraphNode& made = node(k);
        return {operands_.data() + made.first_operand, static_cast<std::size_t>(made.operands)};
    }
    // In the order of the statement's terms.
    [[nodiscard]] const std::vector<GraphRoot>& roots() const noexcept { return roots_; }
    // -1: the column is in no formula.
    [[nodiscard]] int node_of_column(int column) const noexcept {
        return column_node_[static_cast<std::size_t>(column)];
    }

  private:
    int add_formula(const Formula& formula, const Statement& statement);
    int add_column(int column, const Statement& statement);
    int add_constant(double value);
    int add(Operation operation, int argument, double constant, std::span<const int> operands);
    [[nodiscard]] std::size_t place_of(const GraphNode& made) const;
    [[nodiscard]] std::size_t hash(const GraphNode& made) const;
    [[nodiscard]] bool same(const GraphNode& a, const GraphNode& b) const;
    void grow();

    std::vector<GraphNode> nodes_;
    std::vector<int> operands_;
    std::vector<GraphRoot> roots_;
    std::vector<int> column_node_;
    std::vector<char> moves_;
    std::vector<int> table_;  // open addressing; -1: free
    std::vector<int> stack_;
};

}  // namespace qlx::nlp

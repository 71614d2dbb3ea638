// Expressions sorted by their shape: the same operations on other columns and constants.
#pragma once

#include <vector>

#include "engine/nlp/tape/expression_graph.hpp"

namespace qlx::nlp {

// What asks for an expression's value.
enum ExpressionUsers : unsigned { kUsedByObjective = 1, kUsedByRows = 2 };

// Expressions of one shape. Nodes are numbered within the shape; columns and constants by the order
// in which they are met. A constant is counted at each of its places.
struct ShapeGroup {
    unsigned users = 0;
    std::vector<Node> nodes;  // the last one is the root
    int num_slots = 0;        // columns of each expression
    int num_parameters = 0;
    // Of each expression, one after the other.
    std::vector<int> expressions;
    std::vector<int> columns;
    std::vector<double> parameters;

    [[nodiscard]] std::size_t count() const noexcept { return expressions.size(); }
    [[nodiscard]] int column(std::size_t instance, int slot) const {
        return columns[instance * at(num_slots) + at(slot)];
    }
    [[nodiscard]] double parameter(std::size_t instance, int number) const {
        return parameters[instance * at(num_parameters) + at(number)];
    }
};

// The expressions `roots[k]` of the graph, used by `users[k]`, in groups.
[[nodiscard]] std::vector<ShapeGroup> group_by_shape(const ExpressionGraph& graph,
                                                     const std::vector<int>& roots,
                                                     const std::vector<unsigned>& users);

}  // namespace qlx::nlp

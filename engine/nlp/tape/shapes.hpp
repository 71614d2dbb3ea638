// Expressions sorted by their shape: the same operations on other columns and constants.
#pragma once

#include <vector>

#include "engine/nlp/tape/expressions.hpp"

namespace qlx::nlp {

// Expressions of one shape, users and level. Nodes are numbered within the shape; columns and
// constants by the order in which they are met. A constant is counted at each of its places.
struct ShapeGroup {
    unsigned users = 0;
    unsigned needed_by = 0;
    bool is_part = false;
    int level = 0;
    std::vector<Node> nodes;          // the last one is the root
    std::vector<int> nodes_of_parts;  // those whose values other expressions compute
    int num_slots = 0;                // columns of each expression
    int num_parameters = 0;
    // Of each expression, one after the other.
    std::vector<int> expressions;
    std::vector<int> columns;
    std::vector<double> parameters;
    std::vector<int> parts;  // expressions

    [[nodiscard]] int num_parts() const noexcept { return static_cast<int>(nodes_of_parts.size()); }
    [[nodiscard]] std::size_t count() const noexcept { return expressions.size(); }
    [[nodiscard]] int column(std::size_t instance, int slot) const {
        return columns[instance * at(num_slots) + at(slot)];
    }
    [[nodiscard]] int part(std::size_t instance, int number) const {
        return parts[instance * nodes_of_parts.size() + at(number)];
    }
    [[nodiscard]] double parameter(std::size_t instance, int number) const {
        return parameters[instance * at(num_parameters) + at(number)];
    }
};

// Groups in the order of their levels.
[[nodiscard]] std::vector<ShapeGroup> group_by_shape(const ExpressionGraph& graph,
                                                     const std::vector<Expression>& expressions);

}  // namespace qlx::nlp

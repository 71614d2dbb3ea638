// Which parts of a shape's expressions are constants, and their values.
#pragma once

#include <vector>

#include "engine/nlp/tape/shapes.hpp"

namespace qlx::nlp {

enum class Varying : std::uint8_t { kNever, kWithWeight, kWithColumns };

// By node. User functions and their lists of arguments vary even where the
// arguments do not.
[[nodiscard]] std::vector<Varying> find_varying(const ExpressionGraph& graph);

// Array after array, the values that nodes which never vary have in each expression of the group.
[[nodiscard]] std::vector<double> constant_values(const ExpressionGraph& graph,
                                                  const ShapeGroup& group,
                                                  const std::vector<int>& nodes);

}  // namespace qlx::nlp

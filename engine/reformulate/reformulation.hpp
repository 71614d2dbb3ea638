// States what a kernel has no words for (sets, indicators, semi-continuous, semi-integer and
// partial integer columns) with binary columns and linear rows; rounds fractional bounds of integer
// columns, with which HiGHS cuts off the best points.
#pragma once

#include "engine/data/model.hpp"
#include "engine/lp/lp_kernel.hpp"

namespace qlx {

[[nodiscard]] bool needs_reformulation(const Model& model);
// The model's own columns come first, so that a point of the result begins with a point of the
// model. Bounds come from the columns, tightened by propagation. Throws Error naming the column or
// row for which no bound of at most largest_bound can be derived.
[[nodiscard]] KernelModel reformulate(Model& model, double largest_bound);

}  // namespace qlx

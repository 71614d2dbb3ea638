// States what a kernel has no words for (sets, indicators, semi-continuous, semi-integer and
// partial integer columns) with binary columns and linear rows; rounds fractional bounds of integer
// columns, with which HiGHS cuts off the best points.
#pragma once

#include <vector>

#include "engine/data/model.hpp"
#include "engine/lp/lp_kernel.hpp"

namespace qlx {

[[nodiscard]] bool needs_reformulation(const Model& model);
// The model's own columns come first, so that a point of the result begins with a point of the
// model. Bounds come from the columns, tightened by propagation. Throws Error naming the column or
// row for which no bound of at most largest_bound can be derived.
[[nodiscard]] KernelModel reformulate(Model& model, double largest_bound);

// A semi-continuous or semi-integer column: 0, or within a range that lies on one side of 0.
struct SemicontinuousColumn {
    int col;
    double least;
    double most;

    // The range's end next to 0, and the other one's distance from 0.
    [[nodiscard]] double near() const noexcept { return least > 0 ? least : most; }
    [[nodiscard]] double reach() const noexcept { return least > 0 ? most : -least; }
};
// Those that no binary can switch: they reach beyond largest_bound, and no row implies that they do
// not.
[[nodiscard]] std::vector<SemicontinuousColumn> unbounded_semicontinuous(Model& model,
                                                                         double largest_bound);

}  // namespace qlx

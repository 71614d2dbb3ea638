// Bounds that rows imply: activity-based tightening, round after round.
#pragma once

#include <vector>

#include "engine/data/model.hpp"

namespace qlx {

struct BoundVectors {
    std::vector<double> lower;
    std::vector<double> upper;
};

// Least and largest activity of a row over the bounds; infinite ones are +-1e20.
// One column may be fixed at a value instead (-1: none).
[[nodiscard]] Sides activity_range(RowMatrix& matrix, int row, const BoundVectors& bounds,
                                   int fixed_col, double fixed_value);

// The columns' bounds, with 0 included for semi-continuous ones.
[[nodiscard]] BoundVectors stated_bounds(const Model& model);

// Those bounds tightened by the rows that always hold.
// Implied bounds are widened a little, so that no feasible point is lost to rounding.
[[nodiscard]] BoundVectors propagate_bounds(Model& model);

}  // namespace qlx

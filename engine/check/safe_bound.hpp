// Bounds and proofs of linear programs that hold in exact arithmetic, from approximate duals.
#pragma once

#include <span>
#include <vector>

#include "engine/check/linear_view.hpp"

namespace qlx {

// A lower bound on the optimum, by weak duality with any duals (Neumaier and Shcherbina, "Safe
// bounds in linear and mixed-integer linear programming", 2004): rows whose dual points to an
// infinite side count as 0; each column takes its worst value within its bounds. All sums carry
// their rounding error (EnclosedSum), and the result is rounded down, so it holds for the exact
// optimum of the numbers given. Minus infinity where a column without the bound that it needs has a
// reduced cost that may be nonzero; see imply_bounds.
[[nodiscard]] double safe_bound(const LinearView& problem, std::span<const double> duals);

// Whether multipliers of the rows, with either sign, prove that no point satisfies rows and bounds.
// The proof holds in exact arithmetic, to no tolerance.
[[nodiscard]] bool safely_infeasible(const LinearView& problem,
                                     std::span<const double> multipliers);

// Whether a single row cannot be satisfied within the bounds, or two bounds cross.
[[nodiscard]] bool has_impossible_row(const LinearView& problem);

// Replaces infinite bounds by those that single rows imply, rounded outwards: every point that
// satisfies rows and bounds satisfies them. Sweeps over the rows while that finds any, at most ten
// times, and leaves what then is infinite or beyond 1e15.
void imply_bounds(const LinearView& problem, std::vector<double>& lower,
                  std::vector<double>& upper);

}  // namespace qlx

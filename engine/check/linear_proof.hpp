// Proofs that a linear program has no optimum, checked by our own arithmetic over the model store.
#pragma once

#include <vector>

#include "engine/data/model.hpp"

namespace qlx {

// Farkas: multipliers y of the rows prove infeasibility when the least value of y'(Ax) that the
// rows' sides allow is above the largest value of (A'y)'x that the columns' bounds allow. The gap
// must exceed 1e-9 of what was added up; a column without a bound may have a coefficient of up to
// 1e-9 of what cancelled in it, as long as the proof then holds for all |x| <= 1e7. Either sign of
// the multipliers is tried. Matrix entries of at most `matrix_tolerance` count as 0.
[[nodiscard]] bool proves_infeasible(Model& model, const std::vector<double>& multipliers,
                                     double matrix_tolerance);

// A direction along which no row or bound ends a feasible point's way, to the same tolerances, and
// the objective improves. With a feasible point it proves unboundedness.
[[nodiscard]] bool proves_improving_ray(Model& model, const std::vector<double>& direction,
                                        double matrix_tolerance);

}  // namespace qlx

// Judges claims of local optimality: the Karush-Kuhn-Tucker conditions by our own evaluation.
#pragma once

#include <span>

#include "engine/nlp/local_solver.hpp"

namespace qlx {

// Residuals at a point; infinite where a function is undefined there.
struct LocalCheck {
    double violation;   // largest of a bound or row, relative to the side where that is above 1
    double optimality;  // largest residual of stationarity and complementarity
    // What the objective could gain by the violations that are left: sum of |dual| times violation,
    // relative to the objective where that is above 1. It is what unmasks points that are nearly
    // feasible at the price of huge duals, where no constraint qualification holds.
    double shadow_gain;
    // What a column could gain on its way to where the residual of its reduced cost would count:
    // sum of |reduced cost| times its value or its distance to the bound, whichever is less,
    // relative to the objective. Far out, where -sqrt(x) falls slowly, every gradient is small.
    double far_gain;
};

// Of the problem and duals as local_solver.hpp states them; reduced costs are computed here, as the
// gradient minus J'y. A reduced cost or dual counts by its size, relative to the largest of the
// summands behind it where that is above 1, or by its product with the distance to the bound or
// side that it is of, relative to the objective, whichever is less. The objective should be scaled
// so that its gradients are not small: what is below the tolerance counts as nothing.
[[nodiscard]] LocalCheck check_local(nlp::LocalProblem& problem, std::span<const double> x,
                                     std::span<const double> y);

// gradient - J'y at a point, and the largest summand of each.
struct ReducedCosts {
    std::vector<double> value;
    std::vector<double> magnitude;
};
[[nodiscard]] ReducedCosts reduced_costs(nlp::LocalProblem& problem, std::span<const double> x,
                                         std::span<const double> y);

}  // namespace qlx

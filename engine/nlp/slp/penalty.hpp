// When and how far the weight of violation grows.
#pragma once

#include <algorithm>

namespace qlx::nlp::slp {

// Violation of linearised rows that counts as none, where the rows are `violation` off now.
[[nodiscard]] inline double negligible_residue(double violation) noexcept {
    return 1e-9 * (1 + violation);
}

// Penalty steering (Byrd, Nocedal, Waltz 2008): a step has to take away all the violation that the
// linearised rows let it, or a tenth of the largest possible reduction where some must remain.
//
// `residue` is what the step with the given penalty leaves, `least` what the best one would;
// `solve(penalty)` steps again and returns the new residue. Returns the penalty of the last step.
template <class Solve>
double steer_penalty(double penalty, double penalty_max, double violation, double residue,
                     double least, const Solve& solve) {
    constexpr double kShare = 0.1;
    const double none = negligible_residue(violation);
    const double wanted = least <= none ? none : violation - kShare * (violation - least);
    while (residue > wanted && penalty < penalty_max) {
        penalty = std::min(10 * penalty, penalty_max);
        residue = solve(penalty);
    }
    return penalty;
}

// The penalty that is exact for multipliers of this size.
[[nodiscard]] inline double penalty_above(double multiplier, double penalty,
                                          double penalty_max) noexcept {
    if (multiplier <= penalty) return penalty;
    return std::min({1.5 * multiplier, 10 * penalty, std::max(penalty_max, penalty)});
}

}  // namespace qlx::nlp::slp

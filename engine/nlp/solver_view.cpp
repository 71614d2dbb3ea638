// How far an objective is lifted.
#include "engine/nlp/solver_view.hpp"

#include <algorithm>
#include <cmath>

namespace qlx::nlp {

double objective_lift(LocalProblem& problem, std::span<const double> x) {
    constexpr int kLargestExponent = 40;
    std::vector<double> gradient(x.size());
    std::vector<double> hessian(problem.hessian_pattern().rows.size());
    const std::vector<double> no_rows(problem.bounds().row_lower.size(), 0.0);
    if (!problem.gradient(x, gradient)) return 1;
    double largest = 0;
    for (const double entry : gradient) largest = std::max(largest, std::fabs(entry));
    if (largest < 1 && problem.hessian(x, 1.0, no_rows, hessian))
        for (const double entry : hessian) largest = std::max(largest, std::fabs(entry));
    if (!(largest > 0) || !(largest < 1)) return 1;
    return std::ldexp(1.0, std::min(kLargestExponent, -std::ilogb(largest)));
}

}  // namespace qlx::nlp

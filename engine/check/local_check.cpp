// Natural residuals, component by component.
#include "engine/check/local_check.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "engine/base/index.hpp"

namespace qlx {

namespace {

constexpr double kBeyondAll = 1e20;  // an objective of that size stands for none
constexpr double kUndefined = std::numeric_limits<double>::infinity();

struct Interval {
    double lower;
    double upper;
};

double violation_of(double value, Interval sides) {
    const double below = sides.lower - value;
    const double above = value - sides.upper;
    const double side = below > above ? sides.lower : sides.upper;
    return std::max({below, above, 0.0}) / std::max(1.0, std::fabs(side));
}

// Of a multiplier that may be positive at the lower side and negative at the upper one.
double natural_residual(double multiplier, double magnitude, double value, Interval sides,
                        double objective_size) {
    const double side = multiplier > 0 ? sides.lower : sides.upper;
    const double distance = std::max(0.0, multiplier > 0 ? value - side : side - value);
    const double size = std::fabs(multiplier);
    return std::min(size / std::max(1.0, magnitude), size * distance / objective_size);
}

}  // namespace

ReducedCosts reduced_costs(nlp::LocalProblem& problem, std::span<const double> x,
                           std::span<const double> y) {
    ReducedCosts costs{std::vector<double>(x.size()), std::vector<double>(x.size())};
    const nlp::SparsePattern& pattern = problem.jacobian_pattern();
    std::vector<double> jacobian(pattern.rows.size());
    if (!problem.gradient(x, costs.value) || !problem.jacobian(x, jacobian)) {
        costs.value.assign(x.size(), std::numeric_limits<double>::quiet_NaN());
        return costs;
    }
    for (std::size_t col = 0; col < x.size(); ++col)
        costs.magnitude[col] = std::fabs(costs.value[col]);
    for (std::size_t k = 0; k < jacobian.size(); ++k) {
        const double part = jacobian[k] * y[at(pattern.rows[k])];
        const std::size_t col = at(pattern.columns[k]);
        costs.value[col] -= part;
        costs.magnitude[col] = std::max(costs.magnitude[col], std::fabs(part));
    }
    return costs;
}

LocalCheck check_local(nlp::LocalProblem& problem, std::span<const double> x,
                       std::span<const double> y) {
    const nlp::LocalBounds& bounds = problem.bounds();
    const LocalCheck undefined{kUndefined, kUndefined, kUndefined, kUndefined};
    double objective = 0;
    std::vector<double> rows(y.size());
    if (!problem.objective(x, objective) || !problem.rows(x, rows)) return undefined;
    if (!(std::fabs(objective) < kBeyondAll)) return undefined;
    const ReducedCosts costs = reduced_costs(problem, x, y);
    const double objective_size = std::max(1.0, std::fabs(objective));

    LocalCheck check{0, 0, 0, 0};
    const auto add = [&](double multiplier, double magnitude, double value, Interval sides) {
        const double violation = violation_of(value, sides);
        check.violation = std::max(check.violation, violation);
        check.optimality = std::max(check.optimality, natural_residual(multiplier, magnitude, value,
                                                                       sides, objective_size));
        check.shadow_gain += std::fabs(multiplier) * violation / objective_size;
    };
    for (std::size_t col = 0; col < x.size(); ++col) {
        if (!std::isfinite(costs.value[col]) || !std::isfinite(x[col])) return undefined;
        add(costs.value[col], costs.magnitude[col], x[col],
            {bounds.column_lower[col], bounds.column_upper[col]});
        const double bound =
            costs.value[col] > 0 ? bounds.column_lower[col] : bounds.column_upper[col];
        const double way = std::min(std::fabs(x[col]), std::fabs(x[col] - bound));
        check.far_gain += std::fabs(costs.value[col]) * way / objective_size;
    }
    // A dual is as small as it is beside the others: those of a problem that has none are huge.
    double largest_dual = 1;
    for (const double dual : y) largest_dual = std::max(largest_dual, std::fabs(dual) / 100);
    for (std::size_t row = 0; row < y.size(); ++row)
        add(y[row], largest_dual, rows[row], {bounds.row_lower[row], bounds.row_upper[row]});
    return check;
}

}  // namespace qlx

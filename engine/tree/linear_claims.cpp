// Node LPs: the kernel's solve, and its claims under our own check.
#include <algorithm>
#include <cmath>
#include <limits>

#include "engine/check/enclosed_sum.hpp"
#include "engine/check/safe_bound.hpp"
#include "engine/tree/linear_relaxation.hpp"

namespace qlx {

namespace {

constexpr double kInfinite = std::numeric_limits<double>::infinity();
constexpr double kAgreement = 1e-6;  // of objective and bound, relative

NodeStatus status_of(KernelOutcome outcome) {
    switch (outcome) {
        case KernelOutcome::kOptimal:
            return NodeStatus::kOptimal;
        case KernelOutcome::kInfeasible:
            return NodeStatus::kInfeasible;
        case KernelOutcome::kCutoff:
            return NodeStatus::kCutoff;
        case KernelOutcome::kUnbounded:
            return NodeStatus::kUnbounded;
        case KernelOutcome::kIterationLimit:
            return NodeStatus::kIterationLimit;
        case KernelOutcome::kTimeLimit:
            return NodeStatus::kTimeLimit;
        case KernelOutcome::kInterrupted:
            return NodeStatus::kInterrupted;
        default:
            return NodeStatus::kUndecided;
    }
}

}  // namespace

LinearRelaxation::Outcome LinearRelaxation::solve_once(const SolveLimits& limits) {
    SolveLimits handed = limits;
    // So far past it that the rounding of bounds does not matter.
    handed.objective_bound += 1e-9 * (1 + std::fabs(limits.objective_bound));
    const KernelResult result = kernel_.solve(options_, handed, events_);
    Outcome outcome;
    outcome.answer.status = status_of(result.outcome);
    outcome.answer.iterations = result.simplex_iterations;
    loaded_ = !result.left_behind;
    if (!loaded_) {
        outcome.stands = true;
        return outcome;
    }
    if (result.has_duals && outcome.answer.status != NodeStatus::kInfeasible) judge_duals(outcome);
    switch (outcome.answer.status) {
        case NodeStatus::kOptimal:
            judge_optimum(outcome);
            break;
        case NodeStatus::kInfeasible:
            judge_infeasibility(outcome);
            break;
        case NodeStatus::kCutoff:
            outcome.stands = outcome.answer.bound >= limits.objective_bound;
            break;
        default:
            outcome.stands = outcome.answer.status != NodeStatus::kUndecided;
    }
    return outcome;
}

void LinearRelaxation::judge_duals(Outcome& outcome) {
    outcome.duals = kernel_.row_dual();
    outcome.answer.bound = bound_of(outcome.duals);
    outcome.reduced_costs = kernel_.col_dual();
}

void LinearRelaxation::judge_optimum(Outcome& outcome) {
    outcome.point = kernel_.col_value();
    EnclosedSum objective(model().sense * model().constant);
    for (std::size_t col = 0; col < cost_.size(); ++col)
        objective.add_product(cost_[col], outcome.point[col]);
    NodeAnswer& answer = outcome.answer;
    answer.objective = objective.value();
    const double gap = answer.objective - answer.bound;
    outcome.stands = is_met(outcome.point) && !outcome.duals.empty() &&
                     (gap <= kAgreement * (1 + std::fabs(answer.objective)) || gap == kInfinite);
}

void LinearRelaxation::judge_infeasibility(Outcome& outcome) {
    outcome.duals = kernel_.dual_ray();
    const LinearView problem = view();
    const bool has_ray = outcome.duals.size() == row_lower_.size() + cut_ids_.size();
    outcome.stands =
        (has_ray && safely_infeasible(problem, outcome.duals)) || has_impossible_row(problem);
    if (outcome.stands) outcome.answer.bound = kInfinite;
}

double LinearRelaxation::bound_of(std::vector<double>& duals) {
    const double bound = safe_bound(view(), duals);
    if (bound > -kInfinite) return bound;
    double largest = 1;
    for (const double cost : cost_) largest = std::max(largest, std::fabs(cost));
    for (const double size : {1e-12 * largest, 1e-9 * largest}) {
        std::vector<double> shifted = shift_of_duals(size);
        if (shifted.size() != duals.size()) return bound;
        for (std::size_t row = 0; row < duals.size(); ++row) shifted[row] += duals[row];
        const double other = safe_bound(view(), shifted);
        if (other == -kInfinite) continue;
        duals = std::move(shifted);
        return other;
    }
    return bound;
}

// Gives basic columns without one of their bounds a reduced cost of that size, which needs only the
// other.
std::vector<double> LinearRelaxation::shift_of_duals(double size) {
    std::vector<int> basic;
    if (!kernel_.basic_variables(basic)) return {};
    std::vector<double> wanted(basic.size(), 0.0);
    for (std::size_t k = 0; k < basic.size(); ++k) {
        if (basic[k] < 0) continue;
        const bool has_lower = safe_lower_[at(basic[k])] > -kInfinity;
        const bool has_upper = safe_upper_[at(basic[k])] < kInfinity;
        if (has_lower != has_upper) wanted[k] = has_lower ? -size : size;
    }
    std::vector<double> shift;
    if (!kernel_.solve_transposed(wanted, shift)) return {};
    return shift;
}

// To ten times the kernel's tolerance, relative to what is added up.
bool LinearRelaxation::is_met(const std::vector<double>& point) {
    const double tolerance = 10 * options_.feasibility_tolerance;
    const auto is_outside = [&](double value, double size, double lower, double upper) {
        const double slack = tolerance * (1 + size);
        return !(value >= lower - slack && value <= upper + slack);
    };
    for (std::size_t col = 0; col < point.size(); ++col)
        if (is_outside(point[col], std::fabs(point[col]), lower_[col], upper_[col])) return false;
    const LinearView problem = view();
    for (const RowsView& block : problem.rows) {
        for (std::size_t row = 0; row < block.lower.size(); ++row) {
            double activity = 0;
            double size = 0;
            for (auto k = at(block.starts[row]); k < at(block.starts[row + 1]); ++k) {
                const double term = block.values[k] * point[at(block.columns[k])];
                activity += term;
                size += std::fabs(term);
            }
            if (is_outside(activity, size, block.lower[row], block.upper[row])) return false;
        }
    }
    return true;
}

}  // namespace qlx

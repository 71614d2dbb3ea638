// Scaling, residuals in double the working precision, and the corrections that follow from them.
#include "engine/solve/refinement.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "engine/check/enclosed_sum.hpp"
#include "engine/check/equilibration.hpp"

namespace qlx {

namespace {

constexpr int kMostRounds = 8;
constexpr double kMostGrowth = 1e9;  // of a factor between two rounds
// The largest bounds and costs that are magnified to.
constexpr double kFarthest = 1e12;
constexpr double kDearest = 1e15;
constexpr double kDropped = 1e-12;  // the least that HiGHS takes

double power_of_two(double value) {
    return std::exp2(std::round(std::log2(value)));
}

double magnified(double side, double factor) {
    return is_finite_side(side) ? side * factor : side;
}

std::vector<int> all_of(std::size_t count) {
    std::vector<int> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

// The factor that brings what is left to about 1, while the largest number stays one for a kernel;
// where nothing is left the factor stays.
double next_factor(double factor, double left, double largest, double allowed) {
    double wanted = left > 0 ? std::min(1 / left, factor * kMostGrowth) : factor;
    if (largest > 0) wanted = std::min(wanted, allowed / largest);
    return power_of_two(std::max(wanted, factor));
}

}  // namespace

// What point and multipliers leave of the equations.
struct Refinement::Residuals {
    std::vector<double> cost, lower, upper, sides;
};

Refinement::Refinement(SolveSession& session, const ProgramView& program,
                       const KernelOptions& options)
    : session_(session), options_(options), num_columns_(program.cost.size()) {
    options_.method = KernelMethod::kAutomatic;
    options_.presolve = false;
    options_.relax = true;
    options_.feasibility_tolerance = options_.optimality_tolerance = 1e-9;
    Scaling scaling = equilibrate(program.matrix);
    row_scale_ = std::move(scaling.rows);
    column_scale_ = std::move(scaling.columns);
    const std::size_t rows = row_scale_.size();
    LinearStatement& out = equations_;
    program.matrix.write_columns(out.start, out.row, out.value);
    for (std::size_t column = 0; column < num_columns_; ++column)
        for (auto k = at(out.start[column]); k < at(out.start[column + 1]); ++k)
            out.value[k] *= row_scale_[at(out.row[k])] * column_scale_[column];
    out.cost.assign(program.cost.begin(), program.cost.end());
    out.lower.assign(program.lower.begin(), program.lower.end());
    out.upper.assign(program.upper.begin(), program.upper.end());
    for (std::size_t row = 0; row < rows; ++row) {
        out.row.push_back(static_cast<int>(row));
        out.value.push_back(-1);
        out.start.push_back(static_cast<int>(out.row.size()));
        out.cost.push_back(0);
        out.lower.push_back(program.row_lower[row]);
        out.upper.push_back(program.row_upper[row]);
        column_scale_.push_back(1 / row_scale_[row]);
    }
    for (std::size_t column = 0; column < out.cost.size(); ++column) {
        const double scale = column_scale_[column];
        out.cost[column] *= scale;
        out.lower[column] = magnified(out.lower[column], 1 / scale);
        out.upper[column] = magnified(out.upper[column], 1 / scale);
    }
    point_.assign(out.cost.size(), 0.0);
    multipliers_.assign(rows, 0.0);
    duals_.assign(rows, 0.0);
}

Refinement::Residuals Refinement::residuals(double primal, double dual) const {
    const LinearStatement& e = equations_;
    std::vector<EnclosedSum> sides(multipliers_.size());
    Residuals left;
    for (std::size_t column = 0; column < point_.size(); ++column) {
        EnclosedSum cost(e.cost[column]);
        for (auto k = at(e.start[column]); k < at(e.start[column + 1]); ++k) {
            cost.add_product(-e.value[k], multipliers_[at(e.row[k])]);
            sides[at(e.row[k])].add_product(-e.value[k], point_[column]);
        }
        left.cost.push_back(cost.value() * dual);
        const auto beyond = [&](double side) {
            return is_finite_side(side) ? (side - point_[column]) * primal : side;
        };
        left.lower.push_back(beyond(e.lower[column]));
        left.upper.push_back(beyond(e.upper[column]));
    }
    for (const EnclosedSum& side : sides) left.sides.push_back(side.value() * primal);
    return left;
}

bool Refinement::load() {
    double largest = 0;
    for (const double cost : equations_.cost) largest = std::max(largest, std::fabs(cost));
    if (largest > 0) dual_factor_ = power_of_two(1 / largest);
    Residuals left = residuals(primal_factor_, dual_factor_);
    KernelModel model;
    model.num_cols = static_cast<int>(point_.size());
    model.num_rows = static_cast<int>(multipliers_.size());
    model.cost = std::move(left.cost);
    model.lower = std::move(left.lower);
    model.upper = std::move(left.upper);
    model.row_lower = left.sides;
    model.row_upper = std::move(left.sides);
    model.start = equations_.start;
    model.row = equations_.row;
    model.value = equations_.value;
    return kernel_.load(std::move(model), kDropped);
}

// False when there is nothing left to be seen.
bool Refinement::magnify() {
    const Residuals now = residuals(1, 1);
    double primal = 0;
    double dual = 0;
    double farthest = 0;
    double dearest = 0;
    for (const double side : now.sides) primal = std::max(primal, std::fabs(side));
    for (std::size_t column = 0; column < point_.size(); ++column) {
        primal = std::max({primal, now.lower[column], -now.upper[column]});
        for (const double bound : {now.lower[column], now.upper[column]})
            if (is_finite_side(bound)) farthest = std::max(farthest, std::fabs(bound));
        dearest = std::max(dearest, std::fabs(now.cost[column]));
        // Reduced costs of columns that are not at the side that these belong to.
        const double side = now.cost[column] > 0 ? now.lower[column] : now.upper[column];
        if (side != 0) dual = std::max(dual, std::fabs(now.cost[column]));
    }
    const double old_primal = primal_factor_;
    const double old_dual = dual_factor_;
    primal_factor_ = next_factor(primal_factor_, primal, farthest, kFarthest);
    dual_factor_ = next_factor(dual_factor_, dual, dearest, kDearest);
    return primal_factor_ > old_primal || dual_factor_ > old_dual;
}

bool Refinement::restate() {
    const Residuals left = residuals(primal_factor_, dual_factor_);
    const std::vector<int> columns = all_of(point_.size());
    const std::vector<int> rows = all_of(multipliers_.size());
    const int num_columns = static_cast<int>(columns.size());
    return kernel_.change_bounds(num_columns, columns.data(), left.lower.data(),
                                 left.upper.data()) &&
           kernel_.change_sides(static_cast<int>(rows.size()), rows.data(), left.sides.data(),
                                left.sides.data()) &&
           kernel_.change_costs(num_columns, columns.data(), left.cost.data());
}

bool Refinement::advance() {
    if (rounds_ == kMostRounds || (rounds_ > 0 && outcome_ != KernelOutcome::kOptimal))
        return false;
    if (!(rounds_++ == 0 ? load() : magnify() && restate())) return false;
    outcome_ = session_.run(kernel_, options_, session_.events()).outcome;
    if (needs_another_way() && session_.results().stop_status == QLX_STOP_NONE) {
        // Far bounds are unbounded to a kernel once they are magnified.
        primal_factor_ = 1;
        kernel_.forget_basis();
        options_.method = KernelMethod::kPrimalSimplex;
        if (!restate()) return false;
        outcome_ = session_.run(kernel_, options_, session_.events()).outcome;
        options_.method = KernelMethod::kAutomatic;
    }
    if (session_.results().stop_status != QLX_STOP_NONE) return false;
    correct();
    return true;
}

// What was optimal once has an optimum.
bool Refinement::needs_another_way() const noexcept {
    return outcome_ == KernelOutcome::kUnknown || outcome_ == KernelOutcome::kError ||
           (rounds_ > 1 && outcome_ != KernelOutcome::kOptimal);
}

void Refinement::correct() {
    const std::vector<double>& step = kernel_.col_value();
    for (std::size_t column = 0; column < std::min(step.size(), point_.size()); ++column)
        point_[column] = std::max(
            equations_.lower[column],
            std::min(equations_.upper[column], point_[column] + step[column] / primal_factor_));
    if (outcome_ != KernelOutcome::kOptimal) return;
    const std::vector<double>& turn = kernel_.row_dual();
    for (std::size_t row = 0; row < multipliers_.size(); ++row) {
        multipliers_[row] += turn[row] / dual_factor_;
        duals_[row] = multipliers_[row] * row_scale_[row];
    }
}

std::vector<double> Refinement::x() const {
    std::vector<double> x(point_.begin(),
                          point_.begin() + static_cast<std::ptrdiff_t>(num_columns_));
    for (std::size_t column = 0; column < num_columns_; ++column)
        x[column] *= column_scale_[column];
    return x;
}

std::vector<double> Refinement::primal_ray() {
    std::vector<double> ray = kernel_.primal_ray();
    if (ray.empty()) return ray;
    ray.resize(num_columns_);
    for (std::size_t column = 0; column < num_columns_; ++column)
        ray[column] *= column_scale_[column];
    return ray;
}

std::vector<double> Refinement::dual_ray() {
    std::vector<double> ray = kernel_.dual_ray();
    for (std::size_t row = 0; row < ray.size(); ++row) ray[row] *= row_scale_[row];
    return ray;
}

}  // namespace qlx

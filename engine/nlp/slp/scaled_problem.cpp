// Evaluation of a local problem in scaled form.
#include "engine/nlp/slp/scaled_problem.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <utility>

#include "engine/base/index.hpp"

namespace qlx::nlp::slp {

namespace {

constexpr double kInfinite = 1e20;
constexpr double kLongestGradient = 100;
constexpr double kLeastScale = 1e-8;
// Entries of scaled rows below this have lost five digits to the row's scale.
constexpr double kHiding = 1e-3;

std::span<const double> view(const Vector& v) {
    return {v.data(), static_cast<std::size_t>(v.size())};
}
std::span<double> view(Vector& v) {
    return {v.data(), static_cast<std::size_t>(v.size())};
}

void copy_bounds(const std::vector<double>& from, Vector& out) {
    out.resize(static_cast<Eigen::Index>(from.size()));
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    std::transform(from.begin(), from.end(), out.data(), [](double bound) {
        return bound <= -kInfinite ? -kInfinity : bound >= kInfinite ? kInfinity : bound;
    });
}

double scale_for(double longest) {
    return std::clamp(kLongestGradient / std::max(longest, 1e-300), kLeastScale, 1.0);
}

}  // namespace

void ScaledProblem::bind(LocalProblem& problem) {
    problem_ = &problem;
    counts = {};
    const LocalBounds& bounds = problem.bounds();
    copy_bounds(bounds.column_lower, lower);
    copy_bounds(bounds.column_upper, upper);
    copy_bounds(bounds.row_lower, row_lower);
    copy_bounds(bounds.row_upper, row_upper);
    rows.build(problem.jacobian_pattern(), num_rows(), num_columns());
    curvature.build(problem.hessian_pattern());
    is_linear.resize(at(num_rows()));
    for (int i = 0; i < num_rows(); ++i) is_linear[at(i)] = problem.is_linear_row(i) ? 1 : 0;
    objective_scale = 1;
    row_scale.setOnes(num_rows());
    has_constant_hessian_ = problem.is_quadratic();
    constant_hessian_.resize(0);
}

void ScaledProblem::scale_at(Iterate& iterate) {
    if (num_columns() == 0) return;
    objective_scale = scale_for(iterate.gradient.lpNorm<Eigen::Infinity>());
    iterate.objective *= objective_scale;
    iterate.gradient *= objective_scale;
    Vector none = Vector::Zero(num_rows());
    rescale_rows(iterate, none);
}

double ScaledProblem::longest_entry(const Iterate& iterate, int row) const {
    double longest = 0;
    for (int k = rows.begin(row); k < rows.end(row); ++k)
        longest = std::max(longest, std::abs(iterate.jacobian[k]));
    return longest;
}

bool ScaledProblem::hides_rows(const Iterate& iterate) const {
    for (int i = 0; i < num_rows(); ++i)
        if (row_scale[i] < 1 && longest_entry(iterate, i) < kHiding) return true;
    return false;
}

void ScaledProblem::rescale_rows(Iterate& iterate, Vector& y) {
    for (int i = 0; i < num_rows(); ++i) {
        const double scale = scale_for(longest_entry(iterate, i) / row_scale[i]);
        const double change = scale / row_scale[i];
        row_scale[i] = scale;
        for (int k = rows.begin(i); k < rows.end(i); ++k) iterate.jacobian[k] *= change;
        iterate.rows[i] *= change;
        row_lower[i] *= change;
        row_upper[i] *= change;
        y[i] /= change;
    }
    iterate.violation = violation(iterate.rows);
}

bool ScaledProblem::evaluate(Iterate& iterate) {
    ++counts.functions;
    iterate.rows.resize(num_rows());
    if (!problem_->objective(view(std::as_const(iterate.x)), iterate.objective) ||
        !std::isfinite(iterate.objective))
        return false;
    if (num_rows() > 0 && (!problem_->rows(view(std::as_const(iterate.x)), view(iterate.rows)) ||
                           !iterate.rows.allFinite()))
        return false;
    iterate.objective *= objective_scale;
    iterate.rows.array() *= row_scale.array();
    iterate.violation = violation(iterate.rows);
    return true;
}

bool ScaledProblem::differentiate(Iterate& iterate) {
    ++counts.gradients;
    iterate.gradient.resize(num_columns());
    if (!problem_->gradient(view(std::as_const(iterate.x)), view(iterate.gradient)) ||
        !iterate.gradient.allFinite())
        return false;
    iterate.gradient *= objective_scale;
    pattern_values_.resize(static_cast<Eigen::Index>(problem_->jacobian_pattern().rows.size()));
    if (num_rows() > 0 &&
        !problem_->jacobian(view(std::as_const(iterate.x)), view(pattern_values_)))
        return false;
    rows.gather(pattern_values_, iterate.jacobian);
    if (!iterate.jacobian.allFinite()) return false;
    for (int i = 0; i < num_rows(); ++i)
        for (int k = rows.begin(i); k < rows.end(i); ++k) iterate.jacobian[k] *= row_scale[i];
    return true;
}

bool ScaledProblem::hessian(const Vector& x, double objective_factor, const Vector& y,
                            Vector& out) {
    out.resize(curvature.entries());
    if (out.size() == 0) return true;
    if (has_constant_hessian_ && constant_hessian_.size() > 0) {
        out = objective_factor * objective_scale * constant_hessian_;
        return true;
    }
    ++counts.hessians;
    multipliers_ = -y.cwiseProduct(row_scale);
    const double factor = has_constant_hessian_ ? 1.0 : objective_factor * objective_scale;
    if (!problem_->hessian(view(x), factor, view(std::as_const(multipliers_)), view(out)) ||
        !out.allFinite())
        return false;
    if (has_constant_hessian_) {
        constant_hessian_ = out;
        out *= objective_factor * objective_scale;
    }
    return true;
}

double ScaledProblem::violation(const Vector& values) const {
    return (row_lower - values).cwiseMax(values - row_upper).cwiseMax(0.0).sum();
}

double ScaledProblem::unscaled_violation(const Vector& values) const {
    double worst = 0;
    for (int i = 0; i < num_rows(); ++i)
        worst = std::max(
            worst, std::max(row_lower[i] - values[i], values[i] - row_upper[i]) / row_scale[i]);
    return worst;
}

}  // namespace qlx::nlp::slp

// When the loop has arrived, and when a stationary point is left again.
#include <algorithm>
#include <cmath>

#include "engine/nlp/slp/loop.hpp"

namespace qlx::nlp::slp {

namespace {

constexpr double kNearlyFeasible = 10;
constexpr double kNegativeCurvature = 1e-5;
constexpr int kMostCurvatureSteps = 5;
constexpr double kCurvatureRadius = 0.1;
// By how much, relative to its size, the objective must fall for a point to be left.
constexpr double kLower = 1e-7;

}  // namespace

// The best of three estimates counts: duals of the first step, least squares on its working set,
// and least squares on the sides that are active at the iterate.
std::optional<Loop::End> Loop::test_optimality() {
    if (restores_) return std::nullopt;
    const Linearisation linear = model();
    residuals_ = optimality_residuals(linear, y_, reduced_);
    residual_y_ = y_;
    const auto consider = [&](const Vector& y) {
        const Residuals found = optimality_residuals(linear, y, reduced_);
        if (found.relative >= residuals_.relative) return;
        residuals_ = found;
        residual_y_ = y;
    };
    consider(first_.y);
    if (current_.violation > kNearlyFeasible * std::max(options_->constraint_violation, 1e-6))
        return std::nullopt;
    find_active_sides(linear, active_);
    spare_.factor(linear, active_);
    y_at_x_.resize(problem_.num_rows());
    estimate_multipliers(linear, linear.gradient, current_.rows, active_, spare_, spare_, y_at_x_);
    consider(y_at_x_);
    scratch_ = (problem_.row_lower - current_.rows)
                   .cwiseMax(current_.rows - problem_.row_upper)
                   .cwiseMax(0.0);
    const double gap = residual_y_.cwiseAbs().dot(scratch_);
    const double size = std::max(problem_.objective_scale, std::abs(current_.objective));
    const bool holds = residuals_.relative <= options_->tolerance &&
                       gap <= std::max(options_->tolerance, 1e-6) * size &&
                       problem_.unscaled_violation(current_.rows) <= options_->constraint_violation;
    if (!holds) return std::nullopt;
    const bool has_escape = follow_negative_curvature();
    if (iteration_ == moved_at_ && !has_escape && probe()) return std::nullopt;
    if (has_kinks_ && curvature_steps_ < kMostCurvatureSteps && probe_other_pieces())
        return std::nullopt;
    if (has_escape && curvature_steps_ <= kMostCurvatureSteps) {
        ++curvature_steps_;
        y_ = residual_y_;
        set_ = active_;
        violated_.assign(at(problem_.num_rows()), 0);
        equality_.factor(linear, set_);
        radius_ = std::max(radius_, kCurvatureRadius);
        box_ = std::max(box_, kCurvatureRadius);
        return std::nullopt;
    }
    return End{LocalStatus::kSolved, "the optimality conditions hold"};
}

// Whether the Hessian is indefinite on the sides that are active.
bool Loop::follow_negative_curvature() {
    if (!problem_.hessian(current_.x, 1.0, residual_y_, hessian_)) {
        hessian_.setZero();
        return false;
    }
    hessian_is_current_ = residual_y_ == y_;
    const Linearisation linear = model();
    spare_.factor(linear, active_);
    const double size = hessian_.size() > 0 ? hessian_.lpNorm<Eigen::Infinity>() : 0.0;
    const bool is_convex =
        spare_.is_convex_on_set(hessian_, kNegativeCurvature * std::max(1.0, size));
    if (!is_convex) hessian_is_current_ = true;
    return !is_convex;
}

// The conditions hold for the piece that is active here; a column may fall off another one.
bool Loop::probe_other_pieces() {
    constexpr double kShort = 1e-4;
    for (int j = 0; j < problem_.num_columns(); ++j) {
        for (const double length : {-kShort, kShort}) {
            trial_.x = current_.x;
            trial_.x[j] += length * lengths_[j];
            problem_.clip(trial_.x);
            if (!moves_to_better()) continue;
            ++curvature_steps_;
            moved_at_ = iteration_ + 1;
            return true;
        }
    }
    return false;
}

// Moves to the trial point's x where it is defined, no more violated than may be, and lower.
bool Loop::moves_to_better() {
    if (!problem_.evaluate(trial_) ||
        trial_.violation > std::max(current_.violation, options_->constraint_violation))
        return false;
    const double least = kLower * std::max(1.0, std::abs(current_.objective));
    if (trial_.objective >= current_.objective - least || !problem_.differentiate(trial_))
        return false;
    std::swap(current_, trial_);
    hessian_is_current_ = false;
    linearisation_is_new_ = true;
    return true;
}

// A start that passes the test may lie on a plateau: looks along the negative gradient.
bool Loop::probe() {
    const double longest = current_.gradient.lpNorm<Eigen::Infinity>();
    if (longest == 0) return false;
    bool has_moved = false;
    const Vector origin = current_.x, slope = current_.gradient / longest;
    for (const double length : {1e-2, 0.1, 1.0, 10.0}) {
        trial_.x = origin.array() - length * slope.array() * origin.array().abs().max(1.0);
        problem_.clip(trial_.x);
        if (moves_to_better()) has_moved = true;
    }
    if (has_moved) moved_at_ = iteration_ + 1;
    return has_moved;
}

}  // namespace qlx::nlp::slp

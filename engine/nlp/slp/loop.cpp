// One iteration after the other.
#include "engine/nlp/slp/loop.hpp"

#include <algorithm>
#include <cmath>

#include "engine/nlp/slp/penalty.hpp"

namespace qlx::nlp::slp {

namespace {

constexpr double kStillViolated = 1e-9;
constexpr int kMostRejections = 40;
constexpr int kStuckIterations = 3;
constexpr int kMostIdle = 8;

}  // namespace

LocalAnswer Loop::run(LocalProblem& problem, const LocalOptions& options, const LoopStart& start) {
    options_ = &options;
    iteration_ = moved_at_ = start.iterations;
    rejections_ = stuck_ = curvature_steps_ = rescalings_ = idle_ = 0;
    least_residual_ = INFINITY;
    restores_ = has_best_ = hessian_is_current_ = false;
    linearisation_is_new_ = was_accepted_ = true;
    residuals_ = {INFINITY, INFINITY};
    last_length_ = 0;
    best_ = {};
    if (auto end = begin(problem, start)) return answer(*end);
    for (;; ++iteration_) {
        keep_best();
        if (auto end = interrupted()) return answer(*end);
        if (iteration_ >= options.iteration_limit)
            return answer({LocalStatus::kIterationLimit, "the iteration limit was reached"});
        if (auto end = iterate()) return answer(*end);
    }
}

std::optional<Loop::End> Loop::iterate() {
    set_lengths();
    if (!first_step()) {
        if (auto end = interrupted()) return end;
        return End{LocalStatus::kFailed, "a subproblem could not be solved"};
    }
    if (auto end = judge_residue()) return end;
    choose_working_set();
    estimate();
    const int probed = moved_at_;
    if (auto end = test_optimality()) return end;
    report();
    if (moved_at_ != probed) return std::nullopt;  // a probe has found a better point
    if (is_unbounded())
        return End{LocalStatus::kUnbounded, "the objective falls without end on feasible points"};
    update_hessian();
    try_step();
    if (std::max(radius_, box_) < options_->trust_region_min || rejections_ > kMostRejections ||
        idle_ > kMostIdle)
        return stalled();
    return std::nullopt;
}

// Steps are relative to max(1, |x|), and to the width of narrow bounds.
void Loop::set_lengths() {
    constexpr double kNarrowest = 1e-3;
    lengths_ = current_.x.cwiseAbs().cwiseMax(1.0).cwiseMin(
        (problem_.upper - problem_.lower).cwiseMax(kNarrowest));
}

bool Loop::first_step() {
    if (first_phase_.uses_hessian()) update_hessian();
    const double weight = restores_ ? 1.0 : penalty_;
    const FirstStepRequest request{
        box_,     weight,        options_->penalty_max, restores_, linearisation_is_new_,
        hessian_, options_->stop};
    double raised = weight;
    const Linearisation linear = model();
    if (!first_phase_.first_step(linear, request, last_set_, raised, first_, problem_.counts))
        return false;
    linearisation_is_new_ = false;
    if (restores_) return true;
    penalty_ = raised;
    if (first_.residue == 0 && problem_.num_rows() > 0)
        penalty_ =
            penalty_above(first_.y.lpNorm<Eigen::Infinity>(), penalty_, options_->penalty_max);
    return true;
}

// Infeasible where the linearised rows have seen no way to less violation for some iterations.
std::optional<Loop::End> Loop::judge_residue() {
    const double h = current_.violation;
    if (std::isnan(first_.least_residue) || h <= options_->constraint_violation)
        return std::nullopt;
    constexpr double kNoProgress = 1e-6, kSmallRadius = 1e-3;
    const bool is_stuck = first_.least_residue > h - kNoProgress * h * std::min(1.0, box_);
    stuck_ = is_stuck ? stuck_ + 1 : 0;
    if (stuck_ > kStuckIterations && (rejections_ == 0 || radius_ < kSmallRadius))
        return End{LocalStatus::kInfeasible, "the violation has a local minimum here"};
    return std::nullopt;
}

// Rows that the first step leaves violated, and the sides that it ends on: never those of the box.
void Loop::choose_working_set() {
    const int m = problem_.num_rows();
    problem_.rows.multiply(current_.jacobian, first_.d, scratch_);
    scratch_ += current_.rows;
    set_.clear();
    violated_.assign(at(m), 0);
    any_violated_ = false;
    for (int i = 0; i < m; ++i) {
        const double below = problem_.row_lower[i] - scratch_[i];
        const double above = scratch_[i] - problem_.row_upper[i];
        if (below > kStillViolated || above > kStillViolated) {
            violated_[at(i)] = below > 0 ? 1 : -1;
            any_violated_ = true;
        } else if (problem_.is_equation(i) || first_.row_is_active[at(i)] != 0) {
            set_.rows.push_back({i, std::abs(above) < std::abs(below)});
        }
    }
    for (int j = 0; j < problem_.num_columns(); ++j) {
        const double low = problem_.lower[j] - current_.x[j];
        const double high = problem_.upper[j] - current_.x[j];
        const bool at_bound = first_.d[j] <= low || first_.d[j] >= high;
        if (low == high || (first_.column_is_active[at(j)] != 0 && at_bound))
            set_.columns.push_back({j, first_.d[j] >= high});
    }
    last_set_ = set_;
}

void Loop::estimate() {
    const Linearisation linear = model();
    const double weight = restores_ ? 1.0 : penalty_;
    equality_.factor(linear, set_);
    change_.resize(problem_.num_rows());
    for (int i = 0; i < problem_.num_rows(); ++i) change_[i] = weight * violated_[at(i)];
    gradient_ = linear.gradient;
    problem_.rows.add_transposed(current_.jacobian, change_, -1.0, gradient_);
    y_at_x_ = y_;
    estimate_multipliers(linear, gradient_, scratch_, set_, equality_, spare_, y_);
    if (!restores_ && !any_violated_ && problem_.num_rows() > 0)
        penalty_ = penalty_above(y_.lpNorm<Eigen::Infinity>(), penalty_, options_->penalty_max);
    y_ += change_;
    if (y_ != y_at_x_) hessian_is_current_ = false;
}

bool Loop::update_hessian() {
    if (hessian_is_current_) return true;
    hessian_is_current_ = true;
    if (problem_.hessian(current_.x, restores_ ? 0.0 : 1.0, y_, hessian_)) return true;
    hessian_.setZero();
    return false;
}

}  // namespace qlx::nlp::slp

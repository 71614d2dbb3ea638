// What the loop tells: progress, the best point, and the answer.
#include <qlx/codes.h>

#include <algorithm>
#include <cmath>

#include "engine/nlp/slp/loop.hpp"

namespace qlx::nlp::slp {

std::optional<Loop::End> Loop::interrupted() const {
    switch (options_->stop.reason()) {
        case QLX_STOP_NONE:
            return std::nullopt;
        case QLX_STOP_TIMELIMIT:
            return End{LocalStatus::kTimeLimit, "the time limit was reached"};
        default:
            return End{LocalStatus::kStopped, "interrupted"};
    }
}

bool Loop::is_unbounded() const {
    constexpr double kFarBelow = 1e12;
    const double lowest = -kFarBelow * std::max(1.0, std::abs(start_objective_));
    return current_.objective / problem_.objective_scale < lowest &&
           current_.violation <=
               options_->constraint_violation * std::max(1.0, current_.x.lpNorm<Eigen::Infinity>());
}

// Never called optimal: at best the conditions hold to a looser tolerance.
Loop::End Loop::stalled() const {
    constexpr double kLooser = 1e-6;
    if (!restores_ && residuals_.relative <= std::max(kLooser, options_->tolerance) &&
        problem_.unscaled_violation(current_.rows) <=
            std::max(kLooser, options_->constraint_violation))
        return {LocalStatus::kAcceptable,
                "no further progress; the optimality conditions hold to 1e-6"};
    return {LocalStatus::kStalled, "stalled: steps too short to go on"};
}

void Loop::report() {
    if (!options_->progress) return;
    LocalProgress progress{};
    progress.iteration = iteration_;
    progress.objective = current_.objective / problem_.objective_scale;
    progress.infeasibility = problem_.unscaled_violation(current_.rows);
    progress.optimality = residuals_.conditions / problem_.objective_scale;
    progress.step = last_length_;
    progress.penalty = penalty_;
    options_->progress(progress);
}

// A feasible point beats an infeasible one; then the objective counts, or the violation.
void Loop::keep_best() {
    if (!was_accepted_ && has_best_) return;
    const double violation = problem_.unscaled_violation(current_.rows);
    const bool is_feasible = violation <= options_->constraint_violation;
    const bool is_better =
        !has_best_ || (is_feasible && !best_.is_feasible) ||
        (is_feasible == best_.is_feasible &&
         (is_feasible ? current_.objective < best_.objective : violation < best_.violation));
    if (!is_better) return;
    best_.x = current_.x;
    best_.objective = current_.objective;
    best_.violation = violation;
    best_.is_feasible = is_feasible;
    has_best_ = true;
}

LocalAnswer Loop::answer(const End& end) {
    LocalAnswer out;
    out.status = end.status;
    out.reason = end.reason;
    out.iterations = iteration_;
    out.counts = problem_.counts;
    const int n = problem_.num_columns(), m = problem_.num_rows();
    const bool is_current =
        end.status == LocalStatus::kSolved || end.status == LocalStatus::kAcceptable || !has_best_;
    const Vector& x = is_current ? current_.x : best_.x;
    out.objective = (is_current ? current_.objective : best_.objective) / problem_.objective_scale;
    out.x.assign(x.data(), x.data() + x.size());
    out.row_dual.assign(at(m), 0.0);
    out.lower_dual.assign(at(n), 0.0);
    out.upper_dual.assign(at(n), 0.0);
    if (residual_y_.size() != m || current_.gradient.size() != n) return out;
    reduced_ = current_.gradient;
    problem_.rows.add_transposed(current_.jacobian, residual_y_, -1.0, reduced_);
    for (int i = 0; i < m; ++i)
        out.row_dual[at(i)] = residual_y_[i] * problem_.row_scale[i] / problem_.objective_scale;
    for (int j = 0; j < n; ++j) {
        const double z = reduced_[j] / problem_.objective_scale;
        if (z > 0 && std::isfinite(problem_.lower[j])) out.lower_dual[at(j)] = z;
        if (z < 0 && std::isfinite(problem_.upper[j])) out.upper_dual[at(j)] = -z;
    }
    return out;
}

}  // namespace qlx::nlp::slp

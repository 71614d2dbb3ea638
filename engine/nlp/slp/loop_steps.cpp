// Trial points: tried, corrected, taken or refused.
#include <algorithm>
#include <cmath>

#include "engine/nlp/slp/loop.hpp"

namespace qlx::nlp::slp {

namespace {

constexpr int kRejectionsUntilRestoration = 8;
constexpr int kMostRescalings = 5;
constexpr double kRestorationRadius = 0.1;
// Growth of the box of first steps, at most and beyond the steps taken.
constexpr double kBoxGrowth = 7;
constexpr double kBoxMargin = 1.2;

}  // namespace

void Loop::try_step() {
    const Linearisation linear = model();
    const double weight = restores_ ? 1.0 : penalty_;
    finder_.find(linear, hessian_, weight, first_, violated_, radius_, equality_, set_, step_);
    problem_.curvature.multiply(hessian_, step_.d, scratch_);
    Prediction prediction{step_.decrease, 0, weight, restores_};
    prediction.objective = -(current_.gradient.dot(step_.d) + 0.5 * scratch_.dot(step_.d));
    trial_.x = current_.x + step_.d;
    problem_.clip(trial_.x);
    bool is_defined = problem_.evaluate(trial_);
    Verdict verdict;
    if (is_defined) verdict = acceptance_.judge(current_, trial_, prediction);
    if (is_defined && !verdict.accepted) verdict = correct(prediction, is_defined);
    if (verdict.accepted && !problem_.differentiate(trial_)) verdict.accepted = is_defined = false;
    if (verdict.accepted)
        accept(prediction, verdict.ratio);
    else
        reject(is_defined);
    radius_ = std::min(radius_, options_->trust_region_max);
    box_ = std::min(box_, options_->trust_region_max);
}

// A second-order correction: the shortest step that takes the rows of the working set back to their
// sides from where the trial point left them.
Verdict Loop::correct(const Prediction& prediction, bool& is_defined) {
    constexpr double kWorthwhile = 0.1;
    Verdict none;
    is_defined = true;
    if (set_.rows.empty() ||
        trial_.violation <= kWorthwhile * std::min(current_.violation, 1.0) + 1e-12)
        return none;
    change_.setZero(problem_.num_rows());
    for (const Side side : set_.rows) {
        const double below = problem_.row_lower[side.index] - trial_.rows[side.index];
        const double above = problem_.row_upper[side.index] - trial_.rows[side.index];
        change_[side.index] = std::abs(below) < std::abs(above) ? below : above;
    }
    shortest_correction();
    if (!(correction_.norm() < step_.d.norm())) return none;
    trial_.x = current_.x + step_.d + correction_;
    problem_.clip(trial_.x);
    if (!problem_.evaluate(trial_)) return none;
    const Verdict verdict = acceptance_.judge(current_, trial_, prediction);
    if (!verdict.accepted) return none;
    step_.d = trial_.x - current_.x;
    correction_ = step_.d.array() / lengths_.array();
    step_.length = correction_.norm();
    step_.longest_entry = correction_.lpNorm<Eigen::Infinity>();
    return verdict;
}

// The shortest step that makes change_ on the rows of the working set. Rows that the first step
// leaves violated go to where the linear model has them.
void Loop::shortest_correction() {
    if (!any_violated_) {
        equality_.shortest(change_, correction_);
        return;
    }
    problem_.rows.multiply(current_.jacobian, step_.d, scratch_);
    active_ = set_;
    for (int i = 0; i < problem_.num_rows(); ++i) {
        if (violated_[at(i)] == 0 || problem_.is_linear[at(i)] == 0 || change_[i] != 0) continue;
        active_.rows.push_back({i, violated_[at(i)] < 0});
        change_[i] = current_.rows[i] + scratch_[i] - trial_.rows[i];
    }
    const Linearisation linear = model();
    spare_.factor(linear, active_);
    spare_.shortest(change_, correction_);
}

void Loop::accept(const Prediction& prediction, double ratio) {
    constexpr double kVeryGood = 0.9, kGood = 0.3;
    acceptance_.leave(current_, trial_, prediction);
    count_idle();
    std::swap(current_, trial_);
    if (ratio >= kVeryGood)
        radius_ = std::max(radius_, 3 * step_.length);
    else if (ratio >= kGood)
        radius_ = std::max(radius_, 2 * step_.length);
    const double taken = std::max(step_.longest_entry, step_.cauchy_length);
    box_ = step_.cauchy_factor == 1
               ? std::min(std::max(kBoxMargin * taken, 0.1 * box_), kBoxGrowth * box_)
               : std::min(std::max(taken, 0.1 * box_), box_);
    rejections_ = 0;
    was_accepted_ = true;
    last_length_ = step_.d.norm();
    hessian_is_current_ = false;
    linearisation_is_new_ = true;
    if (rescalings_ < kMostRescalings && problem_.hides_rows(current_)) rescale();
    if (!restores_) return;
    const double h = current_.violation;
    if ((h <= 0.1 * restoration_start_ || h <= options_->constraint_violation) &&
        acceptance_.filter_accepts(current_)) {
        constexpr double kFreshRadius = 1e-2;
        restores_ = false;
        radius_ = std::max(radius_, kFreshRadius);
        box_ = std::max(box_, kFreshRadius);
    }
}

// Counts accepted steps that change neither the values nor the residual by more than rounding.
void Loop::count_idle() {
    constexpr double kSame = 1e-14, kLess = 0.9;
    const double size = std::max(1.0, std::abs(current_.objective));
    const bool same = std::abs(current_.objective - trial_.objective) <= kSame * size &&
                      std::abs(current_.violation - trial_.violation) <= kSame;
    if (!same || residuals_.relative < kLess * least_residual_)
        idle_ = 0;
    else
        ++idle_;
    least_residual_ = std::min(least_residual_, residuals_.relative);
}

// Rows whose gradients were long at the start only. The filter's pairs are of the old scales.
void Loop::rescale() {
    ++rescalings_;
    problem_.rescale_rows(current_, y_);
    residual_y_ = y_;
    acceptance_.start(current_.violation, options_->constraint_violation, has_kinks_);
    restores_ = false;
}

void Loop::reject(bool is_defined) {
    const double share = is_defined ? 0.5 : 0.1;
    radius_ = share * (step_.length > 0 ? std::min(radius_, step_.length) : radius_);
    box_ = step_.longest_entry > 0
               ? std::min(std::max(share * step_.longest_entry, 0.1 * box_), box_)
               : share * box_;
    was_accepted_ = false;
    ++rejections_;
    if (rejections_ > kRejectionsUntilRestoration && !restores_ &&
        current_.violation > options_->constraint_violation)
        enter_restoration();
}

void Loop::enter_restoration() {
    acceptance_.leave(current_);
    restores_ = true;
    restoration_start_ = current_.violation;
    rejections_ = 0;
    hessian_is_current_ = false;
    linearisation_is_new_ = true;
    radius_ = box_ = std::max(kRestorationRadius, radius_);
}

}  // namespace qlx::nlp::slp

// The filter's test, beside the merit function's.
#include "engine/nlp/slp/acceptance.hpp"

#include <algorithm>
#include <cmath>

namespace qlx::nlp::slp {

namespace {

// Share of the promised decrease that is enough, and that which the filter cannot refuse alone.
constexpr double kEnough = 1e-4;
constexpr double kConvincing = 0.1;
// A point that is worse in the merit function may not be about as violated as the iterate, unless
// its violation is below that.
constexpr double kMustFall = 0.9;
constexpr double kFreeViolation = 0.1;
constexpr double kRounding = 1e-13;

}  // namespace

void Acceptance::start(double violation, double feasible, bool merit_only) {
    filter_.clear();
    violation_limit_ = std::max(1e2, 10 * violation);
    feasible_ = feasible;
    merit_only_ = merit_only;
}

Verdict Acceptance::judge(const Iterate& from, const Iterate& trial,
                          const Prediction& prediction) const {
    const double h = from.violation, new_h = trial.violation;
    const double guard =
        kRounding * std::max({1.0, std::abs(from.objective), prediction.penalty * h});
    const double gained = from.objective - trial.objective;
    const double merit = (prediction.restores ? 0.0 : gained) + prediction.penalty * (h - new_h);
    Verdict verdict;
    if (prediction.merit > -guard) verdict.ratio = (merit + guard) / (prediction.merit + guard);
    if (prediction.restores || merit_only_) {
        verdict.accepted = verdict.ratio > kEnough;
        return verdict;
    }
    if (new_h > violation_limit_ ||
        (verdict.ratio < kEnough && new_h > std::max(kMustFall * h, kFreeViolation)) ||
        !filter_accepts(trial))
        return verdict;
    const double f_type_limit = 1e-2 * std::max(1.0, 1e-2 * violation_limit_);
    if (is_switching(from, prediction) && h < f_type_limit && prediction.objective > 0) {
        verdict.accepted = gained + guard >= kEnough * prediction.objective;
        return verdict;
    }
    // At a feasible point any feasible step would do for the violation.
    const bool less_violated = h > 0.1 * feasible_ && new_h <= Filter::kViolationMargin * h;
    const bool better =
        trial.objective <= from.objective - Filter::kObjectiveMargin * new_h + guard;
    verdict.accepted = less_violated || better || verdict.ratio > kConvincing;
    return verdict;
}

void Acceptance::leave(const Iterate& from, const Iterate& to, const Prediction& prediction) {
    if (prediction.restores || from.violation == 0) return;
    if (is_switching(from, prediction) && to.objective < from.objective) return;
    filter_.add(from.violation, from.objective);
}

}  // namespace qlx::nlp::slp

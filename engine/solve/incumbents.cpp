// Evaluates points, rounds them, and keeps the best.
#include "engine/solve/incumbents.hpp"

#include <cmath>
#include <limits>

#include "engine/base/index.hpp"
#include "engine/check/point_check.hpp"

namespace qlx {

namespace {

constexpr double kNone = std::numeric_limits<double>::infinity();

// What a violation that equals its tolerance may lose to rounding in the sum behind it.
constexpr double kRounding = 1e-14;

void drop_negative_zeros(std::vector<double>& x) {
    for (double& value : x) value += 0.0;
}

// What a value of a column's type was meant to be. Near is what any tolerance of integers is.
double meant(const Model& model, int col, double value) {
    constexpr double kNear = 1e-6;
    const char type = model.col_type()[at(col)];
    if (type == 'C') return value;
    const double whole = std::round(value) + 0.0;
    if (type == 'I' || type == 'B') return whole;
    const double limit = model.limit(col);
    if (type == 'P' && value >= limit) return value;
    if (std::fabs(value - limit) <= kNear) return limit;
    if (type == 'S') return std::fabs(value) <= kNear ? 0 : value;
    return type == 'R' || std::fabs(value - whole) <= kNear ? whole : value;
}

std::vector<double> rounded(const Model& model, const std::vector<double>& x) {
    std::vector<double> point = x;
    for (std::size_t col = 0; col < point.size(); ++col)
        point[col] = meant(model, static_cast<int>(col), point[col]);
    return point;
}

}  // namespace

bool has_cutoff(const Controls& controls) noexcept {
    return std::fabs(controls.mipabscutoff) < kInfinity;
}

Incumbents::Incumbents(Model& model, const Controls& controls, Results& results)
    : model_(model),
      controls_(controls),
      results_(results),
      feasibility_tolerance_(model.nonlinear().empty() ? controls.feastol : controls.nlpfeastol),
      asked_cutoff_(has_cutoff(controls) ? model.sense() * controls.mipabscutoff : kNone),
      cutoff_(asked_cutoff_) {
    // Changes that wait in the store are merged in on the first reading, which is this one.
    (void)model_.matrix().starts();
}

// Fills in what follows from x; false where the point is not feasible.
bool Incumbents::complete(Solution& solution, bool integral) const {
    solution.slack = row_activities(model_, solution.x.data());
    const PointCheck check = check_point(model_, solution.x.data(), solution.slack, integral);
    solution.infeasibility = check.feasibility();
    for (std::size_t row = 0; row < solution.slack.size(); ++row)
        solution.slack[row] = model_.rhs()[row] - solution.slack[row];
    solution.objective = objective_value(model_, solution.x.data());
    return check.feasibility() <= feasibility_tolerance_ + kRounding &&
           check.types <= controls_.inttol + kRounding;
}

std::shared_ptr<const Solution> Incumbents::take_relaxed(Solution point) {
    if (point.x.size() != at(model_.num_cols())) return nullptr;
    drop_negative_zeros(point.x);
    std::vector<double> given = point.x;
    clamp_to_bounds(model_, point.x);
    if (!complete(point, false)) {
        point.x = std::move(given);
        if (!complete(point, false)) return nullptr;
    }
    return put_relaxed(std::move(point));
}

void Incumbents::hold_unproved(Solution point) {
    if (point.x.size() != at(model_.num_cols())) return;
    drop_negative_zeros(point.x);
    (void)complete(point, false);
    put_relaxed(std::move(point));
}

std::shared_ptr<const Solution> Incumbents::put_relaxed(Solution point) {
    point.dual.resize(at(model_.num_rows()), 0.0);
    point.dj.resize(at(model_.num_cols()), 0.0);
    auto kept = std::make_shared<const Solution>(std::move(point));
    const std::lock_guard lock(mutex_);
    results_.lp.put(kept);
    return kept;
}

bool Incumbents::holds_rounded(const std::vector<double>& x, double tolerance) const {
    Solution solution;
    solution.x = rounded(model_, x);
    return complete(solution, true) && solution.infeasibility <= tolerance;
}

Verdict Incumbents::offer(std::span<const double> x) {
    if (x.size() < at(model_.num_cols())) return Verdict::kRejected;
    std::vector<double> given(x.begin(), x.begin() + model_.num_cols());
    drop_negative_zeros(given);
    auto solution = std::make_shared<Solution>();
    solution->x = rounded(model_, given);
    if (!complete(*solution, true)) {
        solution->x = std::move(given);
        if (!complete(*solution, true)) return Verdict::kRejected;
    }
    if (model_.sense() * solution->objective >= cutoff()) return Verdict::kNotBetter;
    if (events_.before && !events_.before(*solution)) return Verdict::kRejected;
    if (!keep(solution)) return Verdict::kNotBetter;
    if (events_.after) events_.after(*solution);
    return Verdict::kKept;
}

bool Incumbents::keep(std::shared_ptr<const Solution> solution) {
    const std::lock_guard lock(mutex_);
    const double value = model_.sense() * solution->objective;
    if (!(value < cutoff())) return false;
    cutoff_.store(value, std::memory_order_relaxed);
    results_.mip.put(std::move(solution));
    ++results_.solutions_found;
    return true;
}

void Incumbents::forget() noexcept {
    const std::lock_guard lock(mutex_);
    results_.lp.put(nullptr);
    results_.mip.put(nullptr);
    results_.solutions_found = 0;
    cutoff_.store(asked_cutoff_, std::memory_order_relaxed);
}

bool Incumbents::is_full() const {
    const std::lock_guard lock(mutex_);
    return results_.solutions_found >= controls_.sollimit;
}

}  // namespace qlx

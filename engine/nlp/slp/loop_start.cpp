// Start of the loop: a point where the functions are defined, and scales.
#include <algorithm>
#include <cmath>
#include <random>

#include "engine/nlp/slp/loop.hpp"

namespace qlx::nlp::slp {

namespace {

constexpr int kNudges = 30;
constexpr double kFirstNudge = 1e-3;

}  // namespace

bool Loop::evaluate_all(Iterate& iterate) {
    return problem_.evaluate(iterate) && problem_.differentiate(iterate);
}

std::optional<Loop::End> Loop::begin(LocalProblem& problem, const LoopStart& start) {
    problem_.bind(problem);
    has_kinks_ = problem.has_kinks();
    const int n = problem_.num_columns(), m = problem_.num_rows();
    const std::vector<double> given = start.x.empty() ? problem.start() : start.x;
    Vector origin(n);
    for (int j = 0; j < n; ++j) {
        const double x = given[at(j)];
        origin[j] = std::isfinite(x) ? x : 0.0;
    }
    problem_.clip(origin);
    current_.x = origin;
    if ((problem_.lower.array() > problem_.upper.array()).any() ||
        (problem_.row_lower.array() > problem_.row_upper.array()).any())
        return End{LocalStatus::kInconsistentBounds, "a lower bound is above its upper bound"};
    std::mt19937 random(1);
    std::normal_distribution<double> normal;
    bool is_defined = evaluate_all(current_);
    for (int k = 0; k < kNudges && !is_defined; ++k) {
        if (options_->stop.stop()) break;
        const double length = kFirstNudge * std::exp2(0.5 * k);
        for (int j = 0; j < n; ++j) current_.x[j] = origin[j] + length * normal(random);
        problem_.clip(current_.x);
        is_defined = evaluate_all(current_);
    }
    if (!is_defined) {
        current_.x = origin;
        if (auto end = interrupted()) return end;
        return End{LocalStatus::kUndefinedValue,
                   "a function or derivative is undefined at the start and near it"};
    }
    problem_.scale_at(current_);
    start_objective_ = current_.objective / problem_.objective_scale;
    acceptance_.start(current_.violation, options_->constraint_violation, has_kinks_);
    penalty_ = std::max(options_->penalty_start, start.penalty);
    radius_ = options_->trust_region_start;
    box_ = start.box * options_->trust_region_start;
    y_.setZero(m);
    if (!start.y.empty())
        for (int i = 0; i < m; ++i)
            y_[i] = start.y[at(i)] * problem_.objective_scale / problem_.row_scale[i];
    last_set_ = start.working_set;
    no_gradient_.setZero(n);
    first_phase_.bind(problem_);
    if (!equality_.bind(problem_, options_->stop) || !spare_.bind(problem_, options_->stop))
        return End{LocalStatus::kFailed, "the factors of the rows do not fit into memory"};
    return std::nullopt;
}

}  // namespace qlx::nlp::slp

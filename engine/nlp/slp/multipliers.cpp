// Multiplier estimates and optimality residuals.
#include "engine/nlp/slp/multipliers.hpp"

#include <algorithm>
#include <cmath>

namespace qlx::nlp::slp {

namespace {

constexpr double kWrongSign = -1e-12;
constexpr double kActive = 1e-6;
// Multipliers beyond this make the residuals relative to them.
constexpr double kLargeMultiplier = 100;

// Takes out rows with wrong signs; whether there were any.
bool drop_wrong_signs(const Linearisation& model, const Vector& rows, const Vector& y,
                      const WorkingSet& from, WorkingSet& to) {
    const ScaledProblem& problem = model.problem;
    to.clear();
    to.columns = from.columns;
    for (const Side side : from.rows) {
        const int i = side.index;
        const bool low =
            std::abs(rows[i] - problem.row_lower[i]) <= std::abs(rows[i] - problem.row_upper[i]);
        const bool is_wrong = !problem.is_equation(i) && (low ? y[i] : -y[i]) < kWrongSign;
        if (!is_wrong) to.rows.push_back(side);
    }
    return to.rows.size() != from.rows.size();
}

}  // namespace

void estimate_multipliers(const Linearisation& model, const Vector& gradient, const Vector& rows,
                          const WorkingSet& set, EqualityPhase& phase, EqualityPhase& spare,
                          Vector& y) {
    phase.multipliers(gradient, y);
    WorkingSet kept, fewer;
    if (!drop_wrong_signs(model, rows, y, set, kept)) return;
    for (std::size_t round = 0; round <= set.rows.size(); ++round) {
        spare.factor(model, kept);
        spare.multipliers(gradient, y);
        if (kept.rows.empty() || !drop_wrong_signs(model, rows, y, kept, fewer)) return;
        std::swap(kept, fewer);
    }
}

Residuals optimality_residuals(const Linearisation& model, const Vector& y, Vector& reduced) {
    const ScaledProblem& problem = model.problem;
    reduced = model.gradient;
    problem.rows.add_transposed(model.at.jacobian, y, -1.0, reduced);
    double worst = 0, largest = 0;
    for (int j = 0; j < problem.num_columns(); ++j) {
        const double z = reduced[j];
        const double slack =
            z > 0 ? model.at.x[j] - problem.lower[j] : problem.upper[j] - model.at.x[j];
        worst = std::max(worst, std::min(std::abs(z), slack));
    }
    for (int i = 0; i < problem.num_rows(); ++i) {
        const double value = model.at.rows[i];
        const double slack =
            std::abs(y[i] > 0 ? value - problem.row_lower[i] : problem.row_upper[i] - value);
        worst = std::max(worst, std::min(std::abs(y[i]), slack));
        largest = std::max(largest, std::abs(y[i]));
    }
    return {worst, worst / std::max(1.0, largest / kLargeMultiplier)};
}

void find_active_sides(const Linearisation& model, WorkingSet& set) {
    const ScaledProblem& problem = model.problem;
    set.clear();
    for (int i = 0; i < problem.num_rows(); ++i) {
        const double below = std::abs(model.at.rows[i] - problem.row_lower[i]);
        const double above = std::abs(model.at.rows[i] - problem.row_upper[i]);
        if (std::min(below, above) < kActive) set.rows.push_back({i, above < below});
    }
    for (int j = 0; j < problem.num_columns(); ++j) {
        const double below = model.at.x[j] - problem.lower[j];
        const double above = problem.upper[j] - model.at.x[j];
        if (std::min(below, above) <= kActive) set.columns.push_back({j, above < below});
    }
}

}  // namespace qlx::nlp::slp

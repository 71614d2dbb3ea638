// Residuals of the conditions of Karush, Kuhn and Tucker.
#include "engine/quad/residuals.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace qlx::quad {

namespace {

// A dual this small beside the terms it was summed from is rounding, however far the bound is.
constexpr double kNegligibleDual = 1e-9;

}  // namespace

double Evaluation::worst() const noexcept {
    const double worst = std::max({residuals.primal, residuals.dual, residuals.complementarity});
    return std::isfinite(worst) ? worst : std::numeric_limits<double>::infinity();
}

void add_condition(double dual, double scale, double value, double lower, double upper,
                   double objective, KktResiduals& residuals) noexcept {
    const double below = (lower - value) / std::max(1.0, std::abs(lower));
    const double above = (value - upper) / std::max(1.0, std::abs(upper));
    // Written so that a NaN counts as a violation.
    if (is_finite_lower(lower) && !(below <= residuals.primal)) residuals.primal = below;
    if (is_finite_upper(upper) && !(above <= residuals.primal)) residuals.primal = above;

    const double relative = std::abs(dual) / (1.0 + scale);
    const bool bounded = dual > 0.0 ? is_finite_lower(lower) : is_finite_upper(upper);
    if (!bounded) {
        if (!(relative <= residuals.dual)) residuals.dual = relative;
        return;
    }
    const double distance = std::max(dual > 0.0 ? value - lower : upper - value, 0.0);
    const double product = std::abs(dual) * distance / (1.0 + std::abs(objective));
    if (relative <= kNegligibleDual && product > relative) {
        residuals.dual = std::max(residuals.dual, relative);
    } else {
        residuals.complementarity += product;
    }
}

Evaluation evaluate(const QuadraticModel& model, std::span<const double> x,
                    std::span<const double> y, std::span<const double> normals) {
    const std::size_t columns = x.size();
    const std::size_t rows = y.size();
    Evaluation out;
    out.activity.assign(rows, 0.0);
    add_product(model.rows, 1.0, x, out.activity);
    std::vector<double> gradient(columns, 0.0);
    add_symmetric_product(model.hessian, 1.0, x, gradient);
    out.objective = model.constant;
    for (std::size_t j = 0; j < columns; ++j) {
        out.objective += x[j] * (model.cost[j] + 0.5 * gradient[j]);
    }
    out.reduced_cost.resize(columns);
    for (std::size_t j = 0; j < columns; ++j) {
        double sum = model.cost[j] + gradient[j];
        double scale = std::abs(model.cost[j]) + std::abs(gradient[j]);
        if (!normals.empty()) {
            sum -= normals[j];
            scale += std::abs(normals[j]);
        }
        for (int k = model.rows.start[j]; k < model.rows.start[j + 1]; ++k) {
            const auto entry = static_cast<std::size_t>(k);
            const double term =
                model.rows.value[entry] * y[static_cast<std::size_t>(model.rows.index[entry])];
            sum -= term;
            scale += std::abs(term);
        }
        out.reduced_cost[j] = sum;
        add_condition(sum, scale, x[j], model.column_lower[j], model.column_upper[j], out.objective,
                      out.residuals);
    }
    for (std::size_t i = 0; i < rows; ++i) {
        add_condition(y[i], 0.0, out.activity[i], model.row_lower[i], model.row_upper[i],
                      out.objective, out.residuals);
    }
    return out;
}

bool meets(const KktResiduals& residuals, const ConvexControl& control) noexcept {
    return residuals.primal <= control.feasibility_tolerance &&
           residuals.dual <= control.optimality_tolerance &&
           residuals.complementarity <= control.optimality_tolerance;
}

void take_evaluation(Evaluation evaluation, const ConvexControl& control, ConvexResult& result) {
    result.objective = evaluation.objective;
    result.residuals = evaluation.residuals;
    result.row_activity = std::move(evaluation.activity);
    result.reduced_cost = std::move(evaluation.reduced_cost);
    if (result.status == ConvexStatus::kOptimal && !meets(result.residuals, control)) {
        result.status = ConvexStatus::kNumericalFailure;
    }
}

}  // namespace qlx::quad

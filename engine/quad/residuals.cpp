// Residuals of the conditions of Karush, Kuhn and Tucker.
#include "engine/quad/residuals.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include "engine/base/index.hpp"

namespace qlx::quad {

namespace {

// A dual this small beside the terms it was summed from is rounding, however far the bound is.
constexpr double kNegligibleDual = 1e-9;

// Terms of fixed columns weigh all of their size. Terms of other columns count as what is left of
// them together: they are large without an optimum too, and must not excuse it then.
double weight_of(double lower, double upper) noexcept {
    return lower == upper ? 1.0 : 0.0;
}

// Qx, and the sizes of what each entry was summed from: what fixed columns add may cancel against
// the cost.
struct Gradient {
    std::vector<double> value;
    std::vector<double> size;
};

Gradient gradient_of(const QuadraticModel& model, std::span<const double> x) {
    const SparseColumns& upper = model.hessian;
    Gradient out{std::vector<double>(x.size(), 0.0), std::vector<double>(x.size(), 0.0)};
    std::vector<double> moving(x.size(), 0.0);
    const auto add = [&](std::size_t place, std::size_t j, double q) {
        const double term = q * x[j];
        const double weight = weight_of(model.column_lower[j], model.column_upper[j]);
        out.value[place] += term;
        out.size[place] += weight * std::abs(term);
        if (weight < 1.0) moving[place] += term;
    };
    for (std::size_t j = 0; j < x.size(); ++j) {
        for (int k = upper.start[j]; k < upper.start[j + 1]; ++k) {
            const std::size_t i = at(upper.index[at(k)]);
            add(i, j, upper.value[at(k)]);
            if (i != j) add(j, i, upper.value[at(k)]);
        }
    }
    for (std::size_t j = 0; j < x.size(); ++j) out.size[j] += std::abs(moving[j]);
    return out;
}

}  // namespace

double Evaluation::worst() const noexcept {
    const double worst = std::max({residuals.primal, residuals.dual, residuals.complementarity});
    return std::isfinite(worst) ? worst : std::numeric_limits<double>::infinity();
}

void add_condition(const Condition& c, double objective_size, KktResiduals& residuals) noexcept {
    const double below = (c.lower - c.value) / std::max({1.0, std::abs(c.lower), c.value_size});
    const double above = (c.value - c.upper) / std::max({1.0, std::abs(c.upper), c.value_size});
    // Written so that a NaN counts as a violation.
    if (is_finite_lower(c.lower) && !(below <= residuals.primal)) residuals.primal = below;
    if (is_finite_upper(c.upper) && !(above <= residuals.primal)) residuals.primal = above;

    const double relative = std::abs(c.dual) / (1.0 + c.dual_size);
    const bool bounded = c.dual > 0.0 ? is_finite_lower(c.lower) : is_finite_upper(c.upper);
    if (!bounded) {
        // At a point that drifts off for ever duals become small and the ways long.
        const double drift = std::abs(c.dual * c.value) / (1.0 + objective_size);
        const double worst = std::max(relative, drift);
        if (!(worst <= residuals.dual)) residuals.dual = worst;
        return;
    }
    const double distance = std::max(c.dual > 0.0 ? c.value - c.lower : c.upper - c.value, 0.0);
    const double product = std::abs(c.dual) * distance / (1.0 + objective_size);
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
    std::vector<double> largest_term(rows, 0.0);
    for (std::size_t j = 0; j < columns; ++j) {
        for (int k = model.rows.start[j]; k < model.rows.start[j + 1]; ++k) {
            const std::size_t i = at(model.rows.index[at(k)]);
            const double term = model.rows.value[at(k)] * x[j];
            out.activity[i] += term;
            largest_term[i] = std::max(largest_term[i], std::abs(term));
        }
    }
    const auto [gradient, gradient_size] = gradient_of(model, x);
    out.objective = model.constant;
    out.objective_size = 0.0;
    for (std::size_t j = 0; j < columns; ++j) {
        out.objective += x[j] * (model.cost[j] + 0.5 * gradient[j]);
        out.objective_size += std::abs(x[j]) * (std::abs(model.cost[j]) + 0.5 * gradient_size[j]);
    }
    out.reduced_cost.resize(columns);
    for (std::size_t j = 0; j < columns; ++j) {
        double sum = model.cost[j] + gradient[j];
        double size = std::abs(model.cost[j]) + gradient_size[j];
        if (!normals.empty()) {
            sum -= normals[j];
            size += std::abs(normals[j]);
        }
        for (int k = model.rows.start[j]; k < model.rows.start[j + 1]; ++k) {
            const double term = model.rows.value[at(k)] * y[at(model.rows.index[at(k)])];
            sum -= term;
            size += std::abs(term);
        }
        out.reduced_cost[j] = sum;
        add_condition({sum, size, x[j], 0.0, model.column_lower[j], model.column_upper[j]},
                      out.objective_size, out.residuals);
    }
    for (std::size_t i = 0; i < rows; ++i) {
        add_condition(
            {y[i], 0.0, out.activity[i], largest_term[i], model.row_lower[i], model.row_upper[i]},
            out.objective_size, out.residuals);
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

// Evaluates bounds, rows and integer columns at a point, and asks the constructs for the rest.
#include "engine/check/point_check.hpp"

#include <algorithm>
#include <cmath>

#include "engine/base/index.hpp"
#include "engine/check/enclosed_sum.hpp"
#include "engine/constructs/construct.hpp"

namespace qlx {

namespace {

double bound_violation(const Model& model, const double* x) {
    double worst = 0;
    for (int col = 0; col < model.num_cols(); ++col) {
        const Sides bounds = model.relaxed_bounds(col);
        const double away = outside(x[col], bounds.lower, bounds.upper);
        if (!(away <= 0)) worst = std::max(worst, away / (1 + std::fabs(x[col])));
        if (std::isnan(x[col])) return kInfinity;
    }
    return worst;
}

void add_nonlinear_activities(const Model& model, const double* x,
                              std::vector<double>& activities) {
    const NonlinearPart& part = model.nonlinear();
    const CoefficientStore& store = part.coefficients;
    std::vector<double> stack(at(store.stack_size()));
    for (std::size_t term = 0; term < store.num_terms(); ++term)
        activities[at(store.row(term))] += term_value(part, term, x, stack.data());
}

}  // namespace

std::vector<double> row_activities(Model& model, const double* x) {
    const auto& starts = model.matrix().starts();
    const auto& columns = model.matrix().columns();
    const auto& values = model.matrix().values();
    std::vector<double> activities(at(model.num_rows()));
    for (std::size_t row = 0; row < activities.size(); ++row) {
        double sum = 0;
        for (auto k = static_cast<std::size_t>(starts[row]);
             k < static_cast<std::size_t>(starts[row + 1]); ++k)
            sum += values[k] * x[columns[k]];
        activities[row] = sum;
    }
    for (const auto& [row, form] : model.quadratic_rows()) activities[at(row)] += form.value(x);
    if (!model.nonlinear().empty()) add_nonlinear_activities(model, x, activities);
    return activities;
}

double objective_value(const Model& model, const double* x) {
    // Far points of flat objectives leave little of large terms.
    EnclosedSum sum(model.constant());
    for (std::size_t col = 0; col < model.obj().size(); ++col)
        sum.add_product(model.obj()[col], x[col]);
    for (const QuadraticTerm& term : model.quadratic_objective().terms()) {
        const double product = x[term.first] * x[term.second];
        sum.add_product(term.coefficient, product);
        sum.add_product(term.coefficient, std::fma(x[term.first], x[term.second], -product));
    }
    return sum.value();
}

void clamp_to_bounds(const Model& model, std::vector<double>& x) {
    for (int col = 0; col < model.num_cols(); ++col) {
        const Sides bounds = model.relaxed_bounds(col);
        x[at(col)] = std::max(bounds.lower, std::min(bounds.upper, x[at(col)]));
    }
}

PointCheck check_point(Model& model, const double* x, const std::vector<double>& activities,
                       bool integral) {
    const Point point{x, activities};
    PointCheck check;
    check.bounds = bound_violation(model, x);
    for (int row = 0; row < model.num_rows(); ++row)
        if (model.indicators().count(row) == 0)
            check.rows = std::max(check.rows, row_violation(model, row, point));
    if (!integral) return check;
    if (model.num_entities() > 0)
        for (int col = 0; col < model.num_cols(); ++col)
            if (const char type = model.col_type()[at(col)]; type == 'I' || type == 'B') {
                check.types = std::max(check.types, distance_to_integer(x[col]));
                // One beyond a bound of 1e9 is not near it.
                const Sides bounds = model.relaxed_bounds(col);
                check.bounds = std::max(check.bounds, outside(x[col], bounds.lower, bounds.upper));
            }
    for (const ConstructItem& one : construct_items(model)) {
        const Violation violation = one.construct->violation(model, one.item, point);
        check.rows = std::max(check.rows, violation.rows);
        check.types = std::max(check.types, violation.types);
    }
    return check;
}

}  // namespace qlx

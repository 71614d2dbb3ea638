// Evaluates bounds, rows, types and sets at a point.
#include "engine/check/point_check.hpp"
#include "engine/base/index.hpp"

#include <algorithm>
#include <cmath>

namespace qlx {

namespace {

double outside(double value, double lower, double upper) {
    return std::max(
        {0.0, lower > -kInfinity ? lower - value : 0.0, upper < kInfinity ? value - upper : 0.0});
}

double distance_to_integer(double value) {
    return std::fabs(value - std::round(value));
}

// How far a column is from what its type allows, bounds apart.
double type_violation(const Model& model, int col, double value) {
    const char type = model.col_type()[at(col)];
    switch (type) {
        case 'I':
        case 'B':
            return distance_to_integer(value);
        case 'S':
        case 'R': {
            const double least = std::max(model.limit(col), model.lb()[at(col)]);
            double away = outside(value, least, model.ub()[at(col)]);
            if (type == 'R') away = std::max(away, distance_to_integer(value));
            return std::min(away, std::fabs(value));
        }
        case 'P':
            return std::min(distance_to_integer(value), std::max(0.0, model.limit(col) - value));
        default:
            return 0;
    }
}

// Members that are nonzero beyond the longest allowed run count with their magnitude.
double set_violation(const SpecialOrderedSet& set, const double* x) {
    double total = 0;
    for (const int col : set.columns) total += std::fabs(x[col]);
    double best = 0;
    for (std::size_t k = 0; k < set.columns.size(); ++k) {
        double window = std::fabs(x[set.columns[k]]);
        if (set.order == 2 && k + 1 < set.columns.size())
            window += std::fabs(x[set.columns[k + 1]]);
        best = std::max(best, window);
    }
    return std::max(0.0, total - best);
}

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
    const CoefficientStore& store = model.nonlinear().coefficients;
    std::vector<double> stack(at(store.stack_size()));
    for (std::size_t term = 0; term < store.num_terms(); ++term)
        activities[at(store.row(term))] += term_value(store, term, x, stack.data());
}

// The largest magnitude of a row's terms at a point and of the side that it breaks, at least 1:
// what a violation is measured by.
double row_magnitude(Model& model, int row, const double* x, double side) {
    double magnitude = std::max(1.0, std::fabs(side));
    const auto columns = model.matrix().row_columns(row);
    const auto values = model.matrix().row_values(row);
    for (std::size_t k = 0; k < columns.size(); ++k)
        magnitude = std::max(magnitude, std::fabs(values[k] * x[columns[k]]));
    if (const auto form = model.quadratic_rows().find(row); form != model.quadratic_rows().end())
        for (const QuadraticTerm& term : form->second.terms())
            magnitude =
                std::max(magnitude, std::fabs(term.coefficient * x[term.first] * x[term.second]));
    CoefficientStore& store = model.nonlinear().coefficients;
    if (store.num_terms() == 0) return magnitude;
    std::vector<double> stack(at(store.stack_size()));
    for (const std::size_t term : store.terms_of_row(row))
        magnitude = std::max(magnitude, std::fabs(term_value(store, term, x, stack.data())));
    return magnitude;
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
    double sum = model.constant();
    for (std::size_t col = 0; col < model.obj().size(); ++col) sum += model.obj()[col] * x[col];
    return sum + model.quadratic_objective().value(x);
}

PointCheck check_point(Model& model, const double* x, const std::vector<double>& activities,
                       bool integral) {
    PointCheck check;
    check.bounds = bound_violation(model, x);
    for (int row = 0; row < model.num_rows(); ++row) {
        const Sides sides = model.sides(row);
        double away = outside(activities[at(row)], sides.lower, sides.upper);
        // A formula without a value keeps no side.
        if (std::isnan(activities[at(row)]) && model.row_type()[at(row)] != 'N') away = kInfinity;
        if (away <= 0) continue;
        if (const auto found = model.indicators().find(row); found != model.indicators().end()) {
            // A switch between its values is a violation of its type.
            const double switched = x[found->second.column];
            if (!integral || std::fabs(switched - found->second.active) > 0.5) continue;
        }
        const double broken = activities[at(row)] < sides.lower ? sides.lower : sides.upper;
        check.rows = std::max(check.rows, away / row_magnitude(model, row, x, broken));
    }
    if (!integral) return check;
    if (model.num_entities() > 0)
        for (int col = 0; col < model.num_cols(); ++col)
            check.types = std::max(check.types, type_violation(model, col, x[col]));
    for (const SpecialOrderedSet& set : model.sets())
        check.types = std::max(check.types, set_violation(set, x));
    return check;
}

}  // namespace qlx

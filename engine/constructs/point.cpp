// Violations of single rows and values.
#include "engine/constructs/point.hpp"

#include <algorithm>
#include <cmath>

#include "engine/base/index.hpp"

namespace qlx {

namespace {

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
        magnitude =
            std::max(magnitude, std::fabs(term_value(model.nonlinear(), term, x, stack.data())));
    return magnitude;
}

}  // namespace

double outside(double value, double lower, double upper) noexcept {
    return std::max(
        {0.0, lower > -kInfinity ? lower - value : 0.0, upper < kInfinity ? value - upper : 0.0});
}

double distance_to_integer(double value) noexcept {
    return std::fabs(value - std::round(value));
}

double rounding_unit(double value) noexcept {
    return std::max(1.0, 1e-6 * std::fabs(value));
}

double row_violation(Model& model, int row, const Point& point) {
    const Sides sides = model.sides(row);
    const double activity = point.activities[at(row)];
    // A formula without a value keeps no side.
    if (std::isnan(activity)) return model.row_type()[at(row)] != 'N' ? kInfinity : 0;
    const double away = outside(activity, sides.lower, sides.upper);
    if (away <= 0) return 0;
    const double broken = activity < sides.lower ? sides.lower : sides.upper;
    return away / row_magnitude(model, row, point.x, broken);
}

}  // namespace qlx

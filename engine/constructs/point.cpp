// Violations of single rows and values.
#include "engine/constructs/point.hpp"

#include <algorithm>
#include <cmath>

#include "engine/base/index.hpp"

namespace qlx {

double outside(double value, double lower, double upper) noexcept {
    return std::max(
        {0.0, lower > -kInfinity ? lower - value : 0.0, upper < kInfinity ? value - upper : 0.0});
}

double distance_to_integer(double value) noexcept {
    return std::fabs(value - std::round(value));
}

double row_violation(Model& model, int row, const Point& point) {
    const Sides sides = model.sides(row);
    const double away = outside(point.activities[at(row)], sides.lower, sides.upper);
    if (away <= 0) return 0;
    double magnitude = 1;
    const auto columns = model.matrix().row_columns(row);
    const auto values = model.matrix().row_values(row);
    for (std::size_t k = 0; k < columns.size(); ++k)
        magnitude = std::max(magnitude, std::fabs(values[k] * point.x[columns[k]]));
    if (const auto form = model.quadratic_rows().find(row); form != model.quadratic_rows().end())
        for (const QuadraticTerm& term : form->second.terms())
            magnitude = std::max(magnitude, std::fabs(term.coefficient * point.x[term.first] *
                                                      point.x[term.second]));
    return away / magnitude;
}

}  // namespace qlx

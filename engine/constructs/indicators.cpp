// Indicator rows: a row that is relaxed by as much as it can be violated while its column says so.
#include <algorithm>
#include <cmath>

#include "engine/base/errors.hpp"
#include "engine/constructs/builder.hpp"

namespace qlx {

namespace {

void require_binary(Builder& builder, int row, int col) {
    if (builder.is_binary(col)) return;
    fail(QLX_ERROR_ARGUMENT, "column ", col, " (\"", builder.source().col_names().name(col),
         "\") is the indicator of row ", row,
         " and must be binary, or integer with bounds within 0 .. 1");
}

// How far the activity can go beyond a side, at most the largest allowed bound.
double reach(Builder& builder, int row, double distance) {
    if (distance <= builder.largest_bound()) return std::max(distance, 0.0);
    fail(QLX_ERROR_UNSUPPORTED, "row ", row, " (\"", builder.source().row_names().name(row),
         "\"), an indicator row, has no activity bound of at most ", builder.largest_bound(),
         " beyond its right-hand side, stated or implied: this needs the branch and cut");
}

// Activity range with the indicator at its inactive value.
Sides inactive_range(Builder& builder, int row, const Indicator& indicator,
                     const BoundVectors& bounds) {
    return activity_range(builder.source().matrix(), row, bounds, indicator.column,
                          1 - indicator.active);
}

// amount * (1 when the indicator is inactive), moved to the row: a coefficient, and a constant that
// goes to its side.
struct Relaxation {
    double coefficient;
    double constant;
};

Relaxation relaxation(const Indicator& indicator, double amount) {
    return indicator.active == 1 ? Relaxation{amount, amount} : Relaxation{-amount, 0.0};
}

void state(Builder& builder, int row, const Indicator& indicator) {
    require_binary(builder, row, indicator.column);
    Model& model = builder.source();
    const Sides sides = model.sides(row);
    const bool has_upper = sides.upper < kInfinity;
    const bool has_lower = sides.lower > -kInfinity;
    if (!has_upper && !has_lower) return;
    Sides range = inactive_range(builder, row, indicator, builder.stated());
    const bool far = (has_upper && range.upper - sides.upper > builder.largest_bound()) ||
                     (has_lower && sides.lower - range.lower > builder.largest_bound());
    if (far) range = inactive_range(builder, row, indicator, builder.implied());

    // activity <= upper + above * inactive; the model's own row keeps this side, a new one takes
    // the lower side: activity >= lower - below * inactive.
    const double above = has_upper ? reach(builder, row, range.upper - sides.upper) : 0.0;
    const double below = has_lower ? reach(builder, row, sides.lower - range.lower) : 0.0;
    if (has_lower && has_upper) {
        std::vector<Entry> entries;
        const auto columns = model.matrix().row_columns(row);
        const auto values = model.matrix().row_values(row);
        const Relaxation lower = relaxation(indicator, -below);
        double own = lower.coefficient;
        for (std::size_t k = 0; k < columns.size(); ++k) {
            if (columns[k] == indicator.column)
                own += values[k];
            else
                entries.push_back({0, columns[k], values[k]});
        }
        entries.push_back({0, indicator.column, own});
        builder.add_row(sides.lower + lower.constant, kInfinity, entries);
    }
    const Relaxation own = has_upper ? relaxation(indicator, above) : relaxation(indicator, -below);
    builder.add_coefficient(row, indicator.column, own.coefficient);
    if (has_upper)
        builder.set_sides(row, {-kInfinity, sides.upper + own.constant});
    else
        builder.set_sides(row, {sides.lower + own.constant, kInfinity});
}

}  // namespace

void state_indicators(Builder& builder) {
    for (const auto& [row, indicator] : builder.source().indicators())
        state(builder, row, indicator);
}

}  // namespace qlx

// Indicator rows: a row that must hold only while a binary column says so. Stated, the row is
// relaxed by as much as it can be violated.
#include <algorithm>
#include <cmath>

#include "engine/base/errors.hpp"
#include "engine/constructs/builder.hpp"
#include "engine/constructs/construct.hpp"

namespace qlx {

namespace {

const Indicator& indicator_of(const Model& model, int row) {
    return model.indicators().at(row);
}

void require_binary(Model& model, int row) {
    const int col = indicator_of(model, row).column;
    const char type = model.col_type()[at(col)];
    const double lower = model.lb()[at(col)];
    const double upper = model.ub()[at(col)];
    if ((type == 'B' || type == 'I') && lower >= 0 && upper <= 1) return;
    fail(QLX_ERROR_ARGUMENT, "column ", col, " (\"", model.col_names().name(col),
         "\") is the indicator of row ", row, " and must be binary, or integer with bounds within ",
         "0 .. 1");
}

// How far the activity can go beyond the row's sides with the indicator at its inactive value.
struct Reach {
    double above;
    double below;

    [[nodiscard]] double largest() const { return std::max(above, below); }
};

Reach reach(Builder& builder, int row, const BoundVectors& bounds) {
    Model& model = builder.source();
    const Indicator& indicator = indicator_of(model, row);
    const Sides sides = model.sides(row);
    const Sides range =
        activity_range(model.matrix(), row, bounds, indicator.column, 1 - indicator.active);
    const auto beyond = [](bool stated, bool bounded, double distance) {
        if (!stated) return 0.0;
        return bounded ? std::max(0.0, distance) : kInfinity;
    };
    return {beyond(sides.upper < kInfinity, range.upper < kInfinity, range.upper - sides.upper),
            beyond(sides.lower > -kInfinity, range.lower > -kInfinity, sides.lower - range.lower)};
}

Reach reach(Builder& builder, int row) {
    constexpr double kComfortable = 1e3;
    const Reach stated = reach(builder, row, builder.stated());
    return stated.largest() <= kComfortable ? stated : reach(builder, row, builder.implied());
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

// A further row: activity >= lower - below * inactive.
void add_lower_side(Builder& builder, int row, double below) {
    Model& model = builder.source();
    const Indicator& indicator = indicator_of(model, row);
    const auto columns = model.matrix().row_columns(row);
    const auto values = model.matrix().row_values(row);
    const Relaxation lower = relaxation(indicator, -below);
    double own = lower.coefficient;
    std::vector<Entry> entries;
    for (std::size_t k = 0; k < columns.size(); ++k) {
        if (columns[k] == indicator.column)
            own += values[k];
        else
            entries.push_back({0, columns[k], values[k]});
    }
    entries.push_back({0, indicator.column, own});
    builder.add_row(model.sides(row).lower + lower.constant, kInfinity, entries);
}

class IndicatorRows final : public Construct {
  public:
    [[nodiscard]] std::vector<int> items(const Model& model) const override {
        std::vector<int> rows;
        for (const auto& [row, indicator] : model.indicators())
            if (model.row_type()[at(row)] != 'N') rows.push_back(row);
        return rows;
    }

    // A switch near one of its values counts as being there: how near is the column's business.
    [[nodiscard]] Violation violation(Model& model, int row, const Point& point) const override {
        const Indicator& indicator = indicator_of(model, row);
        if (std::round(point.x[indicator.column]) != indicator.active) return {};
        const double away = row_violation(model, row, point);
        return {away, 0, std::min(1.0, away)};
    }

    [[nodiscard]] double big_m(Builder& builder, int row) const override {
        require_binary(builder.source(), row);
        return reach(builder, row).largest();
    }

    // activity <= upper + above * inactive; the model's own row keeps this side, a new one takes
    // the lower side.
    void state(Builder& builder, int row) const override {
        const Indicator& indicator = indicator_of(builder.source(), row);
        const Sides sides = builder.source().sides(row);
        const bool has_upper = sides.upper < kInfinity;
        const bool has_lower = sides.lower > -kInfinity;
        const Reach most = reach(builder, row);
        if (has_lower && has_upper) add_lower_side(builder, row, most.below);
        const Relaxation own =
            has_upper ? relaxation(indicator, most.above) : relaxation(indicator, -most.below);
        builder.add_coefficient(row, indicator.column, own.coefficient);
        if (has_upper)
            builder.set_sides(row, {-kInfinity, sides.upper + own.constant});
        else
            builder.set_sides(row, {sides.lower + own.constant, kInfinity});
    }

    void tighten(Domains& domains, int row) const override {
        const Indicator& indicator = indicator_of(domains.model(), row);
        if (domains.is_fixed_at(indicator.column, indicator.active))
            return domains.tighten_by_row(row);
        if (domains.is_fixed_at(indicator.column, 1 - indicator.active)) return;
        if (domains.excludes_row(row, indicator.column, indicator.active))
            domains.limit_to(indicator.column, 1 - indicator.active, 1 - indicator.active);
    }

    void relax(Model& node, const std::vector<int>& rows) const override {
        for (const int row : rows) {
            node.remove_indicator(row);
            node.set_row_type(row, 'N', 0);
        }
    }

    // Either value of the switch, with all rows that hold then.
    [[nodiscard]] std::vector<Branch> branches(const Model& stated, const Model& node, int row,
                                               const double*) const override {
        const Indicator& indicator = indicator_of(stated, row);
        const double lower = node.lb()[at(indicator.column)];
        const double upper = node.ub()[at(indicator.column)];
        std::vector<Branch> children;
        for (const int value : {indicator.active, 1 - indicator.active}) {
            if (value < lower || value > upper) continue;
            Branch child{{{indicator.column, 1.0 * value, 1.0 * value}}, {}, {}};
            for (const auto& [other, its] : stated.indicators())
                if (its.column == indicator.column && its.active == value &&
                    node.row_type()[at(other)] != stated.row_type()[at(other)])
                    child.rows.push_back(other);
            if (lower < upper || !child.rows.empty()) children.push_back(std::move(child));
        }
        return children;
    }

    // The row may end the ray.
    [[nodiscard]] bool blocks_rays() const noexcept override { return true; }
};

}  // namespace

const Construct& indicators() {
    static const IndicatorRows& construct = *new IndicatorRows;  // for solves that outlive main
    return construct;
}

}  // namespace qlx

// Semi-continuous and semi-integer columns: 0, or between a limit and the upper bound.
#include <algorithm>
#include <cmath>

#include "engine/constructs/builder.hpp"
#include "engine/constructs/construct.hpp"

namespace qlx {

namespace {

bool is_semi_integer(const Model& model, int col) {
    return model.col_type()[at(col)] == 'R';
}

// The values beside 0; they are on one side of it, or 0 is among them.
struct Range {
    double least;
    double most;

    // Nothing but 0 is possible.
    [[nodiscard]] bool is_void() const {
        return least > most || least >= kInfinity || most <= -kInfinity;
    }
    [[nodiscard]] bool holds_zero() const { return least <= 0 && most >= 0; }
    [[nodiscard]] bool is_choice() const { return !is_void() && !holds_zero(); }
    // The end next to 0.
    [[nodiscard]] double near() const { return least > 0 ? least : most; }
};

Range range_of(const Model& model, int col) {
    return {std::max(model.limit(col), model.lb()[at(col)]), model.ub()[at(col)]};
}

class SemiContinuous final : public Construct {
  public:
    [[nodiscard]] std::vector<int> items(const Model& model) const override {
        std::vector<int> found;
        for (const auto& [col, limit] : model.constructs().limits)
            if (model.col_type()[at(col)] != 'P') found.push_back(col);
        return found;
    }

    // Bounds apart, so that only the gap between 0 and the range counts, and whole numbers.
    [[nodiscard]] Violation violation(Model& model, int col, const Point& point) const override {
        const double value = point.x[col];
        const Range range = range_of(model, col);
        Violation violation;
        if (is_semi_integer(model, col)) violation.types = distance_to_integer(value);
        if (range.is_void()) {
            violation.types = std::fabs(value);
        } else if (range.is_choice()) {
            const double near = range.near();
            const double missing =
                std::max(0.0, near > 0 ? near - value : value - near) / rounding_unit(near);
            violation.types = std::max(violation.types, std::min(missing, std::fabs(value)));
            violation.share = 2 * std::max(0.0, std::min(value / near, 1 - value / near));
        }
        return violation;
    }

    [[nodiscard]] double big_m(Builder& builder, int col) const override {
        const Range range = range_of(builder.source(), col);
        if (!range.is_choice()) return 0;
        return range.least > 0 ? builder.most(col) : -builder.least(col);
    }

    void state(Builder& builder, int col) const override {
        const Range range = range_of(builder.source(), col);
        if (is_semi_integer(builder.source(), col)) builder.set_integer(col);
        if (range.is_void()) return builder.set_bounds(col, 0, 0);
        if (range.holds_zero()) return builder.set_bounds(col, range.least, range.most);
        // switched * least <= x <= switched * most.
        const bool positive = range.least > 0;
        builder.set_bounds(col, positive ? 0 : range.least, positive ? range.most : 0);
        const int switched = builder.add_binary();
        const double most = positive ? builder.most(col) : range.most;
        const double least = positive ? range.least : builder.least(col);
        builder.add_row(-kInfinity, 0, {{0, col, 1.0}, {0, switched, -most}});
        builder.add_row(0, kInfinity, {{0, col, 1.0}, {0, switched, -least}});
    }

    void tighten(Domains& domains, int col) const override {
        const Range range = range_of(domains.model(), col);
        if (range.is_void()) return domains.limit_to(col, 0, 0);
        if (range.holds_zero() || domains.is_nonzero(col))
            return domains.limit_to(col, range.least, range.most);
        const double near = range.near();
        const double slack = 1e-6 * std::max(1.0, std::fabs(near));
        if (near > 0 ? domains.upper(col) < near - slack : domains.lower(col) > near + slack)
            domains.limit_to(col, 0, 0);
    }

    void relax(Model& node, const std::vector<int>& columns) const override {
        for (const int col : columns) {
            const Range range = range_of(node, col);
            node.set_col_type(col, is_semi_integer(node, col) ? 'I' : 'C');
            node.set_lb(col, range.is_void() ? 0 : std::min(range.least, 0.0));
            node.set_ub(col, range.is_void() ? 0 : std::max(range.most, 0.0));
        }
    }

    [[nodiscard]] std::vector<Branch> branches(const Model& stated, const Model& node, int col,
                                               const double* x) const override {
        const Range range = range_of(stated, col);
        const double lower = node.lb()[at(col)];
        const double upper = node.ub()[at(col)];
        const bool in_range = lower >= range.least && upper <= range.most;
        if (!range.is_choice() || in_range || (lower == 0 && upper == 0)) return {};
        std::vector<Branch> children;
        children.push_back({{{col, 0, 0}}, {}, {}});
        children.push_back({{{col, range.least, range.most}}, {}, {}});
        if (x == nullptr || x[col] / range.near() >= 0.5) std::swap(children[0], children[1]);
        return children;
    }

    // Far along a ray the column is within its range, or does not move.
    [[nodiscard]] bool blocks_rays() const noexcept override { return false; }
};

}  // namespace

const Construct& semicontinuous() {
    static const SemiContinuous& construct = *new SemiContinuous;  // for solves that outlive main
    return construct;
}

}  // namespace qlx

// Partial integers: integer up to a limit, continuous from the limit on.
#include <algorithm>
#include <cmath>

#include "engine/constructs/builder.hpp"
#include "engine/constructs/construct.hpp"

namespace qlx {

namespace {

class PartialInteger final : public Construct {
  public:
    [[nodiscard]] std::vector<int> items(const Model& model) const override {
        std::vector<int> found;
        for (const auto& [col, limit] : model.constructs().limits)
            if (model.col_type()[at(col)] == 'P') found.push_back(col);
        return found;
    }

    [[nodiscard]] Violation violation(Model& model, int col, const Point& point) const override {
        const double value = point.x[col];
        const double limit = model.limit(col);
        const double missing = std::max(0.0, limit - value);
        const double away = distance_to_integer(value);
        Violation violation;
        violation.types = std::min(away, missing / rounding_unit(limit));
        violation.share = std::min({2 * away, missing, 1.0});
        return violation;
    }

    [[nodiscard]] double big_m(Builder& builder, int col) const override {
        const double limit = builder.source().limit(col);
        if (builder.lower(col) >= limit || builder.most(col) < limit) return 0;
        if (std::ceil(builder.lower(col)) > std::floor(limit)) return 0;
        const double top = std::floor(limit);
        return std::max(difference(builder.most(col), top),
                        difference(top, std::ceil(builder.least(col))));
    }

    // x = whole + rest, where rest may be above 0 only when beyond is 1, and then whole is at its
    // top.
    void state(Builder& builder, int col) const override {
        const double limit = builder.source().limit(col);
        if (builder.lower(col) >= limit) return;  // continuous throughout
        if (builder.most(col) < limit) return builder.set_integer(col);
        const double top = std::floor(limit);
        const double bottom = std::ceil(builder.least(col));
        const double most = builder.most(col);
        if (bottom > top)  // no integer below the limit is within bounds
            return builder.set_bounds(col, limit, builder.upper(col));
        const int beyond = builder.add_binary();
        const int rest = builder.add_column(0, most - top, false);
        const int whole = builder.add_column(bottom, top, true);
        builder.add_row(0, 0, {{0, col, 1.0}, {0, whole, -1.0}, {0, rest, -1.0}});
        builder.add_row(-kInfinity, 0, {{0, rest, 1.0}, {0, beyond, -(most - top)}});
        builder.add_row(0, kInfinity, {{0, rest, 1.0}, {0, beyond, -(limit - top)}});
        builder.add_row(bottom, kInfinity, {{0, whole, 1.0}, {0, beyond, -(top - bottom)}});
    }

    void tighten(Domains& domains, int col) const override {
        const double limit = domains.model().limit(col);
        const double slack = 1e-6 * std::max(1.0, std::fabs(limit));
        const double top = std::floor(limit);
        if (domains.lower(col) > top + slack) domains.limit_to(col, limit, kInfinity);
        if (domains.upper(col) < limit - slack)
            domains.limit_to(col, -kInfinity, std::floor(domains.upper(col) + slack));
    }

    void relax(Model& node, const std::vector<int>& columns) const override {
        for (const int col : columns)
            node.set_col_type(col, node.ub()[at(col)] < node.limit(col) ? 'I' : 'C');
    }

    [[nodiscard]] std::vector<Branch> branches(const Model& stated, const Model& node, int col,
                                               const double* x) const override {
        const double limit = stated.limit(col);
        if (node.lb()[at(col)] >= limit || node.col_type()[at(col)] == 'I') return {};
        std::vector<Branch> children;
        children.push_back({{{col, -kInfinity, std::floor(limit)}}, {}, {col}});
        children.push_back({{{col, limit, kInfinity}}, {}, {}});
        if (x != nullptr && limit - x[col] < 0.5) std::swap(children[0], children[1]);
        return children;
    }

    // Upwards a ray leaves the limit behind, downwards its points at whole steps remain.
    [[nodiscard]] bool blocks_rays() const noexcept override { return false; }

  private:
    static double difference(double a, double b) {
        return std::max(std::fabs(a), std::fabs(b)) >= kInfinity ? kInfinity : a - b;
    }
};

}  // namespace

const Construct& partial_integer() {
    static const PartialInteger& construct = *new PartialInteger;  // for solves that outlive main
    return construct;
}

}  // namespace qlx

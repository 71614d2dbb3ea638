// Semi-continuous and semi-integer columns: 0, or between a limit and the upper bound.
#include <algorithm>

#include "engine/constructs/builder.hpp"
#include "engine/constructs/reformulation.hpp"

namespace qlx {

namespace {

bool is_semicontinuous(char type) {
    return type == 'S' || type == 'R';
}

SemicontinuousColumn range_of(const Model& model, int col) {
    const auto at = static_cast<std::size_t>(col);
    return {col, std::max(model.limit(col), model.lb()[at]), model.ub()[at]};
}

// Nothing but 0 is possible.
bool is_void(const SemicontinuousColumn& range) {
    return range.least > range.most || range.least >= kInfinity || range.most <= -kInfinity;
}

bool holds_zero(const SemicontinuousColumn& range) {
    return range.least <= 0 && range.most >= 0;
}

void state(Builder& builder, int col, bool integer) {
    const SemicontinuousColumn range = range_of(builder.source(), col);
    const double least = range.least;
    const double stated_most = range.most;
    if (integer) builder.set_integer(col);
    if (is_void(range)) {
        builder.set_bounds(col, 0, 0);
        return;
    }
    if (holds_zero(range)) {
        builder.set_bounds(col, least, stated_most);
        return;
    }
    // switched * least <= x <= switched * most.
    const int switched = builder.add_binary();
    if (least > 0) {
        builder.set_bounds(col, 0, stated_most);
        const double most = builder.finite_upper(col, "a semi-continuous column");
        builder.add_row(-kInfinity, 0, {{0, col, 1.0}, {0, switched, -most}});
        builder.add_row(0, kInfinity, {{0, col, 1.0}, {0, switched, -least}});
    } else {
        builder.set_bounds(col, least, 0);
        const double low = builder.finite_lower(col, "a semi-continuous column");
        builder.add_row(-kInfinity, 0, {{0, col, 1.0}, {0, switched, -stated_most}});
        builder.add_row(0, kInfinity, {{0, col, 1.0}, {0, switched, -low}});
    }
}

}  // namespace

void state_semicontinuous(Builder& builder) {
    const std::vector<char>& types = builder.source().col_type();
    for (int col = 0; col < builder.source().num_cols(); ++col) {
        const char type = types[static_cast<std::size_t>(col)];
        if (is_semicontinuous(type)) state(builder, col, type == 'R');
    }
}

std::vector<SemicontinuousColumn> unbounded_semicontinuous(Model& model, double largest_bound) {
    std::vector<SemicontinuousColumn> found;
    if (model.num_entities() == 0) return found;
    for (int col = 0; col < model.num_cols(); ++col) {
        if (!is_semicontinuous(model.col_type()[static_cast<std::size_t>(col)])) continue;
        const SemicontinuousColumn range = range_of(model, col);
        if (is_void(range) || holds_zero(range) || range.reach() <= largest_bound) continue;
        found.push_back(range);
    }
    if (found.empty()) return found;
    const BoundVectors implied = propagate_bounds(model);
    std::erase_if(found, [&](const SemicontinuousColumn& range) {
        const auto at = static_cast<std::size_t>(range.col);
        return (range.least > 0 ? implied.upper[at] : -implied.lower[at]) <= largest_bound;
    });
    return found;
}

}  // namespace qlx

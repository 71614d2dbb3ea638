// Semi-continuous and semi-integer columns: 0, or between a limit and the upper bound.
#include <algorithm>
#include <cmath>

#include "engine/reformulate/builder.hpp"

namespace qlx {

namespace {

void state(Builder& builder, int col, bool integer) {
    Model& model = builder.source();
    const double least = std::max(model.limit(col), model.lb()[static_cast<std::size_t>(col)]);
    const double stated_most = model.ub()[static_cast<std::size_t>(col)];
    if (integer) builder.set_integer(col);
    if (least > stated_most) {
        builder.set_bounds(col, 0, 0);
        return;
    }
    if (least <= 0 && stated_most >= 0) {  // 0 is in the range already
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
        if (type == 'S' || type == 'R') state(builder, col, type == 'R');
    }
}

}  // namespace qlx

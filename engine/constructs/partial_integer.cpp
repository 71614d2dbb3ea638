// Partial integers: integer up to a limit, continuous from the limit on.
#include <cmath>

#include "engine/constructs/builder.hpp"

namespace qlx {

namespace {

// x = whole + rest, where rest may be above 0 only when beyond is 1, and then whole is at its top.
void state(Builder& builder, int col) {
    const double limit = builder.source().limit(col);
    if (builder.lower(col) >= limit) return;  // continuous throughout
    if (builder.upper(col) < limit) {
        builder.set_integer(col);
        return;
    }
    const double top = std::floor(limit);
    const double bottom = std::ceil(builder.finite_lower(col, "a partial integer"));
    const double most = builder.finite_upper(col, "a partial integer");
    if (most < limit) {  // by what the rows imply
        builder.set_integer(col);
        return;
    }
    if (bottom > top) {  // no integer below the limit is within bounds
        builder.set_bounds(col, limit, builder.upper(col));
        return;
    }
    const int beyond = builder.add_binary();
    const int rest = builder.add_column(0, most - top, false);
    const int whole = builder.add_column(bottom, top, true);
    builder.add_row(0, 0, {{0, col, 1.0}, {0, whole, -1.0}, {0, rest, -1.0}});
    builder.add_row(-kInfinity, 0, {{0, rest, 1.0}, {0, beyond, -(most - top)}});
    builder.add_row(0, kInfinity, {{0, rest, 1.0}, {0, beyond, -(limit - top)}});
    builder.add_row(bottom, kInfinity, {{0, whole, 1.0}, {0, beyond, -(top - bottom)}});
}

}  // namespace

void state_partial_integers(Builder& builder) {
    const std::vector<char>& types = builder.source().col_type();
    for (int col = 0; col < builder.source().num_cols(); ++col)
        if (types[static_cast<std::size_t>(col)] == 'P') state(builder, col);
}

}  // namespace qlx

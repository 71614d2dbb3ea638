// Bounds that keep columns within the domains of functions taken of them directly.
#pragma once

#include <vector>

#include "engine/nlp/statement/statement.hpp"

namespace qlx::nlp {

// A column with the bounds that a statement has it in so that sqrt, log, log10, asin, acos and
// powers with broken exponents of it are defined; what the given bounds are is kept beside.
struct DomainBound {
    int column;
    double lower;
    double upper;
    double given_lower;
    double given_upper;
};

// Tightens the moving columns' bounds, and returns what was tightened. The bounds are those of the
// domain's hull: log keeps its 0.
std::vector<DomainBound> apply_domain_bounds(Statement& statement);

// One flag a column: whether an end of the domain of a function taken of it directly is within its
// bounds or one of them.
[[nodiscard]] std::vector<char> columns_at_domain_ends(const Statement& statement);

}  // namespace qlx::nlp

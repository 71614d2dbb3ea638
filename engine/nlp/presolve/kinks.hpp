// abs, max, min and sign out of the way of solvers that want derivatives.
#pragma once

#include "engine/nlp/statement/statement.hpp"

namespace qlx::nlp {

// A statement with columns and rows of its own after those of the given one: answers about the
// latter are the first columns, moving columns and rows of answers about it. It refers to the
// formulas of the given one, which has to stay.
struct KinkReformulation {
    Statement statement;
    int replaced = 0;  // kinks; terms that have some, where they are smoothed
    int left = 0;
};

// Exact: max(a, b, ...) becomes a new column t with rows a - t <= 0, b - t <= 0, ... where the
// objective and all rows that have it can only gain by a smaller t: what is minimised or has an
// upper side rises with it, what has a lower side falls. min and abs alike. Slopes are taken from
// the intervals of the bounds. Where the functions are convex, the new rows are.
//
// A nonlinear objective has to be in the objective: run presolve first, as an equality that defines
// a column may gain by neither direction.
[[nodiscard]] KinkReformulation reformulate_kinks(const Statement& given);

// Smooth, for solvers that need second derivatives: abs(x) becomes sqrt(x^2 + eps^2), max(a, b)
// becomes (a + b + sqrt((a - b)^2 + eps^2)) / 2, sign(x) becomes x / sqrt(x^2 + eps^2), in all
// places; eps > 0 is in units of the arguments. abs is off by at most eps, max and min by eps / 2
// for each argument beyond the first. To end exactly: solve with eps falling (1e-2, 1e-4, 1e-6,
// 1e-8), each time from the last point, and check the last point on the given statement with the
// derivatives of the active pieces; where that fails, the point is at a kink, and a method with
// linear pieces goes on from it. `left` counts terms that would become too
// long.
[[nodiscard]] KinkReformulation smooth_kinks(const Statement& given, double eps);

}  // namespace qlx::nlp

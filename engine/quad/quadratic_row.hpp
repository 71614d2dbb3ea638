// Recognises the convex set that a quadratic row describes.
#pragma once

#include <span>
#include <vector>

#include "engine/quad/convex_program.hpp"

namespace qlx::quad {

enum class RowShape {
    kFree,       // no side that the column bounds do not imply
    kLinear,     // the quadratic part vanishes
    kEllipsoid,  // 1/2 x'Qx + a'x <= upper with Q positive semidefinite
    kCone,       // one negative eigenvalue, and the column bounds leave one nappe
    kNonconvex,
    kUndecided,
};

// A quadratic row over the columns it uses, turned to one upper side: sign is -1 where the row's
// lower side counts. All vectors and matrices are indexed by place in `columns`.
//
// Where the shape is cone, the row says  |x - apex| <= axis'(x - apex)  with the seminorm
// |d| = sqrt(d'Pd + offset), P positive semidefinite: 1/2 x'Qx + a'x - upper is half the difference
// of the squares. This covers x'Px <= t^2 with t >= 0, x'Px <= st with s, t >= 0, sums of columns
// in place of s and t, and linear terms that only shift the apex.
struct ConvexRow {
    RowShape shape = RowShape::kFree;
    double sign = 1.0;
    double upper = 0.0;
    std::vector<int> columns;
    SparseColumns hessian;
    std::vector<double> linear;

    SparseColumns spread;  // P
    std::vector<double> axis;
    std::vector<double> apex;
    std::vector<double> inside;  // a direction from the apex into the cone
    double offset = 0.0;

    int first_column = -1;  // where nonconvex: the pair that shows it
    int second_column = -1;
};

// Columns with equal bounds count as constants.
ConvexRow recognise(const QuadraticRow& row, std::span<const double> column_lower,
                    std::span<const double> column_upper);

}  // namespace qlx::quad

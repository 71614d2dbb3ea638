// Decides whether a symmetric matrix is positive semidefinite.
#pragma once

#include <vector>

#include "engine/quad/sparse_columns.hpp"

namespace qlx::quad {

// Eigenvalues down to minus this, relative to the matrix scaled to a unit diagonal, count as zero:
// coefficients with seven or eight digits and sums in floating point leave errors of that size.
inline constexpr double kCurvatureTolerance = 1e-7;

enum class Curvature {
    kConvex,
    kNonconvex,
    kUndecided,  // the factor would not fit into memory
};

struct CurvatureVerdict {
    Curvature curvature = Curvature::kConvex;
    // The pair of columns that shows negative curvature best; equal for a negative diagonal entry.
    int first_column = -1;
    int second_column = -1;
    // A direction v with v'Qv < 0, and that value over v'diag(Q)v (minus infinity where that is 0).
    std::vector<double> direction;
    double ratio = 0.0;
};

// `upper` is the upper triangle of Q. Tests the diagonal, the 2 by 2 minors of all entries,
// diagonal dominance, and at last a factorisation of the scaled matrix shifted by the tolerance; a
// negative answer is always backed by a direction whose curvature has been evaluated.
CurvatureVerdict test_curvature(const SparseColumns& upper);

}  // namespace qlx::quad

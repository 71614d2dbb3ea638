// A sparse factor of a positive semidefinite matrix of any rank.
#pragma once

#include <span>
#include <vector>

#include "engine/quad/sparse_columns.hpp"

namespace qlx::quad {

// F with F'F = Q, as many rows as Q's rank; row k belongs to the pivot in column pivot[k], and has
// entries in that column and in columns eliminated after it only.
struct SemidefiniteFactor {
    SparseColumns by_row;  // F', so that its columns are F's rows, in the order of elimination
    std::vector<int> pivot;
    std::vector<double> pivot_value;

    // The w that takes the linear term into the square, |Fx - w|^2 / 2 = x'Qx / 2 - (F'w)'x + ...:
    // F'w = -linear in all pivots' columns. What is left of the linear term in the others is
    // written to `rest`.
    std::vector<double> complete_square(std::span<const double> linear,
                                        std::vector<double>& rest) const;
};

// Takes Q's upper triangle; Q is positive semidefinite up to rounding errors. Pivots that vanish
// beside their diagonal entry are left out with their columns.
SemidefiniteFactor factor_semidefinite(const SparseColumns& upper);

}  // namespace qlx::quad

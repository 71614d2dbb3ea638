// Sparse matrices compressed by column, with sorted rows and no repeated entries.
#pragma once

#include <span>
#include <vector>

namespace qlx::quad {

// One entry of a sparse matrix; repeated positions add up.
struct Triplet {
    int row;
    int column;
    double value;
};

struct SparseColumns {
    int rows = 0;
    int columns = 0;
    std::vector<int> start{0};  // columns + 1 positions
    std::vector<int> index;     // row of each entry, increasing within a column
    std::vector<double> value;

    int entries() const noexcept { return start.back(); }
};

// Sorts the entries and adds up repeated ones; entries that are or become exactly zero are dropped.
SparseColumns compress(int rows, int columns, std::span<const Triplet> entries);

// The upper triangle of a symmetric matrix of which each off-diagonal pair is given on either side.
SparseColumns compress_symmetric(int order, std::span<const Triplet> entries);

SparseColumns transpose(const SparseColumns& matrix);

// out += scale * matrix * x, and the same with the transposed matrix.
void add_product(const SparseColumns& matrix, double scale, std::span<const double> x,
                 std::span<double> out) noexcept;
void add_transposed_product(const SparseColumns& matrix, double scale, std::span<const double> x,
                            std::span<double> out) noexcept;

// out += scale * (symmetric matrix with this upper triangle) * x.
void add_symmetric_product(const SparseColumns& upper, double scale, std::span<const double> x,
                           std::span<double> out) noexcept;

// x'Qx for the symmetric matrix Q with this upper triangle.
double quadratic_form(const SparseColumns& upper, std::span<const double> x) noexcept;

std::vector<double> diagonal_of(const SparseColumns& upper);

}  // namespace qlx::quad

// Vectors, and the two sparse forms that derivatives come in: a matrix by rows, a symmetric matrix.
#pragma once

#include <Eigen/Core>
#include <vector>

#include "engine/nlp/local_solver.hpp"

namespace qlx::nlp::slp {

using Vector = Eigen::VectorXd;
using Matrix = Eigen::MatrixXd;

// Structure of a matrix by rows, made of a pattern that may repeat positions.
class RowStructure {
  public:
    void build(const SparsePattern& pattern, int rows, int columns);

    [[nodiscard]] int rows() const noexcept { return static_cast<int>(start_.size()) - 1; }
    [[nodiscard]] int entries() const noexcept { return static_cast<int>(column_.size()); }
    [[nodiscard]] int begin(int row) const noexcept {
        return start_[static_cast<std::size_t>(row)];
    }
    [[nodiscard]] int end(int row) const noexcept { return begin(row + 1); }
    [[nodiscard]] int column(int entry) const noexcept {
        return column_[static_cast<std::size_t>(entry)];
    }

    // Entries of the pattern added up at their places.
    void gather(const Vector& pattern_values, Vector& values) const;
    // out = A x
    void multiply(const Vector& values, const Vector& x, Vector& out) const;
    // out += scale * A'y
    void add_transposed(const Vector& values, const Vector& y, double scale, Vector& out) const;
    [[nodiscard]] double row_product(const Vector& values, int row, const Vector& x) const;

  private:
    std::vector<int> start_{0};
    std::vector<int> column_;
    std::vector<int> place_;  // of every entry of the pattern
};

// A symmetric matrix by the entries of its lower triangle, positions maybe repeated.
class SymmetricStructure {
  public:
    void build(const SparsePattern& pattern);
    [[nodiscard]] int entries() const noexcept { return static_cast<int>(row_.size()); }
    [[nodiscard]] int row(int entry) const noexcept {
        return row_[static_cast<std::size_t>(entry)];
    }
    [[nodiscard]] int column(int entry) const noexcept {
        return column_[static_cast<std::size_t>(entry)];
    }

    // out = H x
    void multiply(const Vector& values, const Vector& x, Vector& out) const;
    // dense(i, j) = H(i, j) scale(i) scale(j), both triangles; `dense` is square and of the order
    // of the matrix.
    void scatter(const Vector& values, const Vector& scale, Matrix& dense) const;

  private:
    std::vector<int> row_;
    std::vector<int> column_;
};

}  // namespace qlx::nlp::slp

// The factors that a dual active-set method keeps of its active normals.
#pragma once

#include "engine/nlp/slp/sparse_forms.hpp"

namespace qlx::nlp::slp {

// With B = LL' and the active normals N: L^-1 N = Q [R; 0] and inverse() = L^-T Q, of which the
// first count() columns belong to R and the others span the null space of N' (Goldfarb, Idnani
// 1983). Normals are added by a Householder reflection and taken out by Givens rotations, each in a
// number of operations that grows with the square of the order.
class DualFactor {
  public:
    // Forgets all normals. `lower` is L of B, its upper triangle is not read.
    void start(const Matrix& lower);

    [[nodiscard]] int order() const noexcept { return static_cast<int>(inverse_.rows()); }
    [[nodiscard]] int count() const noexcept { return count_; }
    [[nodiscard]] const Matrix& inverse() const noexcept { return inverse_; }

    // Of a normal a: w = inverse()'a. Then B^-1 projected and applied to a is the product of the
    // last columns of inverse() with the last entries of w.
    void transform(const Eigen::Ref<const Vector>& normal, Vector& w) const {
        w.noalias() = inverse_.transpose() * normal;
    }
    void transform_unit(int column, Vector& w) const { w = inverse_.row(column).transpose(); }
    // The first count() entries of w are overwritten by R^-1 w, and R^-T w.
    void solve(Vector& w) const;
    void solve_transposed(Vector& w) const;

    // Adds the normal of which w is the transform; destroys w.
    void add(Vector& w);
    void remove(int position);

  private:
    int count_ = 0;
    Matrix inverse_;
    Matrix r_;
    Vector work_;
};

}  // namespace qlx::nlp::slp

// Orthogonal factor of the normals of a working set, and the Hessian in their null space.
#pragma once

#include "engine/nlp/slp/sparse_forms.hpp"

namespace qlx::nlp::slp {

// A' = Q [R; 0] for the rows of A, added one by one by Householder reflections. Rows that depend on
// the ones before are refused.
class WorkingSetFactor {
  public:
    // Forgets all rows; `size` columns.
    void start(int size);
    // The row comes in `row` of length size() and is destroyed. False where it is refused.
    bool add(Eigen::Ref<Vector> row);

    [[nodiscard]] int size() const noexcept { return size_; }
    [[nodiscard]] int rank() const noexcept { return rank_; }

    // v := Q'v and v := Qv
    void rotate(Eigen::Ref<Vector> v) const;
    void rotate_back(Eigen::Ref<Vector> v) const;
    // The first rank() entries are overwritten: by R^-1 v (multipliers) and R^-T v (range steps).
    void solve(Eigen::Ref<Vector> v) const;
    void solve_transposed(Eigen::Ref<Vector> v) const;

    // Carries on what is left of Q'HQ beyond the first `from` columns to what is left beyond the
    // first rank() ones: the lower right corner of `hessian` is overwritten.
    void reduce(Matrix& hessian, int from) const;

  private:
    int size_ = 0;
    int rank_ = 0;
    Matrix reflectors_;  // column k is 0 above entry k
    Matrix r_;
    Vector factor_;  // H_k = I - factor u u'
    mutable Vector work_;
};

}  // namespace qlx::nlp::slp

// A quadratic model in a ball: Newton's step where the matrix is nearly semidefinite, else the
// exact solution of the trust-region problem.
#pragma once

#include <Eigen/Eigenvalues>

#include "engine/nlp/slp/sparse_forms.hpp"

namespace qlx::nlp::slp {

// Overwrites the lower triangle of `matrix` by its Cholesky factor; false where a pivot is not
// above `floor`.
bool factor_definite(Eigen::Ref<Matrix> matrix, double floor);
// Overwrites v by the solution of L L'x = v.
void solve_definite(const Eigen::Ref<const Matrix>& factor, Eigen::Ref<Vector> v);

class ReducedStep {
  public:
    // Overwrites `gradient` by a step u with |u| <= radius that makes g'u + u'Hu/2 small. Where
    // eigenvalues are needed they are shifted, not followed, unless the lowest is clearly negative:
    // symmetries and degenerate minima would send an exact step far off.
    void solve(const Eigen::Ref<const Matrix>& hessian, Eigen::Ref<Vector> gradient, double radius);
    // The least eigenvalue.
    double least_eigenvalue(const Eigen::Ref<const Matrix>& matrix);

  private:
    void shifted(Eigen::Ref<Vector> gradient, double radius);
    void exact(Eigen::Ref<Vector> gradient, double radius);

    Matrix factor_;
    Eigen::SelfAdjointEigenSolver<Matrix> eigen_;
    Vector slope_;
    Vector step_;
};

}  // namespace qlx::nlp::slp

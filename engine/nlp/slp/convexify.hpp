// A definite matrix beside the Hessian of the Lagrangian.
#pragma once

#include <Eigen/Eigenvalues>

#include "engine/nlp/slp/sparse_forms.hpp"

namespace qlx::nlp::slp {

// Finds B with B = H where H is definite; else H + r A'A with rows A of a working set, which leaves
// H as it is in the null space of A; else the eigenvalues of the last of these are replaced by
// their sizes. Keeps B's Cholesky factor.
class Convexified {
  public:
    // `normals` has the rows of A as columns. Returns whether H itself was definite.
    bool compute(const Matrix& hessian, const Matrix& normals);
    [[nodiscard]] const Matrix& factor() const noexcept { return factor_; }

  private:
    bool try_factor(const Matrix& matrix);

    double size_ = 1;
    Matrix factor_;
    Matrix trial_;
    Matrix product_;
    Eigen::SelfAdjointEigenSolver<Matrix> eigen_;
};

}  // namespace qlx::nlp::slp

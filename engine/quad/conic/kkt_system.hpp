// The linear systems of the method: factored once per iteration, solved with refinement.
#pragma once

#include <span>
#include <vector>

#include "engine/quad/conic/scaling.hpp"
#include "engine/quad/sparse_factor.hpp"

namespace qlx::quad::conic {

// The matrix [P A'; A -W^2], by its upper triangle. W^2 is dense on a small second-order cone; on a
// large one it is  eta^2 (diag(d, 1, ..., 1) + uu' - vv'),  stated by two more columns (Domahidi,
// Chu and Boyd 2013; Goulart and Chen 2024), which keeps the matrix quasidefinite.
class KktSystem {
  public:
    KktSystem(const SparseColumns& hessian, const SparseColumns& rows, const ConeProduct& cones);

    // False where the factor would be too large: then nothing else may be called.
    bool ready() const noexcept { return ready_; }

    // Takes W and factors. The diagonal gets the regularisation, which refinement takes back;
    // a pivot that rounding made too small or gave the wrong sign is replaced.
    void factorize(const Scaling& scaling, double regularization);

    // Solves for the right-hand side (x, z), which is overwritten with the solution. Returns false
    // where that is not finite or far off.
    bool solve(std::span<double> x, std::span<double> z);

  private:
    void build(const SparseColumns& hessian, const SparseColumns& rows);
    void write_cone(const Block& block, std::span<const double> w, double eta, int extra);
    double residual();  // largest entry of right_ - matrix * solution_, which residual_ becomes

    const ConeProduct& cones_;
    const int columns_;  // of x
    int order_ = 0;
    bool ready_ = false;
    SparseColumns matrix_;
    std::vector<int> extra_;         // a block's first extra column, or -1
    std::vector<signed char> sign_;  // of the pivots
    std::vector<double> shift_;
    double diagonal_ = 0.0;  // the largest entry in size
    SparseFactor factor_;
    std::vector<double> right_;
    std::vector<double> solution_;
    std::vector<double> residual_;
    std::vector<double> best_;
};

}  // namespace qlx::quad::conic

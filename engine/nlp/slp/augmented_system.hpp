// Sparse systems with a symmetric matrix and the rows of a working set.
//
//   [ G  A' ] [ x ]   [ r ]
//   [ A  0  ] [ w ] = [ b ]
#pragma once

#include <vector>

#include "engine/nlp/slp/linearisation.hpp"
#include "engine/quad/sparse_factor.hpp"

namespace qlx::nlp::slp {

// G = identity, or Hessian + shift * identity where that is definite. All columns and rows of the
// problem keep their places, so that one analysis serves all working sets: x is 0 in fixed columns
// and w in rows outside of the set. Everything is relative to the columns' lengths.
class AugmentedSystem {
  public:
    // False where the factor would not fit into memory.
    [[nodiscard]] bool analyze(const ScaledProblem& problem, bool with_hessian);
    // `hessian` may be null without one. Flags tell fixed columns and the rows of the set.
    void factor(const Linearisation& model, const Vector* hessian, double shift,
                const std::vector<char>& fixed, const std::vector<char>& in_set);
    // Solves with refinement; r and b are overwritten by x and w.
    void solve(Vector& r, Vector& b);

  private:
    void multiply(const Vector& x, const Vector& w, Vector& top, Vector& bottom) const;

    int columns_ = 0;
    int rows_ = 0;
    bool with_hessian_ = false;
    std::vector<int> hessian_place_;  // of the Hessian's entries among upper_'s
    std::vector<int> row_place_;      // of the Jacobian's entries
    std::vector<int> diagonal_;
    quad::SparseColumns upper_;
    quad::SparseFactor factor_;
    std::vector<double> regularisation_;
    std::vector<signed char> sign_;
    std::vector<double> right_;
    Vector x_, w_, top_, bottom_;
};

// Structure and definiteness of a Hessian on free columns.
class ShiftedHessian {
  public:
    [[nodiscard]] bool analyze(const ScaledProblem& problem);
    // Whether Hessian + shift * identity is definite on the columns that are not fixed.
    [[nodiscard]] bool is_definite(const Linearisation& model, const Vector& hessian, double shift,
                                   const std::vector<char>& fixed);

  private:
    std::vector<int> place_;
    std::vector<int> diagonal_;
    quad::SparseColumns upper_;
    quad::SparseFactor factor_;
};

}  // namespace qlx::nlp::slp

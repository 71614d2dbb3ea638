// The first step of an iteration by a dense quadratic program.
#pragma once

#include "engine/nlp/slp/convexify.hpp"
#include "engine/nlp/slp/dense_qp.hpp"
#include "engine/nlp/slp/subproblems.hpp"

namespace qlx::nlp::slp {

// Rows must hold where they can in the box; only where they cannot the penalty is steered.
class DenseFirstPhase final : public FirstPhase {
  public:
    [[nodiscard]] bool uses_hessian() const noexcept override { return true; }
    void bind(const ScaledProblem& problem) override;
    bool first_step(const Linearisation& model, const FirstStepRequest& request,
                    const WorkingSet& last, double& penalty, FirstStep& step,
                    LocalCounts& counts) override;

    // Whether a Hessian was met that was not definite, since bind().
    [[nodiscard]] bool met_negative_curvature() const noexcept { return met_negative_curvature_; }

  private:
    void load_model(const Linearisation& model, const FirstStepRequest& request,
                    const WorkingSet& last);
    void load_box(const Linearisation& model, double box);
    void set_caps(const Linearisation& model, double cap, bool linear_rows_hold);
    bool solve(const Matrix& factor, const Vector& gradient, LocalCounts& counts);
    bool solve_elastic(const Linearisation& model, double cap, const Matrix& factor,
                       const Vector& gradient, LocalCounts& counts);
    [[nodiscard]] double residue() const;
    double least_residue(const Linearisation& model, double box, LocalCounts& counts);
    void read(const Linearisation& model, FirstStep& step) const;

    DenseQp qp_;
    Convexified convexified_;
    Matrix hessian_;
    Matrix set_normals_;
    Matrix identity_;
    Vector gradient_, zero_;
    bool met_negative_curvature_ = false;
};

}  // namespace qlx::nlp::slp

// Linear programs solved to more digits than a kernel has tolerances for.
#pragma once

#include <vector>

#include "engine/check/matrix_view.hpp"
#include "engine/lp/lp_kernel.hpp"
#include "engine/solve/solve_session.hpp"

namespace qlx {

// Iterative refinement (Gleixner, Steffy and Wolter, "Iterative refinement for linear programming",
// 2016): what a solution leaves of sides, bounds and costs, magnified, is a linear program of the
// same matrix, whose solution corrects it. Activities are columns of their own, so that all rows
// are equations, as the method needs. Rows and columns are scaled first, so that a kernel's
// absolute tolerances mean the same to all of them. Nothing is claimed: points, duals and rays
// are to be checked.
class Refinement {
  public:
    // To minimise.
    Refinement(SolveSession& session, const ProgramView& program, const KernelOptions& options);

    // The next solve, at first of the scaled program itself. False where there is none: limits, a
    // result that corrects nothing, or enough of them.
    bool advance();
    // Of the last solve. Where it was optimal its duals count, else perhaps a ray.
    [[nodiscard]] KernelOutcome outcome() const noexcept { return outcome_; }
    // Where it ended, optimal or not; the program's columns.
    [[nodiscard]] std::vector<double> x() const;
    [[nodiscard]] const std::vector<double>& duals() const noexcept { return duals_; }
    [[nodiscard]] std::vector<double> primal_ray();
    [[nodiscard]] std::vector<double> dual_ray();

  private:
    struct Residuals;
    [[nodiscard]] bool load();
    [[nodiscard]] bool magnify();
    [[nodiscard]] bool restate();
    [[nodiscard]] bool needs_another_way() const noexcept;
    [[nodiscard]] Residuals residuals(double primal, double dual) const;
    void correct();

    SolveSession& session_;
    KernelOptions options_;
    LpKernel kernel_;
    std::size_t num_columns_;    // of the program
    LinearStatement equations_;  // A x - r = 0 with activities r, scaled by powers of 2
    std::vector<double> column_scale_, row_scale_;  // what was multiplied
    std::vector<double> point_, multipliers_;       // of the scaled equations
    std::vector<double> duals_;
    double primal_factor_ = 1, dual_factor_ = 1;
    int rounds_ = 0;
    KernelOutcome outcome_ = KernelOutcome::kUnknown;
};

}  // namespace qlx

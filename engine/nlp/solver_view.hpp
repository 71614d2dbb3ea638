// A problem as a local solver is to see it: from another start, the objective times a factor.
#pragma once

#include <utility>

#include "engine/nlp/local_solver.hpp"

namespace qlx::nlp {

// Tolerances of optimality are absolute, and of 1e-8 (x - 3)^2 every point would be optimal: hence
// the factor. Duals are those of the scaled objective.
class SolverView final : public LocalProblem {
  public:
    SolverView(LocalProblem& problem, double factor, std::vector<double> start) noexcept
        : problem_(problem), factor_(factor), start_(std::move(start)) {}

    void start_at(std::vector<double> start) noexcept { start_ = std::move(start); }

    [[nodiscard]] double factor() const noexcept { return factor_; }

    const LocalBounds& bounds() const override { return problem_.bounds(); }
    const SparsePattern& jacobian_pattern() const override { return problem_.jacobian_pattern(); }
    const SparsePattern& hessian_pattern() const override { return problem_.hessian_pattern(); }
    std::vector<double> start() const override { return start_; }
    bool is_quadratic() const override { return problem_.is_quadratic(); }
    bool is_linear_row(int row) const override { return problem_.is_linear_row(row); }
    bool has_kinks() const override { return problem_.has_kinks(); }

    bool objective(std::span<const double> x, double& value) override {
        if (!problem_.objective(x, value)) return false;
        value *= factor_;
        return true;
    }
    bool gradient(std::span<const double> x, std::span<double> out) override {
        if (!problem_.gradient(x, out)) return false;
        for (double& entry : out) entry *= factor_;
        return true;
    }
    bool rows(std::span<const double> x, std::span<double> out) override {
        return problem_.rows(x, out);
    }
    bool jacobian(std::span<const double> x, std::span<double> out) override {
        return problem_.jacobian(x, out);
    }
    bool hessian(std::span<const double> x, double objective_factor,
                 std::span<const double> multipliers, std::span<double> out) override {
        return problem_.hessian(x, factor_ * objective_factor, multipliers, out);
    }

  private:
    LocalProblem& problem_;
    double factor_;
    std::vector<double> start_;
};

// A power of two, at least 1, that lifts the largest entry of gradient and Hessian at a point to
// about 1; 1 where they are undefined or vanish there.
[[nodiscard]] double objective_lift(LocalProblem& problem, std::span<const double> x);

}  // namespace qlx::nlp

// The first step of an iteration by a linear program in warm HiGHS.
#pragma once

#include "engine/lp/lp_kernel.hpp"
#include "engine/nlp/slp/subproblems.hpp"

namespace qlx::nlp::slp {

// Columns of the program: the step, then for every row what it is below its lower side, then what
// it is above its upper one. The layout is one for all programs of a problem, so the basis is kept.
class SparseFirstPhase final : public FirstPhase {
  public:
    [[nodiscard]] bool uses_hessian() const noexcept override { return false; }
    void bind(const ScaledProblem& problem) override;
    bool first_step(const Linearisation& model, const FirstStepRequest& request,
                    const WorkingSet& last, double& penalty, FirstStep& step,
                    LocalCounts& counts) override;

  private:
    // The stop rule as the kernel asks it.
    class Questions final : public KernelEvents {
      public:
        explicit Questions(const StopRule& rule) : rule_(rule) {}
        bool stop() noexcept override { return rule_.stop(); }
        void progress(const KernelProgress&) noexcept override {}
        void solution(const double*, int) noexcept override {}

      private:
        const StopRule& rule_;
    };

    bool load(const Linearisation& model);
    bool change_box(const Linearisation& model, double box);
    bool change_costs(const Vector& gradient, double violation_cost);
    bool change_elastic(const Linearisation& model, bool linear_rows_hold);
    bool solve(const Linearisation& model, const FirstStepRequest& request, LocalCounts& counts);
    [[nodiscard]] double residue() const;
    void read(const Linearisation& model, FirstStep& step) const;
    [[nodiscard]] static bool is_inside(const Linearisation& model, double box, const Vector& d);

    LpKernel kernel_;
    KernelOptions options_;
    KernelBasis basis_;
    std::vector<int> column_start_, entry_row_, entry_place_;  // of the Jacobian, by columns
    std::vector<int> numbers_;
    std::vector<double> cost_, lower_, upper_;
    Vector no_gradient_;
};

}  // namespace qlx::nlp::slp

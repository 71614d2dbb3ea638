// Successive linear and quadratic programs with equality-constrained steps.
#pragma once

#include <memory>
#include <vector>

#include "engine/nlp/local_solver.hpp"

namespace qlx::nlp {

// What a solve hands on to the next one of a problem that differs in its bounds only.
struct LocalWarmStart {
    std::vector<double> x;         // empty: the problem's start
    std::vector<double> row_dual;  // empty: not known
    std::vector<int> active_rows;
    std::vector<int> active_columns;
    double penalty = 0;  // 0: the option's
};

// The method of Byrd, Gould, Nocedal and Waltz (2004) with a filter (Fletcher, Leyffer 2002),
// penalty steering (Byrd, Nocedal, Waltz 2008) and second-order correction. Small problems begin an
// iteration with a dense quadratic program, large ones with a linear program, and take projected
// conjugate gradients for the rest.
//
// A solver keeps its arrays: solving problems of one size again allocates little. One thread at a
// time.
class SuccessiveSolver final : public LocalSolver {
  public:
    // Problems with at most this many columns and rows together are solved by dense methods.
    static constexpr int kDenseLimit = 80;
    explicit SuccessiveSolver(int dense_limit = kDenseLimit);
    ~SuccessiveSolver() override;

    LocalAnswer solve(LocalProblem& problem, const LocalOptions& options) override;
    // One run from there. Sizes must be those of the problem, or 0.
    LocalAnswer solve(LocalProblem& problem, const LocalOptions& options,
                      const LocalWarmStart& warm);
    // Of the last solve, to start a similar one.
    [[nodiscard]] LocalWarmStart warm_start() const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace qlx::nlp

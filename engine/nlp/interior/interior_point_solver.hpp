// The barrier method of Waechter and Biegler (2006), through Ipopt with MUMPS.
#pragma once

#include "engine/nlp/local_solver.hpp"

namespace qlx::nlp {

// Every answer's status is Ipopt's word: callers evaluate the point before they believe it.
class InteriorPointSolver final : public LocalSolver {
  public:
    // False in a build without Ipopt; then solve() answers `unavailable`.
    static bool is_available() noexcept;

    LocalAnswer solve(LocalProblem& problem, const LocalOptions& options) override;
};

}  // namespace qlx::nlp

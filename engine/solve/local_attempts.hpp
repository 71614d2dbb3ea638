// Runs local solvers on a smooth program until an answer stands the check.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/check/local_check.hpp"
#include "engine/nlp/local_solver.hpp"

namespace qlx {

class SolveSession;

// What control nlpsolver may ask for.
enum class LocalMethod { kAutomatic, kSuccessive, kInteriorPoint };

struct LocalOutcome {
    // Point and duals of the program as it was given; the status is the solver's word.
    nlp::LocalAnswer answer;
    LocalCheck check;
    bool is_feasible = false;
    bool is_optimal = false;  // to first order, by our own check
    int stop_reason = 0;      // QLX_STOP_...
    int iterations = 0;       // of all solvers that ran
    std::int64_t evaluations = 0;
};

// At the tolerances and by the method of the session's controls. Automatic: successive programming
// for small programs and those with kinks, the interior point method for others; where one fails
// the other goes on from the best point, and the log says so.
[[nodiscard]] LocalOutcome solve_locally(SolveSession& session, nlp::LocalProblem& problem,
                                         std::vector<double> start);

}  // namespace qlx

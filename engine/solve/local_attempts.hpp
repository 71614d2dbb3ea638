// Runs local solvers on a smooth program until an answer stands the check.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "engine/check/local_check.hpp"
#include "engine/nlp/local_solver.hpp"

namespace qlx {

class SolveSession;

// What control nlpsolver may ask for.
enum class LocalMethod { kAutomatic, kSuccessive, kInteriorPoint };

// What is to be solved.
struct LocalTask {
    nlp::LocalProblem& problem;
    std::vector<double> start;
    // The problem with its kinks smoothed by eps, columns and rows of its own after the problem's;
    // asked for where the problem has kinks and a solver wants second derivatives.
    std::function<std::unique_ptr<nlp::LocalProblem>(double eps)> smoothed;
};

struct LocalOutcome {
    // Point and duals of the program as it was given; the status is the solver's word.
    nlp::LocalAnswer answer;
    LocalCheck check;
    bool is_feasible = false;
    bool is_optimal = false;    // to first order, by our own check
    bool is_unbounded = false;  // a ray from a feasible point shows it
    int stop_reason = 0;        // QLX_STOP_...
    int iterations = 0;         // of all solvers that ran
    std::int64_t evaluations = 0;
};

// At the tolerances and by the method of the session's controls. Automatic: successive programming
// for small programs and those with kinks, the interior point method for others; where one fails
// the other goes on from the best point, and the log says so.
[[nodiscard]] LocalOutcome solve_locally(SolveSession& session, const LocalTask& task);

}  // namespace qlx

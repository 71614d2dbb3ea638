// Linear programs: the kernel's solve, our check of it, and the recovery ladder.
#include <algorithm>
#include <array>
#include <cmath>

#include "engine/core/kernel_options.hpp"
#include "engine/core/lp_check.hpp"
#include "engine/core/point_check.hpp"
#include "engine/core/recovery.hpp"
#include "engine/core/solve.hpp"
#include "engine/core/solve_scope.hpp"
#include "engine/lp/live_model.hpp"

namespace qlx {

namespace {

// Largest violations that a point taken as optimal may have, relative as in the checks.
constexpr double kPrimalTolerance = 1e-6;
constexpr double kDualTolerance = 1e-6;
constexpr double kGapTolerance = 1e-6;

void add_counts(Results& results, const KernelResult& result) {
    results.simplex_iterations += result.simplex_iterations;
    results.barrier_iterations += result.interior_iterations;
    results.first_order_iterations += result.first_order_iterations;
}

// Takes the kernel's point into the results if it is feasible; true if it is optimal too.
bool take_point(Problem& problem, const LpKernel& kernel, const KernelResult& result) {
    Model& model = problem.model;
    Solution solution;
    solution.x = kernel.col_value();
    if (!result.has_point || solution.x.size() != model.lb().size()) return false;
    for (double& value : solution.x) value += 0.0;  // no negative zeros
    solution.slack = row_activities(model, solution.x.data());
    const PointCheck check =
        check_point(model, solution.x.data(), solution.slack, false, problem.controls.inttol);
    if (check.feasibility() > std::max(kPrimalTolerance, 10 * problem.controls.feastol))
        return false;
    for (std::size_t row = 0; row < solution.slack.size(); ++row)
        solution.slack[row] = model.rhs()[row] - solution.slack[row];
    solution.objective = objective_value(model, solution.x.data());
    bool optimal = result.outcome == KernelOutcome::kOptimal;
    if (result.has_duals) {
        solution.dual = kernel.row_dual();
        solution.dj = reduced_costs(model, solution.dual);
        const DualCheck duals = check_duals(model, solution.objective, solution.dual, solution.dj);
        optimal = optimal &&
                  duals.infeasibility <= std::max(kDualTolerance, 10 * problem.controls.opttol) &&
                  duals.gap <= std::max(kGapTolerance, 10 * problem.controls.opttol);
    } else {
        solution.dual.assign(model.rhs().size(), 0.0);
        solution.dj.assign(model.lb().size(), 0.0);
    }
    solution.valid = true;
    problem.results.primal_infeasibility = check.feasibility();
    problem.results.lp = std::move(solution);
    return optimal;
}

// Status of an outcome that needs no point, or -1 when the ladder goes on.
int decided_status(const KernelResult& result) {
    switch (result.outcome) {
        case KernelOutcome::kInfeasible:
            return QLX_LP_INFEAS;
        case KernelOutcome::kUnbounded:
            return QLX_LP_UNBOUNDED;
        case KernelOutcome::kIterationLimit:
        case KernelOutcome::kTimeLimit:
        case KernelOutcome::kInterrupted:
            return QLX_LP_UNFINISHED;
        default:
            return -1;
    }
}

// Climbs the ladder until an outcome stands our check.
int solve_by_ladder(Problem& problem, const SolveScope& scope, KernelOptions asked) {
    LpKernel& kernel = problem.live_model().kernel();
    for (std::size_t step = 0; step < recovery_ladder().size(); ++step) {
        const Recovery& recovery = recovery_ladder()[step];
        KernelOptions options = asked;
        recovery.adjust(options);
        options.time_limit = scope.seconds_left();
        if (step > 0) {
            problem.send(
                QLX_MSG_WARNING, message::kRecovery,
                join("the solver's result did not stand the check; solving again ", recovery.name));
            kernel.forget_basis();
        }
        KernelWatch watch(problem);
        const KernelResult result = kernel.solve(options, watch);
        add_counts(problem.results, result);
        if (result.outcome == KernelOutcome::kMemory)
            fail(QLX_ERROR_MEMORY, "the solver ran out of memory");
        problem.results.stop_status = stop_of(problem, result);
        const bool optimal = take_point(problem, kernel, result);
        if (optimal) return QLX_LP_OPTIMAL;
        if (const int status = decided_status(result); status >= 0) {
            if (status != QLX_LP_UNFINISHED) problem.results.lp = {};
            return status;
        }
    }
    return QLX_LP_UNFINISHED;
}

// Without columns every activity is 0.
int solve_without_columns(Problem& problem) {
    Model& model = problem.model;
    for (int row = 0; row < model.num_rows(); ++row) {
        const Sides sides = model.sides(row);
        if (sides.lower > problem.controls.feastol || sides.upper < -problem.controls.feastol)
            return QLX_LP_INFEAS;
    }
    Solution& solution = problem.results.lp;
    solution.valid = true;
    solution.objective = model.constant();
    solution.slack = model.rhs();
    solution.dual.assign(model.rhs().size(), 0.0);
    return QLX_LP_OPTIMAL;
}

const char* describe(int status) {
    switch (status) {
        case QLX_LP_OPTIMAL:
            return "Optimal";
        case QLX_LP_INFEAS:
            return "Infeasible";
        case QLX_LP_UNBOUNDED:
            return "Unbounded";
        default:
            return "Stopped early";
    }
}

}  // namespace

void solve_lp(Problem& problem, const SolveScope& scope, const char* flags) {
    KernelOptions options = kernel_options(problem.controls, flags);
    options.relax = true;
    send_start(problem, "LP");
    Results& results = problem.results;
    if (problem.model.num_cols() == 0) {
        results.lp_status = solve_without_columns(problem);
    } else {
        problem.live_model().synchronise(problem.model, options.matrix_tolerance);
        if (options.iteration_limit == 0) {
            results.lp_status = QLX_LP_UNFINISHED;
            results.stop_status = QLX_STOP_ITERLIMIT;
        } else {
            results.lp_status = solve_by_ladder(problem, scope, options);
        }
    }
    send_end(problem, describe(results.lp_status), results.lp.objective);
}

}  // namespace qlx

// Linear programs: the kernel's solve, our check of it, and the recovery ladder.
#include <algorithm>
#include <array>
#include <cmath>

#include "engine/check/dual_check.hpp"
#include "engine/check/point_check.hpp"
#include "engine/lp/live_model.hpp"
#include "engine/solve/kernel_options.hpp"
#include "engine/solve/linear_claims.hpp"
#include "engine/solve/recovery.hpp"
#include "engine/solve/solve.hpp"
#include "engine/solve/solve_scope.hpp"

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
    solution.objective = objective_value(model, solution.x.data());
    bool optimal = result.outcome == KernelOutcome::kOptimal;
    if (result.has_duals) {
        solution.dual = kernel.row_dual();
        ReducedCosts djs = reduced_costs(model, solution.dual);
        const DualCheck duals =
            check_duals(model, solution.x, solution.slack, solution.objective, solution.dual, djs);
        solution.dj = std::move(djs.value);
        optimal = optimal &&
                  duals.infeasibility <= std::max(kDualTolerance, 10 * problem.controls.opttol) &&
                  duals.gap <= std::max(kGapTolerance, 10 * problem.controls.opttol);
    } else {
        solution.dual.assign(model.rhs().size(), 0.0);
        solution.dj.assign(model.lb().size(), 0.0);
    }
    for (std::size_t row = 0; row < solution.slack.size(); ++row)
        solution.slack[row] = model.rhs()[row] - solution.slack[row];
    solution.valid = true;
    problem.results.primal_infeasibility = check.feasibility();
    problem.results.lp = std::move(solution);
    return optimal;
}

// Whether a limit that the caller knows of, or an interrupt, stopped a solve: limits of our own
// only say that another method is to be tried.
bool was_stopped(const KernelResult& result, const KernelOptions& asked) {
    if (result.outcome == KernelOutcome::kIterationLimit)
        return std::max({result.simplex_iterations, result.interior_iterations,
                         result.first_order_iterations}) >= asked.iteration_limit;
    return result.outcome == KernelOutcome::kTimeLimit ||
           result.outcome == KernelOutcome::kInterrupted;
}

// One solve by the kernel. True when its point is optimal by our check.
bool attempt(Problem& problem, const SolveScope& scope, LpKernel& kernel, KernelOptions options,
             KernelResult& result) {
    options.time_limit = scope.seconds_left();
    KernelWatch watch(problem);
    result = kernel.solve(options, watch);
    add_counts(problem.results, result);
    if (result.outcome == KernelOutcome::kMemory)
        fail(QLX_ERROR_MEMORY, "the solver ran out of memory");
    problem.results.stop_status = stop_of(problem, result);
    return take_point(problem, kernel, result);
}

// The solve as asked, then step by step up the ladder until an outcome stands our check. A claim
// that there is no optimum, which presolve makes without a proof, skips the steps with presolve;
// without presolve it is decided by programs of our own.
class Ladder {
  public:
    Ladder(Problem& problem, const SolveScope& scope, const KernelOptions& asked)
        : problem_(problem), scope_(scope), asked_(asked), kernel_(problem.live_model().kernel()) {}

    int climb() {
        for (std::size_t step = 0; step < recovery_ladder().size(); step = next(step)) {
            const int status = take(step);
            if (status == QLX_LP_INFEAS || status == QLX_LP_UNBOUNDED) problem_.results.lp = {};
            if (status >= 0) return status;
        }
        problem_.send(QLX_MSG_WARNING, message::kRecovery,
                      "no result of the solver stood the check");
        return QLX_LP_UNSOLVED;
    }

  private:
    [[nodiscard]] std::size_t next(std::size_t step) const {
        return claimed_ && step < kWithoutPresolve ? kWithoutPresolve : step + 1;
    }

    // -1 when the next step is to be taken.
    int take(std::size_t step) {
        const Recovery& recovery = recovery_ladder()[step];
        KernelOptions options = asked_;
        recovery.adjust(options);
        if (step > 0) {
            announce(recovery);
            kernel_.forget_basis();
        }
        KernelResult result;
        if (attempt(problem_, scope_, kernel_, options, result)) return QLX_LP_OPTIMAL;
        if (was_stopped(result, asked_)) return QLX_LP_UNFINISHED;
        problem_.results.stop_status = QLX_STOP_NONE;
        claimed_ = claims_no_optimum(result.outcome);
        if (claimed_) {
            const int status = status_by_rays(problem_, kernel_, result, options.matrix_tolerance);
            if (status >= 0) return status;
        }
        // On a model without an optimum the solver may also end without a word.
        if (step < kWithoutPresolve || decided_) return -1;
        decided_ = true;
        return status_by_phase_one(problem_, scope_, options);
    }

    void announce(const Recovery& recovery) {
        if (claimed_)
            problem_.send(
                QLX_MSG_INFORMATION, message::kRecovery,
                join("no optimum according to the solver; looking for a proof ", recovery.name));
        else
            problem_.send(
                QLX_MSG_WARNING, message::kRecovery,
                join("the solver's result did not stand the check; solving again ", recovery.name));
    }

    Problem& problem_;
    const SolveScope& scope_;
    KernelOptions asked_;
    LpKernel& kernel_;
    bool claimed_ = false;  // by the last step: that there is no optimum
    bool decided_ = false;  // our own programs have been asked
};

// What the first-order method gets before another takes over: iterations, which cost about as much
// as two products with the matrix, within an amount of work in entries, and within several times
// what random models took (at most 960 with 5 rows and columns, 2,640 with 90, 23,520 with 500), as
// on some of the smallest it never reaches the tolerances.
std::int64_t first_order_iterations(Model& model) {
    constexpr double kWork = 1e9;
    constexpr std::int64_t kLeast = 10'000;
    constexpr std::int64_t kPerRowOrColumn = 200;
    const std::int64_t lines = std::int64_t{model.num_cols()} + model.num_rows();
    const double entries = static_cast<double>(model.matrix().num_entries() + lines);
    return std::min(kLeast + kPerRowOrColumn * lines,
                    1000 + static_cast<std::int64_t>(kWork / entries));
}

// As asked, then with tighter tolerances: the method's own are relative to the norms of the model,
// ours to single rows. -1 when neither stands our check: the method has then claimed nothing.
int solve_by_first_order(Problem& problem, const SolveScope& scope, const KernelOptions& asked) {
    const std::int64_t share = first_order_iterations(problem.model);
    LpKernel& kernel = problem.live_model().kernel();
    Results& results = problem.results;
    for (const std::size_t step : {std::size_t{0}, kWithTighterTolerances}) {
        KernelOptions options = asked;
        recovery_ladder()[step].adjust(options);
        options.iteration_limit = static_cast<int>(
            std::min<std::int64_t>(asked.iteration_limit, share - results.first_order_iterations));
        KernelResult result;
        if (attempt(problem, scope, kernel, options, result)) return QLX_LP_OPTIMAL;
        if (was_stopped(result, asked)) return QLX_LP_UNFINISHED;
        if (result.outcome != KernelOutcome::kOptimal || results.first_order_iterations >= share)
            break;
    }
    results.stop_status = QLX_STOP_NONE;
    results.lp = {};
    kernel.forget_basis();
    problem.send(QLX_MSG_WARNING, message::kRecovery,
                 join("the first-order method did not reach the tolerances in ",
                      results.first_order_iterations, " iterations; solving by another"));
    return -1;
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
        case QLX_LP_UNSOLVED:
            return "Not solved";
        default:
            return "Stopped early";
    }
}

// The solve of the live model.
int solve_loaded(Problem& problem, const SolveScope& scope, KernelOptions options) {
    if (options.iteration_limit == 0) {
        problem.results.stop_status = QLX_STOP_ITERLIMIT;
        return QLX_LP_UNFINISHED;
    }
    if (options.method == KernelMethod::kFirstOrder) {
        const int status = solve_by_first_order(problem, scope, options);
        if (status >= 0) return status;
        options.method = KernelMethod::kAutomatic;
    }
    return Ladder(problem, scope, options).climb();
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
        results.lp_status = solve_loaded(problem, scope, options);
    }
    send_end(problem, describe(results.lp_status), results.lp.objective);
}

}  // namespace qlx

// Mixed-integer programs by the kernel's tree search, every incumbent checked.
#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

#include "engine/check/point_check.hpp"
#include "engine/constructs/reformulation.hpp"
#include "engine/lp/live_model.hpp"
#include "engine/solve/construct_search.hpp"
#include "engine/solve/cutoff.hpp"
#include "engine/solve/kernel_options.hpp"
#include "engine/solve/recovery.hpp"
#include "engine/solve/solve.hpp"
#include "engine/solve/solve_scope.hpp"

namespace qlx {

namespace {

constexpr double kPrimalTolerance = 1e-6;

// Nearest integers where that keeps the point feasible.
std::vector<double> rounded(const Model& model, const std::vector<double>& x) {
    std::vector<double> point = x;
    for (std::size_t col = 0; col < point.size(); ++col) {
        const char type = model.col_type()[col];
        if (type == 'I' || type == 'B' || type == 'R') point[col] = std::round(point[col]);
        point[col] += 0.0;  // no negative zeros
    }
    return point;
}

bool passes(Problem& problem, const std::vector<double>& x, std::vector<double>& activities,
            PointCheck& check) {
    activities = row_activities(problem.model, x.data());
    check = check_point(problem.model, x.data(), activities, true, problem.controls.inttol);
    return check.feasibility() <= std::max(kPrimalTolerance, 10 * problem.controls.feastol) &&
           check.types <= std::max(kPrimalTolerance, 10 * problem.controls.inttol);
}

// Keeps the best points that pass our check, so that an interrupted solve has the last of them.
class MipWatch final : public KernelWatch {
  public:
    using KernelWatch::KernelWatch;
    void solution(const double* x, int num_cols) noexcept override {
        if (problem_.outer != nullptr) problem_.outer->solution(x, num_cols);
        try {
            take(x, num_cols);
            if (problem_.results.solutions_found >= problem_.controls.sollimit)
                problem_.interrupt(QLX_STOP_SOLLIMIT);
        } catch (const std::bad_alloc&) {
            problem_.interrupt(QLX_STOP_USER);
        }
    }

    // The kernel's columns begin with the model's. True when the point passed the check, also where
    // it does not beat the best one or the cutoff.
    bool take(const double* x, int num_cols) {
        Model& model = problem_.model;
        if (num_cols < model.num_cols()) return false;
        const std::vector<double> given(x, x + model.num_cols());
        Solution solution;
        PointCheck check;
        solution.x = rounded(model, given);
        if (!passes(problem_, solution.x, solution.slack, check)) {
            solution.x = given;
            if (!passes(problem_, solution.x, solution.slack, check)) return false;
        }
        solution.objective = objective_value(model, solution.x.data());
        Results& results = problem_.results;
        const bool better = !results.mip.valid || model.sense() * solution.objective <
                                                      model.sense() * results.mip.objective;
        if (!better || !beats_cutoff(problem_, solution.objective)) return true;
        for (std::size_t row = 0; row < solution.slack.size(); ++row)
            solution.slack[row] = model.rhs()[row] - solution.slack[row];
        solution.valid = true;
        results.mip = std::move(solution);
        results.primal_infeasibility = check.feasibility();
        ++results.solutions_found;
        return true;
    }
};

// Decides between infeasible and unbounded: without its objective the model has a point or not.
// Where a limit ends that solve the question stays open.
int infeasible_or_unbounded(Problem& problem, KernelModel model, const KernelOptions& options) {
    std::fill(model.cost.begin(), model.cost.end(), 0.0);
    model.constant = 0;
    LpKernel kernel;
    if (!kernel.load(std::move(model), options.matrix_tolerance))
        fail(QLX_ERROR_SOLVER, "the solver refused the model without its objective");
    KernelWatch watch(problem);
    const KernelResult result = kernel.solve(options, watch);
    problem.results.nodes += result.nodes;
    problem.results.stop_status = stop_of(problem, result);
    if (result.outcome == KernelOutcome::kOptimal || result.has_point) return QLX_MIP_UNBOUNDED;
    return result.outcome == KernelOutcome::kInfeasible ? QLX_MIP_INFEAS : QLX_MIP_NO_SOL_FOUND;
}

// Whether bound and objective are as far apart as an optimal result's may not be.
bool leaves_gap(const Results& results, const KernelOptions& options) {
    const double size = std::fabs(results.mip.objective);
    const double allowed =
        std::max({options.absolute_gap, options.relative_gap * size, 1e-6 * std::max(1.0, size)});
    return std::fabs(results.mip.objective - results.best_bound) > 1.01 * allowed;
}

int status_of(const Results& results, KernelOutcome outcome) {
    switch (outcome) {
        case KernelOutcome::kOptimal:
            return results.mip.valid ? QLX_MIP_OPTIMAL : -1;
        case KernelOutcome::kInfeasible:
            return QLX_MIP_INFEAS;
        case KernelOutcome::kCutoff:
            return QLX_MIP_INFEAS;
        case KernelOutcome::kUnbounded:
            return QLX_MIP_UNBOUNDED;
        case KernelOutcome::kTimeLimit:
        case KernelOutcome::kIterationLimit:
        case KernelOutcome::kSearchLimit:
        case KernelOutcome::kInterrupted:
            return results.mip.valid ? QLX_MIP_SOLUTION : QLX_MIP_NO_SOL_FOUND;
        default:
            return -1;
    }
}

const char* describe(int status) {
    switch (status) {
        case QLX_MIP_OPTIMAL:
            return "Optimal";
        case QLX_MIP_INFEAS:
            return "Infeasible";
        case QLX_MIP_UNBOUNDED:
            return "Unbounded";
        case QLX_MIP_SOLUTION:
            return "Stopped with a solution";
        default:
            return "Stopped without a solution";
    }
}

// Coefficients up to this are stated with binaries whatever else there is; up to the larger one
// where all of them are that small, and what is claimed is verified without presolve.
constexpr double kSafeBigM = 1e4;
constexpr double kLargestBigM = 1e6;
// What a binary's distance from an integer, within tolerances, may let through.
constexpr double kLeastMeaningful = 1e-6;

Reformulation reformulation(Problem& problem) {
    const double asked = problem.controls.indbigm;
    Reformulation all(problem.model, std::min(asked, kLargestBigM));
    if (all.branched().empty() || all.big_m() <= kSafeBigM) return all;
    return {problem.model, std::min(asked, kSafeBigM)};
}

// A binary off by the tolerance times M must not matter.
void tighten_for(KernelOptions& options, double big_m) {
    const double tolerance = std::max(1e-10, kLeastMeaningful / big_m);
    options.integrality_tolerance = std::min(options.integrality_tolerance, tolerance);
    options.feasibility_tolerance = std::min(options.feasibility_tolerance, tolerance);
}

// The model as the kernel is to search it, cutoff included.
KernelModel stated_model(Problem& problem) {
    KernelModel model = needs_reformulation(problem.model) ? reformulation(problem).take()
                                                           : kernel_model(problem.model);
    if (has_cutoff(problem)) add_cutoff_row(model, problem.controls.mipabscutoff);
    return model;
}

// The kernel with the model in it: the live one, or one of its own for what has more rows or
// columns.
class LoadedKernel {
  public:
    LoadedKernel(Problem& problem, double matrix_tolerance) {
        if (!needs_reformulation(problem.model) && !has_cutoff(problem)) {
            problem.live_model().synchronise(problem.model, matrix_tolerance);
            kernel_ = &problem.live_model().kernel();
            return;
        }
        if (!own_.load(stated_model(problem), matrix_tolerance))
            fail(QLX_ERROR_SOLVER, "the solver refused the reformulated model");
        kernel_ = &own_;
    }
    [[nodiscard]] LpKernel& get() noexcept { return *kernel_; }

  private:
    LpKernel own_;
    LpKernel* kernel_ = nullptr;
};

// HiGHS' presolve calls some feasible models infeasible, so its claim gets a second look without
// presolve, of bounded effort. True when that look refutes the claim.
bool is_feasible_without_presolve(LpKernel& kernel, KernelOptions options, KernelEvents& watch,
                                  KernelResult& result) {
    constexpr int kNodes = 2000;
    if (!options.presolve) return false;
    options.presolve = false;
    options.method = KernelMethod::kAutomatic;
    options.node_limit = std::min(options.node_limit, kNodes);
    kernel.forget_basis();
    const KernelResult second = kernel.solve(options, watch);
    if (!second.has_point) return false;
    result = second;
    return true;
}

// One step of the ladder; -1 when the next one is to be climbed.
int run_once(Problem& problem, const SolveScope& scope, LpKernel& kernel, KernelOptions options) {
    Results& results = problem.results;
    MipWatch watch(problem);
    KernelResult result = kernel.solve(options, watch);
    if (result.outcome == KernelOutcome::kInfeasible &&
        is_feasible_without_presolve(kernel, options, watch, result) &&
        result.outcome == KernelOutcome::kSearchLimit)
        return -1;  // the ladder's step without presolve goes on from here
    results.simplex_iterations += result.simplex_iterations;
    results.nodes += result.nodes;
    results.best_bound = result.best_bound;
    results.stop_status = stop_of(problem, result);
    if (result.outcome == KernelOutcome::kMemory)
        fail(QLX_ERROR_MEMORY, "the solver ran out of memory");
    bool passed = true;
    if (result.has_point && !kernel.col_value().empty())
        passed = watch.take(kernel.col_value().data(), static_cast<int>(kernel.col_value().size()));
    if (result.outcome == KernelOutcome::kOptimal &&
        (!passed || (results.mip.valid && leaves_gap(results, options))))
        return -1;
    if (result.outcome == KernelOutcome::kInfeasibleOrUnbounded) {
        options.time_limit = scope.seconds_left();
        return infeasible_or_unbounded(problem, stated_model(problem), options);
    }
    const bool beaten = result.outcome == KernelOutcome::kOptimal && !results.mip.valid;
    if (beaten && has_cutoff(problem)) return QLX_MIP_INFEAS;
    return status_of(results, result.outcome);
}

// Step by step, until a result stands our check; -1 when none does.
int climb(Problem& problem, const SolveScope& scope, const KernelOptions& asked) {
    LoadedKernel kernel(problem, asked.matrix_tolerance);
    if (asked.iteration_limit == 0) {
        problem.results.stop_status = QLX_STOP_ITERLIMIT;
        return QLX_MIP_NO_SOL_FOUND;
    }
    for (const Recovery& recovery : recovery_ladder()) {
        KernelOptions options = asked;
        recovery.adjust(options);
        options.iteration_limit = std::numeric_limits<int>::max();
        options.time_limit = scope.seconds_left();
        if (&recovery != &recovery_ladder().front())
            problem.send(
                QLX_MSG_WARNING, message::kRecovery,
                join("the solver's result did not stand the check; solving again ", recovery.name));
        const int status = run_once(problem, scope, kernel.get(), options);
        if (status >= 0) return status;
    }
    problem.results.best_bound = kNoValue;  // no claim of a result that was rejected counts
    return -1;
}

// Whether no point is better than the incumbent, or there is none at all, also without presolve.
// That is worth ten times the time that the claim took.
bool survives_without_presolve(Problem& problem, const SolveScope& scope, KernelOptions options) {
    if (!options.presolve) return true;
    KernelModel model = stated_model(problem);
    const Results& results = problem.results;
    if (results.mip.valid) {
        const double size = std::fabs(results.mip.objective);
        const double gap = std::max(options.absolute_gap, options.relative_gap * size);
        add_cutoff_row(model,
                       results.mip.objective -
                           problem.model.sense() * std::max(gap, 1e-6 * std::max(1.0, size)));
    }
    LpKernel kernel;
    if (!kernel.load(std::move(model), options.matrix_tolerance)) return false;
    options.presolve = false;
    options.iteration_limit = std::numeric_limits<int>::max();
    options.time_limit = std::min(scope.seconds_left(), std::max(5.0, 10 * scope.seconds()));
    MipWatch watch(problem);
    const KernelResult result = kernel.solve(options, watch);
    problem.results.nodes += result.nodes;
    problem.results.simplex_iterations += result.simplex_iterations;
    return result.outcome == KernelOutcome::kInfeasible;
}

// Whether a status may be claimed of a model that is stated with coefficients up to big_m.
bool stands(Problem& problem, const SolveScope& scope, const KernelOptions& asked, double big_m,
            int status) {
    if (status < 0) return false;
    if (big_m <= kSafeBigM || problem.results.stop_status != QLX_STOP_NONE) return true;
    if (status == QLX_MIP_OPTIMAL || status == QLX_MIP_INFEAS)
        return survives_without_presolve(problem, scope, asked);
    return status != QLX_MIP_UNBOUNDED;
}

void finish(Problem& problem, int status) {
    Results& results = problem.results;
    results.mip_status = status < 0 ? QLX_MIP_NO_SOL_FOUND : status;
    if (status < 0 && results.mip.valid) results.mip_status = QLX_MIP_SOLUTION;
    if (status == QLX_MIP_INFEAS || status == QLX_MIP_UNBOUNDED) results.best_bound = kNoValue;
    if (std::fabs(results.best_bound) >= kInfinity) results.best_bound = kNoValue;
    if (status == QLX_MIP_OPTIMAL && std::fabs(results.mip.objective - results.best_bound) >
                                         1e-9 * std::max(1.0, std::fabs(results.mip.objective)))
        results.stop_status = QLX_STOP_MIPGAP;
    send_end(problem, describe(results.mip_status), results.mip.objective);
}

}  // namespace

bool take_integer_point(Problem& problem, const double* x) {
    return MipWatch(problem).take(x, problem.model.num_cols());
}

void solve_mip(Problem& problem, const SolveScope& scope, const char* flags) {
    KernelOptions asked = kernel_options(problem.controls, flags);
    send_start(problem, "MIP");
    double big_m = 1;
    if (has_constructs(problem.model)) {
        const Reformulation statement = reformulation(problem);
        if (const auto& items = statement.branched(); !items.empty())
            return finish(problem, search_constructs(problem, scope, flags, items));
        big_m = statement.big_m();
        tighten_for(asked, big_m);
    }
    int status = climb(problem, scope, asked);
    if (big_m > 1 && !stands(problem, scope, asked, big_m, status)) {
        problem.send(QLX_MSG_WARNING, message::kRecovery,
                     "the solver's result with large coefficients did not stand the check; "
                     "branching on constructs instead");
        const Reformulation plain(problem.model, 1);
        status = search_constructs(problem, scope, flags, plain.branched());
    }
    finish(problem, status);
}

}  // namespace qlx

// Proofs for claims of infeasibility and unboundedness: from rays, or from programs of our own.
#include "engine/solve/linear_claims.hpp"

#include <algorithm>
#include <utility>

#include "engine/check/point_check.hpp"
#include "engine/check/proof.hpp"
#include "engine/check/store_view.hpp"
#include "engine/lp/live_model.hpp"

namespace qlx {

namespace {

constexpr double kPointTolerance = 1e-6;

// The least that HiGHS drops: the programs leave out what counts as 0, and scale the rest.
constexpr double kDropped = 1e-12;

bool is_feasible(Problem& problem, const std::vector<double>& x) {
    Model& model = problem.model;
    if (x.size() < model.lb().size()) return false;
    const std::vector<double> activities = row_activities(model, x.data());
    return check_point(model, x.data(), activities, false, problem.controls.inttol).feasibility() <=
           std::max(kPointTolerance, 10 * problem.controls.feastol);
}

KernelModel kernel_model_of(LinearStatement&& statement) {
    KernelModel out;
    out.num_cols = static_cast<int>(statement.cost.size());
    out.num_rows = static_cast<int>(statement.row_lower.size());
    out.cost = std::move(statement.cost);
    out.lower = std::move(statement.lower);
    out.upper = std::move(statement.upper);
    out.row_lower = std::move(statement.row_lower);
    out.row_upper = std::move(statement.row_upper);
    out.start = std::move(statement.start);
    out.row = std::move(statement.row);
    out.value = std::move(statement.value);
    return out;
}

// The solve of one of these programs. False when a limit or an interrupt stopped it.
bool solve_program(Problem& problem, const SolveScope& scope, KernelOptions options,
                   LinearStatement&& program, LpKernel& kernel) {
    if (!kernel.load(kernel_model_of(std::move(program)), kDropped)) return true;
    options.time_limit = scope.seconds_left();
    KernelWatch watch(problem);
    const KernelResult result = kernel.solve(options, watch);
    problem.results.simplex_iterations += result.simplex_iterations;
    problem.results.stop_status = stop_of(problem, result);
    if (result.outcome == KernelOutcome::kMemory)
        fail(QLX_ERROR_MEMORY, "the solver ran out of memory");
    return problem.results.stop_status == QLX_STOP_NONE;
}

}  // namespace

bool claims_no_optimum(KernelOutcome outcome) noexcept {
    return outcome == KernelOutcome::kInfeasible || outcome == KernelOutcome::kUnbounded ||
           outcome == KernelOutcome::kInfeasibleOrUnbounded;
}

int status_by_rays(Problem& problem, LpKernel& kernel, const KernelResult& result,
                   double matrix_tolerance) {
    const StoreView store(problem.model, matrix_tolerance);
    if (result.outcome != KernelOutcome::kUnbounded) {
        if (proves_infeasible(store.view(), kernel.dual_ray())) return QLX_LP_INFEAS;
    }
    if (result.outcome != KernelOutcome::kInfeasible) {
        if (!improving_ray(store.view(), kernel.primal_ray()).empty() &&
            is_feasible(problem, kernel.col_value()))
            return QLX_LP_UNBOUNDED;
    }
    return -1;
}

int status_by_phase_one(Problem& problem, const SolveScope& scope, const KernelOptions& options) {
    const StoreView store(problem.model, options.matrix_tolerance);
    const ProgramView& program = store.view();
    LpKernel elastic;
    if (!solve_program(problem, scope, options, elastic_program(program), elastic))
        return QLX_LP_UNFINISHED;
    if (proves_infeasible(program, elastic.row_dual())) return QLX_LP_INFEAS;
    if (!is_feasible(problem, elastic.col_value())) return -1;
    LpKernel ray;
    if (!solve_program(problem, scope, options, recession_program(program), ray))
        return QLX_LP_UNFINISHED;
    return improving_ray(program, ray.col_value()).empty() ? -1 : QLX_LP_UNBOUNDED;
}

}  // namespace qlx

// Proofs for claims of infeasibility and unboundedness: from rays, or from programs of our own.
#include "engine/solve/linear_claims.hpp"

#include <algorithm>
#include <utility>

#include "engine/base/index.hpp"
#include "engine/check/point_check.hpp"
#include "engine/check/proof.hpp"
#include "engine/check/store_view.hpp"
#include "engine/lp/live_model.hpp"

namespace qlx {

namespace {

// Points of which only the existence counts may be as loose as the proofs are.
constexpr double kPointTolerance = 1e-6;

// The least that HiGHS drops: the programs leave out what counts as 0, and scale the rest.
constexpr double kDropped = 1e-12;

bool is_feasible(SolveSession& session, const std::vector<double>& x) {
    Model& model = session.model();
    if (x.size() < model.lb().size()) return false;
    const std::vector<double> activities = row_activities(model, x.data());
    return check_point(model, x.data(), activities, false).feasibility() <=
           std::max(kPointTolerance, 10 * session.controls().feastol);
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
bool solve_program(SolveSession& session, const KernelOptions& options, LinearStatement&& program,
                   LpKernel& kernel) {
    if (!kernel.load(kernel_model_of(std::move(program)), kDropped)) return true;
    session.run(kernel, options, session.events());
    return session.results().stop_status == QLX_STOP_NONE;
}

}  // namespace

bool claims_no_optimum(KernelOutcome outcome) noexcept {
    return outcome == KernelOutcome::kInfeasible || outcome == KernelOutcome::kUnbounded ||
           outcome == KernelOutcome::kInfeasibleOrUnbounded;
}

int status_by_rays(SolveSession& session, LpKernel& kernel, const KernelResult& result,
                   double matrix_tolerance) {
    const StoreView store(session.model(), matrix_tolerance);
    if (result.outcome != KernelOutcome::kUnbounded) {
        if (proves_infeasible(store.view(), kernel.dual_ray())) return QLX_LP_INFEAS;
    }
    if (result.outcome != KernelOutcome::kInfeasible) {
        if (!improving_ray(store.view(), kernel.primal_ray()).empty() &&
            is_feasible(session, kernel.col_value()))
            return QLX_LP_UNBOUNDED;
    }
    return -1;
}

bool has_improving_ray(SolveSession& session, const KernelOptions& options) {
    Model& model = session.model();
    bool may_improve = false;
    for (int col = 0; col < model.num_cols(); ++col) {
        const double cost = model.sense() * model.obj()[at(col)];
        const Sides bounds = model.relaxed_bounds(col);
        may_improve = may_improve || (cost > 0 && bounds.lower <= -kInfinity) ||
                      (cost < 0 && bounds.upper >= kInfinity);
    }
    if (!may_improve) return false;
    const StoreView store(model, options.matrix_tolerance);
    LpKernel ray;
    const int stopped = session.results().stop_status;
    const bool ended = solve_program(session, options, recession_program(store.view()), ray);
    session.results().stop_status = stopped;
    return ended && !improving_ray(store.view(), ray.col_value()).empty();
}

int status_by_phase_one(SolveSession& session, const KernelOptions& options) {
    const StoreView store(session.model(), options.matrix_tolerance);
    const ProgramView& program = store.view();
    LpKernel elastic;
    if (!solve_program(session, options, elastic_program(program), elastic))
        return QLX_LP_UNFINISHED;
    if (proves_infeasible(program, elastic.row_dual())) return QLX_LP_INFEAS;
    if (!is_feasible(session, elastic.col_value())) return -1;
    LpKernel ray;
    if (!solve_program(session, options, recession_program(program), ray)) return QLX_LP_UNFINISHED;
    return improving_ray(program, ray.col_value()).empty() ? -1 : QLX_LP_UNBOUNDED;
}

}  // namespace qlx

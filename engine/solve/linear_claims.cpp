// Proofs for claims of infeasibility and unboundedness: from rays, or from programs of our own.
#include "engine/solve/linear_claims.hpp"

#include <algorithm>
#include <utility>

#include "engine/base/index.hpp"
#include "engine/check/point_check.hpp"
#include "engine/check/proof.hpp"
#include "engine/check/store_view.hpp"
#include "engine/solve/refinement.hpp"

namespace qlx {

namespace {

// Points of which only the existence counts may be as loose as the proofs are.
constexpr double kPointTolerance = 1e-6;

// Bounds hold exactly here: what is beyond one by a tolerance, times a large coefficient, would
// satisfy rows that nothing does.
bool is_feasible(SolveSession& session, std::vector<double> x) {
    Model& model = session.model();
    if (x.size() < model.lb().size()) return false;
    clamp_to_bounds(model, x);
    const std::vector<double> activities = row_activities(model, x.data());
    return check_point(model, x.data(), activities, false).feasibility() <=
           std::max(kPointTolerance, 10 * session.controls().feastol);
}

// Whether a limit or an interrupt stopped what was last solved.
bool was_stopped(SolveSession& session) {
    return session.results().stop_status != QLX_STOP_NONE;
}

// Whether a direction that improves is found among those of entries up to 1.
bool finds_ray(SolveSession& session, const KernelOptions& options, const ProgramView& program) {
    const LinearStatement cone = recession_program(program);
    const ProgramView view = cone.view();
    Refinement best(session, view, options);
    while (best.advance())
        if (!improving_ray(program, best.x()).empty()) return true;
    return false;
}

}  // namespace

bool claims_no_optimum(KernelOutcome outcome) noexcept {
    return outcome == KernelOutcome::kInfeasible || outcome == KernelOutcome::kUnbounded ||
           outcome == KernelOutcome::kInfeasibleOrUnbounded;
}

int status_by_rays(SolveSession& session, KernelOutcome claim, const Rays& rays,
                   double matrix_tolerance) {
    const StoreView store(session.model(), matrix_tolerance);
    if (claim != KernelOutcome::kUnbounded && proves_infeasible(store.view(), rays.dual))
        return QLX_LP_INFEAS;
    if (claim != KernelOutcome::kInfeasible && !improving_ray(store.view(), rays.primal).empty() &&
        is_feasible(session, rays.point))
        return QLX_LP_UNBOUNDED;
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
    const int stopped = session.results().stop_status;
    const bool found = finds_ray(session, options, store.view());
    session.results().stop_status = stopped;
    return found;
}

int status_by_phase_one(SolveSession& session, const KernelOptions& options) {
    const StoreView store(session.model(), options.matrix_tolerance);
    const ProgramView& program = store.view();
    const LinearStatement elastic = elastic_program(program);
    const ProgramView view = elastic.view();
    Refinement least(session, view, options);
    bool has_point = false;
    // A point that is feasible by the tolerances may be none to more digits.
    while (least.advance()) {
        if (proves_infeasible(program, least.duals())) return QLX_LP_INFEAS;
        has_point = has_point || is_feasible(session, least.x());
    }
    if (!was_stopped(session) && has_point && finds_ray(session, options, program))
        return QLX_LP_UNBOUNDED;
    return was_stopped(session) ? QLX_LP_UNFINISHED : -1;
}

}  // namespace qlx

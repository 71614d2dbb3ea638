// Proofs for claims of infeasibility and unboundedness: from rays, or from programs of our own.
#include "engine/solve/linear_claims.hpp"

#include <algorithm>
#include <cmath>

#include "engine/base/index.hpp"
#include "engine/check/linear_proof.hpp"
#include "engine/check/point_check.hpp"
#include "engine/lp/live_model.hpp"

namespace qlx {

namespace {

// Points of which only the existence counts may be as loose as the proofs are.
constexpr double kPointTolerance = 1e-6;

bool is_feasible(SolveSession& session, const std::vector<double>& x) {
    Model& model = session.model();
    if (x.size() < model.lb().size()) return false;
    const std::vector<double> activities = row_activities(model, x.data());
    return check_point(model, x.data(), activities, false).feasibility() <=
           std::max(kPointTolerance, 10 * session.controls().feastol);
}

// The rows' violations as columns, each scaled to the largest entry of its row; the sum of them is
// the objective.
KernelModel elastic_program(Model& model) {
    KernelModel elastic = kernel_columns_and_sides(model);
    elastic.integer.clear();
    elastic.constant = 0;
    elastic.maximise = false;
    std::fill(elastic.cost.begin(), elastic.cost.end(), 0.0);
    transpose_into(elastic, model.matrix());
    const auto add_violation = [&](int row, double entry) {
        elastic.cost.push_back(1);
        elastic.lower.push_back(0);
        elastic.upper.push_back(kInfinity);
        elastic.row.push_back(row);
        elastic.value.push_back(entry);
        elastic.start.push_back(static_cast<int>(elastic.row.size()));
        ++elastic.num_cols;
    };
    for (int row = 0; row < elastic.num_rows; ++row) {
        double scale = 0;
        for (const double value : model.matrix().row_values(row))
            scale = std::max(scale, std::fabs(value));
        if (scale == 0) scale = 1;
        const Sides sides = model.relaxed_sides(row);
        if (sides.lower > -kInfinity) add_violation(row, scale);
        if (sides.upper < kInfinity) add_violation(row, -scale);
    }
    return elastic;
}

// The best direction, of entries within -1 .. 1, that no row or bound ends.
KernelModel ray_program(Model& model) {
    KernelModel ray = kernel_model(model);
    ray.integer.clear();
    ray.constant = 0;
    const auto to_cone = [](std::vector<double>& lower, std::vector<double>& upper, double reach) {
        for (double& side : lower) side = side > -kInfinity ? 0.0 : -reach;
        for (double& side : upper) side = side < kInfinity ? 0.0 : reach;
    };
    to_cone(ray.lower, ray.upper, 1.0);
    to_cone(ray.row_lower, ray.row_upper, kInfinity);
    return ray;
}

// The solve of one of these programs. False when a limit or an interrupt stopped it.
bool solve_program(SolveSession& session, const KernelOptions& options, KernelModel&& program,
                   LpKernel& kernel) {
    if (!kernel.load(std::move(program), options.matrix_tolerance)) return true;
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
    if (result.outcome != KernelOutcome::kUnbounded) {
        if (proves_infeasible(session.model(), kernel.dual_ray(), matrix_tolerance))
            return QLX_LP_INFEAS;
    }
    if (result.outcome != KernelOutcome::kInfeasible) {
        if (proves_improving_ray(session.model(), kernel.primal_ray(), matrix_tolerance) &&
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
    LpKernel ray;
    const int stopped = session.results().stop_status;
    const bool ended = solve_program(session, options, ray_program(model), ray);
    session.results().stop_status = stopped;
    return ended && proves_improving_ray(model, ray.col_value(), options.matrix_tolerance);
}

int status_by_phase_one(SolveSession& session, const KernelOptions& options) {
    Model& model = session.model();
    LpKernel elastic;
    if (!solve_program(session, options, elastic_program(model), elastic)) return QLX_LP_UNFINISHED;
    if (proves_infeasible(model, elastic.row_dual(), options.matrix_tolerance))
        return QLX_LP_INFEAS;
    if (!is_feasible(session, elastic.col_value())) return -1;
    LpKernel ray;
    if (!solve_program(session, options, ray_program(model), ray)) return QLX_LP_UNFINISHED;
    return proves_improving_ray(model, ray.col_value(), options.matrix_tolerance) ? QLX_LP_UNBOUNDED
                                                                                  : -1;
}

}  // namespace qlx

// The order of the solvers, and the choice among their answers.
#include "engine/solve/local_attempts.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "engine/nlp/analysis/rays.hpp"
#include "engine/nlp/interior/interior_point_solver.hpp"
#include "engine/nlp/slp/successive_solver.hpp"
#include "engine/nlp/solver_view.hpp"
#include "engine/solve/local_log.hpp"
#include "engine/solve/solve_session.hpp"

namespace qlx {

namespace {

using nlp::LocalStatus;

// Columns and rows up to which dense algebra is the faster.
constexpr std::size_t kSmall = 150;

std::vector<LocalMethod> methods_for(const Controls& controls, const nlp::LocalProblem& problem) {
    const auto asked = static_cast<LocalMethod>(controls.nlpsolver);
    if (asked != LocalMethod::kAutomatic) return {asked};
    if (!nlp::InteriorPointSolver::is_available()) return {LocalMethod::kSuccessive};
    const std::size_t size =
        problem.bounds().column_lower.size() + problem.bounds().row_lower.size();
    if (size <= kSmall || problem.has_kinks())
        return {LocalMethod::kSuccessive, LocalMethod::kInteriorPoint};
    return {LocalMethod::kInteriorPoint, LocalMethod::kSuccessive};
}

const char* name_of(LocalMethod method) {
    return method == LocalMethod::kInteriorPoint ? "interior point"
                                                 : "successive linear and quadratic programming";
}

std::unique_ptr<nlp::LocalSolver> solver_of(LocalMethod method) {
    if (method == LocalMethod::kSuccessive) return std::make_unique<nlp::SuccessiveSolver>();
    if (!nlp::InteriorPointSolver::is_available())
        fail(QLX_ERROR_UNSUPPORTED,
             "control nlpsolver is 2, and this build has no interior point method for nonlinear "
             "problems; 0 or 1 would be right");
    return std::make_unique<nlp::InteriorPointSolver>();
}

nlp::LocalOptions options_for(SolveSession& session, LocalLog& log, int iterations_left) {
    const Controls& controls = session.controls();
    nlp::LocalOptions options;
    // Solvers measure in their own scales: what they call solved has to stand the check.
    options.tolerance = std::min(1e-8, controls.nlpopttol / 100);
    options.constraint_violation = std::min(1e-8, controls.nlpfeastol / 100);
    options.iteration_limit = iterations_left;
    options.penalty_start = controls.penaltystart;
    options.penalty_max = controls.penaltymax;
    options.trust_region_start = controls.trustregionstart;
    options.trust_region_min = controls.trustregionmin;
    options.trust_region_max = controls.trustregionmax;
    options.stop = session.stop_rule();
    options.progress = [&log](const nlp::LocalProgress& progress) { log.report(progress); };
    return options;
}

int stop_reason_of(const SolveSession& session, LocalStatus status) {
    if (const int asked = session.stop_rule().reason(); asked != QLX_STOP_NONE) return asked;
    switch (status) {
        case LocalStatus::kTimeLimit:
            return QLX_STOP_TIMELIMIT;
        case LocalStatus::kIterationLimit:
            return QLX_STOP_ITERLIMIT;
        case LocalStatus::kStopped:
            return QLX_STOP_USER;
        default:
            return QLX_STOP_NONE;
    }
}

// At a kink the derivatives of the active piece say nothing of the others: whether the objective
// falls along a column by more than a tolerance's worth.
bool falls_beside(nlp::LocalProblem& problem, const nlp::LocalAnswer& answer,
                  const Controls& controls) {
    constexpr double kLengths[] = {1e-2, 1e-4};
    const nlp::LocalBounds& bounds = problem.bounds();
    const std::vector<double> no_duals(bounds.row_lower.size(), 0.0);
    std::vector<double> x = answer.x;
    for (std::size_t col = 0; col < x.size(); ++col) {
        for (const double length : {kLengths[0], -kLengths[0], kLengths[1], -kLengths[1]}) {
            const double step = length * std::max(1.0, std::fabs(answer.x[col]));
            x[col] = std::clamp(answer.x[col] + step, bounds.column_lower[col],
                                bounds.column_upper[col]);
            double value = 0;
            const double least_fall =
                controls.nlpopttol * std::max(1.0, std::fabs(answer.objective)) +
                1e-3 * std::fabs(step) * std::fabs(step);
            if (x[col] != answer.x[col] && problem.objective(x, value) &&
                value < answer.objective - least_fall &&
                check_local(problem, x, no_duals).violation <= controls.nlpfeastol)
                return true;
        }
        x[col] = answer.x[col];
    }
    return false;
}

void judge(LocalOutcome& outcome, nlp::LocalProblem& problem, const Controls& controls) {
    nlp::LocalAnswer& answer = outcome.answer;
    answer.x.resize(problem.bounds().column_lower.size(), 0.0);
    answer.row_dual.resize(problem.bounds().row_lower.size(), 0.0);
    outcome.check = check_local(problem, answer.x, answer.row_dual);
    if (!problem.objective(answer.x, answer.objective)) answer.objective = kNoValue;
    outcome.is_feasible = outcome.check.violation <= controls.nlpfeastol;
    constexpr double kFarGain = 1e-4;
    outcome.is_optimal = outcome.is_feasible && outcome.check.optimality <= controls.nlpopttol &&
                         outcome.check.shadow_gain <= controls.nlpopttol &&
                         outcome.check.far_gain <= std::max(kFarGain, controls.nlpopttol) &&
                         !(problem.has_kinks() && falls_beside(problem, answer, controls));
}

// Rays cost evaluations, no solves: tried wherever a solver ended without an optimum, from its
// point and, as diverging iterates end where nothing can be computed, from its start.
bool is_unbounded(const LocalOutcome& outcome, nlp::SolverView& view, const Controls& controls) {
    if (outcome.is_optimal) return false;
    if (outcome.stop_reason != QLX_STOP_NONE && outcome.stop_reason != QLX_STOP_ITERLIMIT)
        return false;
    const std::vector<double> start = view.start();
    std::vector<double> moved = outcome.answer.x;
    for (std::size_t col = 0; col < moved.size(); ++col) moved[col] -= start[col];
    const nlp::RayOptions options{controls.nlpfeastol};
    const std::vector<double> no_duals(view.bounds().row_lower.size(), 0.0);
    for (const std::vector<double>& x : {outcome.answer.x, start})
        if (check_local(view, x, no_duals).violation <= controls.nlpfeastol &&
            nlp::test_rays(view, x, {{moved}}, options).is_unbounded)
            return true;
    return false;
}

// With less and less smoothing, each from the last point. The check on the problem itself decides
// about the end, and at a kink it has none of it.
nlp::LocalAnswer solve_smoothed(const LocalTask& task, const nlp::SolverView& view,
                                nlp::LocalOptions options) {
    constexpr double kSmoothing[] = {1e-2, 1e-4, 1e-6, 1e-8};
    const std::size_t columns = view.bounds().column_lower.size();
    const auto solver = solver_of(LocalMethod::kInteriorPoint);
    std::vector<double> x = view.start();
    nlp::LocalAnswer answer;
    int iterations = 0;
    for (const double eps : kSmoothing) {
        const auto smoothed = task.smoothed(eps);
        std::vector<double> start = smoothed->start();
        std::copy(x.begin(), x.begin() + static_cast<std::ptrdiff_t>(columns), start.begin());
        nlp::SolverView smooth_view(*smoothed, view.factor(), std::move(start));
        answer = solver->solve(smooth_view, options);
        iterations += answer.iterations;
        options.iteration_limit -= answer.iterations;
        if (answer.x.size() < columns || options.iteration_limit <= 0 || options.stop.stop()) break;
        x = answer.x;
    }
    answer.iterations = iterations;
    return answer;
}

bool is_better(const LocalOutcome& one, const LocalOutcome& other) {
    if (one.is_feasible != other.is_feasible) return one.is_feasible;
    if (!one.is_feasible) return one.check.violation < other.check.violation;
    if (one.is_optimal != other.is_optimal) return one.is_optimal;
    if (one.is_unbounded != other.is_unbounded) return one.is_unbounded;
    return one.answer.objective < other.answer.objective;
}

void undo_scaling(LocalOutcome& outcome, double factor) {
    outcome.answer.objective /= factor;
    for (auto* duals :
         {&outcome.answer.row_dual, &outcome.answer.lower_dual, &outcome.answer.upper_dual})
        for (double& dual : *duals) dual /= factor;
}

}  // namespace

LocalOutcome solve_locally(SolveSession& session, const LocalTask& task) {
    const double lift = nlp::objective_lift(task.problem, task.start);
    nlp::SolverView view(task.problem, lift, task.start);
    LocalLog log(session);
    LocalOutcome best;
    int iterations = 0;
    std::int64_t evaluations = 0;
    bool is_first = true;
    for (const LocalMethod method : methods_for(session.controls(), view)) {
        if (!is_first) log.take_over(best.answer.reason);
        log.begin(name_of(method), lift);
        LocalOutcome outcome;
        const auto options =
            options_for(session, log, session.controls().nlpiterlimit - iterations);
        outcome.answer = method == LocalMethod::kInteriorPoint && view.has_kinks()
                             ? solve_smoothed(task, view, options)
                             : solver_of(method)->solve(view, options);
        iterations += outcome.answer.iterations;
        evaluations += outcome.answer.counts.functions;
        log.end(outcome.answer);
        outcome.stop_reason = stop_reason_of(session, outcome.answer.status);
        judge(outcome, view, session.controls());
        outcome.is_unbounded = is_unbounded(outcome, view, session.controls());
        const int stop_reason = outcome.stop_reason;
        if (is_first || is_better(outcome, best)) best = std::move(outcome);
        best.stop_reason = stop_reason;
        is_first = false;
        if (best.is_optimal || best.is_unbounded || stop_reason != QLX_STOP_NONE) break;
        if (std::isfinite(best.check.violation)) view.start_at(best.answer.x);
    }
    KernelResult work;
    work.interior_iterations = iterations;
    session.count(work);
    undo_scaling(best, lift);
    best.iterations = iterations;
    best.evaluations = evaluations;
    return best;
}

}  // namespace qlx

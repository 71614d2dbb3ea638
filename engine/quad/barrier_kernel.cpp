// The barrier method on programs without quadratic rows.
#include "engine/quad/barrier_kernel.hpp"

#include "engine/nlp/interior/interior_point_solver.hpp"
#include "engine/quad/barrier_problem.hpp"

namespace qlx::quad {

nlp::LocalOptions barrier_options(const StopRule& rule, int iterations) {
    nlp::LocalOptions options;
    options.iteration_limit = iterations;
    options.deadline = rule.deadline;
    options.stop = [rule] { return rule.stop(); };
    return options;
}

KernelClaim claim_of(nlp::LocalStatus status) noexcept {
    switch (status) {
        case nlp::LocalStatus::solved:
        case nlp::LocalStatus::acceptable:
            return KernelClaim::solved;
        case nlp::LocalStatus::infeasible:
            return KernelClaim::infeasible;
        case nlp::LocalStatus::unbounded:
            return KernelClaim::unbounded;
        case nlp::LocalStatus::iteration_limit:
            return KernelClaim::iteration_limit;
        case nlp::LocalStatus::time_limit:
        case nlp::LocalStatus::stopped:
            return KernelClaim::stopped;
        default:
            return KernelClaim::failed;
    }
}

QuadraticKernel barrier_kernel() {
    if (!nlp::InteriorPointSolver::is_available()) return {};
    return [](const QuadraticModel& model, const StopRule& rule, int iterations) {
        const ConeProgram program{model, {}};
        BarrierProblem problem(program, 0.0);
        nlp::LocalAnswer local =
            nlp::InteriorPointSolver().solve(problem, barrier_options(rule, iterations));
        KernelAnswer answer;
        answer.claim = claim_of(local.status);
        answer.iterations = local.iterations;
        answer.x = std::move(local.x);
        answer.y = std::move(local.row_dual);
        return answer;
    };
}

}  // namespace qlx::quad

// The barrier method on programs without quadratic rows.
#include "engine/quad/barrier_kernel.hpp"

#include "engine/nlp/interior/interior_point_solver.hpp"
#include "engine/quad/barrier_problem.hpp"

namespace qlx::quad {

nlp::LocalOptions barrier_options(const StopRule& rule, int iterations) {
    nlp::LocalOptions options;
    options.iteration_limit = iterations;
    options.stop = rule;
    return options;
}

KernelClaim claim_of(nlp::LocalStatus status) noexcept {
    switch (status) {
        case nlp::LocalStatus::kSolved:
        case nlp::LocalStatus::kAcceptable:
            return KernelClaim::kSolved;
        case nlp::LocalStatus::kInfeasible:
            return KernelClaim::kInfeasible;
        case nlp::LocalStatus::kUnbounded:
            return KernelClaim::kUnbounded;
        case nlp::LocalStatus::kIterationLimit:
            return KernelClaim::kIterationLimit;
        case nlp::LocalStatus::kTimeLimit:
        case nlp::LocalStatus::kStopped:
            return KernelClaim::kStopped;
        default:
            return KernelClaim::kFailed;
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

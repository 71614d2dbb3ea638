// Dispatches a solve to the solver of the problem's class.
#include "engine/solve/solve.hpp"

#include "engine/core/problem.hpp"
#include "engine/solve/classify.hpp"
#include "engine/solve/solve_scope.hpp"

namespace qlx {

namespace {

[[noreturn]] void refuse_class(ProblemClass problem_class) {
    fail(QLX_ERROR_UNSUPPORTED,
         "no solver for this class of problem yet: ", class_name(problem_class));
}

void solve_continuous(Problem& problem, const SolveScope& scope, ProblemClass problem_class,
                      const char* flags) {
    switch (problem_class) {
        case ProblemClass::kLp:
            return solve_lp(problem, scope, flags);
        case ProblemClass::kQp:
        case ProblemClass::kQcqp:
            return solve_quadratic(problem, scope);
        default:
            refuse_class(problem_class);
    }
}

// A tree search over a model without anything to branch on is its continuous solve.
void take_as_integer(Results& results) {
    switch (results.lp_status) {
        case QLX_LP_OPTIMAL:
            results.mip_status = QLX_MIP_OPTIMAL;
            break;
        case QLX_LP_INFEAS:
            results.mip_status = QLX_MIP_INFEAS;
            break;
        case QLX_LP_UNBOUNDED:
            results.mip_status = QLX_MIP_UNBOUNDED;
            break;
        default:
            results.mip_status = QLX_MIP_LP_NOT_OPTIMAL;
            break;
    }
    if (results.lp_status != QLX_LP_OPTIMAL) return;
    results.mip = results.lp;
    results.best_bound = results.lp.objective;
}

}  // namespace

void refuse_nonlinear(const Problem& problem) {
    const std::size_t terms = problem.model.nonlinear().coefficients.num_terms();
    if (terms == 0) return;
    fail(QLX_ERROR_UNSUPPORTED, "the problem has ", terms,
         " nonlinear coefficients; there is no solver for them yet, and its linear and quadratic "
         "part alone would be another problem");
}

void solve_without_integrality(Problem& problem, const char* flags) {
    refuse_empty(problem);
    refuse_nonlinear(problem);
    const ProblemClass problem_class = classify(problem.model, false);
    const SolveScope scope(problem);
    solve_continuous(problem, scope, problem_class, flags);
}

void solve_with_integrality(Problem& problem, const char* flags) {
    refuse_empty(problem);
    refuse_nonlinear(problem);
    const ProblemClass problem_class = classify(problem.model, true);
    if (problem_class == ProblemClass::kMiqp || problem_class == ProblemClass::kMiqcp)
        refuse_class(problem_class);
    const SolveScope scope(problem);
    if (problem_class == ProblemClass::kMip) return solve_mip(problem, scope, flags);
    solve_continuous(problem, scope, problem_class, flags);
    take_as_integer(problem.results);
}

}  // namespace qlx

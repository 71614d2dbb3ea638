// Dispatches a solve to the solver of the problem's class.
#include "engine/solve/solve.hpp"

#include "engine/core/nonlinear_problem.hpp"
#include "engine/core/problem.hpp"
#include "engine/solve/classify.hpp"
#include "engine/solve/kernel_options.hpp"
#include "engine/solve/solve_session.hpp"

namespace qlx {

namespace {

[[noreturn]] void refuse_class(ProblemClass problem_class) {
    fail(QLX_ERROR_UNSUPPORTED,
         "no solver for this class of problem yet: ", class_name(problem_class));
}

// Throws Error for what no solver takes.
ProblemClass checked_class(Problem& problem, bool integral, const char* flags) {
    if (problem.model.num_cols() == 0 && problem.model.num_rows() == 0)
        fail(QLX_ERROR_STATE, "the problem is empty: add columns or rows before solving it");
    refuse_unknown_flags(flags);
    refuse_nonlinear(problem);
    const ProblemClass problem_class = classify(problem.model, integral);
    if (problem_class == ProblemClass::kMiqp || problem_class == ProblemClass::kMiqcp)
        refuse_class(problem_class);
    return problem_class;
}

void solve_continuous(SolveSession& session, ProblemClass problem_class, const char* flags) {
    switch (problem_class) {
        case ProblemClass::kLp:
            return solve_lp(session, flags);
        case ProblemClass::kQp:
        case ProblemClass::kQcqp:
            return solve_quadratic(session);
        default:
            refuse_class(problem_class);
    }
}

// The optimum of a model without anything to branch on, under the cutoff of a tree search.
void take_optimum(SolveSession& session) {
    Results& results = session.results();
    const auto optimum = results.lp.get();
    results.best_bound = optimum->objective;
    results.mip_status = QLX_MIP_OPTIMAL;
    if (session.offer(optimum->x) == Verdict::kKept) return;
    results.mip_status = QLX_MIP_NO_SOL_FOUND;
    results.stop_status = QLX_STOP_CUTOFF;
    session.send(
        QLX_MSG_INFORMATION, message::kSolveEnd,
        join("Stopped without a solution (cutoff): the optimum, ", exact(optimum->objective),
             ", is not better than ", exact(session.controls().mipabscutoff)));
}

int integer_status(int lp_status) {
    switch (lp_status) {
        case QLX_LP_OPTIMAL:
            return QLX_MIP_OPTIMAL;
        case QLX_LP_INFEAS:
            return QLX_MIP_INFEAS;
        case QLX_LP_UNBOUNDED:
            return QLX_MIP_UNBOUNDED;
        default:
            return QLX_MIP_LP_NOT_OPTIMAL;
    }
}

// A tree search over a model without anything to branch on is its continuous solve.
void take_as_integer(SolveSession& session) {
    Results& results = session.results();
    results.mip_status = integer_status(results.lp_status);
    if (results.lp_status == QLX_LP_OPTIMAL) take_optimum(session);
}

void solve_class(SolveSession& session, ProblemClass problem_class, const char* flags) {
    if (problem_class == ProblemClass::kMip) return solve_mip(session, flags);
    solve_continuous(session, problem_class, flags);
    take_as_integer(session);
}

}  // namespace

void refuse_nonlinear(const Problem& problem) {
    const std::size_t terms = problem.model.nonlinear().coefficients.num_terms();
    if (terms == 0) return;
    if (problem.nonlinear != nullptr && (problem.nonlinear->presolve_state & kConstructed) != 0)
        return;
    fail(QLX_ERROR_UNSUPPORTED, "the problem has ", terms,
         " nonlinear coefficients, and its linear and quadratic part alone would be another "
         "problem; call QSLPnlpoptimize, or QSLPconstruct first");
}

void solve_without_integrality(Problem& problem, const char* flags) {
    const ProblemClass problem_class = checked_class(problem, false, flags);
    SolveSession session(problem);
    solve_continuous(session, problem_class, flags);
}

void solve_with_integrality(Problem& problem, const char* flags) {
    const ProblemClass problem_class = checked_class(problem, true, flags);
    SolveSession session(problem);
    solve_class(session, problem_class, flags);
}

void solve_relaxation(SolveSession& session, const char* flags) {
    solve_lp(session, flags);
    Results& results = session.results();
    results.mip_status = integer_status(results.lp_status);
    if (results.lp_status != QLX_LP_OPTIMAL) return;
    results.best_bound = results.lp.objective();
    results.mip.put(results.lp.get());
}

void solve_part(SolveSession& session, const char* flags) {
    solve_class(session, checked_class(session.problem(), true, flags), flags);
}

}  // namespace qlx

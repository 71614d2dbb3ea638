// Entry points: solving nonlinear problems.
#include <qlx/qslp.h>

#include <algorithm>

#include "engine/api/nonlinear_boundary.hpp"
#include "engine/core/problem.hpp"
#include "engine/core/result_edits.hpp"
#include "engine/solve/solve.hpp"

using namespace qlx;

extern "C" {

int QSLPnlpoptimize(QSLPprob prob, const char* flags) {
    return call(prob, "QSLPnlpoptimize", Access::kSolve,
                [&](NonlinearProblem& p) { solve_nonlinear(p, flags); });
}

int QSLPunconstruct(QSLPprob prob) {
    return nonlinear_change(prob, "QSLPunconstruct",
                            [](NonlinearProblem& p) { p.presolve_state &= ~kConstructed; });
}

int QSLPpostsolve(QSLPprob prob) {
    return nonlinear_change(prob, "QSLPpostsolve",
                            [](NonlinearProblem& p) { p.presolve_state &= ~kPresolved; });
}

int QSLPgetslpsol(QSLPprob prob, double* x, double* slack, double* dual, double* dj) {
    return nonlinear_read(prob, "QSLPgetslpsol", [&](NonlinearProblem& p) {
        Results& results = p.linear.results;
        if (results.lp.empty())
            fail(QLX_ERROR_STATE, p.status == QSLP_UNSTARTED
                                      ? "there is no point: the problem has not been solved"
                                      : "there is no point: the last solve found none");
        extend_results(results, p.linear.model);
        const Solution& solution = *results.lp.view();
        const auto give = [](const std::vector<double>& values, double* out) {
            if (out != nullptr) std::copy(values.begin(), values.end(), out);
        };
        give(solution.x, x);
        give(solution.slack, slack);
        give(solution.dual, dual);
        give(solution.dj, dj);
    });
}

}  // extern "C"

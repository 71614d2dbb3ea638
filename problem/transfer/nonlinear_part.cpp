// What the problem has handed to the nonlinear solver.
#include "problem/transfer/nonlinear_part.hpp"

#include "module/library_error.hpp"

namespace quilex {

int add_coefficients(const Problem* problem, const FormulaEntries& formulas) noexcept {
    return QSLPaddcoefs(problem->slpprob, formulas.count(), formulas.rows.data(),
                        formulas.columns.data(), formulas.factors.data(), formulas.starts.data(), 1,
                        formulas.types.data(), formulas.values.data());
}

void recount_coefficients(Problem* problem) {
    if (problem->slpprob == nullptr) return;
    int count = 0;
    require_library(as_object(problem),
                    QSLPgetintattrib(problem->slpprob, QSLP_ATTRIB_COEFS, &count));
    if (count == 0) {
        problem->nl_cons = 0;
    } else if (problem->nl_cons < 1 && problem->nl_obj == 0) {
        problem->nl_cons = 1;
    }
}

void check_nl_unconstruct(Problem* problem) {
    if (is_linear_or_quadratic(problem)) return;
    constexpr int kConstructed = 1;
    constexpr int kPresolved = 1 << 29;
    PyObject* const self = as_object(problem);
    int state = 0;
    require_library(self, QSLPgetintattrib(problem->slpprob, QSLP_ATTRIB_PRESOLVESTATE, &state));
    if ((state & kConstructed) != 0) require_library(self, QSLPunconstruct(problem->slpprob));
    if ((state & kPresolved) != 0) require_library(self, QSLPpostsolve(problem->slpprob));
}

}  // namespace quilex

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
    if (problem->nl_cons == 0) return;
    int count = 0;
    require_library(as_object(problem),
                    QSLPgetintattrib(problem->slpprob, QSLP_ATTRIB_COEFS, &count));
    if (count == 0) problem->nl_cons = 0;
}

}  // namespace quilex

// What the problem has handed to the nonlinear solver.
#pragma once

#include "problem/problem.hpp"
#include "problem/transfer/formula_entries.hpp"

namespace quilex {

// Hands coefficients to the nonlinear solver; the library's status.
int add_coefficients(const Problem* problem, const FormulaEntries& formulas) noexcept;

// To be called when rows were deleted: a problem whose last coefficient went is linear or quadratic
// again.
void recount_coefficients(Problem* problem);

}  // namespace quilex

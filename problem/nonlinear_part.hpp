// What the problem has handed to the nonlinear solver.
#pragma once

#include "problem/formula_entries.hpp"
#include "problem/problem.hpp"

namespace quilex {

// Hands coefficients to the nonlinear solver; the library's status.
int add_coefficients(const Problem* problem, const FormulaEntries& formulas) noexcept;

// To be called when rows were deleted: a problem whose last coefficient went is linear or quadratic
// again.
void recount_coefficients(Problem* problem);

}  // namespace quilex

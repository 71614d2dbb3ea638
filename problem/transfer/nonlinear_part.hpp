// What the problem has handed to the nonlinear solver.
#pragma once

#include "problem/problem.hpp"
#include "problem/transfer/formula_entries.hpp"

namespace quilex {

// Hands coefficients to the nonlinear solver; the library's status.
int add_coefficients(const Problem* problem, const FormulaEntries& formulas) noexcept;

// To be called when coefficients may have come or gone: whether the problem is linear or quadratic
// follows the library's count of them.
void recount_coefficients(Problem* problem);

// Brings a nonlinear problem back to what was stated where a solve, or a step of one, has left it
// otherwise: to be called before it is changed. Does nothing for a linear or quadratic one.
void check_nl_unconstruct(Problem* problem);

}  // namespace quilex

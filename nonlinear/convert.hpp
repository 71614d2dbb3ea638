// Splitting of a body into the ordinary part of a row (linear and quadratic entries, a constant)
// and its nonlinear coefficients.
#pragma once

#include "problem/row_entries.hpp"

namespace quilex {

// Appends the body (an operand of any kind) to the row under construction. Throws with a
// RuntimeError set; the caller then drops the row's entries.
void convertExpr(Problem* problem, PyObject* body, RowEntries& row);

}  // namespace quilex

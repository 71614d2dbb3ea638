// Splitting of a body into the ordinary part of a row (linear and quadratic entries, a constant)
// and its nonlinear coefficients.
#pragma once

#include "problem/transfer/row_entries.hpp"

namespace quilex {

// Appends the body, an operand of any kind, to the row under construction, `sign` times. Throws
// with a RuntimeError set; the caller then abandons the row.
void convertExpr(PyObject* body, double sign, RowEntries& row);

}  // namespace quilex

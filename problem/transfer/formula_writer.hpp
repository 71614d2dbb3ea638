// Writes expression trees as formulas: lists of tokens in reverse Polish order.
#pragma once

#include "problem/transfer/row_entries.hpp"

namespace quilex {

// Appends `node`, a nonlinear node, to the row under construction as one coefficient, `sign` times.
// The first variable of a product becomes the coefficient's column and its constants the factor;
// other nodes have the column of coefficients without one of their own. Throws with a RuntimeError
// set; the caller then abandons the row.
void write_coefficient(PyObject* node, double sign, RowEntries& row);

}  // namespace quilex

// Operands that a sum shares with the longer one made from it, so that `s = s + f` and `s = f + s`
// in a loop cost time proportional to the number of terms.
//
// `a + b` holds copies of a's operands and b itself. Copies are held by sums only, so that nothing
// can change them, and a list of them can be shared: each sum sees its own first shared_count
// items, and the one that sees all of them may append. Operands that the user holds as well, and
// the simple part, are in the sum's own list, behind the shared ones. A sum inside a copy shares
// nothing (nonlinear/node_copy.cpp): what a shared list holds leads to no shared list, save through
// the callable of a user function. The collector sees a list with such an operand, and all sums
// that have it.
#pragma once

#include "nonlinear/node_internal.hpp"

namespace quilex {

// Moves the leading nonlinear operands of a sum's own list to the shared ones. They must be copies
// that nothing else holds.
void share_operands(PyObject* sum);

// Adds an operand, a copy that nothing else holds, to a sum that nobody has seen yet: to the shared
// ones, unless the sum is short.
void add_shared_operand(PyObject* sum, PyObject* operand);

// Has a new sum start with the shared operands of another one.
void take_shared_operands(PyObject* sum, PyObject* shared, int32_t count) noexcept;

// A sum's operands in order, the last ones left out.
std::vector<Ref> leading_operands(PyObject* sum, Py_ssize_t left_out = 0);

}  // namespace quilex

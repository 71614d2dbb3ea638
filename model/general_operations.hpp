// The operations that work on operands of any kind.
#pragma once

#include "model/operand.hpp"

namespace quilex {

// In all of these None as either operand is the neutral element of the accumulation.
Ref general_iadd(PyObject* a, PyObject* b);
Ref general_imul(PyObject* a, PyObject* b);
Ref general_mul(PyObject* a, PyObject* b);
Ref general_neg(PyObject* a);
// s times a as a new object (a deep copy of expressions and nonlinear nodes).
Ref general_copy(PyObject* a, double scale);

Ref constant_add(PyObject* a, PyObject* b);
Ref constant_mul(PyObject* a, PyObject* b);
Ref constant_neg(PyObject* a);

}  // namespace quilex

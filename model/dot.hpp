// Dot: products of arrays of constants and modelling objects.
#pragma once

#include "model/operand.hpp"

namespace quilex {

// Dot(t1, t2, ..., out=None): the module function (METH_FASTCALL | METH_KEYWORDS).
Ref quilexmod_Dot(PyObject* module, PyObject* const* arguments, Py_ssize_t count,
                  PyObject* keywords);

}  // namespace quilex

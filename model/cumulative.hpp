// Sum and Prod.
#pragma once

#include "model/operand.hpp"

namespace quilex {

// The module functions (METH_FASTCALL).
Ref quilexmod_Sum(PyObject* module, PyObject* const* arguments, Py_ssize_t count);
Ref quilexmod_Prod(PyObject* module, PyObject* const* arguments, Py_ssize_t count);

}  // namespace quilex

// quilex.vararray: numpy arrays of new variables.
#pragma once

#include "module/references.hpp"

namespace quilex {

// vararray(shape, name=None, lb=0, ub=infinity, threshold=-infinity, vartype=continuous): the
// module function (METH_VARARGS | METH_KEYWORDS).
Ref quilexmod_vararray(PyObject* module, PyObject* arguments, PyObject* keywords);

}  // namespace quilex

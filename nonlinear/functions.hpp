// The elementary and user functions of the module: sin, exp, max, user and the others.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// The rows of the module's method table for these functions, ended by a row without a name.
extern PyMethodDef function_methods[];

// Applies a module function to every element of an array; the result has the array's shape.
Ref vector_compose_op(PyObject* module, PyObject* array, PyObject* function);

}  // namespace quilex

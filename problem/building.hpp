// The methods of quilex.problem that build the model, theme by theme. Each table is ended by a row
// without a name.
#pragma once

#include "module/failure.hpp"

namespace quilex {

extern PyMethodDef building_methods[];   // addVariable, addConstraint, addSOS, addIndicator
extern PyMethodDef deletion_methods[];   // delVariable, delConstraint, delSOS
extern PyMethodDef lookup_methods[];     // getVariable, getConstraint, getSOS, getIndex
extern PyMethodDef objective_methods[];  // setObjective
extern PyMethodDef start_methods[];      // setStart
extern PyMethodDef solve_methods[];      // solve, getObjVal, getProbStatus, getProbStatusString

// The bodies of addSOS and addIndicator.
Ref problem_addSOS(PyObject* self, PyObject* const* arguments, Py_ssize_t count);
Ref problem_addIndicator(PyObject* self, PyObject* const* arguments, Py_ssize_t count);

}  // namespace quilex

// Test aids: the exact contents of modelling objects, and the end of their free lists.
#pragma once

#include "model/operand.hpp"

namespace quilex {

// Published as quilexlib._parts(object): the exact contents, for tests.
//   variable, term, expression, constant:
//     (constant, [(variable, coefficient), ...], [(variable, variable, coefficient), ...] or None)
//     None standing for a quadratic part that does not exist;
//   nonlinear node: (operator code, operands as a tuple).
Ref quilexmod_parts(PyObject* module, PyObject* object);

extern PyMethodDef inspection_methods[];

// Gives the unused objects and blocks of the modelling layer back.
void clear_modelling_pools() noexcept;

}  // namespace quilex

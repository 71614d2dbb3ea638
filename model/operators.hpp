// The slots that all modelling types share, and the rules of the operators by operand kinds.
//
// Every type has the same functions in its number protocol, so that the interpreter calls an
// operator once whatever the two operands are. A slot looks at the exact types of both operands
// and goes to the rule for that pair.
#pragma once

#include "model/operand.hpp"
#include "module/boundary.hpp"

namespace quilex {

extern PyNumberMethods modelling_number_methods;

// __reduce__, which refuses; alone in a table, and as an entry for others.
Ref refuse_pickling(PyObject* self, PyObject*);
extern PyMethodDef modelling_methods[];
#define QUILEX_REFUSED_PICKLING \
    { "__reduce__", method<refuse_pickling>, METH_NOARGS, nullptr }

// __array_priority__: below numpy's arrays and above its scalars, so that arrays apply operators
// element by element and scalars leave them to the modelling type.
inline constexpr double kArrayPriority = -999999.0;
PyObject* array_priority(PyObject* self, void* closure) noexcept;
#define QUILEX_ARRAY_PRIORITY \
    { "__array_priority__", array_priority, nullptr, nullptr, nullptr }
extern PyGetSetDef modelling_attributes[];

// tp_new of the types that only operators make.
PyObject* refuse_construction(PyTypeObject* type, PyObject* arguments, PyObject* keywords) noexcept;

// The operators for any two operands. A pair with an operand that is no constant and no modelling
// object ends in NotImplemented (foreign arrays on the right), numpy's own operator (numpy arrays
// on the right) or RuntimeError "Invalid object in operation".
Ref add_any(PyObject* a, PyObject* b);
Ref subtract_any(PyObject* a, PyObject* b);
Ref multiply_any(PyObject* a, PyObject* b);
Ref divide_any(PyObject* a, PyObject* b);
Ref power_any(PyObject* a, PyObject* b, PyObject* modulus);
Ref negate_any(PyObject* a);
Ref absolute_any(PyObject* a);
Ref add_in_place_any(PyObject* a, PyObject* b);
Ref subtract_in_place_any(PyObject* a, PyObject* b);
Ref multiply_in_place_any(PyObject* a, PyObject* b);
Ref divide_in_place_any(PyObject* a, PyObject* b);
Ref power_in_place_any(PyObject* a, PyObject* b, PyObject* modulus);

}  // namespace quilex

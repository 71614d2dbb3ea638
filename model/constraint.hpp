// quilex.constraint: a body between a lower and an upper bound.
#pragma once

#include "model/operand.hpp"

namespace quilex {

struct Constraint {
    PyObject_HEAD
    uint64_t index;   // serial number
    PyObject* name;   // null while it is the default name and nobody asked for it
    PyObject* body;   // null when missing, or released to a problem: read it by constraint_body
    double lb;
    double ub;
    uint64_t problem_slot;  // 0, or the address of the problem that the body was released to
};

extern PyTypeObject constraint_type;

inline bool is_constraint(PyObject* object) noexcept {
    return Py_TYPE(object) == &constraint_type ||
           PyType_IsSubtype(Py_TYPE(object), &constraint_type);
}

// The body; empty when it is missing. Rebuilds a body that was released to a problem (defined by the
// problem layer). Whoever sets `body` sets `problem_slot` to 0.
Ref constraint_body(Constraint* constraint);

// A new constraint without a body, one serial number.
Owned<Constraint> constraint_base();

// The name as the object that the user gave, or the default name "R%d", made now.
Ref constraint_name(Constraint* constraint);

// The comparison of two operands (`op` is Python's rich comparison code) as a constraint.
Ref make_constraint(PyObject* a, PyObject* b, int op);

Ref constraint_copy(PyObject* constraint);

}  // namespace quilex

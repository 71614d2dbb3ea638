// quilex.constraint: a body between a lower and an upper bound.
#pragma once

#include "model/operand.hpp"

namespace quilex {

struct Constraint {
    PyObject_HEAD
    uint64_t index;  // serial number
    PyObject* name;  // null while it is the default name and nobody asked for it
    PyObject* body;  // null when missing, or released to a problem: read it by constraint_body
    double lb;
    double ub;
    uint64_t problem_slot;  // 0, or the address of the problem that the body was released to
};

extern PyTypeObject constraint_type;

inline bool is_constraint(PyObject* object) noexcept {
    return Py_TYPE(object) == &constraint_type ||
           PyType_IsSubtype(Py_TYPE(object), &constraint_type);
}

// The body; empty when it is missing. Rebuilds a body that was released to a problem (defined by
// the problem layer). Whoever sets `body` sets `problem_slot` to 0.
Ref constraint_body(Constraint* constraint);

// A new constraint without a body, one serial number.
Owned<Constraint> constraint_base();
// The same under a serial number that a constraint had before.
Owned<Constraint> constraint_with_index(uint64_t index);

// The name as the object that the user gave, or the default name "R%d", made now.
Ref constraint_name(Constraint* constraint);

// Gives a new constraint its body.
void constraint_set_body(Constraint* constraint, Ref body) noexcept;

// The rich comparison of all modelling types (`op` is Python's comparison code): a constraint, an
// array of constraints where an operand is a numpy array, or NotImplemented where the comparison
// is left to a foreign array type.
Ref make_constraint(PyObject* a, PyObject* b, int op);

// The same for two operands that are no arrays: one constraint. Where both are constants the left
// one's value is dropped: an array comparison meets such a pair beside others that hold modelling
// objects, and gives the empty body the right constant as its bound.
Ref make_one_constraint(PyObject* a, PyObject* b, int op);

// Gives the memory of unused constraints back.
void clear_constraint_pool() noexcept;

Ref constraint_copy(PyObject* constraint);

}  // namespace quilex

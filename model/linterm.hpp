// quilex.linterm: a coefficient times a variable.
#pragma once

#include "model/var.hpp"

namespace quilex {

struct LinearTerm {
    PyObject_HEAD
    double coefficient;
    Variable* variable;  // owned
};

extern PyTypeObject linterm_type;

inline bool is_linear_term(PyObject* object) noexcept { return Py_TYPE(object) == &linterm_type; }

// k times x: the float 0.0 when k is 0.
Ref linterm_fill(Variable* variable, double coefficient);
// s times the term; RuntimeError "Linterm copy using an invalid object" for any other object.
Ref linterm_copy(PyObject* term, double scale);
// a + s * b for operands of which at least one is a linear term and the other no more than one.
Ref linterm_alg_sum(PyObject* a, PyObject* b, double scale);

Ref linterm_add(PyObject* a, PyObject* b);
Ref linterm_sub(PyObject* a, PyObject* b);
Ref linterm_mul(PyObject* a, PyObject* b);
Ref linterm_div(PyObject* a, PyObject* b);
Ref linterm_pow(PyObject* a, PyObject* b, PyObject* modulus);
Ref linterm_neg(PyObject* a);
Ref linterm_iadd(PyObject* a, PyObject* b);
Ref linterm_isub(PyObject* a, PyObject* b);
Ref linterm_imul(PyObject* a, PyObject* b);
Ref linterm_idiv(PyObject* a, PyObject* b);
Ref linterm_ipow(PyObject* a, PyObject* b, PyObject* modulus);
Ref linterm_str(PyObject* a);

}  // namespace quilex

// quilex.quadterm: a coefficient times the product of two variables.
#pragma once

#include "model/var.hpp"

namespace quilex {

struct QuadraticTerm {
    PyObject_HEAD
    double coefficient;
    Variable* first;   // owned; the one with the smaller serial number
    Variable* second;  // owned; equal to `first` for a square
};

extern PyTypeObject quadterm_type;

inline bool is_quadratic_term(PyObject* object) noexcept {
    return Py_TYPE(object) == &quadterm_type;
}

// k times x times y, the variables in the order of their serial numbers. No zero test.
Ref quadterm_fill(Variable* x, Variable* y, double coefficient);
Ref quadterm_copy(PyObject* term, double scale);
Ref quadterm_alg_sum(PyObject* a, PyObject* b, double scale);

Ref quadterm_add(PyObject* a, PyObject* b);
Ref quadterm_sub(PyObject* a, PyObject* b);
Ref quadterm_mul(PyObject* a, PyObject* b);
Ref quadterm_div(PyObject* a, PyObject* b);
Ref quadterm_pow(PyObject* a, PyObject* b, PyObject* modulus);
Ref quadterm_neg(PyObject* a);
Ref quadterm_iadd(PyObject* a, PyObject* b);
Ref quadterm_isub(PyObject* a, PyObject* b);
Ref quadterm_imul(PyObject* a, PyObject* b);
Ref quadterm_idiv(PyObject* a, PyObject* b);
Ref quadterm_ipow(PyObject* a, PyObject* b, PyObject* modulus);
Ref quadterm_str(PyObject* a);

}  // namespace quilex

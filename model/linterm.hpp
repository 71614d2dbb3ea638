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

inline bool is_linear_term(PyObject* object) noexcept {
    return Py_TYPE(object) == &linterm_type;
}

// k times x: the float 0.0 when k is 0.
Ref linterm_fill(Variable* variable, double coefficient);
// s times the term; RuntimeError "Linterm copy using an invalid object" for any other object.
Ref linterm_copy(PyObject* term, double scale);
// a + s * b for operands of which at least one is a linear term and the other no more than one.
Ref linterm_alg_sum(PyObject* a, PyObject* b, double scale);

// The operators go by the kinds of both operands, whichever type they are called for.
inline constexpr auto linterm_add = add_any;
inline constexpr auto linterm_sub = subtract_any;
inline constexpr auto linterm_mul = multiply_any;
inline constexpr auto linterm_div = divide_any;
inline constexpr auto linterm_pow = power_any;
inline constexpr auto linterm_neg = negate_any;
inline constexpr auto linterm_iadd = add_in_place_any;
inline constexpr auto linterm_isub = subtract_in_place_any;
inline constexpr auto linterm_imul = multiply_in_place_any;
inline constexpr auto linterm_idiv = divide_in_place_any;
inline constexpr auto linterm_ipow = power_in_place_any;
Ref linterm_str(PyObject* a);

}  // namespace quilex

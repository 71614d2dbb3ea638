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

// The operators go by the kinds of both operands, whichever type they are called for.
inline constexpr auto quadterm_add = add_any;
inline constexpr auto quadterm_sub = subtract_any;
inline constexpr auto quadterm_mul = multiply_any;
inline constexpr auto quadterm_div = divide_any;
inline constexpr auto quadterm_pow = power_any;
inline constexpr auto quadterm_neg = negate_any;
inline constexpr auto quadterm_iadd = add_in_place_any;
inline constexpr auto quadterm_isub = subtract_in_place_any;
inline constexpr auto quadterm_imul = multiply_in_place_any;
inline constexpr auto quadterm_idiv = divide_in_place_any;
inline constexpr auto quadterm_ipow = power_in_place_any;
Ref quadterm_str(PyObject* a);

}  // namespace quilex

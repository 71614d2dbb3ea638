// The rules of the operators by the kinds of both operands. Sums and products of variables, linear
// terms and constants are inline: they are what a model consists of.
#pragma once

#include <algorithm>

#include "model/expression_object.hpp"
#include "nonlinear/node.hpp"

namespace quilex {

// Pairs with an expression.
Ref expression_sum(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb, double scale);
Ref expression_product(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb);
// a + scale * b in place; `a` is an expression, b anything but nonlinear.
void add_to_expression(PyObject* a, PyObject* b, OperandKind kb, double scale);
// An expression times a constant, in place; the float 0.0 for 0.
Ref scale_in_place(PyObject* expression, double factor);

// Pairs whose richest operand is a quadratic term.
Ref quadratic_sum(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb, double scale);
Ref quadratic_quotient(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb);

// Pairs whose richest operand is a variable or linear term.
Ref linear_quotient(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb);

Ref quotient_of_kinds(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb);
Ref power_of_kinds(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb, PyObject* modulus);

inline Ref linear_term_or_zero(LinearEntry entry) {
    if (entry.coefficient == 0.0) [[unlikely]]
        return python_float(0.0);
    return new_linear_term(entry.variable, entry.coefficient);
}

inline Ref constant_and_linear(double constant, LinearEntry entry) {
    if (entry.coefficient == 0.0) [[unlikely]]
        return new_expression(constant);
    return new_linear_expression(constant, entry);
}

// The sum of two entries; a coefficient can vanish only by underflow.
inline Ref linear_pair(LinearEntry a, LinearEntry b) {
    if (a.variable == b.variable) {
        return linear_term_or_zero({a.variable, a.coefficient + b.coefficient});
    }
    if (b.coefficient == 0.0) [[unlikely]]
        return new_linear_expression(0.0, a);
    return new_linear_expression(0.0, a, b);
}

inline Ref linear_sum(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb, double scale) {
    if (kb == kConstant) {
        const double constant = scale * constant_value(b);
        if (constant != 0.0) return constant_and_linear(constant, linear_operand(a, ka));
        return ka == kVariable ? Ref::share(a) : linear_term_or_zero(linear_operand(a, ka));
    }
    LinearEntry right = linear_operand(b, kb);
    right.coefficient *= scale;
    if (ka != kConstant) return linear_pair(linear_operand(a, ka), right);
    const double constant = constant_value(a);
    // A variable becomes an expression even when the constant is 0.
    if (constant == 0.0 && kb == kLinearTerm) return linear_term_or_zero(right);
    return constant_and_linear(constant, right);
}

// a + b (scale 1.0) or a - b (scale -1.0).
[[gnu::always_inline]] inline Ref sum_of_kinds(PyObject* a, OperandKind ka, PyObject* b,
                                               OperandKind kb, double scale) {
    switch (std::max(ka, kb)) {
        case kVariable:
        case kLinearTerm:
            return linear_sum(a, ka, b, kb, scale);
        case kQuadraticTerm:
            return quadratic_sum(a, ka, b, kb, scale);
        case kExpression:
            return expression_sum(a, ka, b, kb, scale);
        case kNonlinear:
            if (ka == kExpression) return nonlin_alg_sum(a, b, scale);
            if (scale < 0.0) return nonlin_sub(a, b);
            // The richer operand of a sum goes first; a variable is the only other kind whose
            // operator says so.
            return ka == kVariable ? nonlin_add(b, a) : nonlin_add(a, b);
        default:
            return python_float(constant_value(a) + scale * constant_value(b));
    }
}

inline Ref linear_product(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb) {
    if (ka != kConstant && kb != kConstant) {
        const LinearEntry left = linear_operand(a, ka);
        const LinearEntry right = linear_operand(b, kb);
        return new_quadratic_term(left.variable, right.variable,
                                  left.coefficient * right.coefficient);
    }
    const double factor = constant_value(ka == kConstant ? a : b);
    PyObject* term = ka == kConstant ? b : a;
    const OperandKind kind = ka == kConstant ? kb : ka;
    if (factor == 1.0 && kind == kVariable) return Ref::share(term);
    const LinearEntry entry = linear_operand(term, kind);
    return linear_term_or_zero({entry.variable, factor * entry.coefficient});
}

[[gnu::always_inline]] inline Ref product_of_kinds(PyObject* a, OperandKind ka, PyObject* b,
                                                   OperandKind kb) {
    switch (std::max(ka, kb)) {
        case kVariable:
        case kLinearTerm:
            return linear_product(a, ka, b, kb);
        case kQuadraticTerm:
            if (ka == kConstant) return quadterm_copy(b, constant_value(a));
            if (kb == kConstant) return quadterm_copy(a, constant_value(b));
            return nonlin_instantiate_binary(kProduct, a, b);
        case kExpression:
            return expression_product(a, ka, b, kb);
        case kNonlinear:
            return nonlin_mul(a, b);
        default:
            return python_float(constant_value(a) * constant_value(b));
    }
}

}  // namespace quilex

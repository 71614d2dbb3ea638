// The rules of the operators by the kinds of both operands.
#include "model/expression_object.hpp"
#include "model/operators.hpp"
#include "nonlinear/node.hpp"

namespace quilex {

Ref sum_of_kinds(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb, double scale) {
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

Ref product_of_kinds(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb) {
    switch (std::max(ka, kb)) {
        case kVariable:
        case kLinearTerm: {
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
            return linterm_fill(entry.variable, factor * entry.coefficient);
        }
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

Ref quotient_of_kinds(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb) {
    switch (std::max(ka, kb)) {
        case kVariable:
        case kLinearTerm:
            return linear_quotient(a, ka, b, kb);
        case kQuadraticTerm:
            return quadratic_quotient(a, ka, b, kb);
        case kExpression:
            if (kb == kConstant) {
                const double divisor = constant_value(b);
                if (divisor == 0.0) raise_runtime_error("Division by zero");
                return expression_copy(a, 1.0 / divisor);
            }
            return nonlin_div(a, b);
        case kNonlinear:
            return nonlin_div(a, b);
        default: {
            const double divisor = constant_value(b);
            if (divisor == 0.0) raise_runtime_error("Division by zero");
            return python_float(constant_value(a) / divisor);
        }
    }
}

namespace {

// A variable, term or expression to a constant power; null where it takes a node.
Ref constant_power(PyObject* a, OperandKind ka, double exponent) {
    if (exponent == 0.0) return python_float(1.0);
    if (exponent == 1.0) {
        if (ka == kQuadraticTerm) return quadterm_copy(a, 1.0);
        return ka == kExpression ? Ref(expression_copy(a, 1.0)) : Ref::share(a);
    }
    if (exponent != 2.0 || ka == kQuadraticTerm) return Ref();
    if (ka == kExpression) return expression_product(a, ka, a, ka);
    const LinearEntry base = linear_operand(a, ka);
    return new_quadratic_term(base.variable, base.variable, base.coefficient * base.coefficient);
}

}  // namespace

Ref power_of_kinds(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb, PyObject* modulus) {
    if (kb == kConstant && ka != kConstant && ka != kNonlinear) {
        if (Ref result = constant_power(a, ka, constant_value(b))) return result;
    }
    const OperandKind richest = std::max(ka, kb);
    if (richest == kExpression || richest == kNonlinear) return nonlin_pow(a, b, modulus);
    if (ka == kConstant && kb == kQuadraticTerm && constant_value(a) == 1.0) {
        return python_float(1.0);
    }
    return nonlin_instantiate_binary(kPower, a, b);
}

}  // namespace quilex

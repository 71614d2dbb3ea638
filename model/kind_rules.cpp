// The rules of division and power by the kinds of both operands.
#include "model/kind_rules.hpp"

namespace quilex {

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

// The operations that work on operands of any kind.
#include "model/general_operations.hpp"

#include "model/kind_rules.hpp"
#include "module/numpy.hpp"
#include "nonlinear/node.hpp"

namespace quilex {

namespace {

// The richer kind of two operands; constants, arrays and everything else count as constants.
OperandKind richer_kind(PyObject* a, PyObject* b) noexcept {
    return std::max({classify(a), classify(b), kConstant});
}

}  // namespace

Ref general_iadd(PyObject* a, PyObject* b) {
    // The commonest step of Sum: a growing expression and a variable or linear term.
    const OperandKind quick_b = quick_kind(b);
    if (is_expression(a) && (quick_b == kVariable || quick_b == kLinearTerm)) {
        add_to_expression(a, b, quick_b, 1.0);
        return Ref::share(a);
    }
    if (a == Py_None) return general_copy(b, 1.0);
    if (b == Py_None) return Ref::share(a);
    if (is_numpy_array(b)) return require(PyNumber_InPlaceAdd(a, b));
    switch (richer_kind(a, b)) {
        case kNonlinear:
            return nonlin_iadd(a, b);
        case kExpression:
            return expression_incremental_alg_sum(a, b, 1.0);
        case kConstant:
            return constant_add(a, b);
        default:
            return add_in_place_any(a, b);
    }
}

Ref general_imul(PyObject* a, PyObject* b) {
    if (a == Py_None) return general_copy(b, 1.0);
    if (b == Py_None) return Ref::share(a);
    if (is_numpy_array(b)) return require(PyNumber_InPlaceMultiply(a, b));
    switch (richer_kind(a, b)) {
        case kNonlinear:
            return nonlin_imul(a, b);
        case kConstant:
            return constant_mul(a, b);
        default:
            return multiply_in_place_any(a, b);
    }
}

Ref general_mul(PyObject* a, PyObject* b) {
    if (a == Py_None) return general_copy(b, 1.0);
    if (b == Py_None) return Ref::share(a);
    if (is_numpy_array(b)) return require(PyNumber_Multiply(a, b));
    switch (richer_kind(a, b)) {
        case kNonlinear:
            return nonlin_mul(a, b);
        case kConstant:
            return constant_mul(a, b);
        default:
            return multiply_any(a, b);
    }
}

Ref general_neg(PyObject* a) {
    if (is_numpy_array(a)) return constant_neg(a);
    return negate_any(a);
}

Ref general_copy(PyObject* a, double scale) {
    if (is_numpy_array(a)) {
        Ref copy = require(PyArray_NewCopy(reinterpret_cast<PyArrayObject*>(a), NPY_ANYORDER));
        if (scale == 1.0) return copy;
        return require(PyNumber_Multiply(copy.get(), python_float(scale).get()));
    }
    switch (require_kind(a)) {
        case kVariable:
            return var_copy(as_variable(a), scale);
        case kLinearTerm:
            return linterm_copy(a, scale);
        case kQuadraticTerm:
            return quadterm_copy(a, scale);
        case kExpression:
            return expression_copy(a, scale);
        case kNonlinear:
            return nonlin_copy(a, scale);
        default:
            return python_float(scale * constant_value(a));
    }
}

Ref constant_add(PyObject* a, PyObject* b) {
    if (is_numpy_array(a)) return require(PyNumber_Add(b, a));
    if (is_numpy_array(b)) return require(PyNumber_Add(a, b));
    require_kind(a);
    require_kind(b);
    return python_float(constant_value(a) + constant_value(b));
}

Ref constant_mul(PyObject* a, PyObject* b) {
    if (is_numpy_array(a) || is_numpy_array(b)) return require(PyNumber_Multiply(a, b));
    require_kind(a);
    require_kind(b);
    return python_float(constant_value(a) * constant_value(b));
}

Ref constant_neg(PyObject* a) {
    if (is_numpy_array(a)) return require(PyNumber_Negative(a));
    require_kind(a);
    return python_float(-constant_value(a));
}

}  // namespace quilex

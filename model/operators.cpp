// The slots that all modelling types share.
#include "model/operators.hpp"

#include "model/containers.hpp"
#include "model/kind_rules.hpp"
#include "module/numpy.hpp"
#include "nonlinear/node.hpp"

namespace quilex {

namespace {

constexpr const char* kInvalidObject = "Invalid object in operation";
constexpr const char* kVectorExponent = "Cannot obtain a power with a vector as an exponent";

[[noreturn]] void raise_invalid_object() {
    raise_runtime_error(kInvalidObject);
}

// What an operator does with a numpy array on its right.
using ArrayRule = Ref (*)(PyObject* a, PyObject* array);

Ref array_sum(PyObject* a, PyObject* array) {
    return require(PyNumber_Add(array, a));
}
Ref array_difference(PyObject* a, PyObject* array) {
    const Ref negated = require(PyNumber_Negative(as_doubles(array).get()));
    return require(PyNumber_Add(negated.get(), a));
}
Ref array_product(PyObject* a, PyObject* array) {
    return require(PyNumber_Multiply(array, a));
}
Ref array_quotient(PyObject* a, PyObject* array) {
    const Ref one = python_float(1.0);
    const Ref inverse = require(PyNumber_TrueDivide(one.get(), as_doubles(array).get()));
    return require(PyNumber_Multiply(inverse.get(), a));
}
Ref array_power(PyObject*, PyObject*) {
    raise_runtime_error(kVectorExponent);
}

// The kinds of two operands of which one is not of an exact type of ours or Python's. True when
// both are known; else the result is in `result`.
bool classify_both(PyObject* a, PyObject* b, ArrayRule rule, OperandKind& ka, OperandKind& kb,
                   Ref& result) {
    if (is_numpy_array(b)) {
        // numpy would look for an array in what comes of it.
        if (is_masked_element(b)) raise_runtime_error("%s: a masked element", kInvalidObject);
        result = rule(a, b);
        return false;
    }
    ka = classify(a);
    kb = classify(b);
    if (ka != kInvalid && kb != kInvalid) return true;
    if (ka == kInvalid || !is_foreign_array(b)) raise_invalid_object();
    result = Ref::share(Py_NotImplemented);
    return false;
}

// Runs `operation(ka, kb)` on the kinds of both operands.
template <class Operation>
inline Ref dispatch(PyObject* a, PyObject* b, ArrayRule rule, Operation operation) {
    OperandKind ka = quick_kind(a);
    OperandKind kb = quick_kind(b);
    if ((ka | kb) < 0) [[unlikely]] {
        Ref result;
        if (!classify_both(a, b, rule, ka, kb, result)) return result;
    }
    return operation(ka, kb);
}

// Whether the operand is a constant of the given value, the neutral element of an operation.
bool is_constant_equal_to(PyObject* object, OperandKind kind, double value) {
    return kind == kConstant && constant_value(object) == value;
}

// Floor division and remainder have no meaning in a model.
Ref refuse_operator(PyObject* a, PyObject* b, const char* name) {
    if (!is_numpy_array(b) && classify(b) == kInvalid && is_foreign_array(b)) {
        return Ref::share(Py_NotImplemented);
    }
    if (classify(a) == kInvalid || classify(b) == kInvalid) raise_invalid_object();
    raise_runtime_error("%s: no %s of %.200s and %.200s", kInvalidObject, name, Py_TYPE(a)->tp_name,
                        Py_TYPE(b)->tp_name);
}
Ref refuse_remainder(PyObject* a, PyObject* b) {
    return refuse_operator(a, b, "%");
}
Ref refuse_divmod(PyObject* a, PyObject* b) {
    return refuse_operator(a, b, "divmod");
}
Ref refuse_floor_division(PyObject* a, PyObject* b) {
    return refuse_operator(a, b, "//");
}

enum class Operation { kSum, kProduct };

// What is said when memory runs out while a result is built: by the operation and both kinds.
const char* allocation_text(Operation operation, OperandKind ka, OperandKind kb) noexcept {
    const bool is_sum = operation == Operation::kSum;
    const OperandKind other = std::min(ka, kb);
    switch (std::max(ka, kb)) {
        case kExpression:
            return is_sum ? "Error adding expressions" : "Error multiplying expressions";
        case kQuadraticTerm:
            if (is_sum && other == kQuadraticTerm)
                return "Error creating expression as sum of two quadratic terms";
            if (is_sum && other == kLinearTerm)
                return "Error creating expression as sum of linear term and quadratic term";
            if (is_sum && other == kVariable)
                return "Error creating expression as sum of quadratic term and variable";
            return "Error setting quadratic expression";
        case kLinearTerm:
            if (is_sum && other == kLinearTerm)
                return "Error creating expression as sum of two linear terms";
            if (is_sum && other == kVariable)
                return "Error creating expression as sum of linear term and variable";
            return "Error creating expression";
        default:
            return "Could not allocate an object of type Variable";
    }
}

template <auto Function, Operation Kind>
struct OperatorBoundary;

template <class... Modulus, Ref (*Function)(PyObject*, PyObject*, Modulus...), Operation Kind>
struct OperatorBoundary<Function, Kind> {
    static PyObject* call(PyObject* a, PyObject* b, Modulus... modulus) noexcept {
        try {
            return Function(a, b, modulus...).release();
        } catch (const std::bad_alloc&) {
            PyErr_SetString(PyExc_RuntimeError, allocation_text(Kind, classify(a), classify(b)));
            return nullptr;
        } catch (...) {
            set_python_error_from_current_exception();
            return nullptr;
        }
    }
};

template <auto Function>
inline constexpr auto sum_slot = &OperatorBoundary<Function, Operation::kSum>::call;
template <auto Function>
inline constexpr auto product_slot = &OperatorBoundary<Function, Operation::kProduct>::call;

}  // namespace

Ref add_any(PyObject* a, PyObject* b) {
    return dispatch(a, b, array_sum, [=](OperandKind ka, OperandKind kb) {
        return sum_of_kinds(a, ka, b, kb, 1.0);
    });
}

Ref subtract_any(PyObject* a, PyObject* b) {
    return dispatch(a, b, array_difference, [=](OperandKind ka, OperandKind kb) {
        return sum_of_kinds(a, ka, b, kb, -1.0);
    });
}

Ref multiply_any(PyObject* a, PyObject* b) {
    return dispatch(a, b, array_product,
                    [=](OperandKind ka, OperandKind kb) { return product_of_kinds(a, ka, b, kb); });
}

Ref divide_any(PyObject* a, PyObject* b) {
    return dispatch(a, b, array_quotient, [=](OperandKind ka, OperandKind kb) {
        return quotient_of_kinds(a, ka, b, kb);
    });
}

Ref power_any(PyObject* a, PyObject* b, PyObject* modulus) {
    return dispatch(a, b, array_power, [=](OperandKind ka, OperandKind kb) {
        return power_of_kinds(a, ka, b, kb, modulus);
    });
}

Ref negate_any(PyObject* a) {
    switch (require_kind(a)) {
        case kVariable:
            return new_linear_term(as_variable(a), -1.0);
        case kLinearTerm:
            return new_linear_term(as_linear_term(a)->variable, -as_linear_term(a)->coefficient);
        case kQuadraticTerm:
            return quadterm_copy(a, -1.0);
        case kExpression:
            return expression_copy(a, -1.0);
        case kNonlinear:
            return nonlin_neg(a);
        default:
            return python_float(-constant_value(a));
    }
}

Ref absolute_any(PyObject* a) {
    return nonlin_instantiate_unary(kAbs, a);
}

// Variables and terms never change: adding the neutral element gives the object itself, anything
// else what the operator gives.
Ref add_in_place_any(PyObject* a, PyObject* b) {
    return dispatch(a, b, array_sum, [=](OperandKind ka, OperandKind kb) -> Ref {
        if (ka == kExpression && kb == kVariable) {
            add_linear(as_expression(a), as_variable(b), 1.0);
            return Ref::share(a);
        }
        if (ka == kExpression && kb != kNonlinear) {
            add_to_expression(a, b, kb, 1.0);
            return Ref::share(a);
        }
        if (ka == kNonlinear) return nonlin_iadd(a, b);
        if (is_constant_equal_to(b, kb, 0.0) && ka != kConstant) return Ref::share(a);
        return sum_of_kinds(a, ka, b, kb, 1.0);
    });
}

Ref subtract_in_place_any(PyObject* a, PyObject* b) {
    return dispatch(a, b, array_difference, [=](OperandKind ka, OperandKind kb) -> Ref {
        if (ka == kExpression && kb != kNonlinear) {
            add_to_expression(a, b, kb, -1.0);
            return Ref::share(a);
        }
        if (ka == kNonlinear) return nonlin_isub(a, b);
        if (is_constant_equal_to(b, kb, 0.0) && ka != kConstant) return Ref::share(a);
        return sum_of_kinds(a, ka, b, kb, -1.0);
    });
}

Ref multiply_in_place_any(PyObject* a, PyObject* b) {
    return dispatch(a, b, array_product, [=](OperandKind ka, OperandKind kb) -> Ref {
        if (ka == kExpression && kb == kConstant) return scale_in_place(a, constant_value(b));
        if (ka == kNonlinear) return nonlin_imul(a, b);
        if (is_constant_equal_to(b, kb, 1.0) && ka != kConstant) return Ref::share(a);
        return product_of_kinds(a, ka, b, kb);
    });
}

Ref divide_in_place_any(PyObject* a, PyObject* b) {
    return dispatch(a, b, array_quotient, [=](OperandKind ka, OperandKind kb) -> Ref {
        if (ka == kNonlinear) return nonlin_idiv(a, b);
        if (kb == kConstant && ka != kConstant) {
            const double divisor = constant_value(b);
            if (divisor == 0.0) raise_runtime_error("Division by zero");
            if (divisor == 1.0) return Ref::share(a);
            if (ka == kExpression) return scale_in_place(a, 1.0 / divisor);
        }
        return quotient_of_kinds(a, ka, b, kb);
    });
}

Ref power_in_place_any(PyObject* a, PyObject* b, PyObject* modulus) {
    return dispatch(a, b, array_power, [=](OperandKind ka, OperandKind kb) -> Ref {
        if (ka == kNonlinear) return nonlin_ipow(a, b, modulus);
        if (kb == kConstant && ka != kConstant) {
            const double exponent = constant_value(b);
            if (exponent == 1.0) return Ref::share(a);
            if (exponent == 0.0) return python_float(1.0);
        }
        return power_of_kinds(a, ka, b, kb, modulus);
    });
}

PyObject* array_priority(PyObject*, void*) noexcept {
    return PyFloat_FromDouble(kArrayPriority);
}

PyObject* refuse_construction(PyTypeObject* type, PyObject*, PyObject*) noexcept {
    return PyErr_Format(PyExc_TypeError, "cannot create '%s' instances: they come from operators",
                        type->tp_name);
}

Ref refuse_pickling(PyObject* self, PyObject*) {
    raise(PyExc_TypeError,
          "cannot pickle '%s' object: modelling objects belong to the process that made them",
          Py_TYPE(self)->tp_name);
}

PyMethodDef modelling_methods[] = {
    QUILEX_REFUSED_PICKLING,
    {nullptr, nullptr, 0, nullptr},
};

PyGetSetDef modelling_attributes[] = {
    QUILEX_ARRAY_PRIORITY,
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

PyNumberMethods modelling_number_methods = {
    .nb_add = sum_slot<add_any>,
    .nb_subtract = sum_slot<subtract_any>,
    .nb_multiply = product_slot<multiply_any>,
    .nb_remainder = slot<refuse_remainder>,
    .nb_divmod = slot<refuse_divmod>,
    .nb_power = product_slot<power_any>,
    .nb_negative = slot<negate_any>,
    .nb_absolute = slot<absolute_any>,
    .nb_inplace_add = sum_slot<add_in_place_any>,
    .nb_inplace_subtract = sum_slot<subtract_in_place_any>,
    .nb_inplace_multiply = product_slot<multiply_in_place_any>,
    .nb_inplace_power = product_slot<power_in_place_any>,
    .nb_floor_divide = slot<refuse_floor_division>,
    .nb_true_divide = product_slot<divide_any>,
    .nb_inplace_true_divide = product_slot<divide_in_place_any>,
};

}  // namespace quilex

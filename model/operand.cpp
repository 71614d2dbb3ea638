// Operand kinds: what an operator of the modelling layer may meet.
#include "model/operand.hpp"

#include "model/constraint.hpp"
#include "model/var.hpp"
#include "module/numbers.hpp"
#include "module/numpy.hpp"
#if PY_VERSION_HEX < 0x030B0000
#include <longintrepr.h>
#endif

namespace quilex {

namespace {

// int before numpy's integer scalars before float: numpy.float64 is a float, numpy.bool_ nothing.
bool is_constant_of_any_type(PyObject* object) noexcept {
    return PyLong_Check(object) || PyArray_IsScalar(object, Int) ||
           PyArray_IsScalar(object, Long) || PyFloat_Check(object) ||
           PyArray_IsScalar(object, Float) || PyArray_IsScalar(object, Double);
}

bool type_has_attribute(PyObject* object, const char* name) noexcept {
    return PyObject_HasAttrString(reinterpret_cast<PyObject*>(Py_TYPE(object)), name) != 0;
}

}  // namespace

OperandKind classify(PyObject* object) noexcept {
    if (object == nullptr) return kInvalid;
    const OperandKind kind = quick_kind(object);
    if (kind != kInvalid) return kind;
    if (is_constant_of_any_type(object)) return kConstant;
    return is_variable(object) ? kVariable : kInvalid;
}

OperandKind getExprType(PyObject* object) noexcept {
    const OperandKind kind = classify(object);
    if (kind == kInvalid) PyErr_SetString(PyExc_RuntimeError, "Invalid object in operation");
    return kind;
}

bool isNumericConstant(PyObject* object) noexcept {
    return object != nullptr && is_constant_of_any_type(object);
}

bool small_int_value(PyObject* number, double& value) noexcept {
    auto* digits = reinterpret_cast<PyLongObject*>(number);
#if PY_VERSION_HEX >= 0x030C0000
    if (!PyUnstable_Long_IsCompact(digits)) return false;
    value = static_cast<double>(PyUnstable_Long_CompactValue(digits));
#else
    const Py_ssize_t size = Py_SIZE(digits);
    if (size < -1 || size > 1) return false;
    value = size == 0 ? 0.0 : static_cast<double>(digits->ob_digit[0]) * static_cast<double>(size);
#endif
    return true;
}

double converted_value(PyObject* constant) {
    double small = 0.0;
    if (PyLong_CheckExact(constant) && small_int_value(constant, small)) return small;
    return double_value(constant, "Invalid object in operation: the constant");
}

bool is_numpy_array(PyObject* object) noexcept {
    return PyArray_Check(object);
}

bool is_foreign_array(PyObject* object) noexcept {
    if (is_numpy_array(object) || PyArray_CheckScalar(object)) return false;
    // Our own types state a priority too.
    if (classify(object) != kInvalid || is_constraint(object)) return false;
    return type_has_attribute(object, "__array_ufunc__") ||
           type_has_attribute(object, "__array_priority__");
}

}  // namespace quilex

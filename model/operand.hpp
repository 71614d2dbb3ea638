// Operand kinds: what an operator of the modelling layer may meet.
#pragma once

#include "module/failure.hpp"

namespace quilex {

enum OperandKind : int {
    kInvalid = -1,
    kConstant = 0,
    kVariable = 1,
    kLinearTerm = 2,
    kQuadraticTerm = 3,
    kExpression = 4,
    kNonlinear = 5,
};

extern PyTypeObject var_type;
extern PyTypeObject linterm_type;
extern PyTypeObject quadterm_type;
extern PyTypeObject expression_type;
extern PyTypeObject nonlinear_type;

// The kind of an operand by its exact type alone, the commonest types first. kInvalid says only
// that `classify` must have a look.
inline OperandKind quick_kind(PyObject* object) noexcept {
    PyTypeObject* type = Py_TYPE(object);
    if (type == &var_type) return kVariable;
    if (type == &linterm_type) return kLinearTerm;
    if (type == &expression_type) return kExpression;
    if (type == &PyFloat_Type || type == &PyLong_Type) return kConstant;
    if (type == &quadterm_type) return kQuadraticTerm;
    if (type == &nonlinear_type) return kNonlinear;
    return kInvalid;
}

// The kind of an operand, or kInvalid; sets no error. Constants are int, float and their
// subclasses, and numpy's intc, int_ , float32 and float64 scalars.
OperandKind classify(PyObject* object) noexcept;

// The same, with RuntimeError "Invalid object in operation" set where it returns kInvalid.
OperandKind getExprType(PyObject* object) noexcept;

// Throwing form of getExprType.
inline OperandKind require_kind(PyObject* object) {
    const OperandKind kind = getExprType(object);
    if (kind == kInvalid) throw PythonFailure();
    return kind;
}

// Whether the object is a constant; sets no error.
bool isNumericConstant(PyObject* object) noexcept;

// The value of an exact int that fits into one digit; false for any larger one.
bool small_int_value(PyObject* number, double& value) noexcept;

// The value of an int, or of anything else by Python's own float conversion.
double converted_value(PyObject* constant);

// The value of a constant as a double (Python's own float conversion; throws where that fails,
// as for an int beyond the range of a double).
inline double constant_value(PyObject* constant) {
    if (PyFloat_CheckExact(constant)) return PyFloat_AS_DOUBLE(constant);
    return converted_value(constant);
}

// Whether the object is a numpy array or an instance of a subclass.
bool is_numpy_array(PyObject* object) noexcept;

// Whether the object is of a foreign type that knows how to combine arrays with objects (data
// frames, labelled arrays): operators leave such operands to them.
bool is_foreign_array(PyObject* object) noexcept;

// Numeric results of the operators.
inline Ref python_float(double value) {
    return require(PyFloat_FromDouble(value));
}

}  // namespace quilex

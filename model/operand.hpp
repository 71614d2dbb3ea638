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

// The value of a constant as a double (Python's own float conversion; throws where that fails,
// as for an int beyond the range of a double).
double constant_value(PyObject* constant);

// Whether the object is a numpy array or an instance of a subclass.
bool is_numpy_array(PyObject* object) noexcept;

}  // namespace quilex

// quilex.var: the decision variable.
#pragma once

#include "model/operand.hpp"

namespace quilex {

enum VariableType : int {
    kContinuous = 0,
    kBinary = 1,
    kInteger = 2,
    kSemiContinuous = 3,
    kSemiInteger = 4,
    kPartiallyInteger = 5,
};

inline constexpr double kInfinity = 1e20;

struct Variable {
    PyObject_HEAD
    uint64_t index;      // serial number: identity, hash, order of a product's factors
    PyObject* name;      // str or bytes; null while it is the default name and nobody asked for it
    double lb;
    double ub;
    double threshold;
    int32_t vartype;
    // Scratch of the merging of expressions: valid while `stamp` equals the merge's own number.
    uint32_t stamp;
    uint32_t stamp_position;
};

extern PyTypeObject var_type;

inline bool is_variable(PyObject* object) noexcept {
    return Py_TYPE(object) == &var_type || PyType_IsSubtype(Py_TYPE(object), &var_type);
}

// A variable made by the module itself: default bounds and type, one serial number.
Owned<Variable> var_base();

// The variable's name as the object that the user gave, or the default name "C%d", made now.
Ref variable_name(Variable* variable);

// c times x: x itself for 1, the float 0.0 for 0, else a linear term.
Ref var_copy(Variable* variable, double scale);

Ref var_add(PyObject* a, PyObject* b);
Ref var_sub(PyObject* a, PyObject* b);
Ref var_mul(PyObject* a, PyObject* b);
Ref var_div(PyObject* a, PyObject* b);
Ref var_pow(PyObject* a, PyObject* b, PyObject* modulus);
Ref var_neg(PyObject* a);
Ref var_iadd(PyObject* a, PyObject* b);
Ref var_isub(PyObject* a, PyObject* b);
Ref var_imul(PyObject* a, PyObject* b);
Ref var_idiv(PyObject* a, PyObject* b);
Ref var_ipow(PyObject* a, PyObject* b, PyObject* modulus);
Ref var_str(PyObject* a);

}  // namespace quilex

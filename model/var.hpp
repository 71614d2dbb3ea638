// quilex.var: the decision variable.
#pragma once

#include "model/operators.hpp"

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
    uint64_t index;  // serial number: identity, hash, order of a product's factors
    PyObject* name;  // str or bytes; null while it is the default name and nobody asked for it
    double lb;
    double ub;
    double threshold;
    int32_t vartype;
    // Scratch of the merging of expressions: valid while `stamp` equals the merge's own number.
    uint32_t stamp_position;
    uint64_t stamp;
    // Whether this variable can be part of a reference cycle: an instance of a subclass, or one
    // whose name is neither a plain str nor bytes. Terms and expressions on such variables are
    // tracked by the garbage collector, all others are not.
    uint32_t may_close_cycle;
};

extern PyTypeObject var_type;

inline bool is_variable(PyObject* object) noexcept {
    return Py_TYPE(object) == &var_type || PyType_IsSubtype(Py_TYPE(object), &var_type);
}

// Marks the terms of one merge. Larger than every stamp in use; nothing that may run Python code
// may happen between taking a stamp and the last look at it.
uint64_t next_merge_stamp() noexcept;

// A variable made by the module itself: default bounds and type, one serial number.
Owned<Variable> var_base();

// The variable's name as the object that the user gave, or the default name "C%d", made now.
Ref variable_name(Variable* variable);

// c times x: x itself for 1, the float 0.0 for 0, else a linear term.
Ref var_copy(Variable* variable, double scale);

// The operators go by the kinds of both operands, whichever type they are called for.
inline constexpr auto var_add = add_any;
inline constexpr auto var_sub = subtract_any;
inline constexpr auto var_mul = multiply_any;
inline constexpr auto var_div = divide_any;
inline constexpr auto var_pow = power_any;
inline constexpr auto var_neg = negate_any;
inline constexpr auto var_iadd = add_in_place_any;
inline constexpr auto var_isub = subtract_in_place_any;
inline constexpr auto var_imul = multiply_in_place_any;
inline constexpr auto var_idiv = divide_in_place_any;
inline constexpr auto var_ipow = power_in_place_any;
Ref var_str(PyObject* a);

}  // namespace quilex

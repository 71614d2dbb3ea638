// quilex.var: the decision variable.
#pragma once

#include "model/domain.hpp"
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
    // Scratch of the merging of expressions: valid while `stamp` equals the merge's own number.
    uint64_t stamp;
    uint32_t stamp_position;
    // Whether this variable can be part of a reference cycle: an instance of a subclass, or one
    // whose name is neither a plain str nor bytes. Terms and expressions on such variables are
    // tracked by the garbage collector, all others are not.
    uint32_t may_close_cycle;
    Domain* domain;  // owned
};
// With the collector's header: one cache line.
static_assert(sizeof(Variable) == 48);

extern PyTypeObject var_type;

inline bool is_variable(PyObject* object) noexcept {
    return Py_TYPE(object) == &var_type || PyType_IsSubtype(Py_TYPE(object), &var_type);
}

// Marks the terms of one merge. Larger than every stamp in use; nothing that may run Python code
// may happen between taking a stamp and the last look at it.
uint64_t next_merge_stamp() noexcept;

// Refuses a name that is neither str nor bytes.
void require_variable_name(PyObject* name);

// Cuts the bounds of a binary variable to [0, 1].
void restrict_to_binary(Domain& domain) noexcept;

// A variable with the values of a domain, one serial number taken.
Owned<Variable> var_base(const Domain& domain = {});

// The variable's name as the object that the user gave, or the default name "C%d", made now.
Ref variable_name(const Variable* variable);

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

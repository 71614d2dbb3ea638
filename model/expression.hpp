// quilex.expression: a constant, a linear part and a quadratic part.
#pragma once

#include "model/var.hpp"

namespace quilex {

struct Expression;  // the representation is in model/expression_object.hpp
extern PyTypeObject expression_type;

inline bool is_expression(PyObject* object) noexcept {
    return Py_TYPE(object) == &expression_type;
}

// One entry of a linear part; the expression owns the reference.
struct LinearEntry {
    Variable* variable;
    double coefficient;
};

// One stored product: `first` is the outer variable (the smaller serial number).
struct QuadraticEntry {
    Variable* first;
    Variable* second;
    double coefficient;
};

// A new expression, all parts empty.
Owned<Expression> expression_base();

double expression_constant(const Expression* expression) noexcept;
void expression_set_constant(Expression* expression, double value) noexcept;

// The linear part in the order of insertion, each variable once, no entry deleted by
// cancellation. Valid until the expression is next changed.
std::span<const LinearEntry> expression_linear_entries(Expression* expression);

// The linear part as it was written: entries of one variable still apart, in the order of their
// addition (the same as expression_linear_entries when each variable occurs once). For the
// transfer to the library, which merges over columns by the same rules: a sum of exactly 0.0
// deletes the entry, and a later entry of that variable then goes to the end.
std::span<const LinearEntry> expression_linear_log(const Expression* expression) noexcept;

// The stored products in the nested order of the quadratic part (outer variables in the order of
// insertion, inner variables in theirs), entries of 0.0 included.
std::vector<QuadraticEntry> expression_quadratic_entries(const Expression* expression);

// Whether the quadratic part exists (it may exist and be empty), and the number of its products.
bool expression_has_quadratic_part(const Expression* expression) noexcept;
size_t expression_quadratic_count(const Expression* expression);

int expression_setLinTerm(Expression* expression, Variable* x, double c);
int expression_addToLinTerm(Expression* expression, Variable* x, double c);
int expression_addToQuadTerm(Expression* expression, Variable* x, Variable* y, double c);
int expression_setQuadTerm(Expression* expression, Variable* x, Variable* y, double c);

// s times an operand of any kind but nonlinear, always a new expression.
Owned<Expression> expression_copy(PyObject* operand, double scale);
// a + s * b, always a new object.
Ref expression_alg_sum(PyObject* a, PyObject* b, double scale);
// a + s * b, changing and returning a where a is an expression. `a` may be None (the start of an
// accumulation).
Ref expression_incremental_alg_sum(PyObject* a, PyObject* b, double scale);

// The operators go by the kinds of both operands, whichever type they are called for.
inline constexpr auto expression_add = add_any;
inline constexpr auto expression_sub = subtract_any;
inline constexpr auto expression_mul = multiply_any;
inline constexpr auto expression_div = divide_any;
inline constexpr auto expression_pow = power_any;
inline constexpr auto expression_neg = negate_any;
inline constexpr auto expression_iadd = add_in_place_any;
inline constexpr auto expression_isub = subtract_in_place_any;
inline constexpr auto expression_imul = multiply_in_place_any;
inline constexpr auto expression_idiv = divide_in_place_any;
inline constexpr auto expression_ipow = power_in_place_any;
Ref expression_str(PyObject* a);

}  // namespace quilex

// The representation of quilex.expression, and the pieces that operators build expressions with.
#pragma once

#include "model/append_log.hpp"
#include "model/expression.hpp"
#include "model/linterm.hpp"
#include "model/quadterm.hpp"

namespace quilex {

// What an expression stores of a linear entry, and of an entry of the quadratic part.
struct LinearLogEntry : LinearEntry {
    void retain() const noexcept { Py_INCREF(as_object(variable)); }
    void release() const noexcept { Py_DECREF(as_object(variable)); }
    void prefetch() const noexcept { __builtin_prefetch(variable, 1); }
};

// What an entry of the quadratic log does to the nested dictionary first -> (second -> value).
enum class QuadraticAction : uint8_t {
    kAdd,    // add and delete at a sum of 0.0; makes the outer entry, no inner entry for 0.0
    kKeep,   // add and keep a sum of 0.0, but delete what is there when adding exactly 0.0
    kSet,    // store; delete what is there when storing exactly 0.0
    kTouch,  // make the outer entry only (`second` is `first`)
};

struct QuadraticLogEntry : QuadraticEntry {
    QuadraticAction action;

    void retain() const noexcept {
        Py_INCREF(as_object(first));
        Py_INCREF(as_object(second));
    }
    void release() const noexcept {
        Py_DECREF(as_object(first));
        Py_DECREF(as_object(second));
    }
    void prefetch() const noexcept { __builtin_prefetch(second, 1); }
};

using LinearLog = AppendLog<LinearLogEntry, 4>;
using QuadraticLog = AppendLog<QuadraticLogEntry, 1>;

// Brings an exclusive log into its merged form.
void merge_log(LinearLog& log) noexcept;
void merge_log(QuadraticLog& log);

// Whether a growing log has duplicates, as far as a look at some of its entries can tell: sums over
// millions of different variables should not be merged again and again.
bool worth_merging(const LinearLog& log) noexcept;
inline bool worth_merging(const QuadraticLog&) noexcept {
    return true;
}

struct Expression {
    PyObject_HEAD
    double constant;
    LinearLog linear;
    QuadraticLog* quadratic;  // null while the quadratic part does not exist
    bool is_tracked;          // by the garbage collector; then the logs are shared with nobody
};

inline InstancePool<LinearTerm> linear_term_pool;
inline InstancePool<QuadraticTerm> quadratic_term_pool;
inline InstancePool<Expression> expression_pool;

// Makes an expression visible to the garbage collector, with logs of its own.
void track_expression(Expression* expression);

// A new expression with a linear part of different variables, no coefficient 0.0.
template <class... Entries>
[[gnu::always_inline]] inline Owned<Expression> new_linear_expression(double constant,
                                                                      const Entries&... entries) {
    Expression* expression = expression_pool.take(&expression_type);
    count_created(Counted::kExpression);
    expression->constant = constant;
    expression->linear.start_with(LinearLogEntry{entries}...);
    expression->quadratic = nullptr;
    expression->is_tracked = false;
    Owned<Expression> result = Owned<Expression>::steal(expression);
    if ((0 | ... | entries.variable->may_close_cycle)) [[unlikely]]
        track_expression(expression);
    return result;
}

inline Owned<Expression> new_expression(double constant = 0.0) {
    return new_linear_expression(constant);
}

inline Owned<LinearTerm> new_linear_term(Variable* variable, double coefficient) {
    LinearTerm* term = linear_term_pool.take(&linterm_type);
    count_created(Counted::kLinearTerm);
    term->coefficient = coefficient;
    Py_INCREF(as_object(variable));
    term->variable = variable;
    if (variable->may_close_cycle) [[unlikely]]
        PyObject_GC_Track(term);
    return Owned<LinearTerm>::steal(term);
}

// The variables in the order of their serial numbers; equal numbers keep x first.
inline Owned<QuadraticTerm> new_quadratic_term(Variable* x, Variable* y, double coefficient) {
    QuadraticTerm* term = quadratic_term_pool.take(&quadterm_type);
    count_created(Counted::kQuadraticTerm);
    if (x->index > y->index) std::swap(x, y);
    term->coefficient = coefficient;
    Py_INCREF(as_object(x));
    Py_INCREF(as_object(y));
    term->first = x;
    term->second = y;
    if (x->may_close_cycle || y->may_close_cycle) [[unlikely]]
        PyObject_GC_Track(term);
    return Owned<QuadraticTerm>::steal(term);
}

// Adds c times x to the linear part: an entry of exactly 0.0 changes nothing.
[[gnu::always_inline]] inline void add_linear(Expression* expression, Variable* x, double c) {
    if (c == 0.0) [[unlikely]]
        return;
    if (x->may_close_cycle && !expression->is_tracked) [[unlikely]]
        track_expression(expression);
    expression->linear.append({{x, c}});
}

// Appends a product to the quadratic part, which is made when absent.
void append_product(Expression* expression, Variable* x, Variable* y, double c,
                    QuadraticAction action);
void create_quadratic_part(Expression* expression);

// A new expression equal to `source` with room for more entries; shares the logs.
Owned<Expression> continue_expression(Expression* source, size_t extra, size_t extra_products);
// scale times an operand of known kind, as expression_copy.
Owned<Expression> copy_with_room(PyObject* operand, OperandKind kind, double scale, size_t extra,
                                 size_t extra_products);

// The merged linear part: marks or merges the log, in a buffer of its own where it must write.
const LinearLog& merge_linear(Expression* expression);
inline const LinearLog& merged_linear(Expression* expression) {
    if (expression->linear.is_merged()) return expression->linear;
    return merge_linear(expression);
}
// The same for the quadratic part, which must exist.
const QuadraticLog& merged_quadratic(Expression* expression);

// The operand kinds of a term or variable as (coefficient, variable).
inline LinearEntry linear_operand(PyObject* object, OperandKind kind) noexcept {
    if (kind == kVariable) return {reinterpret_cast<Variable*>(object), 1.0};
    auto* term = reinterpret_cast<LinearTerm*>(object);
    return {term->variable, term->coefficient};
}

inline Variable* as_variable(PyObject* object) noexcept {
    return reinterpret_cast<Variable*>(object);
}
inline LinearTerm* as_linear_term(PyObject* object) noexcept {
    return reinterpret_cast<LinearTerm*>(object);
}
inline QuadraticTerm* as_quadratic_term(PyObject* object) noexcept {
    return reinterpret_cast<QuadraticTerm*>(object);
}
inline Expression* as_expression(PyObject* object) noexcept {
    return reinterpret_cast<Expression*>(object);
}

}  // namespace quilex

// Comparisons of modelling objects, which make constraints.
#include "model/constraint.hpp"
#include "model/expression_object.hpp"
#include "model/kind_rules.hpp"
#include "model/numpy_comparisons.hpp"
#include "model/operators.hpp"
#include "module/numpy.hpp"
#include "nonlinear/node.hpp"

namespace quilex {

namespace {

SplitBody split_expression(Ref body) {
    // 0 - c, not -c: a bound of -0.0 helps nobody.
    const double bound = 0.0 - std::exchange(as_expression(body.get())->constant, 0.0);
    return {std::move(body), bound};
}

SplitBody split(Ref body, PyObject* operand) {
    const OperandKind kind = require_kind(body.get());
    if (kind == kExpression) return split_expression(std::move(body));
    if (kind == kNonlinear) return nonlin_split(std::move(body), operand);
    return {std::move(body)};
}

// The difference a - b, split.
SplitBody difference(PyObject* a, OperandKind kind_a, PyObject* b, OperandKind kind_b) {
    if (kind_b == kConstant) {
        const double value = constant_value(b);
        if (kind_a == kConstant) return {expression_base(), value};
        // The commonest comparisons need no subtraction: the constant is the bound.
        if ((kind_a == kVariable || kind_a == kLinearTerm) && value != 0.0) {
            const LinearEntry entry = linear_operand(a, kind_a);
            Owned<Expression> body = new_expression();
            add_linear(body.get(), entry.variable, entry.coefficient);
            return {std::move(body), value};
        }
        if (kind_a == kExpression) {
            Owned<Expression> body = continue_expression(as_expression(a), 0, 0);
            const double constant = std::exchange(body->constant, 0.0);
            return {std::move(body), value - constant};
        }
    }
    // A constant on the left is the nonlinear subtraction's: the body then keeps its direction.
    Ref body = kind_a == kConstant ? nonlin_sub(a, b) : sum_of_kinds(a, kind_a, b, kind_b, -1.0);
    return split(std::move(body), a);
}

void set_bounds(Constraint* constraint, double bound, bool reversed, int op) {
    switch (op) {
        case Py_LE:
            (reversed ? constraint->lb : constraint->ub) = bound;
            return;
        case Py_GE:
            (reversed ? constraint->ub : constraint->lb) = bound;
            return;
        case Py_EQ:
            constraint->lb = constraint->ub = bound;
            return;
        case Py_LT:
        case Py_NE:
        case Py_GT:
            raise_runtime_error(
                "Invalid constraint: cannot enforce f(x) != 0, f(x) > 0, or f(x) < 0");
        default:
            raise_runtime_error("Invalid constraint: unrecognized comparison operator");
    }
}

Ref constraint_of(PyObject* a, OperandKind kind_a, PyObject* b, OperandKind kind_b, int op) {
    Owned<Constraint> constraint = constraint_base();
    SplitBody parts = difference(a, kind_a, b, kind_b);
    constraint_set_body(constraint.get(), std::move(parts.body));
    set_bounds(constraint.get(), parts.bound, parts.reversed, op);
    return constraint;
}

}  // namespace

namespace {

// An equality that a foreign array may take over. Without an answer of its own Python would compare
// addresses, and a constraint be lost as False.
Ref compare_with_foreign_array(PyObject* a, PyObject* b, int op) {
    if (op != Py_EQ && op != Py_NE) return Ref::share(Py_NotImplemented);
    const richcmpfunc compare = Py_TYPE(b)->tp_richcompare;
    if (compare != nullptr && compare != PyBaseObject_Type.tp_richcompare) {
        Ref result = require(compare(b, a, op));
        if (result.get() != Py_NotImplemented) return result;
    }
    raise_runtime_error("Invalid object in operation");
}

}  // namespace

Ref make_one_constraint(PyObject* a, PyObject* b, int op) {
    const OperandKind kind_a = require_kind(a);
    const OperandKind kind_b = require_kind(b);
    return constraint_of(a, kind_a, b, kind_b, op);
}

Ref make_constraint(PyObject* a, PyObject* b, int op) {
    OperandKind kind_a = quick_kind(a);
    OperandKind kind_b = quick_kind(b);
    if ((kind_a | kind_b) < 0) [[unlikely]] {
        kind_a = classify(a);
        kind_b = classify(b);
    }
    if (kind_a != kInvalid && kind_b != kInvalid) return constraint_of(a, kind_a, b, kind_b, op);
    if (kind_a != kInvalid) {
        // An array's own comparison would turn the sides round; a subclass keeps its type that way.
        if (PyArray_CheckExact(b)) return compare_with_array(a, b, op);
        if (is_numpy_array(b)) return Ref::share(Py_NotImplemented);
        if (is_foreign_array(b)) return compare_with_foreign_array(a, b, op);
    }
    raise_runtime_error("Invalid object in operation");
}

}  // namespace quilex

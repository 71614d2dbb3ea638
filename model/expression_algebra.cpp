// The operators of expressions.
#include "model/kind_rules.hpp"
#include "model/operators.hpp"
#include "nonlinear/node.hpp"

namespace quilex {

namespace {

// Adds scale times the linear part of b to r, which may be b itself.
void add_linear_part(Expression* r, Expression* b, double scale) {
    size_t count = merged_linear(b).count();
    if (b->is_tracked) [[unlikely]]
        track_expression(r);
    r->linear.reserve(count);
    // Making room may have dropped variables, which may run Python code.
    count = std::min(count, b->linear.count());
    for (size_t i = 0; i < count; ++i) {
        LinearLogEntry entry = b->linear.entries()[i];
        entry.coefficient *= scale;
        if (entry.coefficient != 0.0) r->linear.push(entry);
    }
}

// Whether the merged quadratic part has inner entries.
bool has_products(const Expression* expression) noexcept {
    const QuadraticLog& log = *expression->quadratic;
    return std::any_of(log.entries(), log.entries() + log.count(),
                       [](const auto& entry) { return entry.action != QuadraticAction::kTouch; });
}

// Adds scale times the quadratic part of b to r. In place (kAdd) the outer entries of b come
// along when they are empty, in the copying sum (kKeep) they do not.
void add_quadratic_part(Expression* r, Expression* b, double scale, QuadraticAction action) {
    if (b->quadratic == nullptr) return;
    size_t count = merged_quadratic(b).count();
    const bool with_empty_rows = action == QuadraticAction::kAdd;
    if (count == 0 || !(with_empty_rows || has_products(b))) return;
    if (b->is_tracked) [[unlikely]]
        track_expression(r);
    create_quadratic_part(r);
    r->quadratic->reserve(count);
    count = std::min(count, b->quadratic->count());
    for (size_t i = 0; i < count; ++i) {
        QuadraticLogEntry entry = b->quadratic->entries()[i];
        if (entry.action != QuadraticAction::kTouch) {
            entry.action = action;
            entry.coefficient *= scale;
        } else if (!with_empty_rows) {
            continue;
        }
        r->quadratic->push(entry);
    }
}

void add_product(Expression* r, PyObject* term, double scale) {
    const QuadraticTerm* product = as_quadratic_term(term);
    expression_addToQuadTerm(r, product->first, product->second, scale * product->coefficient);
}

// Whether the quadratic part has outer entries, empty ones included.
bool has_outer_entries(const Expression* expression) noexcept {
    return expression->quadratic != nullptr && expression->quadratic->count() > 0;
}

// A variable times an expression that has no quadratic part.
Ref multiply_by_variable(Variable* x, Expression* e) {
    Owned<Expression> result = new_expression();
    add_linear(result.get(), x, e->constant);
    create_quadratic_part(result.get());
    const LinearLog& linear = merged_linear(e);
    result->quadratic->reserve(linear.count());
    for (size_t i = 0; i < linear.count(); ++i) {
        const LinearLogEntry& entry = linear.entries()[i];
        expression_addToQuadTerm(result.get(), x, entry.variable, entry.coefficient);
    }
    return result;
}

// A linear term times an expression that has no quadratic part: refused, except where there is
// nothing that the term would multiply.
Ref multiply_by_linear_term(const LinearTerm* term, Expression* e) {
    if (term->coefficient * e->constant != 0.0) {
        raise_runtime_error("Error amending expression");
    }
    const LinearLog& linear = merged_linear(e);
    for (size_t i = 0; i < linear.count(); ++i) {
        const double c = linear.entries()[i].coefficient;
        if (c != 0.0 && term->coefficient * c != 0.0) {
            raise_runtime_error("Cannot amend quadratic expression");
        }
    }
    Owned<Expression> result = new_expression();
    create_quadratic_part(result.get());
    return result;
}

void add_scaled_entries(Expression* r, const LinearLog& linear, double scale) {
    for (size_t i = 0; i < linear.count(); ++i) {
        const LinearLogEntry& entry = linear.entries()[i];
        add_linear(r, entry.variable, scale * entry.coefficient);
    }
}

// The product of two expressions without products of their own.
Ref multiply_affine(Expression* a, Expression* b) {
    Owned<Expression> result = new_expression(a->constant * b->constant);
    const LinearLog& left = merged_linear(a);
    const LinearLog& right = merged_linear(b);
    add_scaled_entries(result.get(), right, a->constant);
    add_scaled_entries(result.get(), left, b->constant);
    for (size_t i = 0; i < left.count(); ++i) {
        const LinearLogEntry& u = left.entries()[i];
        for (size_t k = 0; k < right.count(); ++k) {
            const LinearLogEntry& w = right.entries()[k];
            const double c = u.coefficient * w.coefficient;
            if (c == 0.0) continue;
            append_product(result.get(), u.variable, w.variable, c, QuadraticAction::kKeep);
        }
    }
    return result;
}

Ref multiply_expressions(PyObject* a, PyObject* b) {
    Expression* left = as_expression(a);
    Expression* right = as_expression(b);
    const bool left_quadratic = has_outer_entries(left);
    const bool right_quadratic = has_outer_entries(right);
    if (!left_quadratic && !right_quadratic) return multiply_affine(left, right);
    if (left_quadratic && right_quadratic) return nonlin_mul(a, b);
    Expression* other = left_quadratic ? right : left;
    if (merged_linear(other).count() > 0) return nonlin_mul(a, b);
    return expression_copy(left_quadratic ? a : b, other->constant);
}

template <class Log>
void scale_log(Log& log, double factor) {
    log.make_exclusive();
    auto* entries = log.mutable_entries();
    for (size_t i = 0; i < log.count(); ++i) entries[i].coefficient *= factor;
}

}  // namespace

void add_to_expression(PyObject* a, PyObject* b, OperandKind kb, double scale) {
    Expression* r = as_expression(a);
    switch (kb) {
        case kConstant:
            r->constant += scale * constant_value(b);
            return;
        case kVariable:
            add_linear(r, as_variable(b), scale);
            return;
        case kLinearTerm:
            add_linear(r, as_linear_term(b)->variable, scale * as_linear_term(b)->coefficient);
            return;
        case kQuadraticTerm:
            add_product(r, b, scale);
            return;
        default:
            r->constant += scale * as_expression(b)->constant;
            add_linear_part(r, as_expression(b), scale);
            add_quadratic_part(r, as_expression(b), scale, QuadraticAction::kAdd);
    }
}

Ref expression_sum(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb, double scale) {
    if (ka == kNonlinear || kb == kNonlinear) return nonlin_alg_sum(a, b, scale);
    if (ka == kExpression && kb == kExpression) {
        Expression* right = as_expression(b);
        const size_t count = merged_linear(right).count();
        Owned<Expression> result = continue_expression(as_expression(a), count, 0);
        result->constant += scale * right->constant;
        add_linear_part(result.get(), right, scale);
        add_quadratic_part(result.get(), right, scale, QuadraticAction::kKeep);
        return result;
    }
    if (ka == kExpression) {
        Owned<Expression> result =
            continue_expression(as_expression(a), 1, kb == kQuadraticTerm ? 1 : 0);
        add_to_expression(as_object(result.get()), b, kb, scale);
        return result;
    }
    Owned<Expression> result = copy_with_room(b, kb, scale, 1, ka == kQuadraticTerm ? 1 : 0);
    add_to_expression(as_object(result.get()), a, ka, 1.0);
    return result;
}

Ref expression_alg_sum(PyObject* a, PyObject* b, double scale) {
    return expression_sum(a, require_kind(a), b, require_kind(b), scale);
}

Ref expression_incremental_alg_sum(PyObject* a, PyObject* b, double scale) {
    if (a == Py_None) {
        const OperandKind kind = require_kind(b);
        if (kind == kNonlinear) return nonlin_alg_sum(a, b, scale);
        return expression_copy(b, scale);
    }
    const OperandKind ka = require_kind(a);
    const OperandKind kb = require_kind(b);
    if (ka == kNonlinear) return nonlin_incremental_alg_sum(a, b, scale);
    if (kb == kNonlinear) return nonlin_alg_sum(a, b, scale);
    if (ka == kConstant && kb == kConstant) {
        return python_float(constant_value(a) + scale * constant_value(b));
    }
    if (ka == kExpression) {
        add_to_expression(a, b, kb, scale);
        return Ref::share(a);
    }
    return expression_sum(a, ka, b, kb, scale);
}

Ref expression_product(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb) {
    if (ka == kQuadraticTerm || kb == kQuadraticTerm || ka == kNonlinear || kb == kNonlinear) {
        return nonlin_mul(a, b);
    }
    if (ka == kConstant) return expression_copy(b, constant_value(a));
    if (kb == kConstant) return expression_copy(a, constant_value(b));
    if (ka == kExpression && kb == kExpression) return multiply_expressions(a, b);
    PyObject* factor = ka == kExpression ? b : a;
    Expression* expression = as_expression(ka == kExpression ? a : b);
    if (expression->quadratic != nullptr) return nonlin_mul(a, b);
    if (is_linear_term(factor)) return multiply_by_linear_term(as_linear_term(factor), expression);
    return multiply_by_variable(as_variable(factor), expression);
}

Ref scale_in_place(PyObject* expression, double factor) {
    if (factor == 0.0) return python_float(0.0);
    if (factor == 1.0) return Ref::share(expression);
    Expression* e = as_expression(expression);
    merged_linear(e);
    scale_log(e->linear, factor);
    if (e->quadratic != nullptr) {
        merged_quadratic(e);
        scale_log(*e->quadratic, factor);
    }
    e->constant *= factor;
    return Ref::share(expression);
}

}  // namespace quilex

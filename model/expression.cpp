// quilex.expression: the object, its parts and its copies. Operators are in expression_algebra.cpp.
#include <cmath>

#include "model/constraint.hpp"
#include "model/expression_object.hpp"
#include "model/operators.hpp"

namespace quilex {

namespace {

static_assert(sizeof(LinearLogEntry) == sizeof(LinearEntry));

QuadraticLog* new_quadratic_log() {
    auto* log = static_cast<QuadraticLog*>(PyMem_Malloc(sizeof(QuadraticLog)));
    if (log == nullptr) throw std::bad_alloc();
    log->start();
    return log;
}

void drop_quadratic_part(Expression* expression) noexcept {
    QuadraticLog* log = std::exchange(expression->quadratic, nullptr);
    if (log == nullptr) return;
    log->finish();
    PyMem_Free(log);
}

void expression_dealloc(PyObject* self) noexcept {
    Expression* expression = as_expression(self);
    if (expression->is_tracked) PyObject_GC_UnTrack(self);
    expression->linear.finish();
    if (expression->quadratic != nullptr) [[unlikely]]
        drop_quadratic_part(expression);
    count_destroyed(Counted::kExpression);
    expression_pool.give(expression);
}

int expression_traverse(PyObject* self, visitproc visit, void* arg) noexcept {
    const Expression* expression = as_expression(self);
    for (size_t i = 0; i < expression->linear.count(); ++i) {
        Py_VISIT(as_object(expression->linear.entries()[i].variable));
    }
    if (expression->quadratic == nullptr) return 0;
    for (size_t i = 0; i < expression->quadratic->count(); ++i) {
        Py_VISIT(as_object(expression->quadratic->entries()[i].first));
        Py_VISIT(as_object(expression->quadratic->entries()[i].second));
    }
    return 0;
}

// s times the merged entries of a log, none left out: a product may underflow to 0.0 and stays.
template <class Log>
void copy_scaled(Log& target, const Log& source, double scale, size_t extra) {
    const size_t count = source.count();
    target.reserve(count + extra);
    for (size_t i = 0; i < count; ++i) {
        auto entry = source.entries()[i];
        entry.coefficient *= scale;
        target.push(entry);
    }
    target.set_merged(count);
}

Owned<Expression> scaled_expression(Expression* source, double scale, size_t extra) {
    Owned<Expression> result = new_expression(scale * source->constant);
    Expression* r = result.get();
    if (scale == -1.0) {
        // A change of sign commutes with rounding: the log need not be merged for it.
        const size_t merged = source->linear.merged();
        copy_scaled(r->linear, source->linear, scale, extra);
        r->linear.set_merged(merged);
    } else {
        copy_scaled(r->linear, merged_linear(source), scale, extra);
    }
    if (source->quadratic != nullptr) {
        create_quadratic_part(r);
        copy_scaled(*r->quadratic, merged_quadratic(source), scale, 0);
    }
    if (source->is_tracked) track_expression(r);
    return result;
}

}  // namespace

PyTypeObject expression_type = {
    .ob_base = {PyObject_HEAD_INIT(nullptr) 0},
    .tp_name = "quilex.expression",
    .tp_basicsize = sizeof(Expression),
    .tp_dealloc = expression_dealloc,
    .tp_repr = slot<expression_str>,
    .tp_as_number = &modelling_number_methods,
    .tp_hash = PyObject_HashNotImplemented,
    .tp_str = slot<expression_str>,
    .tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_GC,
    .tp_doc =
        "Class for linear and quadratic expression. These can be used and\n"
        "combined to create constraints and objective function of an\n"
        "optimization problem.",
    .tp_traverse = expression_traverse,
    .tp_richcompare = slot<make_constraint>,
    .tp_methods = modelling_methods,
    .tp_getset = modelling_attributes,
    .tp_new = refuse_construction,
};

Owned<Expression> expression_base() {
    return new_expression();
}

double expression_constant(const Expression* expression) noexcept {
    return expression->constant;
}

void expression_set_constant(Expression* expression, double value) noexcept {
    expression->constant = value;
}

void track_expression(Expression* expression) {
    if (expression->is_tracked) return;
    expression->linear.make_exclusive();
    if (expression->quadratic != nullptr) expression->quadratic->make_exclusive();
    expression->is_tracked = true;
    PyObject_GC_Track(expression);
}

void create_quadratic_part(Expression* expression) {
    if (expression->quadratic == nullptr) expression->quadratic = new_quadratic_log();
}

void append_product(Expression* expression, Variable* x, Variable* y, double c,
                    QuadraticAction action) {
    if (x->index > y->index) std::swap(x, y);
    if (x->may_close_cycle || y->may_close_cycle) [[unlikely]]
        track_expression(expression);
    create_quadratic_part(expression);
    expression->quadratic->append({{x, y, c}, action});
}

Owned<Expression> continue_expression(Expression* source, size_t extra, size_t extra_products) {
    Owned<Expression> result = new_expression(source->constant);
    const bool share = !source->is_tracked;
    result->linear.start_from(source->linear, extra, share);
    if (source->quadratic != nullptr) [[unlikely]] {
        create_quadratic_part(result.get());
        result->quadratic->start_from(*source->quadratic, extra_products, share);
    }
    if (!share) [[unlikely]]
        track_expression(result.get());
    return result;
}

std::span<const LinearEntry> expression_linear_entries(Expression* expression) {
    merged_linear(expression);
    return expression_linear_log(expression);
}

std::span<const LinearEntry> expression_linear_log(const Expression* expression) noexcept {
    return {static_cast<const LinearEntry*>(expression->linear.entries()),
            expression->linear.count()};
}

std::vector<QuadraticEntry> expression_quadratic_entries(const Expression* expression) {
    std::vector<QuadraticEntry> result;
    if (expression->quadratic == nullptr) return result;
    // Merging changes the representation, not the expression.
    const QuadraticLog& log = merged_quadratic(const_cast<Expression*>(expression));
    result.reserve(log.count());
    for (size_t i = 0; i < log.count(); ++i) {
        const QuadraticLogEntry& entry = log.entries()[i];
        if (entry.action != QuadraticAction::kTouch) result.push_back(entry);
    }
    return result;
}

bool expression_has_quadratic_part(const Expression* expression) noexcept {
    return expression->quadratic != nullptr;
}

size_t expression_quadratic_count(const Expression* expression) {
    return expression_quadratic_entries(expression).size();
}

int expression_addToLinTerm(Expression* expression, Variable* x, double c) {
    add_linear(expression, x, c);
    return 0;
}

int expression_setLinTerm(Expression* expression, Variable* x, double c) {
    if (c == 0.0) return 0;
    const LinearLog& log = expression->linear;
    for (size_t i = 0; i < log.count(); ++i) {
        if (log.entries()[i].variable != x) continue;
        merged_linear(expression);
        expression->linear.make_exclusive();
        for (size_t k = 0; k < log.count(); ++k) {
            if (log.entries()[k].variable != x) continue;
            expression->linear.mutable_entries()[k].coefficient = c;
            return 0;
        }
        break;  // the entries that were there cancel
    }
    add_linear(expression, x, c);
    return 0;
}

int expression_addToQuadTerm(Expression* expression, Variable* x, Variable* y, double c) {
    if (c != 0.0) append_product(expression, x, y, c, QuadraticAction::kAdd);
    return 0;
}

int expression_setQuadTerm(Expression* expression, Variable* x, Variable* y, double c) {
    if (c == 0.0 && expression->quadratic == nullptr) return 0;
    append_product(expression, x, y, c, QuadraticAction::kSet);
    // An unmerged deletion would make an empty part look like one that is not.
    if (c == 0.0) merged_quadratic(expression);
    return 0;
}

Owned<Expression> copy_with_room(PyObject* operand, OperandKind kind, double scale, size_t extra,
                                 size_t extra_products) {
    if (scale == 0.0) return new_expression();
    switch (kind) {
        case kConstant:
            return new_expression(scale * constant_value(operand));
        case kVariable:
        case kLinearTerm: {
            Owned<Expression> result = new_expression();
            const LinearEntry entry = linear_operand(operand, kind);
            add_linear(result.get(), entry.variable, scale * entry.coefficient);
            return result;
        }
        case kQuadraticTerm: {
            Owned<Expression> result = new_expression();
            const QuadraticTerm* term = as_quadratic_term(operand);
            expression_setQuadTerm(result.get(), term->first, term->second,
                                   scale * term->coefficient);
            return result;
        }
        case kExpression:
            if (std::abs(scale - 1.0) <= 1e-15) {
                Owned<Expression> result =
                    continue_expression(as_expression(operand), extra, extra_products);
                result->constant *= scale;
                return result;
            }
            return scaled_expression(as_expression(operand), scale, extra);
        default:
            return new_expression();
    }
}

Owned<Expression> expression_copy(PyObject* operand, double scale) {
    return copy_with_room(operand, require_kind(operand), scale, 0, 0);
}

}  // namespace quilex

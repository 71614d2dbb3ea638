// quilex.quadterm: a coefficient times the product of two variables, and its rules.
#include "model/quadterm.hpp"

#include "model/constraint.hpp"
#include "model/kind_rules.hpp"
#include "model/operators.hpp"
#include "nonlinear/node.hpp"

namespace quilex {

namespace {

void quadterm_dealloc(PyObject* self) noexcept {
    QuadraticTerm* term = as_quadratic_term(self);
    Variable* first = term->first;
    Variable* second = term->second;
    if (first->may_close_cycle || second->may_close_cycle) [[unlikely]]
        PyObject_GC_UnTrack(self);
    count_destroyed(Counted::kQuadraticTerm);
    quadratic_term_pool.give(term);
    Py_DECREF(as_object(first));
    Py_DECREF(as_object(second));
}

int quadterm_traverse(PyObject* self, visitproc visit, void* arg) noexcept {
    Py_VISIT(as_object(as_quadratic_term(self)->first));
    Py_VISIT(as_object(as_quadratic_term(self)->second));
    return 0;
}

void set_product(Expression* expression, PyObject* term, double scale) {
    const QuadraticTerm* product = as_quadratic_term(term);
    expression_setQuadTerm(expression, product->first, product->second,
                           scale * product->coefficient);
}

Ref quadratic_pair(PyObject* a, PyObject* b, double scale) {
    const QuadraticTerm* left = as_quadratic_term(a);
    const QuadraticTerm* right = as_quadratic_term(b);
    if (left->first == right->first && left->second == right->second) {
        return new_quadratic_term(left->first, left->second,
                                  left->coefficient + scale * right->coefficient);
    }
    Owned<Expression> result = new_expression();
    set_product(result.get(), a, 1.0);
    set_product(result.get(), b, scale);
    return result;
}

// The factor that remains when `divisor` is taken out of the product; null when it is not in it.
Variable* other_factor(const QuadraticTerm* product, const Variable* divisor) noexcept {
    if (product->first == divisor) return product->second;
    if (product->second == divisor) return product->first;
    return nullptr;
}

// A number or linear term over a variable, as a node.
Ref quotient_node(const Ref& numerator, Variable* denominator) {
    return nonlin_instantiate_binary(kQuotient, numerator.get(), as_object(denominator));
}

// A product over a variable or linear term.
Ref divide_product(PyObject* a, PyObject* b, OperandKind kb) {
    const QuadraticTerm* product = as_quadratic_term(a);
    const LinearEntry divisor = linear_operand(b, kb);
    Variable* rest = other_factor(product, divisor.variable);
    if (rest == nullptr) return nonlin_instantiate_binary(kQuotient, a, b);
    if (divisor.coefficient == 0.0) raise_runtime_error("Division by zero of a bilinear term");
    return linterm_fill(rest, product->coefficient / divisor.coefficient);
}

// A variable or linear term over a product.
Ref divide_by_product(PyObject* a, OperandKind ka, PyObject* b) {
    const QuadraticTerm* product = as_quadratic_term(b);
    const LinearEntry numerator = linear_operand(a, ka);
    Variable* rest = other_factor(product, numerator.variable);
    if (rest == nullptr) return nonlin_instantiate_binary(kQuotient, a, b);
    if (product->coefficient == 0.0) {
        raise_runtime_error(ka == kVariable ? "Division by zero of a variable"
                                            : "Division by zero of a linear term");
    }
    return quotient_node(python_float(numerator.coefficient / product->coefficient), rest);
}

// IEEE division, also by zero.
double ratio(double numerator, double denominator) noexcept {
    return numerator / denominator;
}

Ref divide_products(PyObject* a, PyObject* b) {
    const QuadraticTerm* left = as_quadratic_term(a);
    const QuadraticTerm* right = as_quadratic_term(b);
    const double coefficient = ratio(left->coefficient, right->coefficient);
    if (left->first == right->first && left->second == right->second) {
        return python_float(coefficient);
    }
    for (Variable* shared : {left->first, left->second}) {
        if (Variable* rest = other_factor(right, shared)) {
            return quotient_node(linterm_fill(other_factor(left, shared), coefficient), rest);
        }
    }
    return nonlin_instantiate_binary(kQuotient, a, b);
}

}  // namespace

PyTypeObject quadterm_type = {
    .ob_base = {PyObject_HEAD_INIT(nullptr) 0},
    .tp_name = "quilex.quadterm",
    .tp_basicsize = sizeof(QuadraticTerm),
    .tp_dealloc = quadterm_dealloc,
    .tp_repr = slot<quadterm_str>,
    .tp_as_number = &modelling_number_methods,
    .tp_hash = PyObject_HashNotImplemented,
    .tp_str = slot<quadterm_str>,
    .tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_GC,
    .tp_doc =
        "Class for quadratic and bilinear terms alpha * x1 * x2. These can be used and\n"
        "combined to create constraints and objective function of an\n"
        "optimization problem.",
    .tp_traverse = quadterm_traverse,
    .tp_richcompare = slot<make_constraint>,
    .tp_methods = modelling_methods,
    .tp_getset = modelling_attributes,
    .tp_new = refuse_construction,
};

Ref quadterm_fill(Variable* x, Variable* y, double coefficient) {
    return new_quadratic_term(x, y, coefficient);
}

Ref quadterm_copy(PyObject* term, double scale) {
    const QuadraticTerm* product = as_quadratic_term(term);
    return new_quadratic_term(product->first, product->second, scale * product->coefficient);
}

Ref quadratic_sum(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb, double scale) {
    if (ka == kQuadraticTerm && kb == kQuadraticTerm) return quadratic_pair(a, b, scale);
    if (kb == kConstant) {
        const double constant = scale * constant_value(b);
        if (constant == 0.0) return quadterm_copy(a, 1.0);
        Owned<Expression> result = new_expression(constant);
        set_product(result.get(), a, 1.0);
        return result;
    }
    if (ka == kConstant) {
        const double constant = constant_value(a);
        if (constant == 0.0) return quadterm_copy(b, scale);
        Owned<Expression> result = new_expression(constant);
        set_product(result.get(), b, scale);
        return result;
    }
    const bool product_first = ka == kQuadraticTerm;
    const LinearEntry linear = product_first ? linear_operand(b, kb) : linear_operand(a, ka);
    Owned<Expression> result = new_expression();
    add_linear(result.get(), linear.variable, (product_first ? scale : 1.0) * linear.coefficient);
    set_product(result.get(), product_first ? a : b, product_first ? 1.0 : scale);
    return result;
}

Ref quadterm_alg_sum(PyObject* a, PyObject* b, double scale) {
    return quadratic_sum(a, require_kind(a), b, require_kind(b), scale);
}

Ref quadratic_quotient(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb) {
    if (kb == kConstant) {
        const double divisor = constant_value(b);
        if (divisor == 0.0) raise_runtime_error("Division by zero of a bilinear term");
        return quadterm_copy(a, 1.0 / divisor);
    }
    if (ka == kConstant) return nonlin_instantiate_binary(kQuotient, a, b);
    if (kb != kQuadraticTerm) return divide_product(a, b, kb);
    if (ka != kQuadraticTerm) return divide_by_product(a, ka, b);
    return divide_products(a, b);
}

}  // namespace quilex

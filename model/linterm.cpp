// quilex.linterm: a coefficient times a variable; the rules for variables and linear terms.
#include "model/linterm.hpp"

#include "model/constraint.hpp"
#include "model/expression_object.hpp"
#include "model/kind_rules.hpp"
#include "nonlinear/node.hpp"

namespace quilex {

namespace {

void linterm_dealloc(PyObject* self) noexcept {
    LinearTerm* term = as_linear_term(self);
    Variable* variable = term->variable;
    if (variable->may_close_cycle) [[unlikely]]
        PyObject_GC_UnTrack(self);
    count_destroyed(Counted::kLinearTerm);
    linear_term_pool.give(term);
    Py_DECREF(as_object(variable));
}

// No tp_clear: a cycle through a term runs through its variable, which can be cleared.
int linterm_traverse(PyObject* self, visitproc visit, void* arg) noexcept {
    Py_VISIT(as_object(as_linear_term(self)->variable));
    return 0;
}

}  // namespace

PyTypeObject linterm_type = {
    .ob_base = {PyObject_HEAD_INIT(nullptr) 0},
    .tp_name = "quilex.linterm",
    .tp_basicsize = sizeof(LinearTerm),
    .tp_dealloc = linterm_dealloc,
    .tp_repr = slot<linterm_str>,
    .tp_as_number = &modelling_number_methods,
    .tp_hash = PyObject_HashNotImplemented,
    .tp_str = slot<linterm_str>,
    .tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_GC,
    .tp_doc =
        "Class for linear terms. These can be used and\n"
        "combined to create constraints and objective function of an\n"
        "optimization problem.",
    .tp_traverse = linterm_traverse,
    .tp_richcompare = slot<make_constraint>,
    .tp_methods = modelling_methods,
    .tp_getset = modelling_attributes,
    .tp_new = refuse_construction,
};

Ref linterm_fill(Variable* variable, double coefficient) {
    if (coefficient == 0.0) return python_float(0.0);
    return new_linear_term(variable, coefficient);
}

Ref linterm_copy(PyObject* term, double scale) {
    if (!is_linear_term(term)) raise_runtime_error("Linterm copy using an invalid object");
    return linterm_fill(as_linear_term(term)->variable, scale * as_linear_term(term)->coefficient);
}

Ref linterm_alg_sum(PyObject* a, PyObject* b, double scale) {
    return linear_sum(a, require_kind(a), b, require_kind(b), scale);
}

Ref linear_quotient(PyObject* a, OperandKind ka, PyObject* b, OperandKind kb) {
    if (kb == kConstant) {
        const double divisor = constant_value(b);
        if (ka == kLinearTerm) {
            if (divisor == 0.0) raise_runtime_error("Division by zero");
            return linterm_fill(as_linear_term(a)->variable,
                                as_linear_term(a)->coefficient / divisor);
        }
        if (divisor == 0.0) raise_runtime_error("Division of variable by zero");
        if (divisor == 1.0) return Ref::share(a);
        return linterm_fill(as_variable(a), 1.0 / divisor);
    }
    if (ka == kConstant) {
        if (kb == kVariable && constant_value(a) == 0.0) return python_float(0.0);
        return nonlin_instantiate_binary(kQuotient, a, b);
    }
    const LinearEntry numerator = linear_operand(a, ka);
    const LinearEntry denominator = linear_operand(b, kb);
    if (numerator.variable != denominator.variable) {
        return nonlin_instantiate_binary(kQuotient, a, b);
    }
    if (denominator.coefficient == 0.0) raise_runtime_error("Division by zero");
    return python_float(numerator.coefficient / denominator.coefficient);
}

}  // namespace quilex

// Test aids: the exact contents of modelling objects, and the end of their free lists.
#include "model/inspection.hpp"

#include "model/constraint.hpp"
#include "model/expression_object.hpp"
#include "module/boundary.hpp"
#include "nonlinear/node.hpp"

namespace quilex {

namespace {

Ref list_of_linear_entries(std::span<const LinearEntry> entries) {
    Ref list = require(PyList_New(0));
    for (const LinearEntry& entry : entries) {
        const Ref item =
            require(Py_BuildValue("(Od)", as_object(entry.variable), entry.coefficient));
        require_status(PyList_Append(list.get(), item.get()));
    }
    return list;
}

Ref list_of_products(Expression* expression) {
    if (!expression_has_quadratic_part(expression)) return none();
    Ref list = require(PyList_New(0));
    for (const QuadraticEntry& entry : expression_quadratic_entries(expression)) {
        const Ref item = require(Py_BuildValue("(OOd)", as_object(entry.first),
                                               as_object(entry.second), entry.coefficient));
        require_status(PyList_Append(list.get(), item.get()));
    }
    return list;
}

Ref node_parts(PyObject* object) {
    const auto* node = reinterpret_cast<NonlinearNode*>(object);
    const Py_ssize_t count = nonlin_arg_size(object);
    const Ref operands = require(PyTuple_New(count));
    for (Py_ssize_t i = 0; i < count; ++i) {
        PyTuple_SET_ITEM(operands.get(), i, share(nonlin_arg_at(object, i)).release());
    }
    return require(Py_BuildValue("(iO)", static_cast<int>(node->op), operands.get()));
}

}  // namespace

PyMethodDef inspection_methods[] = {
    {"_parts", method<quilexmod_parts>, METH_O,
     "_parts(object)\n--\n\n"
     "The exact contents of a modelling object, for tests: (constant, [(variable, coefficient),\n"
     "...], [(variable, variable, coefficient), ...] or None where there is no quadratic part);\n"
     "of a nonlinear expression (operator code, operands)."},
    {nullptr, nullptr, 0, nullptr},
};

Ref quilexmod_parts(PyObject*, PyObject* object) {
    if (require_kind(object) == kNonlinear) return node_parts(object);
    const bool is_ours = is_expression(object);
    const Owned<Expression> copy = is_ours ? Owned<Expression>() : expression_copy(object, 1.0);
    Expression* expression = is_ours ? as_expression(object) : copy.get();
    const Ref products = list_of_products(expression);
    const Ref linear = list_of_linear_entries(expression_linear_entries(expression));
    return require(
        Py_BuildValue("(dOO)", expression_constant(expression), linear.get(), products.get()));
}

void clear_modelling_pools() noexcept {
    linear_term_pool.clear();
    quadratic_term_pool.clear();
    expression_pool.clear();
    clear_node_pool();
    clear_constraint_pool();
    LinearLog::Buffer::clear_unused();
    QuadraticLog::Buffer::clear_unused();
}

}  // namespace quilex

// Nonlinear bodies of constraints apart from their constants.
#include "model/expression.hpp"
#include "nonlinear/shared_operands.hpp"

namespace quilex {

namespace {

Ref sum_without_last(PyObject* sum) {
    PyObject* const list = as_node(sum)->args;
    Ref result =
        make_container_node(kSum, require(PyList_GetSlice(list, 0, PyList_GET_SIZE(list) - 1)));
    take_shared_operands(result.get(), as_node(sum)->shared, as_node(sum)->shared_count);
    return result;
}

SplitBody split_sum(Ref body, PyObject* operand) {
    const Py_ssize_t size = nonlin_arg_size(body.get());
    const Ref last = share(nonlin_arg_at(body.get(), size - 1));
    if (size < 2 || classify(last.get()) != kConstant) return {std::move(body)};
    const double bound = 0.0 - constant_value(last.get());
    if (body.get() == operand) return {sum_without_last(operand), bound};
    // A constant is never among the shared operands.
    remove_operand(body.get(), PyList_GET_SIZE(as_node(body.get())->args) - 1);
    return {std::move(body), bound};
}

// An expression stays apart from the user's own.
SplitBody split_difference(Ref body) {
    PyObject* const first = PyTuple_GET_ITEM(as_node(body.get())->args, 0);
    PyObject* const second = PyTuple_GET_ITEM(as_node(body.get())->args, 1);
    if (classify(first) == kConstant)
        return {is_expression(second) ? Ref(expression_copy(second, 1.0)) : share(second),
                constant_value(first), true};
    if (classify(second) == kConstant) return {share(first), constant_value(second)};
    return {std::move(body)};
}

}  // namespace

SplitBody nonlin_split(Ref node, PyObject* operand) {
    if (is_sum(node.get())) return split_sum(std::move(node), operand);
    if (is_pair_node(node.get(), kDifference)) return split_difference(std::move(node));
    return {std::move(node)};
}

}  // namespace quilex

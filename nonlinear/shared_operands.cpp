// Operands that a sum shares with the longer one made from it.
#include "nonlinear/shared_operands.hpp"

#include <limits>

#include "model/lazy_tracking.hpp"

namespace quilex {

namespace {

// Fewer operands are copied again in less time than a list to share them takes.
constexpr Py_ssize_t kWorthSharing = 6;

bool has_room(const NonlinearNode* sum, Py_ssize_t more) noexcept {
    return more <= std::numeric_limits<int32_t>::max() - sum->shared_count;
}

// The number of nonlinear operands that the sum's own list begins with; `may_cycle` tells whether
// one of them may lead to a cycle.
Py_ssize_t leading_nodes(PyObject* sum, bool* may_cycle) noexcept {
    PyObject* const list = as_node(sum)->args;
    const Py_ssize_t size = PyList_GET_SIZE(list);
    Py_ssize_t count = 0;
    *may_cycle = false;
    for (; count < size && is_nonlinear(PyList_GET_ITEM(list, count)); ++count) {
        *may_cycle = *may_cycle || may_close_cycle(PyList_GET_ITEM(list, count));
    }
    return count;
}

// Sees to it that the sum's shared operands are the whole of their list, to which it may append,
// and that the collector sees the list if it has to. A list that others have is never shown to the
// collector, as they would have to be too.
void make_appendable(NonlinearNode* sum, bool may_cycle) {
    const Py_ssize_t count = sum->shared_count;
    PyObject* const list = sum->shared;
    const bool is_own = list != nullptr && Py_REFCNT(list) == 1;
    const bool is_whole = list != nullptr && PyList_GET_SIZE(list) == count;
    const bool is_seen = list != nullptr && PyObject_GC_IsTracked(list) != 0;
    if (!is_own && (!is_whole || (may_cycle && !is_seen))) {
        Ref own = require(list == nullptr ? PyList_New(0) : PyList_GetSlice(list, 0, count));
        if (!is_seen) untrack(own.get());
        const Ref old = Ref::steal(std::exchange(sum->shared, own.release()));
    } else if (!is_whole) {
        require_status(PyList_SetSlice(list, count, PyList_GET_SIZE(list), nullptr));
    }
    if (!may_cycle) return;
    track(sum->shared);
    track(as_object(sum));
}

}  // namespace

void share_operands(PyObject* sum) {
    NonlinearNode* const node = as_node(sum);
    if (node->shared == nullptr && PyList_GET_SIZE(node->args) < kWorthSharing) return;
    bool may_cycle = false;
    const Py_ssize_t count = leading_nodes(sum, &may_cycle);
    if (count == 0 || (node->shared == nullptr && count < kWorthSharing)) return;
    if (!has_room(node, count)) return;
    make_appendable(node, may_cycle);
    for (Py_ssize_t i = 0; i < count; ++i) {
        require_status(PyList_Append(node->shared, PyList_GET_ITEM(node->args, i)));
    }
    // The operands stay alive, in the shared list.
    if (PyList_SetSlice(node->args, 0, count, nullptr) != 0) {
        PyList_SetSlice(node->shared, node->shared_count, PyList_GET_SIZE(node->shared), nullptr);
        throw PythonFailure();
    }
    node->shared_count += static_cast<int32_t>(count);
}

void add_shared_operand(PyObject* sum, PyObject* operand) {
    NonlinearNode* const node = as_node(sum);
    const bool is_short = node->shared == nullptr && PyList_GET_SIZE(node->args) < kWorthSharing;
    if (is_short || !has_room(node, 1)) return insert_operand(sum, 0, operand);
    make_appendable(node, may_close_cycle(operand));
    require_status(PyList_Append(node->shared, operand));
    ++node->shared_count;
}

void take_shared_operands(PyObject* sum, PyObject* shared, int32_t count) noexcept {
    if (count == 0) return;
    assert(as_node(sum)->shared == nullptr);
    as_node(sum)->shared = Ref::share(shared).release();
    as_node(sum)->shared_count = count;
    if (PyObject_GC_IsTracked(shared)) track(sum);
}

std::vector<Ref> leading_operands(PyObject* sum, Py_ssize_t left_out) {
    const Py_ssize_t count = nonlin_arg_size(sum) - left_out;
    std::vector<Ref> operands;
    operands.reserve(static_cast<size_t>(count));
    for (Py_ssize_t i = 0; i < count; ++i) operands.push_back(share(nonlin_arg_at(sum, i)));
    return operands;
}

}  // namespace quilex

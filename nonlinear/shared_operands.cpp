// Operands that a sum shares with the longer one made from it.
#include "nonlinear/shared_operands.hpp"

#include <limits>

#include "model/lazy_tracking.hpp"

namespace quilex {

namespace {

// Fewer operands are copied again in less time than a list to share them takes.
constexpr Py_ssize_t kWorthSharing = 6;

// The number of operands of the sum's own list that can be shared.
Py_ssize_t shareable_count(PyObject* sum) noexcept {
    PyObject* const list = as_node(sum)->args;
    const Py_ssize_t size = PyList_GET_SIZE(list);
    Py_ssize_t count = 0;
    while (count < size && is_nonlinear(PyList_GET_ITEM(list, count))) {
        if (may_close_cycle(PyList_GET_ITEM(list, count))) return 0;
        ++count;
    }
    return as_node(sum)->shared_count > std::numeric_limits<int32_t>::max() - count ? 0 : count;
}

// Sees to it that the sum's shared operands are the whole of their list, to which it may append.
void make_appendable(NonlinearNode* sum) {
    const Py_ssize_t count = sum->shared_count;
    if (sum->shared != nullptr && PyList_GET_SIZE(sum->shared) == count) return;
    if (sum->shared != nullptr && Py_REFCNT(sum->shared) == 1) {
        require_status(PyList_SetSlice(sum->shared, count, PyList_GET_SIZE(sum->shared), nullptr));
        return;
    }
    Ref own =
        require(sum->shared == nullptr ? PyList_New(0) : PyList_GetSlice(sum->shared, 0, count));
    untrack(own.get());
    const Ref old = Ref::steal(std::exchange(sum->shared, own.release()));
}

}  // namespace

void share_operands(PyObject* sum) {
    NonlinearNode* const node = as_node(sum);
    const Py_ssize_t count = shareable_count(sum);
    if (count == 0 || (node->shared == nullptr && count < kWorthSharing)) return;
    make_appendable(node);
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

void take_shared_operands(PyObject* sum, PyObject* shared, int32_t count) noexcept {
    if (count == 0) return;
    assert(as_node(sum)->shared == nullptr);
    as_node(sum)->shared = Ref::share(shared).release();
    as_node(sum)->shared_count = count;
}

std::vector<Ref> leading_operands(PyObject* sum, Py_ssize_t left_out) {
    const Py_ssize_t count = nonlin_arg_size(sum) - left_out;
    std::vector<Ref> operands;
    operands.reserve(static_cast<size_t>(count));
    for (Py_ssize_t i = 0; i < count; ++i) operands.push_back(share(nonlin_arg_at(sum, i)));
    return operands;
}

}  // namespace quilex

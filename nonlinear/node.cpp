// quilex.nonlinear: the type, the builders of nodes and the iteration over operands.
#include "nonlinear/node.hpp"

#include <unordered_set>

#include "model/constraint.hpp"
#include "model/lazy_tracking.hpp"
#include "model/operators.hpp"
#include "module/boundary.hpp"
#include "module/free_list.hpp"
#include "module/live_counts.hpp"
#include "module/static_type.hpp"
#include "nonlinear/node_internal.hpp"

namespace quilex {

const NodeOperator node_operators[kNodeOperatorCount] = {
    {"+", -1, Placement::kInfix},     {"-", 2, Placement::kInfix},
    {"-", 1, Placement::kPrefix},     {"*", -1, Placement::kInfix},
    {"/", 2, Placement::kInfix},      {"**", 2, Placement::kInfix},
    {"exp", 1, Placement::kPrefix},   {"log", 1, Placement::kPrefix},
    {"log10", 1, Placement::kPrefix}, {"sin", 1, Placement::kPrefix},
    {"cos", 1, Placement::kPrefix},   {"tan", 1, Placement::kPrefix},
    {"asin", 1, Placement::kPrefix},  {"acos", 1, Placement::kPrefix},
    {"atan", 1, Placement::kPrefix},  {"max", -1, Placement::kPrefix},
    {"min", -1, Placement::kPrefix},  {"abs", 1, Placement::kPrefix},
    {"sign", 1, Placement::kPrefix},  {"erf", 1, Placement::kPrefix},
    {"erfc", 1, Placement::kPrefix},  {"sqrt", 1, Placement::kPrefix},
    {"user", -1, Placement::kPrefix},
};
static_assert(kUser + 1 == kNodeOperatorCount);

namespace {

InstancePool<NonlinearNode, 1024> pool;

void release_node(PyObject* self) noexcept {
    Py_CLEAR(as_node(self)->args);
    Py_CLEAR(as_node(self)->shared);
    count_destroyed(Counted::kNonlinear);
    pool.give(as_node(self));
}

void nonlin_dealloc(PyObject* self) {
    PyObject_GC_UnTrack(self);
    // A tree may be deeper than the C stack. Tuples and lists see to that themselves.
    PyObject* const args = as_node(self)->args;
    if (args == nullptr || !is_nonlinear(args)) return release_node(self);
    Py_TRASHCAN_BEGIN(self, nonlin_dealloc);
    release_node(self);
    Py_TRASHCAN_END;
}

int nonlin_traverse(PyObject* self, visitproc visit, void* arg) {
    Py_VISIT(as_node(self)->args);
    Py_VISIT(as_node(self)->shared);  // left out by the collector unless it has to see the list
    return 0;
}

int nonlin_clear(PyObject* self) {
    Py_CLEAR(as_node(self)->args);
    as_node(self)->shared_count = 0;
    Py_CLEAR(as_node(self)->shared);
    return 0;
}

}  // namespace

PyTypeObject nonlinear_type = [] {
    PyTypeObject type = static_type(
        "quilex.nonlinear", sizeof(NonlinearNode),
        "Class for nonlinear expressions. These can be used and\ncombined to create constraints "
        "and objective function of an\noptimization problem.");
    type.tp_flags |= Py_TPFLAGS_HAVE_GC;
    type.tp_new = refuse_construction;
    type.tp_dealloc = nonlin_dealloc;
    type.tp_traverse = nonlin_traverse;
    type.tp_clear = nonlin_clear;
    type.tp_as_number = &modelling_number_methods;
    type.tp_richcompare = slot<make_constraint>;
    type.tp_methods = modelling_methods;
    type.tp_getset = modelling_attributes;
    type.tp_str = slot<nonlin_str>;
    type.tp_repr = slot<nonlin_str>;
    return type;
}();

void clear_node_pool() noexcept {
    pool.clear();
}

Owned<NonlinearNode> nonlin_base() {
    NonlinearNode* const node = pool.take(&nonlinear_type);
    node->args = nullptr;
    node->shared = nullptr;
    node->op = -1;
    node->shared_count = 0;
    count_created(Counted::kNonlinear);
    return Owned<NonlinearNode>::steal(node);
}

// --- Containers of operands ---------------------------------------------------------------------

namespace {

void show_to_collector(NonlinearNode* node) noexcept {
    if (PyObject_IS_GC(node->args) && !is_nonlinear(node->args)) track(node->args);
    track(as_object(node));
}

Ref make_container_node(int op, Ref container, bool may_cycle) {
    Owned<NonlinearNode> node = nonlin_base();
    node->op = op;
    node->args = container.release();
    if (may_cycle) {
        track(as_object(node.get()));
    } else {
        untrack(node->args);
    }
    return node;
}

}  // namespace

Ref make_unary(int op, PyObject* operand) {
    Owned<NonlinearNode> node = nonlin_base();
    node->op = op;
    node->args = Ref::share(operand).release();
    if (may_close_cycle(operand)) track(as_object(node.get()));
    return node;
}

Ref make_pair(int op, PyObject* first, PyObject* second) {
    Ref pair = require(PyTuple_New(2));
    PyTuple_SET_ITEM(pair.get(), 0, Ref::share(first).release());
    PyTuple_SET_ITEM(pair.get(), 1, Ref::share(second).release());
    return make_container_node(op, std::move(pair),
                               may_close_cycle(first) || may_close_cycle(second));
}

Ref make_container_node(int op, Ref container) {
    bool may_cycle = false;
    for (Py_ssize_t i = 0; i < PySequence_Fast_GET_SIZE(container.get()); ++i)
        may_cycle = may_cycle || may_close_cycle(PySequence_Fast_GET_ITEM(container.get(), i));
    return make_container_node(op, std::move(container), may_cycle);
}

void insert_operand(PyObject* node, Py_ssize_t position, PyObject* operand) {
    require_status(PyList_Insert(as_node(node)->args, position, operand));
    if (may_close_cycle(operand)) show_to_collector(as_node(node));
}

Ref remove_operand(PyObject* node, Py_ssize_t position) {
    PyObject* const list = as_node(node)->args;
    Ref operand = Ref::share(PyList_GET_ITEM(list, position));
    require_status(PyList_SetSlice(list, position, position + 1, nullptr));
    return operand;
}

void replace_operand(PyObject* node, Py_ssize_t position, PyObject* operand) {
    require_status(PyList_SetItem(as_node(node)->args, position, Ref::share(operand).release()));
    if (may_close_cycle(operand)) show_to_collector(as_node(node));
}

void match_tracking(PyObject* node, PyObject* other) noexcept {
    if (PyObject_GC_IsTracked(other)) show_to_collector(as_node(node));
}

bool contains_node(PyObject* tree, PyObject* node) {
    if (!is_nonlinear(tree)) return false;
    std::vector<PyObject*> open{tree};
    std::unordered_set<PyObject*> shared;
    while (!open.empty()) {
        PyObject* const next = open.back();
        open.pop_back();
        if (next == node) return true;
        // A node met by several ways is looked at once.
        if (Py_REFCNT(next) > 1 && !shared.insert(next).second) continue;
        Py_ssize_t cursor = 0;
        for (PyObject* operand = nonlin_arg_first(next, &cursor); operand != nullptr;
             operand = nonlin_arg_next(next, &cursor))
            if (is_nonlinear(operand)) open.push_back(operand);
    }
    return false;
}

// --- Builders -----------------------------------------------------------------------------------

Ref nonlin_instantiate_unary(int op, PyObject* operand) {
    if (classify(operand) == kInvalid)
        raise_runtime_error("Invalid object <%S> in unary operation", operand);
    return make_unary(op, operand);
}

Ref nonlin_instantiate_binary(int op, PyObject* a, PyObject* b) {
    if (classify(a) == kInvalid) raise_runtime_error("Invalid object <%S> in operation", a);
    if (classify(b) == kInvalid) raise_runtime_error("Invalid object <%S> in operation", b);
    if (op != kSum && op != kProduct) return make_pair(op, a, b);
    // A nonlinear left operand comes first; otherwise the right one does, so that a constant or
    // simple left operand is the last item.
    const bool in_order = is_nonlinear(a);
    Ref list = require(PyList_New(2));
    PyList_SET_ITEM(list.get(), 0, Ref::share(in_order ? a : b).release());
    PyList_SET_ITEM(list.get(), 1, Ref::share(in_order ? b : a).release());
    return make_container_node(op, std::move(list), may_close_cycle(a) || may_close_cycle(b));
}

namespace {

bool is_valid_operand(PyObject* operand) noexcept {
    return !is_numpy_array(operand) && !PySequence_Check(operand) && classify(operand) != kInvalid;
}

}  // namespace

Ref nonlin_build_node(bool nary, int op, PyObject* args) {
    const bool is_container = PyTuple_Check(args) || PyList_Check(args);
    if (!nary) {
        if (is_container)
            raise_runtime_error(
                "Could not create a unary nonlinear expression: the argument must be a single "
                "expression");
        // The two rejection messages name each other's operation; programs rely on the texts.
        if (classify(args) == kInvalid && !(op == kUser && PyCallable_Check(args)))
            raise_runtime_error("Invalid object in n-ary operation");
        return make_unary(op, args);
    }
    if (!is_container)
        raise_runtime_error(
            "Could not create an n-ary nonlinear expression: the arguments must be in a list or "
            "tuple");
    bool may_cycle = PyList_Check(args);
    for (Py_ssize_t i = 0; i < PySequence_Fast_GET_SIZE(args); ++i) {
        PyObject* const operand = PySequence_Fast_GET_ITEM(args, i);
        const bool is_function = op == kUser && i == 0 && PyCallable_Check(operand);
        if (!is_function && !is_valid_operand(operand))
            raise_runtime_error("Invalid object in unary operation");
        may_cycle = may_cycle || may_close_cycle(operand);
    }
    Owned<NonlinearNode> node = nonlin_base();
    node->op = op;
    node->args = Ref::share(args).release();
    // The container is the caller's: it is left as it is, and a node over a container that may
    // change under it is always tracked.
    if (may_cycle || !PyTuple_CheckExact(args)) track(as_object(node.get()));
    return node;
}

// --- Iteration over operands --------------------------------------------------------------------

bool nonlin_grows_in_place(PyObject* node) noexcept {
    const int op = as_node(node)->op;
    return op == kSum || op == kProduct || op == kQuotient || op == kPower;
}

Py_ssize_t nonlin_arg_size(PyObject* object) noexcept {
    if (object == nullptr || !is_nonlinear(object)) return -1;
    PyObject* const args = as_node(object)->args;
    if (args == nullptr) return 0;
    if (!PyTuple_Check(args) && !PyList_Check(args)) return 1;
    return as_node(object)->shared_count + PySequence_Fast_GET_SIZE(args);
}

PyObject* nonlin_arg_at(PyObject* node, Py_ssize_t position) noexcept {
    PyObject* const args = as_node(node)->args;
    if (args == nullptr) return nullptr;
    if (!PyTuple_Check(args) && !PyList_Check(args)) return position == 0 ? args : nullptr;
    const Py_ssize_t shared = as_node(node)->shared_count;
    if (position < shared) return PyList_GET_ITEM(as_node(node)->shared, position);
    return position - shared < PySequence_Fast_GET_SIZE(args)
               ? PySequence_Fast_GET_ITEM(args, position - shared)
               : nullptr;
}

PyObject* nonlin_arg_first(PyObject* object, Py_ssize_t* cursor) noexcept {
    if (object == nullptr || !is_nonlinear(object)) {
        PyErr_SetString(PyExc_RuntimeError,
                        "Accessing first argument list of an object that is not a nonlinear "
                        "expression");
        return nullptr;
    }
    if (cursor != nullptr) *cursor = 0;
    return nonlin_arg_at(object, 0);
}

PyObject* nonlin_arg_next(PyObject* object, Py_ssize_t* cursor) noexcept {
    if (object == nullptr || !is_nonlinear(object)) {
        PyErr_SetString(PyExc_RuntimeError,
                        "Accessing next argument list of an object that is not a nonlinear "
                        "expression");
        return nullptr;
    }
    return nonlin_arg_at(object, ++*cursor);
}

}  // namespace quilex

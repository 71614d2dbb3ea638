// What the files of the node type share: operand containers, factors, containment.
#pragma once

#include "nonlinear/node.hpp"

namespace quilex {

inline NonlinearNode* as_node(PyObject* object) noexcept {
    return reinterpret_cast<NonlinearNode*>(object);
}

// The rows of the operator table: how a node is held and printed.
enum class Placement { kPrefix, kInfix, kPostfix };
struct NodeOperator {
    const char* symbol;
    int arity;  // -1: any number of operands
    Placement placement;
};
inline constexpr int kNodeOperatorCount = 23;
extern const NodeOperator node_operators[kNodeOperatorCount];

// An empty node; the caller fills `args` and `op`.
Owned<NonlinearNode> nonlin_base();

// Nodes over operands that are known to be valid. A container (tuple or list) must be this
// module's own: it is shown to the collector only when it has to be.
Ref make_unary(int op, PyObject* operand);
Ref make_pair(int op, PyObject* first, PyObject* second);
Ref make_container_node(int op, Ref container);

// Whether the object is a node of this kind with the operand container that goes with it.
inline bool is_list_node(PyObject* object, int op) noexcept {
    return is_nonlinear(object) && as_node(object)->op == op && as_node(object)->args != nullptr &&
           PyList_CheckExact(as_node(object)->args);
}
inline bool is_sum(PyObject* object) noexcept {
    return is_list_node(object, kSum);
}
inline bool is_product(PyObject* object) noexcept {
    return is_list_node(object, kProduct);
}
// A quotient, difference or power with its two operands.
inline bool is_pair_node(PyObject* object, int op) noexcept {
    return is_nonlinear(object) && as_node(object)->op == op && as_node(object)->args != nullptr &&
           PyTuple_CheckExact(as_node(object)->args) &&
           PyTuple_GET_SIZE(as_node(object)->args) == 2;
}

// Adds an operand to a sum's or product's own list, before the position given or at the end.
void insert_operand(PyObject* node, Py_ssize_t position, PyObject* operand);
inline void append_operand(PyObject* node, PyObject* operand) {
    insert_operand(node, PyList_GET_SIZE(as_node(node)->args), operand);
}
// Takes an operand out of the list.
Ref remove_operand(PyObject* node, Py_ssize_t position);
void replace_operand(PyObject* node, Py_ssize_t position, PyObject* operand);

// Tracks the node and its container when the other node, which became part of it, is tracked.
void match_tracking(PyObject* node, PyObject* other) noexcept;

// Whether `tree` contains `node`, so that putting `tree` into `node` would close a cycle.
bool contains_node(PyObject* tree, PyObject* node);

// The deep copy of an operand of a node. Parts that no operator can ever change are shared.
Ref copy_operand(PyObject* operand, double scale);

inline bool is_constant_equal(PyObject* object, OperandKind kind, double value) {
    return kind == kConstant && constant_value(object) == value;
}

inline Ref make_float(double value) {
    return require(PyFloat_FromDouble(value));
}

}  // namespace quilex

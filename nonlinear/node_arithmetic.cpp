// Differences, products, quotients and powers with nonlinear operands.
#include "model/general_operations.hpp"
#include "nonlinear/node_internal.hpp"

namespace quilex {

namespace {

Ref zero() {
    return make_float(0.0);
}
Ref one() {
    return make_float(1.0);
}

[[noreturn]] void raise_vector_exponent() {
    raise_runtime_error("Cannot obtain a power with a vector as an exponent");
}

// Whether putting `operand` into the node, which others may hold, would close a cycle.
bool would_close_cycle(PyObject* node, PyObject* operand) {
    return Py_REFCNT(node) > 1 && contains_node(operand, node);
}

// The constant at the end of a product, or null.
PyObject* last_constant(PyObject* product) noexcept {
    PyObject* const list = as_node(product)->args;
    const Py_ssize_t size = PyList_GET_SIZE(list);
    if (size == 0) return nullptr;
    PyObject* const last = PyList_GET_ITEM(list, size - 1);
    return classify(last) == kConstant ? last : nullptr;
}

Ref multiply_products(PyObject* a, PyObject* b) {
    PyObject* const constant_a = last_constant(a);
    PyObject* const constant_b = last_constant(b);
    const double factor = (constant_a != nullptr ? constant_value(constant_a) : 1.0) *
                          (constant_b != nullptr ? constant_value(constant_b) : 1.0);
    if (factor == 0.0) return zero();
    // b may be a itself: its items are taken before a changes.
    PyObject* const list_b = as_node(b)->args;
    const Py_ssize_t taken = PyList_GET_SIZE(list_b) - (constant_b != nullptr ? 1 : 0);
    const Ref items = require(PyList_GetSlice(list_b, 0, taken));
    const bool ends_with_factor = constant_b == nullptr || factor != 1.0;
    if (constant_a != nullptr) remove_operand(a, PyList_GET_SIZE(as_node(a)->args) - 1);
    for (Py_ssize_t i = 0; i < taken; ++i) append_operand(a, PyList_GET_ITEM(items.get(), i));
    if (ends_with_factor) append_operand(a, make_float(factor).get());
    return share(a);
}

Ref multiply_product_by(PyObject* a, PyObject* b, OperandKind kind_b) {
    PyObject* const constant_a = last_constant(a);
    const Py_ssize_t size = PyList_GET_SIZE(as_node(a)->args);
    if (constant_a == nullptr) {
        append_operand(a, b);
    } else if (kind_b != kConstant) {
        insert_operand(a, size - 1, b);
    } else {
        const double product = constant_value(constant_a) * constant_value(b);
        if (product == 0.0) return zero();
        if (product == 1.0) {
            remove_operand(a, size - 1);
        } else {
            replace_operand(a, size - 1, make_float(product).get());
        }
    }
    return share(a);
}

// Multiplies the second operand of a quotient or power (the denominator, the exponent) by b, in
// place. False when that would put the node, or the operand, into itself.
bool multiply_second_operand(PyObject* node, PyObject* b) {
    const Ref owned_second = share(PyTuple_GET_ITEM(as_node(node)->args, 1));
    PyObject* const second = owned_second.get();
    if (is_product(second) && PyList_GET_SIZE(as_node(second)->args) > 0) {
        if (contains_node(b, second) || would_close_cycle(node, b)) return false;
        insert_operand(second, PyList_GET_SIZE(as_node(second)->args) - 1, b);
        match_tracking(node, second);
        return true;
    }
    if (would_close_cycle(node, b)) return false;
    const Ref product = general_mul(second, b);
    const Ref pair =
        make_pair(as_node(node)->op, PyTuple_GET_ITEM(as_node(node)->args, 0), product.get());
    // The new pair's container changes places with the node's own.
    std::swap(as_node(node)->args, as_node(pair.get())->args);
    match_tracking(node, pair.get());
    return true;
}

}  // namespace

Ref nonlin_neg(PyObject* a) {
    require_kind(a);
    return make_unary(kNegation, a);
}

Ref nonlin_sub(PyObject* a, PyObject* b) {
    if (is_numpy_array(b)) {
        const Ref negated = require(PyNumber_Negative(b));
        return require(PyNumber_Add(negated.get(), a));
    }
    const OperandKind kind_a = require_kind(a);
    const OperandKind kind_b = require_kind(b);
    if (is_constant_equal(a, kind_a, 0.0)) return general_neg(b);
    if (is_constant_equal(b, kind_b, 0.0)) return share(a);
    if (is_sum(a)) return nonlin_alg_sum(a, b, -1.0);
    return make_pair(kDifference, a, b);
}

Ref nonlin_mul(PyObject* a, PyObject* b) {
    if (is_numpy_array(b)) return require(PyNumber_Multiply(b, a));
    const OperandKind kind_a = require_kind(a);
    const OperandKind kind_b = require_kind(b);
    if (is_constant_equal(a, kind_a, 0.0) || is_constant_equal(b, kind_b, 0.0)) return zero();
    if (is_constant_equal(b, kind_b, 1.0)) return share(a);
    if (is_constant_equal(a, kind_a, 1.0)) return share(b);
    if (is_constant_equal(a, kind_a, -1.0)) return nonlin_neg(b);
    if (is_constant_equal(b, kind_b, -1.0)) return nonlin_neg(a);
    return nonlin_instantiate_binary(kProduct, a, b);
}

Ref nonlin_div(PyObject* a, PyObject* b) {
    if (is_numpy_array(b)) {
        const Ref inverse = require(PyNumber_TrueDivide(one().get(), b));
        return require(PyNumber_Multiply(inverse.get(), a));
    }
    const OperandKind kind_a = require_kind(a);
    const OperandKind kind_b = require_kind(b);
    if (is_constant_equal(a, kind_a, 0.0)) return zero();
    if (is_constant_equal(b, kind_b, 0.0)) raise_runtime_error("Division by zero");
    if (is_constant_equal(b, kind_b, 1.0)) return share(a);
    return make_pair(kQuotient, a, b);
}

Ref nonlin_pow(PyObject* a, PyObject* b, PyObject*) {
    if (is_numpy_array(b)) raise_vector_exponent();
    const OperandKind kind_a = require_kind(a);
    const OperandKind kind_b = require_kind(b);
    if (is_constant_equal(a, kind_a, 0.0)) return zero();
    if (is_constant_equal(a, kind_a, 1.0)) return one();
    if (is_constant_equal(b, kind_b, 0.0)) return one();
    if (is_constant_equal(b, kind_b, 1.0)) return share(a);
    return make_pair(kPower, a, b);
}

Ref nonlin_imul(PyObject* a, PyObject* b) {
    if (is_numpy_array(b)) return require(PyNumber_Multiply(b, a));
    if (a == Py_None) return general_copy(b, 1.0);
    const OperandKind kind_a = require_kind(a);
    const OperandKind kind_b = require_kind(b);
    if (is_constant_equal(a, kind_a, 1.0)) return general_copy(b, 1.0);
    if (!is_product(a)) return nonlin_mul(a, b);
    if (a != b && would_close_cycle(a, b)) return nonlin_mul(a, b);
    return is_product(b) ? multiply_products(a, b) : multiply_product_by(a, b, kind_b);
}

Ref nonlin_idiv(PyObject* a, PyObject* b) {
    if (is_numpy_array(b)) return nonlin_div(a, b);
    require_kind(a);
    const OperandKind kind_b = require_kind(b);
    if (kind_b == kConstant) {
        const double divisor = constant_value(b);
        if (divisor == 0.0) raise_runtime_error("Division by zero");
        if (divisor == 1.0) return share(a);
        return nonlin_imul(a, make_float(1.0 / divisor).get());
    }
    if (is_pair_node(a, kQuotient) && multiply_second_operand(a, b)) return share(a);
    return nonlin_div(a, b);
}

Ref nonlin_ipow(PyObject* a, PyObject* b, PyObject* modulus) {
    if (is_numpy_array(b)) raise_vector_exponent();
    require_kind(a);
    const OperandKind kind_b = require_kind(b);
    if (is_constant_equal(b, kind_b, 0.0)) return one();
    if (is_constant_equal(b, kind_b, 1.0)) return share(a);
    if (is_pair_node(a, kPower) && multiply_second_operand(a, b)) return share(a);
    return nonlin_pow(a, b, modulus);
}

}  // namespace quilex

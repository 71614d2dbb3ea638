// Sums with nonlinear parts, and their growth in place.
//
// A sum's list holds nonlinear nodes and at most one simple part (anything but a node), among the
// last three items; what is added later and is simple merges with it, so that a sum of n terms
// made in a loop costs time proportional to n.
#include "model/expression.hpp"
#include "model/general_operations.hpp"
#include "model/linterm.hpp"
#include "model/quadterm.hpp"
#include "nonlinear/shared_operands.hpp"

namespace quilex {

namespace {

constexpr Py_ssize_t kSimplePartWindow = 3;

// The position of the simple part among the last three items of a sum's own list, or -1.
Py_ssize_t find_simple_part(PyObject* list) noexcept {
    const Py_ssize_t size = PyList_GET_SIZE(list);
    for (Py_ssize_t i = size - 1; i >= 0 && i >= size - kSimplePartWindow; --i)
        if (!is_nonlinear(PyList_GET_ITEM(list, i))) return i;
    return -1;
}

bool is_zero(PyObject* object) {
    return classify(object) == kConstant && constant_value(object) == 0.0;
}

void append_simple_part(PyObject* sum, const Ref& part) {
    if (part && !is_zero(part.get())) append_operand(sum, part.get());
}

// A simple part that may be changed in place. A part that only the sum held is the sum's own;
// an expression that the user holds as well is never changed behind the user's back.
Ref own_simple_part(Ref part) {
    if (!is_expression(part.get()) || Py_REFCNT(part.get()) == 1) return part;
    return expression_copy(part.get(), 1.0);
}

// a + c * b where neither is nonlinear; changes a where it is an expression.
Ref add_simple(PyObject* a, OperandKind kind_a, PyObject* b, OperandKind kind_b, double c) {
    if (kind_a == kExpression || kind_b == kExpression)
        return expression_incremental_alg_sum(a, b, c);
    if (kind_a == kQuadraticTerm || kind_b == kQuadraticTerm) return quadterm_alg_sum(a, b, c);
    if (kind_a == kConstant && kind_b == kConstant)
        return make_float(constant_value(a) + c * constant_value(b));
    if (kind_a == kVariable) {
        const Ref term = linterm_fill(reinterpret_cast<Variable*>(a), 1.0);
        return linterm_alg_sum(term.get(), b, c);
    }
    if (kind_b == kVariable && kind_a != kLinearTerm) {
        const Ref term = linterm_fill(reinterpret_cast<Variable*>(b), c);
        return add_simple(term.get(), classify(term.get()), a, kind_a, 1.0);
    }
    return linterm_alg_sum(a, b, c);
}

Ref scaled(PyObject* object, double c) {
    if (c == 1.0) return share(object);
    if (c == -1.0) return general_neg(object);
    return general_mul(object, make_float(c).get());
}

// Takes the simple part out of a list of items; empty when there is none.
Ref take_simple_part(std::vector<Ref>& items) {
    const size_t first = items.size() > kSimplePartWindow ? items.size() - kSimplePartWindow : 0;
    for (size_t i = items.size(); i > first; --i) {
        if (is_nonlinear(items[i - 1].get())) continue;
        Ref part = std::move(items[i - 1]);
        items.erase(items.begin() + static_cast<std::ptrdiff_t>(i - 1));
        return part;
    }
    return Ref();
}

Ref take_simple_part(PyObject* sum) {
    const Py_ssize_t position = find_simple_part(as_node(sum)->args);
    return position < 0 ? Ref() : remove_operand(sum, position);
}

// a + c * (the sum b), where a is not a sum.
Ref add_sum_to_other(PyObject* a, PyObject* b, double c) {
    std::vector<Ref> items = leading_operands(b);
    Ref simple;
    Ref list = require(PyList_New(0));
    if (is_nonlinear(a)) {
        require_status(PyList_Append(list.get(), a));
        Ref part = take_simple_part(items);
        if (part) simple = scaled(part.get(), c);
    } else {
        const Ref part = take_simple_part(items);
        simple = part ? expression_incremental_alg_sum(a, part.get(), c) : share(a);
    }
    for (const Ref& item : items)
        require_status(PyList_Append(list.get(), scaled(item.get(), c).get()));
    Ref sum = make_container_node(kSum, std::move(list));
    append_simple_part(sum.get(), simple);
    return sum;
}

// copy + the sum b, where nothing else holds the copy, which is no sum.
Ref add_sum_to_copy(const Ref& copy, PyObject* b) {
    PyObject* const list = as_node(b)->args;
    Ref sum = make_container_node(kSum, require(PyList_GetSlice(list, 0, PyList_GET_SIZE(list))));
    take_shared_operands(sum.get(), as_node(b)->shared, as_node(b)->shared_count);
    if (is_nonlinear(copy.get())) {
        add_shared_operand(sum.get(), copy.get());
    } else {
        const Ref part = take_simple_part(sum.get());
        append_simple_part(
            sum.get(),
            part ? expression_incremental_alg_sum(copy.get(), part.get(), 1.0) : share(copy.get()));
    }
    return sum;
}

// a + c * b in place, where only a is a sum.
Ref add_other_to_sum(PyObject* a, PyObject* b, OperandKind kind_b, double c) {
    if (kind_b == kNonlinear) {
        const Ref addend = scaled(b, c);
        const Py_ssize_t position = find_simple_part(as_node(a)->args);
        insert_operand(a, position < 0 ? PyList_GET_SIZE(as_node(a)->args) : position,
                       addend.get());
        if (position >= 0 && position + 2 < PyList_GET_SIZE(as_node(a)->args))
            append_operand(a, remove_operand(a, position + 1).get());
        return share(a);
    }
    Ref part = take_simple_part(a);
    if (!part) {
        append_operand(a, scaled(b, c).get());
        return share(a);
    }
    part = own_simple_part(std::move(part));
    append_simple_part(a, add_simple(part.get(), classify(part.get()), b, kind_b, c));
    return share(a);
}

// a + c * b in place, where both are sums (perhaps the same one).
Ref add_sum_to_sum(PyObject* a, PyObject* b, double c) {
    std::vector<Ref> items = leading_operands(b);
    Ref part_b = take_simple_part(items);
    Ref part_a = take_simple_part(a);
    for (const Ref& item : items) append_operand(a, scaled(item.get(), c).get());
    if (part_a && part_b) {
        part_a = own_simple_part(std::move(part_a));
        append_simple_part(a, expression_incremental_alg_sum(part_a.get(), part_b.get(), c));
    } else if (part_a) {
        append_simple_part(a, part_a);
    } else if (part_b) {
        append_simple_part(a, scaled(part_b.get(), c));
    }
    return share(a);
}

}  // namespace

Ref nonlin_incremental_alg_sum(PyObject* a, PyObject* b, double c) {
    if (c == 0.0) return share(a);
    if (a == Py_None) return general_copy(b, c);
    const OperandKind kind_a = require_kind(a);
    const OperandKind kind_b = require_kind(b);
    if (is_constant_equal(a, kind_a, 0.0)) return c == 1.0 ? share(b) : general_copy(b, c);
    if (is_constant_equal(b, kind_b, 0.0)) return share(a);
    if (kind_a != kNonlinear && kind_b != kNonlinear) return add_simple(a, kind_a, b, kind_b, c);
    const bool a_is_sum = is_sum(a);
    const bool b_is_sum = is_sum(b);
    if (!a_is_sum && !b_is_sum) return nonlin_instantiate_binary(kSum, a, scaled(b, c).get());
    if (!a_is_sum) return add_sum_to_other(a, b, c);
    // A sum that is about to become part of itself (s += s * x) grows as a copy. With one
    // reference only, the caller's, it cannot be inside b.
    if (kind_b == kNonlinear && a != b && Py_REFCNT(a) > 1 && contains_node(b, a))
        return nonlin_alg_sum(a, b, c);
    return b_is_sum ? add_sum_to_sum(a, b, c) : add_other_to_sum(a, b, kind_b, c);
}

Ref nonlin_alg_sum(PyObject* a, PyObject* b, double scale) {
    require_kind(a);
    const Ref copy = copy_operand(a, 1.0);
    if (is_sum(copy.get())) {
        share_operands(copy.get());
    } else if (is_sum(b) && scale == 1.0 && !is_zero(copy.get())) {
        return add_sum_to_copy(copy, b);
    }
    return nonlin_incremental_alg_sum(copy.get(), b, scale);
}

Ref nonlin_add(PyObject* a, PyObject* b) {
    if (is_numpy_array(b)) return require(PyNumber_Add(b, a));
    return nonlin_alg_sum(a, b, 1.0);
}

Ref nonlin_iadd(PyObject* a, PyObject* b) {
    if (is_numpy_array(b)) return require(PyNumber_Add(b, a));
    return nonlin_incremental_alg_sum(a, b, 1.0);
}

Ref nonlin_isub(PyObject* a, PyObject* b) {
    if (is_numpy_array(b)) {
        const Ref negated = require(PyNumber_Negative(b));
        return require(PyNumber_Add(negated.get(), a));
    }
    return nonlin_incremental_alg_sum(a, b, -1.0);
}

}  // namespace quilex

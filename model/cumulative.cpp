// Sum and Prod, and the operations that work on operands of any kind.
#include "model/cumulative.hpp"

#include "model/containers.hpp"
#include "model/kind_rules.hpp"
#include "module/numpy.hpp"
#include "nonlinear/node.hpp"

namespace quilex {

namespace {

// The richer kind of two operands; constants, arrays and everything else count as constants.
OperandKind richer_kind(PyObject* a, PyObject* b) noexcept {
    return std::max({classify(a), classify(b), kConstant});
}

using Accumulate = Ref (*)(PyObject* a, PyObject* b);

// The accumulator of Sum or Prod. It never hands out the expression that it grows.
class Accumulator {
  public:
    explicit Accumulator(Accumulate step) : step_(step) {}

    void add(PyObject* item) {
        if (item == Py_None) return;
        if (quick_kind(item) == kInvalid && offers_array(item)) {
            return add(offered_array(item).get());
        }
        total_ = step_(total_ ? total_.get() : Py_None, item);
        // A zero plus a node is the node itself, which is not ours to grow.
        if (total_.get() == item && (is_nonlinear(item) || is_expression(item)))
            total_ = general_copy(item, 1.0);
    }
    Ref take() noexcept { return std::move(total_); }

  private:
    Accumulate step_;
    Ref total_;
};

// The items of a tuple or list, which may change its size while it is read.
void add_items(Accumulator& total, PyObject* collection, bool is_tuple) {
    for (Py_ssize_t i = 0;; ++i) {
        const Py_ssize_t size =
            is_tuple ? PyTuple_GET_SIZE(collection) : PyList_GET_SIZE(collection);
        if (i >= size) return;
        const Ref item =
            Ref::share(is_tuple ? PyTuple_GET_ITEM(collection, i) : PyList_GET_ITEM(collection, i));
        total.add(item.get());
    }
}

// The elements of a plain one-dimensional object array, without the sequence protocol.
void add_array_elements(Accumulator& total, PyArrayObject* array) {
    for (npy_intp i = 0; i < PyArray_DIM(array, 0); ++i) {
        auto* element = static_cast<PyObject**>(PyArray_GETPTR1(array, i));
        const Ref item = Ref::share(*element == nullptr ? Py_None : *element);
        total.add(item.get());
    }
}

void add_sequence(Accumulator& total, PyObject* collection) {
    if (PyArray_CheckExact(collection)) {
        auto* array = reinterpret_cast<PyArrayObject*>(collection);
        if (PyArray_NDIM(array) == 1 && PyArray_TYPE(array) == NPY_OBJECT) {
            return add_array_elements(total, array);
        }
    }
    const Py_ssize_t size = PySequence_Size(collection);
    if (size < 0) raise_runtime_error("Invalid sequence of objects");
    for (Py_ssize_t i = 0; i < size; ++i) {
        total.add(require(PySequence_GetItem(collection, i)).get());
    }
}

void add_iterated(Accumulator& total, PyObject* collection) {
    const Ref iterator = require(PyObject_GetIter(collection));
    const iternextfunc next = Py_TYPE(iterator.get())->tp_iternext;
    while (PyObject* object = next(iterator.get())) {
        const Ref item = Ref::steal(object);
        total.add(item.get());
    }
    if (!PyErr_Occurred()) return;
    if (!PyErr_ExceptionMatches(PyExc_StopIteration)) throw PythonFailure();
    PyErr_Clear();
}

void add_values(Accumulator& total, PyObject* dict) {
    const Ref values = require(PyDict_Values(dict));
    add_items(total, values.get(), false);
}

void add_collection(Accumulator& total, PyObject* collection) {
    if (PyTuple_Check(collection)) return add_items(total, collection, true);
    if (PyList_Check(collection)) return add_items(total, collection, false);
    if (offers_array(collection)) return add_sequence(total, offered_array(collection).get());
    if (PySequence_Check(collection)) return add_sequence(total, collection);
    if (PyIter_Check(collection) || is_set_or_view(collection))
        return add_iterated(total, collection);
    if (PyDict_Check(collection)) return add_values(total, collection);
    if (classify(collection) == kInvalid) {
        raise_runtime_error("Invalid object in cumulative operator");
    }
    total.add(collection);
}

// One argument is the collection, any other number of them is one.
Ref accumulate(Accumulate step, PyObject* const* arguments, Py_ssize_t count) {
    Accumulator total(step);
    if (count == 1) {
        add_collection(total, arguments[0]);
    } else {
        for (Py_ssize_t i = 0; i < count; ++i) total.add(arguments[i]);
    }
    return total.take();
}

}  // namespace

Ref general_iadd(PyObject* a, PyObject* b) {
    // The commonest step of Sum: a growing expression and a variable or linear term.
    const OperandKind quick_b = quick_kind(b);
    if (is_expression(a) && (quick_b == kVariable || quick_b == kLinearTerm)) {
        add_to_expression(a, b, quick_b, 1.0);
        return Ref::share(a);
    }
    if (a == Py_None) return general_copy(b, 1.0);
    if (b == Py_None) return Ref::share(a);
    if (is_numpy_array(b)) return require(PyNumber_InPlaceAdd(a, b));
    switch (richer_kind(a, b)) {
        case kNonlinear:
            return nonlin_iadd(a, b);
        case kExpression:
            return expression_incremental_alg_sum(a, b, 1.0);
        case kConstant:
            return constant_add(a, b);
        default:
            return add_in_place_any(a, b);
    }
}

Ref general_imul(PyObject* a, PyObject* b) {
    if (a == Py_None) return general_copy(b, 1.0);
    if (b == Py_None) return Ref::share(a);
    if (is_numpy_array(b)) return require(PyNumber_InPlaceMultiply(a, b));
    switch (richer_kind(a, b)) {
        case kNonlinear:
            return nonlin_imul(a, b);
        case kConstant:
            return constant_mul(a, b);
        default:
            return multiply_in_place_any(a, b);
    }
}

Ref general_mul(PyObject* a, PyObject* b) {
    if (a == Py_None) return general_copy(b, 1.0);
    if (b == Py_None) return Ref::share(a);
    if (is_numpy_array(b)) return require(PyNumber_Multiply(a, b));
    switch (richer_kind(a, b)) {
        case kNonlinear:
            return nonlin_mul(a, b);
        case kConstant:
            return constant_mul(a, b);
        default:
            return multiply_any(a, b);
    }
}

Ref general_neg(PyObject* a) {
    if (is_numpy_array(a)) return constant_neg(a);
    return negate_any(a);
}

Ref general_copy(PyObject* a, double scale) {
    if (is_numpy_array(a)) {
        Ref copy = require(PyArray_NewCopy(reinterpret_cast<PyArrayObject*>(a), NPY_ANYORDER));
        if (scale == 1.0) return copy;
        return require(PyNumber_Multiply(copy.get(), python_float(scale).get()));
    }
    switch (require_kind(a)) {
        case kVariable:
            return var_copy(as_variable(a), scale);
        case kLinearTerm:
            return linterm_copy(a, scale);
        case kQuadraticTerm:
            return quadterm_copy(a, scale);
        case kExpression:
            return expression_copy(a, scale);
        case kNonlinear:
            return nonlin_copy(a, scale);
        default:
            return python_float(scale * constant_value(a));
    }
}

Ref constant_add(PyObject* a, PyObject* b) {
    if (is_numpy_array(a)) return require(PyNumber_Add(b, a));
    if (is_numpy_array(b)) return require(PyNumber_Add(a, b));
    require_kind(a);
    require_kind(b);
    return python_float(constant_value(a) + constant_value(b));
}

Ref constant_mul(PyObject* a, PyObject* b) {
    if (is_numpy_array(a) || is_numpy_array(b)) return require(PyNumber_Multiply(a, b));
    require_kind(a);
    require_kind(b);
    return python_float(constant_value(a) * constant_value(b));
}

Ref constant_neg(PyObject* a) {
    if (is_numpy_array(a)) return require(PyNumber_Negative(a));
    require_kind(a);
    return python_float(-constant_value(a));
}

Ref quilexmod_Sum(PyObject*, PyObject* const* arguments, Py_ssize_t count) {
    Ref total = accumulate(general_iadd, arguments, count);
    if (!total) return new_expression();
    if (isNumericConstant(total.get())) return new_expression(constant_value(total.get()));
    return total;
}

Ref quilexmod_Prod(PyObject*, PyObject* const* arguments, Py_ssize_t count) {
    Ref total = accumulate(general_imul, arguments, count);
    return total ? std::move(total) : python_float(0.0);
}

}  // namespace quilex

// Sum and Prod.
#include "model/cumulative.hpp"

#include "model/containers.hpp"
#include "model/expression_object.hpp"
#include "model/general_operations.hpp"
#include "module/numpy.hpp"
#include "module/numpy_interface.hpp"
#include "nonlinear/node.hpp"

namespace quilex {

namespace {

using Accumulate = Ref (*)(PyObject* a, PyObject* b);

// The accumulator of Sum or Prod. It never hands out the expression that it grows.
class Accumulator {
  public:
    Accumulator(Accumulate step, double neutral) : step_(step), neutral_(neutral) {}

    void add(PyObject* item) {
        if (item == Py_None) return;
        if (quick_kind(item) == kInvalid) {
            if (is_masked_element(item)) return;
            if (offers_array(item)) return add(offered_array(item).get());
        }
        total_ = step_(total_ ? total_.get() : Py_None, item);
        // A zero plus a node is the node itself, which is not ours to grow.
        if (total_.get() == item && (is_nonlinear(item) || is_expression(item)))
            total_ = general_copy(item, 1.0);
    }
    Ref take() noexcept { return std::move(total_); }
    double neutral() const noexcept { return neutral_; }

  private:
    Accumulate step_;
    double neutral_;  // what changes nothing
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
    const Py_ssize_t size = PySequence_Size(collection);
    if (size < 0) raise_runtime_error("Invalid sequence of objects");
    for (Py_ssize_t i = 0; i < size; ++i) {
        total.add(require(PySequence_GetItem(collection, i)).get());
    }
}

// What numpy's own sums and products take of an array: no masked elements.
Ref elements_that_count(const Accumulator& total, PyObject* array) {
    if (PyArray_CheckExact(array)) return Ref::share(array);
    const bool is_vector = PyArray_NDIM(reinterpret_cast<PyArrayObject*>(array)) == 1;
    if (!is_vector) return with_masked_elements_as(total.neutral(), array);
    if (!has_masked_elements(array)) return Ref::share(array);
    return require(PyObject_CallMethod(array, "compressed", nullptr));
}

void add_array(Accumulator& total, PyObject* given) {
    const Ref counting = elements_that_count(total, given);
    const Ref elements = small_numbers_as_doubles(counting.get());
    auto* array = reinterpret_cast<PyArrayObject*>(elements.get());
    if (PyArray_CheckExact(elements.get()) && PyArray_NDIM(array) == 1 &&
        PyArray_TYPE(array) == NPY_OBJECT) {
        return add_array_elements(total, array);
    }
    add_sequence(total, elements.get());
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
    if (is_numpy_array(collection)) return add_array(total, collection);
    if (offers_array(collection)) return add_array(total, offered_array(collection).get());
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
Ref accumulate(Accumulate step, double neutral, PyObject* const* arguments, Py_ssize_t count) {
    Accumulator total(step, neutral);
    if (count == 1) {
        add_collection(total, arguments[0]);
    } else {
        for (Py_ssize_t i = 0; i < count; ++i) total.add(arguments[i]);
    }
    return total.take();
}

}  // namespace

Ref quilexmod_Sum(PyObject*, PyObject* const* arguments, Py_ssize_t count) {
    Ref total = accumulate(general_iadd, 0.0, arguments, count);
    if (!total) return new_expression();
    if (isNumericConstant(total.get())) return new_expression(constant_value(total.get()));
    return total;
}

Ref quilexmod_Prod(PyObject*, PyObject* const* arguments, Py_ssize_t count) {
    Ref total = accumulate(general_imul, 1.0, arguments, count);
    return total ? std::move(total) : python_float(0.0);
}

}  // namespace quilex

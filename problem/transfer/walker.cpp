// The walk through nested arguments.
#include "problem/transfer/walker.hpp"

#include "model/containers.hpp"
#include "module/numpy.hpp"
#include "module/numpy_interface.hpp"

namespace quilex {

namespace {

[[noreturn]] void raise_missing_item() {
    raise_runtime_error(
        "Incorrect (nested) array/list/sequence passed. Perhaps this is a NumPy array containing a "
        "tuple?");
}

// Objects lie anywhere in memory; what is this far ahead is fetched while others are looked at.
constexpr Py_ssize_t kAhead = 8;

bool is_text(PyObject* object) noexcept {
    return PyUnicode_Check(object) || PyBytes_Check(object);
}

}  // namespace

bool ArgumentWalker::is_container(PyObject* object) noexcept {
    if (PyTuple_Check(object) || PyList_Check(object)) return true;
    if (is_text(object)) return false;
    return PySequence_Check(object) || PyDict_Check(object) || PyIter_Check(object) ||
           is_set_or_view(object) || offers_array(object);
}

void ArgumentWalker::visit(PyObject* object, int budget) {
    if (object == nullptr) raise_missing_item();
    if (budget < 0) raise_runtime_error("Maximum recursion (inclusion) level reached");
    if (is_plain_leaf(Py_TYPE(object))) {
        leaf(object);
    } else if (PyList_Check(object)) {
        visit_list(object, budget - 1);
    } else if (PyTuple_Check(object)) {
        for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(object); ++i) {
            visit(PyTuple_GET_ITEM(object, i), budget - 1);
        }
    } else if (is_text(object)) {
        leaf(object);
    } else if (PyArray_Check(object)) {
        visit_array(object, budget - 1);
    } else if (PyDict_Check(object)) {
        const Ref values = require(PyMapping_Values(object));
        visit_list(values.get(), budget - 1);
    } else if (offers_array(object)) {
        visit_array(offered_array(object).get(), budget - 1);
    } else if (PySequence_Check(object)) {
        visit_sequence(object, budget - 1);
    } else if (PyIter_Check(object) || is_set_or_view(object)) {
        visit_iterator(object, budget - 1);
    } else {
        leaf(object);
    }
}

void ArgumentWalker::visit_list(PyObject* list, int budget) {
    // The size is read again each time, and the item held: a generator deeper in the arguments may
    // change the list.
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(list); ++i) {
        if (i + kAhead < PyList_GET_SIZE(list))
            __builtin_prefetch(PyList_GET_ITEM(list, i + kAhead), 1);
        const Ref item = Ref::share(PyList_GET_ITEM(list, i));
        visit(item.get(), budget);
    }
}

// Arrays of objects are read through their buffer, all dimensions at once; each dimension counts as
// one level of depth.
void ArgumentWalker::visit_array(PyObject* object, int budget) {
    auto* array = reinterpret_cast<PyArrayObject*>(object);
    // What lies under a mask must not enter a model.
    if (has_masked_elements(object)) raise_runtime_error("Masked elements in an array argument");
    if (PyArray_TYPE(array) != NPY_OBJECT || !PyArray_IS_C_CONTIGUOUS(array) ||
        !PyArray_ISALIGNED(array)) {
        if (PyArray_NDIM(array) == 0) {
            const Ref item = require(PyArray_GETITEM(array, PyArray_BYTES(array)));
            visit(item.get(), budget);
        } else {
            visit_sequence(object, budget);
        }
        return;
    }
    const Ref held = Ref::share(object);
    auto* const* items = static_cast<PyObject* const*>(PyArray_DATA(array));
    const npy_intp count = PyArray_SIZE(array);
    const int dimensions = PyArray_NDIM(array);
    for (npy_intp i = 0; i < count; ++i) {
        if (i + kAhead < count) __builtin_prefetch(items[i + kAhead], 1);
        const Ref item = Ref::share(items[i]);
        visit(item.get(), dimensions > 1 ? budget - dimensions + 1 : budget);
    }
}

void ArgumentWalker::visit_sequence(PyObject* sequence, int budget) {
    const Py_ssize_t count = PySequence_Size(sequence);
    if (count < 0) throw PythonFailure();
    for (Py_ssize_t i = 0; i < count; ++i) {
        const Ref item = require(PySequence_GetItem(sequence, i));
        visit(item.get(), budget);
    }
}

void ArgumentWalker::visit_iterator(PyObject* object, int budget) {
    const Ref iterator = Ref::steal(PyObject_GetIter(object));
    if (!iterator) raise_runtime_error("Invalid iterator on objects");
    const iternextfunc next = Py_TYPE(iterator.get())->tp_iternext;
    while (const Ref item = Ref::steal(next(iterator.get()))) visit(item.get(), budget);
    if (PyErr_Occurred()) {
        if (!PyErr_ExceptionMatches(PyExc_StopIteration)) throw PythonFailure();
        PyErr_Clear();
    }
}

}  // namespace quilex

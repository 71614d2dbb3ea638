// The comparisons under numpy 2: ndarray's rich comparison, with that of its subclasses.
#include "model/numpy_comparison_ways.hpp"
#include "model/numpy_model_ufuncs.hpp"
#include "module/boundary.hpp"
#include "module/numpy.hpp"

namespace quilex {

namespace {

richcmpfunc numpy_comparison = nullptr;

// numpy's own rule of giving way to the other operand, which it applies after this function.
bool gives_way(PyObject* array, PyObject* other) {
    PyTypeObject* const type = Py_TYPE(other);
    if (type == &PyArray_Type || type == Py_TYPE(array) || PyList_CheckExact(other) ||
        PyTuple_CheckExact(other))
        return false;
    const Ref ufunc_attribute =
        Ref::steal(PyObject_GetAttrString(reinterpret_cast<PyObject*>(type), "__array_ufunc__"));
    if (ufunc_attribute) return ufunc_attribute.get() == Py_None;
    PyErr_Clear();
    if (PyType_IsSubtype(type, Py_TYPE(array))) return false;
    constexpr double kScalarPriority = -1000000.0;
    return PyArray_GetPriority(array, kScalarPriority) <
           PyArray_GetPriority(other, kScalarPriority);
}

PyObject* compare_arrays(PyObject* a, PyObject* b, int op) noexcept {
    const int index = has_model_ufuncs() ? model_comparison_index(op) : -1;
    const auto model_result = [&]() noexcept -> PyObject* {
        PyObject* result = nullptr;
        guarded([&] { result = call_model_ufunc(index, a, b).release(); });
        return result;
    };
    if (index >= 0 && (carries_model_object(a) || carries_model_object(b)) && !gives_way(a, b))
        return model_result();
    const uint64_t requests = constraint_truth_requests;
    PyObject* const result = numpy_comparison(a, b, op);
    if (result != nullptr || index < 0 || requests == constraint_truth_requests) return result;
    PyErr_Clear();
    return model_result();
}

// Replaces the comparison of a type and of all its subclasses that have the same one. Subclasses
// made later inherit it.
void replace_comparison(PyTypeObject* type, richcmpfunc from, richcmpfunc to) {
    if (type->tp_richcompare == from) {
        type->tp_richcompare = to;
        PyType_Modified(type);
    }
    // type.__subclasses__(t), as a metaclass may have a method of that name.
    const Ref subclasses =
        require(PyObject_CallMethod(reinterpret_cast<PyObject*>(&PyType_Type), "__subclasses__",
                                    "O", reinterpret_cast<PyObject*>(type)));
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(subclasses.get()); ++i)
        replace_comparison(reinterpret_cast<PyTypeObject*>(PyList_GET_ITEM(subclasses.get(), i)),
                           from, to);
}

// ndarray.__le__ and the like: called by subclasses through super(), and the source from which
// classes made later take their comparison.
void replace_wrappers(richcmpfunc from, richcmpfunc to) {
    for (const char* name : {"__lt__", "__le__", "__eq__", "__ne__", "__gt__", "__ge__"}) {
        PyObject* const wrapper = PyDict_GetItemString(PyArray_Type.tp_dict, name);
        if (wrapper == nullptr || Py_TYPE(wrapper) != &PyWrapperDescr_Type) continue;
        auto* const descriptor = reinterpret_cast<PyWrapperDescrObject*>(wrapper);
        if (descriptor->d_wrapped == reinterpret_cast<void*>(from))
            descriptor->d_wrapped = reinterpret_cast<void*>(to);
    }
}

}  // namespace

void install_in_array_types() {
    numpy_comparison = PyArray_Type.tp_richcompare;
    if (numpy_comparison == nullptr)
        raise_runtime_error("Numeric operators unavailable, can't set up NumPy operations");
    replace_wrappers(numpy_comparison, compare_arrays);
    replace_comparison(&PyArray_Type, numpy_comparison, compare_arrays);
}

void restore_array_types() {
    replace_wrappers(compare_arrays, numpy_comparison);
    replace_comparison(&PyArray_Type, compare_arrays, numpy_comparison);
}

}  // namespace quilex

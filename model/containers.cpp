// What counts as a container of operands.
#include "model/containers.hpp"

#include "model/constraint.hpp"
#include "model/sos.hpp"
#include "module/numpy.hpp"
#include "module/numpy_interface.hpp"

namespace quilex {

namespace {

bool is_python_or_numpy(PyObject* object) noexcept {
    return object == Py_None || PyList_Check(object) || PyTuple_Check(object) ||
           PyDict_Check(object) || PyUnicode_Check(object) || PyBytes_Check(object) ||
           PyAnySet_Check(object) || PyIter_Check(object) || PyArray_Check(object) ||
           PyArray_IsScalar(object, Generic);
}

}  // namespace

bool is_set_or_view(PyObject* object) noexcept {
    return PyAnySet_Check(object) || PyDictViewSet_Check(object) || PyDictValues_Check(object);
}

bool offers_array(PyObject* object) noexcept {
    if (object == nullptr || quick_kind(object) != kInvalid || is_python_or_numpy(object) ||
        classify(object) != kInvalid || is_constraint(object) || is_special_ordered_set(object)) {
        return false;
    }
    return PyObject_HasAttrString(reinterpret_cast<PyObject*>(Py_TYPE(object)), "__array__") != 0;
}

Ref offered_array(PyObject* object) {
    return require(PyArray_FROM_O(object));
}

Ref as_doubles(PyObject* array) {
    const int type = PyArray_TYPE(reinterpret_cast<PyArrayObject*>(array));
    const bool is_narrow = type == NPY_HALF || type == NPY_FLOAT;
    if (!is_narrow && !PyTypeNum_ISBOOL(type) && !PyTypeNum_ISINTEGER(type))
        return Ref::share(array);
    return require(PyObject_CallMethod(array, "astype", "s", "float64"));
}

Ref small_numbers_as_doubles(PyObject* array) {
    switch (PyArray_TYPE(reinterpret_cast<PyArrayObject*>(array))) {
        case NPY_BOOL:
        case NPY_BYTE:
        case NPY_UBYTE:
        case NPY_SHORT:
        case NPY_USHORT:
        case NPY_UINT:
        case NPY_ULONG:
        case NPY_ULONGLONG:
        case NPY_HALF:
            return as_doubles(array);
        default:
            return Ref::share(array);
    }
}

bool is_masked_element(PyObject* object) {
    if (!PyArray_Check(object) || PyArray_CheckExact(object)) return false;
    return PyArray_NDIM(reinterpret_cast<PyArrayObject*>(object)) == 0 &&
           has_masked_elements(object);
}

Ref with_masked_elements_as(double number, PyObject* array) {
    if (!has_masked_elements(array)) return Ref::share(array);
    return require(PyObject_CallMethod(array, "filled", "d", number));
}

Ref array_if_offered(PyObject* object) {
    return offers_array(object) ? offered_array(object) : Ref::share(object);
}

}  // namespace quilex

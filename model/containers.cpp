// What counts as a container of operands.
#include "model/containers.hpp"

#include "model/constraint.hpp"
#include "model/sos.hpp"
#include "module/numpy.hpp"

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

Ref array_if_offered(PyObject* object) {
    return offers_array(object) ? offered_array(object) : Ref::share(object);
}

}  // namespace quilex

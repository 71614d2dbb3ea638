// The translation unit that holds numpy's interface pointers.
#define QUILEX_IMPORT_NUMPY
#include "module/numpy.hpp"

#include "module/numpy_interface.hpp"

namespace quilex {

void import_numpy() {
    // These look for numpy 2's private module first and for numpy 1's afterwards, and check the
    // versions and the byte order.
    if (_import_array() < 0) {
        PyErr_Print();
        raise(PyExc_ImportError, "numpy.core.multiarray failed to import");
    }
    if (_import_umath() < 0) {
        PyErr_Print();
        raise(PyExc_ImportError, "numpy.core.umath failed to import");
    }
}

bool has_masked_elements(PyObject* object) {
    if (!PyArray_Check(object) || PyArray_CheckExact(object)) return false;
    if (!PyObject_HasAttrString(object, "mask")) return false;
    const Ref mask = require(PyObject_GetAttrString(object, "mask"));
    const Ref any = require(PyObject_CallMethod(mask.get(), "any", nullptr));
    return require_status(PyObject_IsTrue(any.get())) != 0;
}

}  // namespace quilex

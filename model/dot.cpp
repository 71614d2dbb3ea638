// Dot: products of arrays of constants and modelling objects.
#include "model/dot.hpp"

namespace quilex {

Ref quilexmod_Dot(PyObject*, PyObject* const*, Py_ssize_t, PyObject*) {
    raise_runtime_error("quilexmod_Dot is not written yet");
}

}  // namespace quilex

// The elementary and user functions of the module.
#include "nonlinear/functions.hpp"

namespace quilex {

PyMethodDef function_methods[] = {{nullptr, nullptr, 0, nullptr}};

Ref vector_compose_op(PyObject*, PyObject*, PyObject*) {
    raise_runtime_error("vector_compose_op is not written yet");
}

}  // namespace quilex

// quilex.nonlinear: expression trees.
#include "nonlinear/node.hpp"

namespace quilex {

PyTypeObject nonlinear_type = {PyVarObject_HEAD_INIT(nullptr, 0) "quilex.nonlinear",
                               sizeof(NonlinearNode), 0};

Ref nonlin_instantiate_unary(int, PyObject*) {
    raise_runtime_error("nonlin_instantiate_unary is not written yet");
}
Ref nonlin_instantiate_binary(int, PyObject*, PyObject*) {
    raise_runtime_error("nonlin_instantiate_binary is not written yet");
}
Ref nonlin_build_node(bool, int, PyObject*) {
    raise_runtime_error("nonlin_build_node is not written yet");
}
Py_ssize_t nonlin_arg_size(PyObject*) noexcept {
    return -1;
}
PyObject* nonlin_arg_first(PyObject*, Py_ssize_t*) noexcept {
    return nullptr;
}
PyObject* nonlin_arg_next(PyObject*, Py_ssize_t*) noexcept {
    return nullptr;
}
Ref nonlin_copy(PyObject*, double) {
    raise_runtime_error("nonlin_copy is not written yet");
}
Ref nonlin_alg_sum(PyObject*, PyObject*, double) {
    raise_runtime_error("nonlin_alg_sum is not written yet");
}
Ref nonlin_incremental_alg_sum(PyObject*, PyObject*, double) {
    raise_runtime_error("nonlin_incremental_alg_sum is not written yet");
}
Ref nonlin_add(PyObject*, PyObject*) {
    raise_runtime_error("nonlin_add is not written yet");
}
Ref nonlin_sub(PyObject*, PyObject*) {
    raise_runtime_error("nonlin_sub is not written yet");
}
Ref nonlin_mul(PyObject*, PyObject*) {
    raise_runtime_error("nonlin_mul is not written yet");
}
Ref nonlin_div(PyObject*, PyObject*) {
    raise_runtime_error("nonlin_div is not written yet");
}
Ref nonlin_pow(PyObject*, PyObject*, PyObject*) {
    raise_runtime_error("nonlin_pow is not written yet");
}
Ref nonlin_neg(PyObject*) {
    raise_runtime_error("nonlin_neg is not written yet");
}
Ref nonlin_iadd(PyObject*, PyObject*) {
    raise_runtime_error("nonlin_iadd is not written yet");
}
Ref nonlin_isub(PyObject*, PyObject*) {
    raise_runtime_error("nonlin_isub is not written yet");
}
Ref nonlin_imul(PyObject*, PyObject*) {
    raise_runtime_error("nonlin_imul is not written yet");
}
Ref nonlin_idiv(PyObject*, PyObject*) {
    raise_runtime_error("nonlin_idiv is not written yet");
}
Ref nonlin_ipow(PyObject*, PyObject*, PyObject*) {
    raise_runtime_error("nonlin_ipow is not written yet");
}
Ref nonlin_str(PyObject*) {
    raise_runtime_error("nonlin_str is not written yet");
}

}  // namespace quilex

// quilex.constraint: a body between a lower and an upper bound.
#include "model/constraint.hpp"

namespace quilex {

PyTypeObject constraint_type = {PyVarObject_HEAD_INIT(nullptr, 0) "quilex.constraint",
                                sizeof(Constraint), 0};

Owned<Constraint> constraint_base() {
    raise_runtime_error("constraint_base is not written yet");
}
Ref constraint_name(Constraint*) {
    raise_runtime_error("constraint_name is not written yet");
}
Ref make_constraint(PyObject*, PyObject*, int) {
    raise_runtime_error("make_constraint is not written yet");
}
Ref constraint_copy(PyObject*) {
    raise_runtime_error("constraint_copy is not written yet");
}

}  // namespace quilex

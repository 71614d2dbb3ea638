// quilex.branchobj: a user branching object.
#include "callbacks/branchobj.hpp"

#include "module/boundary.hpp"
#include "module/live_counts.hpp"
#include "module/static_type.hpp"

namespace quilex {

namespace {

BranchObject* branch_object(PyObject* self) noexcept {
    return reinterpret_cast<BranchObject*>(self);
}

PyObject* branchobj_new(PyTypeObject* type, PyObject*, PyObject*) noexcept {
    PyObject* const self = type->tp_alloc(type, 0);
    if (self == nullptr) return nullptr;
    count_created(Counted::kBranchObject);
    branch_object(self)->isoriginal = 1;
    return self;
}

int branchobj_init(PyObject*, PyObject*, PyObject*) {
    raise_runtime_error("Branching objects are not available yet");
}

int branchobj_traverse(PyObject* self, visitproc visit, void* arg) noexcept {
    Py_VISIT(branch_object(self)->problem);
    return 0;
}

int branchobj_clear(PyObject* self) noexcept {
    Py_CLEAR(branch_object(self)->problem);
    return 0;
}

void branchobj_dealloc(PyObject* self) noexcept {
    PyObject_GC_UnTrack(self);
    branchobj_clear(self);
    count_destroyed(Counted::kBranchObject);
    Py_TYPE(self)->tp_free(self);
}

PyTypeObject make_type() noexcept {
    PyTypeObject type = static_type(
        "quilex.branchobj", sizeof(BranchObject),
        "Branching objects, used in callback functions. See the reference manual for their "
        "methods");
    type.tp_flags |= Py_TPFLAGS_BASETYPE | Py_TPFLAGS_HAVE_GC;
    type.tp_dealloc = branchobj_dealloc;
    type.tp_traverse = branchobj_traverse;
    type.tp_clear = branchobj_clear;
    type.tp_init = slot<branchobj_init>;
    type.tp_new = branchobj_new;
    return type;
}

}  // namespace

PyTypeObject branchobj_type = make_type();

}  // namespace quilex

// quilex.branchobj: a user branching object.
#pragma once

#include <qlx/qlx_branch.h>

#include "module/failure.hpp"

namespace quilex {

struct BranchObject {
    PyObject_HEAD
    QLXbranchobject handle;  // null until created
    PyObject* problem;       // owned; null until created
    int32_t isoriginal;      // 1: stated in the original columns; 0: in the presolved problem's
};

extern PyTypeObject branchobj_type;

inline bool is_branch_object(PyObject* object) noexcept {
    return PyObject_TypeCheck(object, &branchobj_type);
}

}  // namespace quilex

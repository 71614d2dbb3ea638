// quilex.SOS: a special ordered set of variables.
#pragma once

#include "module/failure.hpp"

namespace quilex {

struct SpecialOrderedSet {
    PyObject_HEAD
    uint64_t index;  // serial number
    PyObject* name;
    int32_t type;       // 1 or 2
    PyObject* indices;  // list, as the user gave it
    PyObject* weights;  // list, as the user gave it
};

extern PyTypeObject sos_type;

inline bool is_special_ordered_set(PyObject* object) noexcept {
    return Py_TYPE(object) == &sos_type || PyType_IsSubtype(Py_TYPE(object), &sos_type);
}

// A new set without members, one serial number.
Owned<SpecialOrderedSet> sos_base();

}  // namespace quilex

// Objects that the garbage collector need not see as long as they cannot be part of a cycle.
//
// A type that uses this header has Py_TPFLAGS_HAVE_GC, but its instances start untracked: a model
// of a million constraints then costs no collection time. An instance is tracked from the moment
// it takes in something that could lead back to it.
#pragma once

#include "module/python.hpp"

namespace quilex {

// Whether holding the object could close a cycle: it is seen by the collector, it is of a foreign
// type that the collector may see later (an empty dict, for example), or it can still grow in
// somebody else's hands.
bool may_close_cycle(PyObject* object) noexcept;

inline void track(PyObject* object) noexcept {
    if (!PyObject_GC_IsTracked(object)) PyObject_GC_Track(object);
}

inline void untrack(PyObject* object) noexcept {
    PyObject_GC_UnTrack(object);
}

}  // namespace quilex

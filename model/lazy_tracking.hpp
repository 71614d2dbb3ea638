// Objects that the garbage collector need not see as long as they cannot be part of a cycle.
//
// A type that uses this header has Py_TPFLAGS_HAVE_GC, but its instances start untracked: a model
// of a million constraints then costs no collection time. An instance is tracked from the moment
// it takes in something that could lead back to it.
#pragma once

#include "module/python.hpp"

namespace quilex {

// Whether holding the object could close a cycle: it is seen by the collector, or it is of a
// foreign type that the collector may see later (an empty dict, for example).
bool may_close_cycle(PyObject* object) noexcept;

inline void track(PyObject* object) noexcept {
    if (!PyObject_GC_IsTracked(object)) PyObject_GC_Track(object);
}

inline void untrack(PyObject* object) noexcept {
    PyObject_GC_UnTrack(object);
}

// Memory of dead objects of one exact type, kept for the next ones.
template <class T, int Capacity>
class ObjectPool {
  public:
    // A new object, untracked, its fields not set; null with an exception set.
    T* allocate(PyTypeObject* type) noexcept {
        if (count_ > 0) {
            PyObject* object = reinterpret_cast<PyObject*>(free_[--count_]);
            _Py_NewReference(object);
            return reinterpret_cast<T*>(object);
        }
        return PyObject_GC_New(T, type);
    }

    void free(T* object) noexcept {
        if (count_ < kCapacity) {
            free_[count_++] = object;
        } else {
            PyObject_GC_Del(object);
        }
    }

  private:
#if defined(__SANITIZE_ADDRESS__)
    static constexpr int kCapacity = 0;  // every use after the end is then seen
#else
    static constexpr int kCapacity = Capacity;
#endif
    T* free_[Capacity];
    int count_ = 0;
};

}  // namespace quilex

// Free lists: memory of small objects and blocks that come and go with every operator.
#pragma once

#include "module/python.hpp"

namespace quilex {

// A memory checker must see every object's real end of life.
#if defined(__SANITIZE_ADDRESS__) || defined(Py_TRACE_REFS)
inline constexpr bool kFreeListsEnabled = false;
#else
inline constexpr bool kFreeListsEnabled = true;
#endif

// A bounded stack of unused blocks, guarded by the interpreter lock.
template <class T, size_t kCapacity>
class FreeList {
  public:
    T* pop() noexcept { return count_ == 0 ? nullptr : items_[--count_]; }

    bool push(T* item) noexcept {
        if (!kFreeListsEnabled || count_ == kCapacity) return false;
        items_[count_++] = item;
        return true;
    }

  private:
    T* items_[kCapacity];
    size_t count_ = 0;
};

// Memory for the instances of one static type that takes part in garbage collection. An instance
// comes out untracked; it is tracked once it can be part of a cycle, so that the collector does not
// walk the millions of objects that cannot.
template <class T, size_t kCapacity = 80>
class InstancePool {
  public:
    // A new reference; the fields behind the object header are not set.
    T* take(PyTypeObject* type) {
        if (T* object = unused_.pop()) {
#ifdef Py_REF_DEBUG
            _Py_NewReference(reinterpret_cast<PyObject*>(object));
#else
            Py_SET_REFCNT(reinterpret_cast<PyObject*>(object), 1);
#endif
            return object;
        }
        T* object = PyObject_GC_New(T, type);
        if (object == nullptr) {
            PyErr_Clear();
            throw std::bad_alloc();
        }
        return object;
    }

    // Takes back an instance that is not tracked and owns nothing any more.
    void give(T* object) noexcept {
        if (!unused_.push(object)) PyObject_GC_Del(object);
    }

    void clear() noexcept {
        while (T* object = unused_.pop()) PyObject_GC_Del(object);
    }

  private:
    FreeList<T, kCapacity> unused_;
};

}  // namespace quilex

// Owned, borrowed and immortal references to Python objects. No local variable of the extension
// holds a raw owned PyObject*.
#pragma once

#include "module/python.hpp"

namespace quilex {

// Objects of the extension's own types start with PyObject_HEAD, so that a pointer to them is a
// pointer to a PyObject.
template <class T>
inline PyObject* as_object(T* object) noexcept {
    return reinterpret_cast<PyObject*>(object);
}

// An owned reference, possibly empty. Moves are explicit; copies are made with `share`.
template <class T = PyObject>
class Owned {
  public:
    constexpr Owned() noexcept = default;
    Owned(Owned&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    template <class U>
    // An owned object of any type is an owned Python object.
    Owned(Owned<U>&& other) noexcept requires std::is_same_v<T, PyObject>
        : object_(other.release()) {}
    Owned& operator=(Owned&& other) noexcept {
        // The old object goes last: its destruction may run any Python code.
        T* old = std::exchange(object_, std::exchange(other.object_, nullptr));
        Py_XDECREF(as_object(old));
        return *this;
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    ~Owned() { Py_XDECREF(as_object(object_)); }

    // Takes over the reference that the caller owns (null allowed).
    static Owned steal(T* object) noexcept { return Owned(object); }
    // Takes a reference of its own (null allowed).
    static Owned share(T* object) noexcept {
        Py_XINCREF(as_object(object));
        return Owned(object);
    }

    T* get() const noexcept { return object_; }
    T* operator->() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }
    // Hands the reference to the caller, as a Python object.
    PyObject* release() noexcept { return as_object(std::exchange(object_, nullptr)); }
    void reset() noexcept { *this = Owned(); }

  private:
    explicit constexpr Owned(T* object) noexcept : object_(object) {}
    T* object_ = nullptr;
};

using Ref = Owned<PyObject>;

// A new reference to the same object, typed as Python sees it.
template <class T>
inline Ref share(T* object) noexcept {
    return Ref::share(as_object(object));
}

inline Ref none() noexcept {
    return Ref::share(Py_None);
}

// A reference kept until the process ends: interned names, cached types. Never released, so that
// no destructor runs after the interpreter is gone.
class Immortal {
  public:
    constexpr Immortal() noexcept = default;
    void set(Ref object) noexcept { object_ = object.release(); }
    PyObject* get() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

  private:
    PyObject* object_ = nullptr;
};

}  // namespace quilex

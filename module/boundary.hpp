// The one place where C++ exceptions become Python's null or -1. Every function that the
// interpreter calls is wrapped with `slot<function>` (or, where C++ code must call into a function
// without letting an exception out, with `guarded`).
#pragma once

#include "module/failure.hpp"

namespace quilex {

// Calls a function object; true, or false with a Python exception set.
template <class Function>
bool guarded(Function&& function) noexcept {
    try {
        function();
        return true;
    } catch (...) {
        set_python_error_from_current_exception();
        return false;
    }
}

template <auto Function>
struct Boundary;

template <class... Arguments, Ref (*Function)(Arguments...)>
struct Boundary<Function> {
    static PyObject* call(Arguments... arguments) noexcept {
        try {
            return Function(arguments...).release();
        } catch (...) {
            set_python_error_from_current_exception();
            return nullptr;
        }
    }
};

template <class... Arguments, int (*Function)(Arguments...)>
struct Boundary<Function> {
    static int call(Arguments... arguments) noexcept {
        try {
            return Function(arguments...);
        } catch (...) {
            set_python_error_from_current_exception();
            return -1;
        }
    }
};

template <class... Arguments, Py_ssize_t (*Function)(Arguments...)>
struct Boundary<Function> {
    static Py_ssize_t call(Arguments... arguments) noexcept {
        try {
            return Function(arguments...);
        } catch (...) {
            set_python_error_from_current_exception();
            return -1;
        }
    }
};

// The function as the interpreter may call it: Ref results become PyObject*, int and Py_ssize_t
// (hash) results become -1 on failure.
template <auto Function>
inline constexpr auto slot = &Boundary<Function>::call;

// For PyMethodDef entries, whose field type is PyCFunction whatever the calling convention.
template <auto Function>
inline const PyCFunction method =
    reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(&Boundary<Function>::call));

}  // namespace quilex

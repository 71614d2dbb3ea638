// How failures travel inside the extension: a failed call throws PythonFailure, which says that a
// Python exception is set; module/boundary.hpp turns it back into a null result.
#pragma once

#include "module/references.hpp"

namespace quilex {

class PythonFailure {
  public:
    PythonFailure() noexcept { assert(PyErr_Occurred()); }
};

// Sets an exception of the given type with PyErr_Format's formats, and throws.
[[noreturn]] void raise(PyObject* type, const char* format, ...);

// Sets a RuntimeError with PyErr_Format's formats, and throws. The module's own errors are of this
// type. It takes the place of a pending error, but not of an interrupt or a MemoryError.
[[noreturn]] void raise_runtime_error(const char* format, ...);

// Takes over a new reference returned by the C API; null means that an exception is set.
inline Ref require(PyObject* result) {
    if (result == nullptr) throw PythonFailure();
    return Ref::steal(result);
}

// Checks an int status of the C API: negative means that an exception is set.
inline int require_status(int status) {
    if (status < 0) throw PythonFailure();
    return status;
}

// Checks a borrowed reference returned by the C API.
inline PyObject* require_borrowed(PyObject* result) {
    if (result == nullptr) throw PythonFailure();
    return result;
}

// Turns the C++ exception in flight into a Python exception. To be called in a catch block, by
// the boundary and by nobody else.
void set_python_error_from_current_exception() noexcept;

}  // namespace quilex

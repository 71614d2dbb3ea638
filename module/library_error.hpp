// The single path from a failed library call to a Python exception.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// Sets the exception for a failed library call made on behalf of `object` (a quilex.problem, a
// quilex.branchobj, or null for the global environment); an exception already pending wins.
void set_library_error(PyObject* object) noexcept;

// Passes `result` through; a null result gets its exception from set_library_error.
PyObject* setQlxErrIfNull(PyObject* object, PyObject* result) noexcept;

[[noreturn]] inline void raise_library_error(PyObject* object) {
    set_library_error(object);
    throw PythonFailure();
}

// Checks a status returned by the library.
inline void require_library(PyObject* object, int status) {
    if (status != 0) raise_library_error(object);
}

}  // namespace quilex

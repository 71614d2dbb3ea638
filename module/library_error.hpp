// The single path from a failed library call to a Python exception.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// Sets the exception for a failed library call made on behalf of `object` (a quilex.problem, a
// quilex.branchobj, or null for the global environment); an exception already pending wins.
void set_library_error(PyObject* object) noexcept;

// Whether a Python exception waits for a call on behalf of `object` (as above): pending on this
// thread, or raised by a callback of its problem on one of the library's own threads, in which case
// it becomes pending here.
bool callback_failed(PyObject* object) noexcept;

// Passes `result` through. A null result gets its exception from set_library_error; a result with
// an exception pending (raised by a callback of a call that succeeded) is dropped, and is null.
PyObject* setQlxErrIfNull(PyObject* object, PyObject* result) noexcept;

[[noreturn]] inline void raise_library_error(PyObject* object) {
    set_library_error(object);
    throw PythonFailure();
}

// Checks a status returned by the library, and that no callback failed meanwhile.
inline void require_library(PyObject* object, int status) {
    if (status != 0 || callback_failed(object)) raise_library_error(object);
}

// Moves the pending exception where callback_failed finds it for the problem with that handle of
// the library, when the current thread state ends with the callback: called at the end of callbacks
// from threads that Python does not know.
void defer_pending_exception(const void* handle) noexcept;

}  // namespace quilex

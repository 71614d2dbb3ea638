// How failures travel inside the extension.
#include "module/failure.hpp"

#include <cstdarg>

namespace quilex {

namespace {

// Interrupts, exits and the end of memory reach the user as they are, whatever else they cause.
bool outranks_errors(PyObject* exception) noexcept {
    return !PyErr_GivenExceptionMatches(exception, PyExc_Exception) ||
           PyErr_GivenExceptionMatches(exception, PyExc_MemoryError);
}

}  // namespace

void raise(PyObject* type, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    PyErr_FormatV(type, format, arguments);
    va_end(arguments);
    throw PythonFailure();
}

void raise_runtime_error(const char* format, ...) {
    PyObject* const pending = PyErr_Occurred();
    if (pending != nullptr && outranks_errors(pending)) throw PythonFailure();
    va_list arguments;
    va_start(arguments, format);
    PyErr_FormatV(PyExc_RuntimeError, format, arguments);
    va_end(arguments);
    throw PythonFailure();
}

void set_python_error_from_current_exception() noexcept {
    try {
        throw;
    } catch (const PythonFailure&) {
        // The Python exception is already set.
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    } catch (const std::exception& exception) {
        PyErr_SetString(PyExc_RuntimeError, exception.what());
    } catch (...) {
        PyErr_SetString(PyExc_RuntimeError, "Unknown C++ exception");
    }
}

}  // namespace quilex

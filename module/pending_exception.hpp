// Exceptions that wait while other code runs.
#pragma once

#include "module/references.hpp"

namespace quilex {

// Sets the pending exception, if any, aside and brings it back at the end of the scope. What was
// raised in between is dropped.
class PendingException {
  public:
    PendingException() noexcept { PyErr_Fetch(&type_, &value_, &traceback_); }
    ~PendingException() { PyErr_Restore(type_, value_, traceback_); }
    PendingException(const PendingException&) = delete;
    PendingException& operator=(const PendingException&) = delete;

  private:
    PyObject* type_;
    PyObject* value_;
    PyObject* traceback_;
};

// The pending exception as an object with its traceback, no longer pending; null if there is none.
inline Ref take_exception() noexcept {
    PyObject *type, *value, *traceback;
    PyErr_Fetch(&type, &value, &traceback);
    if (type == nullptr) return Ref();
    PyErr_NormalizeException(&type, &value, &traceback);
    if (traceback != nullptr) PyException_SetTraceback(value, traceback);
    Py_DECREF(type);
    Py_XDECREF(traceback);
    return Ref::steal(value);
}

// Makes an exception pending again, as it was.
inline void set_exception(Ref exception) noexcept {
    PyObject* const value = exception.release();
    PyErr_Restore(Ref::share(reinterpret_cast<PyObject*>(Py_TYPE(value))).release(), value,
                  PyException_GetTraceback(value));
}

}  // namespace quilex

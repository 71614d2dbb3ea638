// Releasing and acquiring the interpreter lock. Nothing else in the extension calls the GIL
// functions.
#pragma once

#include "module/python.hpp"

namespace quilex {

// Releases the lock for the enclosing scope: around the library's solve calls.
class GilRelease {
  public:
    GilRelease() noexcept : state_(PyEval_SaveThread()) {}
    ~GilRelease() { PyEval_RestoreThread(state_); }
    GilRelease(const GilRelease&) = delete;
    GilRelease& operator=(const GilRelease&) = delete;

  private:
    PyThreadState* state_;
};

// Acquires the lock for the enclosing scope, on any thread: in calls from the library.
class GilAcquire {
  public:
    GilAcquire() noexcept : state_(PyGILState_Ensure()) {}
    ~GilAcquire() { PyGILState_Release(state_); }
    GilAcquire(const GilAcquire&) = delete;
    GilAcquire& operator=(const GilAcquire&) = delete;

  private:
    PyGILState_STATE state_;
};

}  // namespace quilex

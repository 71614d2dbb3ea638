// Releasing and acquiring the interpreter lock. Nothing else in the extension calls the GIL
// functions.
#pragma once

#include <unistd.h>

#include "module/environment.hpp"
#include "module/library_error.hpp"

namespace quilex {

// Python ends a thread that wants the lock while the interpreter goes, by unwinding its stack,
// which frames that may not throw do not survive. Such a thread waits for the process to end
// instead.
template <class Take>
auto take_lock(Take take) noexcept {
    try {
        return take();
    } catch (...) {  // C functions throw nothing else
        for (;;) pause();
    }
}

// Releases the lock for the enclosing scope: around the library's solve calls.
class GilRelease {
  public:
    GilRelease() noexcept : state_(PyEval_SaveThread()) {}
    ~GilRelease() {
        take_lock([this] { PyEval_RestoreThread(state_); });
    }
    GilRelease(const GilRelease&) = delete;
    GilRelease& operator=(const GilRelease&) = delete;

  private:
    PyThreadState* state_;
};

// Acquires the lock for the enclosing scope, on any thread: in calls from the library. Once the
// interpreter is gone there is none: a thread that comes then waits for the process to end.
class GilAcquire {
  public:
    GilAcquire() noexcept
        : state_(take_lock([] {
              while (!Py_IsInitialized()) pause();
              return PyGILState_Ensure();
          })) {}
    ~GilAcquire() { PyGILState_Release(state_); }
    GilAcquire(const GilAcquire&) = delete;
    GilAcquire& operator=(const GilAcquire&) = delete;

  private:
    PyGILState_STATE state_;
};

// GilAcquire for callbacks that call Python, on behalf of the library's problem `handle` (null: the
// environment). An exception that a callback leaves pending on a thread that Python does not know
// would end with the lock: it is kept for the call on that problem.
class CallbackLock {
  public:
    explicit CallbackLock(const void* handle) noexcept
        : handle_(handle), known_thread_(PyGILState_GetThisThreadState() != nullptr) {}
    ~CallbackLock() {
        if (!known_thread_) defer_pending_exception(handle_);
    }
    CallbackLock(const CallbackLock&) = delete;
    CallbackLock& operator=(const CallbackLock&) = delete;

    // Whether an earlier callback failed and its exception has not been handled yet.
    bool exception_pending() const noexcept {
        return PyErr_Occurred() != nullptr || qlx_py_env.deferred_exceptions.kept(handle_);
    }

  private:
    const void* handle_;
    bool known_thread_;  // asked before the lock is taken, which makes the thread known
    GilAcquire lock_;    // released after the destructor's body
};

}  // namespace quilex

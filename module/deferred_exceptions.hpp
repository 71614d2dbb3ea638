// Exceptions of callbacks that wait for the call that caused them, per problem.
#pragma once

#include <unordered_map>

#include "module/references.hpp"

namespace quilex {

// A callback on a thread that Python does not know cannot leave its exception pending there: the
// thread state ends with the callback. It is kept under the library's handle of the problem that
// called, and raised by the next look at that problem, which is the end of the solving call. What
// comes from a handle that no problem of Python has, or from none, waits under null for a look on
// behalf of the environment. One is kept per handle: the first. Guarded by the interpreter lock.
class DeferredExceptions {
  public:
    // Handles of problems, from their creation to their end; an exception still kept is dropped.
    void own(const void* handle);
    void disown(const void* handle) noexcept;

    void keep(const void* handle, Ref exception) noexcept;
    bool kept(const void* handle) const noexcept;
    // Takes it out; empty when there is none.
    Ref take(const void* handle) noexcept;
    void clear() noexcept;

  private:
    PyObject** place(const void* handle) noexcept;

    std::unordered_map<const void*, PyObject*> of_problems_;  // owned, or null
    PyObject* of_environment_ = nullptr;                      // owned, or null
    int count_ = 0;  // of those kept, so that a look where there is none costs nothing
};

}  // namespace quilex

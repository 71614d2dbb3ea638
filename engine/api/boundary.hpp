// The boundary that every entry point goes through: who may call, and failures become codes.
#pragma once

#include <new>
#include <utility>

#include "engine/base/errors.hpp"
#include "engine/core/environment.hpp"
#include "engine/core/problem.hpp"

namespace qlx {

// Reports the exception in flight on the handle and returns its code. name is the function's.
template <class Handle>
int report_exception(Handle handle, const char* name) noexcept {
    try {
        throw;
    } catch (const Error& error) {
        try {
            return report(handle, error.code(), join(name, ": ", error.what()).c_str());
        } catch (...) {
            return report(handle, error.code(), error.what());
        }
    } catch (const std::bad_alloc&) {
        return report(handle, QLX_ERROR_MEMORY, "out of memory");
    } catch (const std::exception& error) {
        return report(handle, QLX_ERROR_INTERNAL, error.what());
    } catch (...) {
        return report(handle, QLX_ERROR_INTERNAL, "unknown failure");
    }
}

// A call without a handle.
template <class Body>
int call_environment(const char* name, Body&& body) noexcept {
    try {
        std::forward<Body>(body)();
        return QLX_OK;
    } catch (...) {
        return report_exception(nullptr, name);
    }
}

inline void require_initialised() {
    if (!environment().initialised())
        fail(QLX_ERROR_STATE, "the library is not initialised, call QLXinit first");
}

// A call on a problem, which it holds for its duration.
template <class Body>
int call(QLXprob prob, const char* name, Access access, Body&& body) noexcept {
    try {
        if (prob == nullptr) fail(QLX_ERROR_ARGUMENT, "prob is null");
        require_initialised();
        const Use use(prob->ownership, access);
        std::forward<Body>(body)(*prob);
        return QLX_OK;
    } catch (...) {
        return report_exception(prob, name);
    }
}

template <class Body>
int read(QLXprob prob, const char* name, Body&& body) noexcept {
    return call(prob, name, Access::kRead, std::forward<Body>(body));
}

template <class Body>
int control(QLXprob prob, const char* name, Body&& body) noexcept {
    return call(prob, name, Access::kControl, std::forward<Body>(body));
}

template <class Body>
int change(QLXprob prob, const char* name, Body&& body) noexcept {
    return call(prob, name, Access::kChange, std::forward<Body>(body));
}

}  // namespace qlx

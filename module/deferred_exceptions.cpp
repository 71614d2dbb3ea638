// Keeping exceptions per problem.
#include "module/deferred_exceptions.hpp"

#include <utility>

namespace quilex {

void DeferredExceptions::own(const void* handle) {
    of_problems_.try_emplace(handle, nullptr);
}

void DeferredExceptions::disown(const void* handle) noexcept {
    const auto found = of_problems_.find(handle);
    if (found == of_problems_.end()) return;
    PyObject* const dropped = found->second;
    of_problems_.erase(found);
    if (dropped != nullptr) --count_;
    Py_XDECREF(dropped);  // last, as it may run any code
}

PyObject** DeferredExceptions::place(const void* handle) noexcept {
    const auto found = of_problems_.find(handle);
    return found != of_problems_.end() ? &found->second : &of_environment_;
}

void DeferredExceptions::keep(const void* handle, Ref exception) noexcept {
    PyObject** const own = place(handle);
    if (*own != nullptr || !exception) return;
    *own = exception.release();
    ++count_;
}

bool DeferredExceptions::kept(const void* handle) const noexcept {
    return count_ > 0 && *const_cast<DeferredExceptions*>(this)->place(handle) != nullptr;
}

Ref DeferredExceptions::take(const void* handle) noexcept {
    if (!kept(handle)) return Ref();
    --count_;
    return Ref::steal(std::exchange(*place(handle), nullptr));
}

void DeferredExceptions::clear() noexcept {
    for (auto& [handle, exception] : of_problems_) Py_CLEAR(exception);
    Py_CLEAR(of_environment_);
    count_ = 0;
}

}  // namespace quilex

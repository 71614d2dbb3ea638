// Taking and giving back a problem.
#include "engine/core/ownership.hpp"

#include "engine/base/errors.hpp"

namespace qlx {

namespace {
const void* this_thread() noexcept {
    static thread_local char identity;
    return &identity;
}
}  // namespace

void Ownership::acquire(Access access) {
    const void* expected = nullptr;
    const bool taken =
        owner_.compare_exchange_strong(expected, this_thread(), std::memory_order_acquire);
    if (!taken && expected != this_thread())
        fail(QLX_ERROR_STATE, "the problem is in use by another thread",
             solving() ? ", which is solving it" : "");
    if (!taken && access != Access::kRead && solving())
        fail(QLX_ERROR_STATE, "not possible while the problem is being solved");
    ++depth_;
    if (access == Access::kSolve) solving_ = true;
}

void Ownership::release(Access access) noexcept {
    if (access == Access::kSolve) solving_ = false;
    if (--depth_ == 0) owner_.store(nullptr, std::memory_order_release);
}

}  // namespace qlx

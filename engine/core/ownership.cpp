// Taking, lending and giving back a problem.
#include "engine/core/ownership.hpp"

#include "engine/base/errors.hpp"
#include "engine/core/event_table.hpp"

namespace qlx {

namespace {

const void* this_thread() noexcept {
    static thread_local char identity;
    return &identity;
}

bool allows(EventCalls calls, Access access) noexcept {
    switch (access) {
        case Access::kRead:
            return calls >= EventCalls::kRead;
        case Access::kControl:
            return calls >= EventCalls::kControl;
        case Access::kCut:
            return calls >= EventCalls::kCut;
        default:
            return false;
    }
}

const char* allowed(EventCalls calls) noexcept {
    switch (calls) {
        case EventCalls::kNone:
            return "only QLXinterrupt may be called";
        case EventCalls::kRead:
            return "the problem may only be read";
        case EventCalls::kControl:
            return "the problem may only be read and its controls set";
        default:
            return "the problem may only be read, its controls set and cuts and branches stated";
    }
}

}  // namespace

void Ownership::require_possible(Access access) const {
    if (event_ != nullptr && !allows(event_->calls, access))
        fail(QLX_ERROR_STATE, "not possible from a callback of event ", event_->name,
             ", from which ", allowed(event_->calls));
    if (event_ == nullptr && solving() && access != Access::kRead)
        fail(QLX_ERROR_STATE, "not possible while the problem is being solved");
}

void Ownership::acquire(Access access) {
    const void* expected = nullptr;
    const bool taken =
        owner_.compare_exchange_strong(expected, this_thread(), std::memory_order_acquire);
    if (!taken && expected != this_thread())
        fail(QLX_ERROR_STATE, "the problem is in use by another thread",
             solving() ? ", which is solving it" : "");
    if (!taken) require_possible(access);
    ++depth_;
    if (access == Access::kSolve) solving_ = true;
}

void Ownership::release(Access access) noexcept {
    if (access == Access::kSolve) solving_ = false;
    if (--depth_ == 0) owner_.store(nullptr, std::memory_order_release);
}

Lent::Lent(Ownership& ownership, const EventRow& event)
    : turn_(ownership.turn_),
      ownership_(ownership),
      outer_(ownership.event_),
      owner_(ownership.owner_.exchange(this_thread(), std::memory_order_acq_rel)) {
    ownership.event_ = &event;
    ++ownership.depth_;  // so that a call from a callback does not give the problem back
}

Lent::~Lent() {
    --ownership_.depth_;
    ownership_.event_ = outer_;
    ownership_.owner_.store(owner_, std::memory_order_release);
}

}  // namespace qlx

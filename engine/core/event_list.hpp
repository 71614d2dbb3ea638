// The callbacks registered for one event.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace qlx {

// Prototype: the event's callback type of qlx_types.h or qslp.h, Result (*)(Handle, void* data,
// ...).
template <class Prototype>
class EventList {
    static_assert(
        sizeof(Prototype) == 0,
        "an event's prototype is a pointer to a function of a handle, the pointer given at "
        "registration (void*), and the event's own arguments");
};

// Copied when it is changed: whoever raises the event walks a snapshot without any lock held, so a
// callback may register and remove. The lock is innermost: nothing is called while it is held.
template <class Result, class Handle, class... Arguments>
class EventList<Result (*)(Handle, void*, Arguments...)> {
  public:
    using Callback = Result (*)(Handle, void*, Arguments...);

    struct Registration {
        Callback call;
        void* data;
        int priority;
    };
    using Registrations = std::vector<Registration>;

    [[nodiscard]] bool empty() const noexcept {
        return count_.load(std::memory_order_acquire) == 0;
    }

    // Higher priorities are called first, equal ones in order of registration.
    void add(Callback callback, void* data, int priority) {
        const std::lock_guard lock(mutex_);
        auto changed = std::make_shared<Registrations>(current());
        const auto place = std::find_if(
            changed->begin(), changed->end(),
            [priority](const Registration& other) { return other.priority < priority; });
        changed->insert(place, {callback, data, priority});
        replace(std::move(changed));
    }

    // Null matches all; false when nothing matched.
    [[nodiscard]] bool remove(Callback callback, void* data) {
        const std::lock_guard lock(mutex_);
        auto changed = std::make_shared<Registrations>(current());
        const std::size_t removed = std::erase_if(*changed, [&](const Registration& other) {
            return (callback == nullptr || other.call == callback) &&
                   (data == nullptr || other.data == data);
        });
        if (removed > 0) replace(std::move(changed));
        return removed > 0;
    }

    // The only one of events that have at most one; null removes it.
    void set(Callback callback, void* data) {
        const std::lock_guard lock(mutex_);
        auto changed = std::make_shared<Registrations>();
        if (callback != nullptr) changed->push_back({callback, data, 0});
        replace(std::move(changed));
    }

    // Null when there are none.
    [[nodiscard]] std::shared_ptr<const Registrations> snapshot() const {
        const std::lock_guard lock(mutex_);
        return registrations_;
    }

  private:
    [[nodiscard]] Registrations current() const {
        return registrations_ == nullptr ? Registrations() : *registrations_;
    }
    void replace(std::shared_ptr<Registrations> changed) {
        count_.store(changed->size(), std::memory_order_release);
        if (changed->empty()) changed.reset();
        registrations_ = std::move(changed);
    }

    mutable std::mutex mutex_;
    std::atomic<std::size_t> count_{0};
    std::shared_ptr<const Registrations> registrations_;
};

}  // namespace qlx

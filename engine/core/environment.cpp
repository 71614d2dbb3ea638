// Users of the library, and its message handlers.
#include "engine/core/environment.hpp"

#include <algorithm>
#include <string>

#include "engine/base/live_counts.hpp"

namespace qlx {

LiveCounts& live_counts() noexcept {
    static LiveCounts counts;
    return counts;
}

Environment& environment() noexcept {
    // Never destroyed: handles may outlive static destruction. A process without the memory for it
    // ends here.
    // NOLINTNEXTLINE(bugprone-unhandled-exception-at-new)
    static Environment& record = *new Environment;
    return record;
}

bool Environment::remove_one(std::atomic<int>& users) noexcept {
    int current = users;
    while (current > 0)
        if (users.compare_exchange_weak(current, current - 1)) return true;
    return false;
}

void Environment::add_handler(QLXmsghandler handler, void* data, int priority) {
    const std::lock_guard lock(mutex_);
    auto handlers = std::make_shared<Handlers>(*handlers_);
    const auto place =
        std::find_if(handlers->begin(), handlers->end(),
                     [priority](const Handler& other) { return other.priority < priority; });
    handlers->insert(place, {handler, data, priority});
    num_handlers_ = handlers->size();
    handlers_ = std::move(handlers);
}

bool Environment::remove_handler(QLXmsghandler handler, void* data) {
    const std::lock_guard lock(mutex_);
    auto handlers = std::make_shared<Handlers>(*handlers_);
    std::erase_if(*handlers, [&](const Handler& other) {
        return (handler == nullptr || other.call == handler) &&
               (data == nullptr || other.data == data);
    });
    num_handlers_ = handlers->size();
    const bool removed = handlers->size() < handlers_->size();
    handlers_ = std::move(handlers);
    return removed;
}

bool Environment::broadcast(QLXobject sender, std::string_view text, int type, int number) {
    if (!has_handlers()) return false;
    std::shared_ptr<const Handlers> handlers;
    {
        const std::lock_guard lock(mutex_);
        handlers = handlers_;
    }
    static thread_local char thread_identity;
    const std::string line(text);
    bool stop = false;
    for (const Handler& handler : *handlers)
        stop |=
            handler.call(sender, handler.data, &thread_identity, line.c_str(), type, number) != 0;
    return stop;
}

}  // namespace qlx

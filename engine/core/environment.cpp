// Users of the library, and its message handlers.
#include "engine/core/environment.hpp"

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

bool Environment::broadcast(QLXobject sender, std::string_view text, int type, int number) {
    const auto registered = handlers.snapshot();
    if (registered == nullptr) return false;
    static thread_local char thread_identity;
    const std::string line(text);
    bool stop = false;
    for (const auto& handler : *registered)
        stop |=
            handler.call(sender, handler.data, &thread_identity, line.c_str(), type, number) != 0;
    return stop;
}

}  // namespace qlx

// The environment record: the library's only global state.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include <qlx/qlx_types.h>

namespace qlx {

class Environment {
  public:
    [[nodiscard]] bool initialised() const noexcept { return users_ > 0; }
    [[nodiscard]] bool nonlinear_initialised() const noexcept { return nonlinear_users_ > 0; }
    void add_user() noexcept { ++users_; }
    // False when there is no user to remove.
    [[nodiscard]] bool remove_user() noexcept { return remove_one(users_); }
    void add_nonlinear_user() noexcept { ++nonlinear_users_; }
    [[nodiscard]] bool remove_nonlinear_user() noexcept { return remove_one(nonlinear_users_); }

    std::atomic<bool> checked{true};
    std::atomic<bool> messages_enabled{true};

    void add_handler(QLXmsghandler handler, void* data, int priority);
    // Null matches all; false when nothing matched.
    [[nodiscard]] bool remove_handler(QLXmsghandler handler, void* data);
    [[nodiscard]] bool has_handlers() const noexcept { return num_handlers_ > 0; }
    // Sends to all handlers; true when one asks to stop the solve.
    [[nodiscard]] bool broadcast(QLXobject sender, std::string_view text, int type, int number);

  private:
    struct Handler {
        QLXmsghandler call;
        void* data;
        int priority;
    };
    using Handlers = std::vector<Handler>;

    static bool remove_one(std::atomic<int>& users) noexcept;

    std::atomic<int> users_{0};
    std::atomic<int> nonlinear_users_{0};
    std::atomic<std::size_t> num_handlers_{0};
    std::mutex mutex_;
    // Replaced as a whole, so that handlers are called without the lock: they may wait for other
    // locks.
    std::shared_ptr<const Handlers> handlers_ = std::make_shared<Handlers>();
};

[[nodiscard]] Environment& environment() noexcept;

}  // namespace qlx

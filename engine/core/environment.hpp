// The environment record: the library's only global state.
#pragma once

#include <atomic>
#include <string_view>

#include <qlx/qlx_types.h>

#include "engine/core/event_list.hpp"

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

    // Message handlers; they are called without a lock, from any thread, and may overlap.
    EventList<QLXmsghandler> handlers;
    // Sends to all handlers; true when one asks to stop the solve.
    [[nodiscard]] bool broadcast(QLXobject sender, std::string_view text, int type, int number);

  private:
    static bool remove_one(std::atomic<int>& users) noexcept;

    std::atomic<int> users_{0};
    std::atomic<int> nonlinear_users_{0};
};

[[nodiscard]] Environment& environment() noexcept;

}  // namespace qlx

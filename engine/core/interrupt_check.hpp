// The caller's own look, from time to time during a solve, at whether it shall stop.
#pragma once

#include <chrono>
#include <thread>

#include "engine/core/problem_fwd.hpp"

namespace qlx {

class InterruptCheck {
  public:
    using Function = int (*)(Problem* problem, void* data);

    void set(Function check, void* data, int milliseconds) noexcept {
        check_ = check;
        data_ = data;
        interval_ = std::chrono::milliseconds(milliseconds);
    }
    // At the start of a solve, on the thread that called it.
    void begin() noexcept {
        if (check_ == nullptr) return;
        thread_ = std::this_thread::get_id();
        next_ = Clock::now() + interval_;
    }
    // The reason to stop, or 0; asks the caller at most once an interval, and only on the thread
    // that called the solve.
    int look(Problem* problem) noexcept {
        if (check_ == nullptr || thread_ != std::this_thread::get_id()) return 0;
        if (Clock::now() < next_) return 0;
        const int reason = check_(problem, data_);
        next_ = Clock::now() + interval_;
        return reason;
    }

  private:
    using Clock = std::chrono::steady_clock;

    Function check_ = nullptr;
    void* data_ = nullptr;
    Clock::duration interval_{};
    Clock::time_point next_;
    std::thread::id thread_;
};

}  // namespace qlx

// What stops a running computation early, for kernels that know of no problem.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <limits>

#include <qlx/codes.h>

namespace qlx {

// A flag, a question to the caller, a deadline and a rule around it, each of which may be absent.
// Cheap to copy; what it points to must outlive it. Any thread may ask.
class StopRule {
  public:
    using Clock = std::chrono::steady_clock;
    using Question = int (*)(void* data) noexcept;

    // Stops where the flag is not zero: it is the reason then.
    void watch(const std::atomic<int>& flag) noexcept { flag_ = &flag; }
    // Stops where the answer is not zero. It is asked every time, so it has to be quick.
    void ask(Question question, void* data) noexcept {
        question_ = question;
        data_ = data;
    }
    void end_at(Clock::time_point deadline) noexcept { deadline_ = std::min(deadline_, deadline); }
    // A clock's range is finite: a limit of years is none.
    void end_in(double seconds) noexcept {
        if (seconds >= kYears) return;
        end_at(Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                  std::chrono::duration<double>(std::max(seconds, 0.0))));
    }
    // Stops where the other one does.
    void obey(const StopRule& outer) noexcept {
        outer_ = &outer;
        end_at(outer.deadline_);
    }

    // QLX_STOP_..., 0 while the computation shall go on.
    [[nodiscard]] int reason() const noexcept {
        if (const int asked = interruption(); asked != 0) return asked;
        return has_deadline() && Clock::now() >= deadline_ ? QLX_STOP_TIMELIMIT : QLX_STOP_NONE;
    }
    [[nodiscard]] bool stop() const noexcept { return reason() != QLX_STOP_NONE; }
    [[nodiscard]] bool has_deadline() const noexcept {
        return deadline_ != Clock::time_point::max();
    }
    // At least 0; infinite without a deadline.
    [[nodiscard]] double seconds_left() const noexcept {
        if (!has_deadline()) return std::numeric_limits<double>::infinity();
        const std::chrono::duration<double> left = deadline_ - Clock::now();
        return std::max(left.count(), 0.0);
    }

  private:
    static constexpr double kYears = 1e8;

    [[nodiscard]] int interruption() const noexcept {
        if (flag_ != nullptr)
            if (const int reason = flag_->load(std::memory_order_relaxed); reason != 0)
                return reason;
        if (question_ != nullptr)
            if (const int reason = question_(data_); reason != 0) return reason;
        return outer_ != nullptr ? outer_->interruption() : QLX_STOP_NONE;
    }

    const std::atomic<int>* flag_ = nullptr;
    Question question_ = nullptr;
    void* data_ = nullptr;
    Clock::time_point deadline_ = Clock::time_point::max();
    const StopRule* outer_ = nullptr;
};

}  // namespace qlx

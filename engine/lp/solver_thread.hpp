// A solve on a thread of its own, which its caller can leave behind.
#pragma once

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>

#include "engine/lp/kernel_events.hpp"

namespace qlx {

// How a solve ended, as its caller saw it.
struct SolveEnd {
    bool left_behind = false;  // it goes on somewhere: nothing that it works on may be touched
    bool out_of_time = false;  // it was cancelled because its time was over
    bool has_progress = false;
    KernelProgress progress;  // the last that it reported
};

// Where a caller and the thread that solves for it meet.
//
// HiGHS calls nothing back in its presolve, so neither an interrupt nor a time limit can end that:
// on 290,000 binaries it runs for 20 s. The solve therefore has a thread and all that it works on
// of its own, and a caller that it does not obey within kPatience leaves it behind: it is cancelled
// and ends at its next callback, frees what it holds, and is told and asked nothing any more. The
// events' functions are called on the caller's thread alone, which is the one that owns the
// problem, and the one on which Python looks for Ctrl-C.
class SolveLink {
  public:
    // The solver's side, from any of its threads.
    [[nodiscard]] bool cancelled() const noexcept {
        return cancelled_.load(std::memory_order_relaxed);
    }
    // The latest is kept until the caller looks.
    void progress(const KernelProgress& progress) noexcept;
    // Returns when the caller has taken the point, or has left.
    void solution(const double* x, int num_cols) noexcept;

    // The caller's side: runs the job, which must own what it touches, on a thread of its own and
    // attends to its events until it ends or is left behind. A limit of seconds is first the job's
    // own to keep. Throws what the job threw, and std::system_error where there is no thread to
    // have. A link serves one job.
    static SolveEnd run(const std::shared_ptr<SolveLink>& link, std::function<void()> job,
                        KernelEvents& events, double seconds);

  private:
    using Lock = std::unique_lock<std::mutex>;

    void finish(std::exception_ptr failure) noexcept;
    SolveEnd attend(KernelEvents& events, double seconds);
    void attend_events(Lock& lock, KernelEvents& events);

    std::atomic<bool> cancelled_{false};
    std::mutex mutex_;
    std::condition_variable to_caller_, to_solver_;
    // All under the mutex.
    bool finished_ = false;
    bool left_ = false;
    bool has_news_ = false;
    bool has_progress_ = false;
    KernelProgress progress_;
    const double* offered_ = nullptr;  // a point that a thread of the solver waits with
    int offered_size_ = 0;
    std::exception_ptr failure_;
};

}  // namespace qlx

// Solver threads, and those of them that their callers have left behind.
#include "engine/lp/solver_thread.hpp"

#include <dlfcn.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <thread>
#include <utility>

#include "engine/base/running_solves.hpp"

namespace qlx {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kLook{50};       // between two looks at the caller's reasons to stop
constexpr milliseconds kOwnLimit{150};  // past its time, before a solve is cancelled
constexpr milliseconds kPatience{500};  // with a cancelled solve, before it is left behind

// Keeps the code that a solve runs in mapped, whoever unloads it.
void stay_loaded() noexcept {
    Dl_info here{};
    if (dladdr(reinterpret_cast<const void*>(&stay_loaded), &here) != 0 &&
        here.dli_fname != nullptr)
        static_cast<void>(dlopen(here.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE));
}

// Signals are for the program's own threads, faults excepted.
class SignalsBlocked {
  public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGPROF})
            sigdelset(&all, fault);
        pthread_sigmask(SIG_BLOCK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

  private:
    sigset_t before_{};
};

std::optional<Clock::time_point> after(double seconds) {
    constexpr double kForever = 1e8;  // a clock's range is finite
    if (!(seconds < kForever)) return std::nullopt;
    return Clock::now() +
           std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

}  // namespace

void SolveLink::progress(const KernelProgress& progress) noexcept {
    const Lock lock(mutex_);
    progress_ = progress;
    has_progress_ = has_news_ = true;
}

void SolveLink::solution(const double* x, int num_cols) noexcept {
    Lock lock(mutex_);
    to_solver_.wait(lock, [this] { return offered_ == nullptr || left_; });
    if (left_) return;
    offered_ = x;
    offered_size_ = num_cols;
    to_caller_.notify_one();
    to_solver_.wait(lock, [this, x] { return offered_ != x || left_; });
}

void SolveLink::finish(std::exception_ptr failure) noexcept {
    const Lock lock(mutex_);
    failure_ = std::move(failure);
    finished_ = true;
    to_caller_.notify_one();
}

SolveEnd SolveLink::run(const std::shared_ptr<SolveLink>& link, std::function<void()> job,
                        KernelEvents& events, double seconds) {
    std::thread thread;
    {
        const SignalsBlocked blocked;
        thread = std::thread([link, work = std::move(job)]() mutable {
            const RunningSolve running;  // until what the job owns is freed
            std::exception_ptr failure;
            try {
                work();
            } catch (...) {
                failure = std::current_exception();
            }
            work = nullptr;
            link->finish(std::move(failure));
        });
    }
    const SolveEnd end = link->attend(events, seconds);
    if (end.left_behind) {
        thread.detach();
        return end;
    }
    thread.join();
    if (link->failure_) std::rethrow_exception(link->failure_);
    return end;
}

SolveEnd SolveLink::attend(KernelEvents& events, double seconds) {
    const pid_t process = getpid();
    const std::optional<Clock::time_point> limit = after(seconds);
    std::optional<Clock::time_point> patience_ends;
    SolveEnd end;
    Lock lock(mutex_);
    while (!finished_) {
        to_caller_.wait_for(lock, kLook, [this] { return finished_ || offered_ != nullptr; });
        if (finished_) break;
        attend_events(lock, events);
        lock.unlock();
        const bool stop = events.stop();
        lock.lock();
        const Clock::time_point now = Clock::now();
        if (!patience_ends && (stop || (limit && now >= *limit + kOwnLimit))) {
            cancelled_ = true;
            end.out_of_time = !stop;
            patience_ends = now + kPatience;
        }
        // A child that was forked from an event has no thread that could end.
        end.left_behind = (patience_ends && now >= *patience_ends) || process != getpid();
        if (end.left_behind && !finished_) break;
    }
    end.left_behind = !finished_;
    if (end.left_behind) {
        left_ = cancelled_ = true;
        stay_loaded();
        to_solver_.notify_all();
    }
    end.has_progress = has_progress_;
    end.progress = progress_;
    return end;
}

// The point stays valid while its thread waits with it.
void SolveLink::attend_events(Lock& lock, KernelEvents& events) {
    const double* const point = offered_;
    const int size = offered_size_;
    const bool has_news = std::exchange(has_news_, false);
    const KernelProgress news = progress_;
    lock.unlock();
    if (has_news) events.progress(news);
    if (point != nullptr) events.solution(point, size);
    lock.lock();
    if (point == nullptr) return;
    offered_ = nullptr;
    to_solver_.notify_all();
}

}  // namespace qlx

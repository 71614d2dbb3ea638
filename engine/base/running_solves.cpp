// One counter for the process, and what waits for it at the end.
#include "engine/base/running_solves.hpp"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace qlx {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kAtExit{1000};

std::atomic<int> running{0};
std::atomic<pid_t> running_in{0};
std::atomic<bool> ending{false};

struct ExitGuard {
    ~ExitGuard() {
        if (running_in != getpid()) return;
        ending = true;
        const Clock::time_point end = Clock::now() + kAtExit;
        while (running > 0 && Clock::now() < end) std::this_thread::sleep_for(milliseconds(2));
    }
} exit_guard;

}  // namespace

RunningSolve::RunningSolve() noexcept {
    if (const pid_t process = getpid(); running_in.exchange(process) != process) running = 0;
    ++running;
}

RunningSolve::~RunningSolve() {
    if (running_in == getpid()) --running;
}

bool RunningSolve::process_ends() noexcept {
    return ending.load(std::memory_order_relaxed);
}

}  // namespace qlx

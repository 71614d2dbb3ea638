// The only maker of Highs objects. For sources that are compiled with HiGHS' string ABI.
#pragma once

#include <Highs.h>

#include <memory>

#include "engine/lp/solver_thread.hpp"

namespace qlx {

// What one run may take.
struct RunLimits {
    int threads = 1;  // at most
    double seconds = 1e20;
    // Large solves, which may not come to a callback for long, and such as use several threads run
    // on a thread of their own: its start costs 30 to 50 microseconds.
    bool apart = false;
};

struct RunEnd : SolveEnd {
    HighsStatus status = HighsStatus::kError;
};

// A Highs object with its callbacks and threads.
//
// HiGHS keeps a pool of worker threads per calling thread, fixed in size by the first run and
// useless in a forked child. So runs on a caller's thread have a pool of one, which is no thread at
// all, and others get a solver thread of their own, whose pool ends with it: any sequence of runs,
// of methods, of numbers of threads and of forks finds a pool that fits.
class HighsSession : public std::enable_shared_from_this<HighsSession> {
  public:
    [[nodiscard]] static std::shared_ptr<HighsSession> make();
    HighsSession(const HighsSession&) = delete;
    HighsSession& operator=(const HighsSession&) = delete;

    [[nodiscard]] Highs& highs() noexcept { return highs_; }
    [[nodiscard]] const Highs& highs() const noexcept { return highs_; }
    // Throw Error where HiGHS does not know the option or refuses the value.
    void set(const char* option, bool value);
    void set(const char* option, HighsInt value);
    void set(const char* option, double value);
    void set(const char* option, const char* value);

    // Solves the model in the object. Where it was left behind the session belongs to the thread
    // that still solves: the caller may do nothing but drop it.
    [[nodiscard]] RunEnd run(const RunLimits& limits, KernelEvents& events);

  private:
    HighsSession();
    void call_back(int event, const HighsCallbackOutput* output, HighsCallbackInput* input);
    RunEnd run_here(KernelEvents& events);
    void return_here();

    Highs highs_;
    // Of the run: one of the two.
    KernelEvents* events_ = nullptr;
    std::shared_ptr<SolveLink> link_;
};

// Whether HiGHS took a call.
[[nodiscard]] inline bool accepted(HighsStatus status) noexcept {
    return status != HighsStatus::kError;
}

}  // namespace qlx

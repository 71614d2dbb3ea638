// The lines of progress that a solve writes to its problem's log.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "engine/core/problem_fwd.hpp"
#include "engine/lp/lp_kernel.hpp"

namespace qlx {

// A line now and then, the rarer the longer the solve takes. Lines are sent on the thread that made
// the log, which owns the problem; what other threads report is shown by its next call.
// Thread-safe.
class ProgressLog {
  public:
    explicit ProgressLog(Problem& problem) : problem_(problem) {}

    // Where the solve stands after the given seconds.
    void report(const KernelProgress& progress, double seconds);
    // Sends the line that is due, if any; also of a solve that has reported nothing yet.
    void tick(double seconds);

  private:
    Problem& problem_;
    const std::thread::id owner_ = std::this_thread::get_id();
    std::mutex mutex_;
    std::optional<KernelProgress> latest_;
    double next_line_ = 1.0;  // seconds at which the next line is due
    bool sending_ = false;    // whoever reads a line may cause the next call
    // Of the owner alone.
    int headed_ = 0;
};

// A number without loss, as short as that allows; "-" where there is none.
[[nodiscard]] std::string exact(double value);
// The gap between a solution and a bound, relative to the solution: "0.52%", "-" where it is open.
[[nodiscard]] std::string gap_text(double solution, double bound);

}  // namespace qlx

// What every solve of a problem shares: its clock, its interrupt flag and its progress messages.
#pragma once

#include <chrono>
#include <string>

#include "engine/core/problem.hpp"
#include "engine/lp/lp_kernel.hpp"

namespace qlx {

// Lives as long as one solve call; notes its duration in the results.
class SolveScope {
  public:
    explicit SolveScope(Problem& problem);
    ~SolveScope();
    SolveScope(const SolveScope&) = delete;
    SolveScope& operator=(const SolveScope&) = delete;

    [[nodiscard]] double seconds() const noexcept;
    // Seconds that are left of control timelimit.
    [[nodiscard]] double seconds_left() const noexcept;

  private:
    Problem& problem_;
    std::chrono::steady_clock::time_point start_;
};

// Passes a kernel's events on to the problem: stops on interrupt, sends a line of progress now and
// then. Derived classes take the solutions.
class KernelWatch : public KernelEvents {
  public:
    explicit KernelWatch(Problem& problem) : problem_(problem) {}
    bool stop() noexcept override {
        if (problem_.outer != nullptr) return problem_.outer->stop();
        problem_.look_for_interrupt();
        return problem_.stop_reason() != 0;
    }
    void progress(const KernelProgress& progress) noexcept override;
    void solution(const double*, int) noexcept override {}

  protected:
    Problem& problem_;

  private:
    void send_line(const KernelProgress& progress);

    double next_line_ = 1.0;  // seconds at which the next line is due
    int headed_ = 0;
};

// Refuses what no solver takes: a problem without rows and columns.
void refuse_empty(const Problem& problem);
// The stop reason that a kernel's outcome stands for, 0 when it ran to its end.
[[nodiscard]] int stop_of(const Problem& problem, const KernelResult& result);
// One line about the model before, and one about the outcome after a solve.
void send_start(Problem& problem, const char* class_name);
void send_end(Problem& problem, const char* outcome, double objective);

}  // namespace qlx

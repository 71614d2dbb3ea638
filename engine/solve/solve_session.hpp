// One running solve: its clock, stop rule, log, counts and incumbents.
#pragma once

#include <atomic>
#include <chrono>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string_view>

#include "engine/base/running_solves.hpp"
#include "engine/base/stop_rule.hpp"
#include "engine/core/problem.hpp"
#include "engine/lp/lp_kernel.hpp"
#include "engine/solve/incumbents.hpp"
#include "engine/solve/progress_log.hpp"

namespace qlx {

// Lives as long as one solve of a problem, whose results it empties first and fills. A solve that
// is a step of another one, as of a node, has a session nested in that one's: it stops when the
// outer one does, its work counts there too, its lines of progress are shown there, and its other
// messages, warnings apart, are not. Incumbents are each session's own.
//
// Thread-safe: stop_rule(), stop(), progress(), count(), offer() and the events. What stop_rule()
// asks is the session itself: on the thread that made it that is also when the caller's interrupt
// check and the log get their turn. Whoever waits there for a kernel on a thread of its own calls
// tick(), or stop() of the events, every few milliseconds.
class SolveSession {
  public:
    explicit SolveSession(Problem& problem);
    SolveSession(SolveSession& outer, Problem& part);
    ~SolveSession();
    SolveSession(const SolveSession&) = delete;
    SolveSession& operator=(const SolveSession&) = delete;

    [[nodiscard]] Problem& problem() noexcept { return problem_; }
    [[nodiscard]] Model& model() noexcept { return problem_.model; }
    [[nodiscard]] const Controls& controls() const noexcept { return problem_.controls; }
    [[nodiscard]] Results& results() noexcept { return problem_.results; }
    [[nodiscard]] Incumbents& incumbents() noexcept { return incumbents_; }
    [[nodiscard]] bool is_nested() const noexcept { return outer_ != nullptr; }

    // Since the outermost solve began.
    [[nodiscard]] double seconds() const noexcept;
    // Until the first limit among the sessions' timelimit; kInfinity without one.
    [[nodiscard]] double seconds_left() const noexcept;
    [[nodiscard]] const StopRule& stop_rule() const noexcept { return stop_rule_; }
    // Ends this session, not the one around it; reason is QLX_STOP_....
    void stop(int reason) noexcept;
    // The reason that a kernel's outcome stands for, QLX_STOP_NONE where it ran to its end.
    [[nodiscard]] int reason_for(const KernelResult& result) const noexcept;

    // A solve by a kernel, within the time that is left: its work is counted, what stopped it is in
    // the results. Throws where it ran out of memory, and what its events threw.
    KernelResult run(LpKernel& kernel, KernelOptions options, KernelEvents& events);
    // Events that take no points, and those of a tree search, which offer them.
    [[nodiscard]] KernelEvents& events() noexcept { return events_; }
    [[nodiscard]] KernelEvents& tree_events() noexcept { return tree_events_; }
    // Offers a point to the incumbents, and ends the session at the solution limit.
    Verdict offer(std::span<const double> x);
    void count(const KernelResult& work);

    void send(int type, int number, std::string_view text);
    // One line about the model before, and one about the outcome after a solve. An objective that
    // is not a number is left out.
    void send_start(const char* class_name);
    void send_end(const char* outcome, double objective);
    void progress(const KernelProgress& progress);
    // What the outer session is to show where this one reports progress.
    void widen_progress(std::function<KernelProgress(const KernelProgress&)> widen) {
        widen_ = std::move(widen);
    }
    // Gives the interrupt check and the log their turn.
    void tick() noexcept { (void)stop_rule_.stop(); }

  private:
    class Events final : public KernelEvents {
      public:
        Events(SolveSession& session, bool takes_points) noexcept
            : session_(session), takes_points_(takes_points) {}
        bool stop() noexcept override { return session_.stop_rule_.stop(); }
        void progress(const KernelProgress& progress) noexcept override;
        void solution(const double* x, int num_cols) noexcept override;

      private:
        SolveSession& session_;
        bool takes_points_;
    };

    int look() noexcept;
    void keep_failure() noexcept;
    void rethrow_failure();

    std::optional<RunningSolve> running_;  // of the outermost session
    Problem& problem_;
    SolveSession* const outer_ = nullptr;
    const StopRule::Clock::time_point start_ = StopRule::Clock::now();
    std::atomic<int> asked_{0};  // by the session itself; interrupts are the problem's own
    StopRule stop_rule_;
    Incumbents incumbents_;
    std::optional<ProgressLog> log_;  // of the outermost session
    std::function<KernelProgress(const KernelProgress&)> widen_;
    Events events_{*this, false};
    Events tree_events_{*this, true};
    std::mutex mutex_;  // of the counts and the failure
    std::exception_ptr failure_;
};

}  // namespace qlx

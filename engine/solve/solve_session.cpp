// Clock, stops, counts and log of a solve.
#include "engine/solve/solve_session.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "engine/core/stop_reasons.hpp"

namespace qlx {

namespace {

// Before the incumbents look at it.
Problem& emptied(Problem& problem) {
    problem.results = {};
    return problem;
}

}  // namespace

SolveSession::SolveSession(Problem& problem)
    : problem_(emptied(problem)), incumbents_(problem.model, problem.controls, problem.results) {
    running_.emplace();
    problem.clear_stop_reason();
    problem.interrupt_check.begin();
    log_.emplace(problem);
    stop_rule_.watch(asked_);
    stop_rule_.ask(
        [](void* session) noexcept { return static_cast<SolveSession*>(session)->look(); }, this);
    stop_rule_.end_in(problem.controls.timelimit);
}

SolveSession::SolveSession(SolveSession& outer, Problem& part)
    : problem_(emptied(part)),
      outer_(&outer),
      incumbents_(part.model, part.controls, part.results) {
    stop_rule_.watch(asked_);
    stop_rule_.end_in(part.controls.timelimit);
    stop_rule_.obey(outer.stop_rule_);
}

SolveSession::~SolveSession() {
    const std::chrono::duration<double> taken = StopRule::Clock::now() - start_;
    results().seconds = taken.count();
}

double SolveSession::seconds() const noexcept {
    if (outer_ != nullptr) return outer_->seconds();
    return std::chrono::duration<double>(StopRule::Clock::now() - start_).count();
}

double SolveSession::seconds_left() const noexcept {
    return std::min(stop_rule_.seconds_left(), kInfinity);
}

void SolveSession::stop(int reason) noexcept {
    asked_.store(reason, std::memory_order_relaxed);
}

int SolveSession::look() noexcept {
    problem_.look_for_interrupt();
    try {
        log_->tick(seconds());
    } catch (...) {
        keep_failure();
    }
    return RunningSolve::process_ends() ? QLX_STOP_USER : problem_.stop_reason();
}

int SolveSession::reason_for(const KernelResult& result) const noexcept {
    switch (result.outcome) {
        case KernelOutcome::kInterrupted: {
            const int reason = stop_rule_.reason();
            return reason != QLX_STOP_NONE ? reason : QLX_STOP_USER;
        }
        case KernelOutcome::kTimeLimit:
            return QLX_STOP_TIMELIMIT;
        case KernelOutcome::kIterationLimit:
            return QLX_STOP_ITERLIMIT;
        case KernelOutcome::kSearchLimit:
            return result.nodes >= controls().nodelimit ? QLX_STOP_NODELIMIT : QLX_STOP_SOLLIMIT;
        default:
            return QLX_STOP_NONE;
    }
}

KernelResult SolveSession::run(LpKernel& kernel, KernelOptions options, KernelEvents& events) {
    options.time_limit = std::min(options.time_limit, seconds_left());
    const KernelResult result = kernel.solve(options, events);
    rethrow_failure();
    count(result);
    if (result.outcome == KernelOutcome::kMemory)
        fail(QLX_ERROR_MEMORY, "the solver ran out of memory");
    results().stop_status = reason_for(result);
    return result;
}

Verdict SolveSession::offer(std::span<const double> x) {
    const Verdict verdict = incumbents_.offer(x);
    if (verdict == Verdict::kKept && incumbents_.is_full()) stop(QLX_STOP_SOLLIMIT);
    return verdict;
}

void SolveSession::count(const KernelResult& work) {
    {
        const std::lock_guard lock(mutex_);
        results().nodes += work.nodes;
        results().simplex_iterations += work.simplex_iterations;
        results().barrier_iterations += work.interior_iterations;
        results().first_order_iterations += work.first_order_iterations;
    }
    if (outer_ != nullptr) outer_->count(work);
}

void SolveSession::send(int type, int number, std::string_view text) {
    if (outer_ == nullptr)
        problem_.send(type, number, text);
    else if (type != QLX_MSG_INFORMATION)
        outer_->send(type, number, text);
}

void SolveSession::send_start(const char* class_name) {
    if (is_nested() || !problem_.messages.wanted(problem_)) return;
    send(QLX_MSG_INFORMATION, message::kSolveStart,
         join(class_name, " \"", model().name(), "\": ", model().num_rows(), " rows, ",
              model().num_cols(), " columns (", model().num_entities(), " not continuous), ",
              model().matrix().num_entries(), " entries"));
}

void SolveSession::send_end(const char* outcome, double objective) {
    if (is_nested() || !problem_.messages.wanted(problem_)) return;
    const Results& found = results();
    std::string line = outcome;
    if (const char* reason = stop_reason_name(found.stop_status)) line += join(" (", reason, ")");
    if (!std::isnan(objective)) line += join(": objective ", exact(objective));
    if (!std::isnan(found.best_bound)) {
        line += join(", bound ", exact(found.best_bound));
        if (!std::isnan(objective)) line += join(", gap ", gap_text(objective, found.best_bound));
    }
    line += join(", ",
                 found.simplex_iterations + found.barrier_iterations + found.first_order_iterations,
                 " iterations");
    if (found.nodes > 0) line += join(", ", found.nodes, " nodes");
    send(QLX_MSG_INFORMATION, message::kSolveEnd, line);
}

void SolveSession::progress(const KernelProgress& progress) {
    const KernelProgress shown = widen_ ? widen_(progress) : progress;
    if (outer_ != nullptr)
        outer_->progress(shown);
    else
        log_->report(shown, seconds());
}

void SolveSession::keep_failure() noexcept {
    {
        const std::lock_guard lock(mutex_);
        if (failure_ == nullptr) failure_ = std::current_exception();
    }
    stop(QLX_STOP_USER);
}

void SolveSession::rethrow_failure() {
    const std::lock_guard lock(mutex_);
    if (failure_ != nullptr) std::rethrow_exception(std::exchange(failure_, nullptr));
}

void SolveSession::Events::progress(const KernelProgress& progress) noexcept {
    try {
        session_.progress(progress);
    } catch (...) {
        session_.keep_failure();
    }
}

void SolveSession::Events::solution(const double* x, int num_cols) noexcept {
    if (!takes_points_) return;
    try {
        session_.offer({x, static_cast<std::size_t>(num_cols)});
    } catch (...) {
        session_.keep_failure();
    }
}

}  // namespace qlx

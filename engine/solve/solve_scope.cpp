// Clock, interrupts and progress lines of a solve.
#include "engine/solve/solve_scope.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <new>

namespace qlx {

SolveScope::SolveScope(Problem& problem)
    : problem_(problem), start_(std::chrono::steady_clock::now()) {
    problem.clear_stop_reason();
    problem.interrupt_check.begin();
    problem.results = {};
}

SolveScope::~SolveScope() {
    problem_.results.seconds = seconds();
}

double SolveScope::seconds() const noexcept {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

double SolveScope::seconds_left() const noexcept {
    const double limit = problem_.controls.timelimit;
    return limit >= kInfinity ? limit : std::max(0.0, limit - seconds());
}

void KernelWatch::progress(const KernelProgress& progress) noexcept {
    if (problem_.outer != nullptr) return problem_.outer->progress(progress);
    if (progress.seconds < next_line_) return;
    next_line_ = progress.seconds + std::max(1.0, progress.seconds / 10);
    try {
        if (problem_.messages.wanted(problem_)) send_line(progress);
    } catch (const std::bad_alloc&) {
        // A line of progress is not worth failing a solve.
    }
}

void KernelWatch::send_line(const KernelProgress& progress) {
    const int kind = progress.tree ? 2 : 1;
    if (headed_ != kind)
        problem_.send(QLX_MSG_INFORMATION, message::kProgress,
                      progress.tree ? "     nodes      best bound   best solution   seconds"
                                    : "iterations       objective   seconds");
    headed_ = kind;
    char best[32] = "-";
    if (std::fabs(progress.best_solution) < kInfinity)
        std::snprintf(best, sizeof best, "%.8g", progress.best_solution);
    char line[160];
    if (progress.tree)
        std::snprintf(line, sizeof line, "%10lld %15.8g %15s %9.1f",
                      static_cast<long long>(progress.nodes), progress.best_bound, best,
                      progress.seconds);
    else
        std::snprintf(line, sizeof line, "%10lld %15.8g %9.1f",
                      static_cast<long long>(progress.iterations), progress.objective,
                      progress.seconds);
    problem_.send(QLX_MSG_INFORMATION, message::kProgress, line);
}

void refuse_empty(const Problem& problem) {
    if (problem.model.num_cols() == 0 && problem.model.num_rows() == 0)
        fail(QLX_ERROR_STATE, "the problem is empty: add columns or rows before solving it");
}

int stop_of(const Problem& problem, const KernelResult& result) {
    switch (result.outcome) {
        case KernelOutcome::kInterrupted:
            return problem.stop_reason() != 0 ? problem.stop_reason() : QLX_STOP_USER;
        case KernelOutcome::kTimeLimit:
            return QLX_STOP_TIMELIMIT;
        case KernelOutcome::kIterationLimit:
            return QLX_STOP_ITERLIMIT;
        case KernelOutcome::kSearchLimit:
            return result.nodes >= problem.controls.nodelimit ? QLX_STOP_NODELIMIT
                                                              : QLX_STOP_SOLLIMIT;
        default:
            return QLX_STOP_NONE;
    }
}

void send_start(Problem& problem, const char* class_name) {
    if (!problem.messages.wanted(problem)) return;
    Model& model = problem.model;
    problem.send(QLX_MSG_INFORMATION, message::kSolveStart,
                 join(class_name, " \"", model.name(), "\": ", model.num_rows(), " rows, ",
                      model.num_cols(), " columns (", model.num_entities(), " not continuous), ",
                      model.matrix().num_entries(), " entries"));
}

void send_end(Problem& problem, const char* outcome, double objective) {
    if (!problem.messages.wanted(problem)) return;
    const Results& results = problem.results;
    std::string line = outcome;
    if (!std::isnan(objective)) line += join(": objective ", objective);
    if (!std::isnan(results.best_bound)) line += join(", bound ", results.best_bound);
    line += join(
        ", ",
        results.simplex_iterations + results.barrier_iterations + results.first_order_iterations,
        " iterations");
    if (results.nodes > 0) line += join(", ", results.nodes, " nodes");
    problem.send(QLX_MSG_INFORMATION, message::kSolveEnd, line);
}

}  // namespace qlx

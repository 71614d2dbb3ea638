// Columns and times of the lines of progress.
#include "engine/solve/progress_log.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "engine/core/problem.hpp"

namespace qlx {

namespace {

std::string head_of(bool tree) {
    return tree
               ? "     nodes               best bound            best solution        gap   seconds"
               : "iterations                objective   seconds";
}

std::string line_of(const KernelProgress& progress, double seconds) {
    char line[160];
    if (progress.tree)
        std::snprintf(line, sizeof line, "%10lld %24s %24s %10s %9.1f",
                      static_cast<long long>(progress.nodes), exact(progress.best_bound).c_str(),
                      exact(progress.best_solution).c_str(),
                      gap_text(progress.best_solution, progress.best_bound).c_str(), seconds);
    else
        std::snprintf(line, sizeof line, "%10lld %24s %9.1f",
                      static_cast<long long>(progress.iterations),
                      exact(progress.objective).c_str(), seconds);
    return line;
}

std::string silent_line(double seconds) {
    char line[64];
    std::snprintf(line, sizeof line, "before the first iteration %18.1f", seconds);
    return line;
}

}  // namespace

std::string exact(double value) {
    if (!(std::fabs(value) < kInfinity)) return "-";
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value + 0.0).ptr;
    return {text, end};
}

std::string gap_text(double solution, double bound) {
    if (!(std::fabs(solution) < kInfinity) || !(std::fabs(bound) < kInfinity)) return "-";
    const double gap = std::fabs(solution - bound) / std::max(std::fabs(solution), 1e-10);
    if (gap == 0) return "0%";
    if (gap >= 10) return "> 1000%";
    char text[32];
    std::snprintf(text, sizeof text, "%.3g%%", 100 * gap);
    return text;
}

void ProgressLog::report(const KernelProgress& progress, double seconds) {
    {
        const std::lock_guard lock(mutex_);
        latest_ = progress;
    }
    tick(seconds);
}

void ProgressLog::tick(double seconds) {
    if (std::this_thread::get_id() != owner_) return;
    std::optional<KernelProgress> shown;
    {
        const std::lock_guard lock(mutex_);
        if (sending_ || seconds < next_line_) return;
        next_line_ = seconds + std::max(1.0, seconds / 10);
        shown = latest_;
        sending_ = true;
    }
    if (problem_.messages.wanted(problem_)) {
        if (shown) {
            const int kind = shown->tree ? 2 : 1;
            if (headed_ != kind)
                problem_.send(QLX_MSG_INFORMATION, message::kProgress, head_of(shown->tree));
            headed_ = kind;
        }
        problem_.send(QLX_MSG_INFORMATION, message::kProgress,
                      shown ? line_of(*shown, seconds) : silent_line(seconds));
    }
    const std::lock_guard lock(mutex_);
    sending_ = false;
}

}  // namespace qlx

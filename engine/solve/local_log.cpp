// Columns of the lines of iterations.
#include "engine/solve/local_log.hpp"

#include <cmath>
#include <cstdio>

#include "engine/core/problem.hpp"
#include "engine/solve/solve_session.hpp"

namespace qlx {

namespace {

constexpr int kFirstLines = 30;

bool is_wanted(SolveSession& session) {
    return !session.is_nested() && session.problem().messages.wanted(session.problem());
}

}  // namespace

void LocalLog::begin(const char* solver, double objective_factor) {
    lines_ = 0;
    next_line_ = 0;
    objective_factor_ = objective_factor;
    if (!is_wanted(session_)) return;
    session_.send(QLX_MSG_INFORMATION, message::kProgress, join("Local solver: ", solver));
    session_.send(QLX_MSG_INFORMATION, message::kProgress,
                  " iteration                objective  infeasible  optimality        step     "
                  "penalty   seconds");
}

void LocalLog::take_over(const std::string& reason) {
    if (!is_wanted(session_)) return;
    session_.send(QLX_MSG_INFORMATION, message::kProgress,
                  join("Not solved (", reason, "): another solver goes on from the best point"));
}

void LocalLog::report(const nlp::LocalProgress& progress) {
    const double seconds = session_.seconds();
    if (lines_ >= kFirstLines && seconds < next_line_) return;
    next_line_ = seconds + std::fmax(0.5, seconds / 10);
    ++lines_;
    if (!is_wanted(session_)) return;
    char penalty[32] = "-";
    if (!std::isnan(progress.penalty))
        std::snprintf(penalty, sizeof penalty, "%.1e", progress.penalty);
    char line[160];
    std::snprintf(line, sizeof line, "%10d %24.15g %11.2e %11.2e %11.2e %11s %9.2f",
                  progress.iteration, progress.objective / objective_factor_,
                  progress.infeasibility, progress.optimality, progress.step, penalty, seconds);
    session_.send(QLX_MSG_INFORMATION, message::kProgress, line);
}

void LocalLog::end(const nlp::LocalAnswer& answer) {
    if (!is_wanted(session_)) return;
    const nlp::LocalCounts& counts = answer.counts;
    session_.send(QLX_MSG_INFORMATION, message::kProgress,
                  join("Stopped after ", answer.iterations, " iterations: ", answer.reason, " (",
                       counts.functions, " function, ", counts.gradients, " gradient, ",
                       counts.hessians, " Hessian evaluations)"));
}

}  // namespace qlx

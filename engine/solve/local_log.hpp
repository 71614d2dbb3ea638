// The lines that a local solver's progress makes in the log.
#pragma once

#include "engine/nlp/local_solver.hpp"

namespace qlx {

class SolveSession;

// Every one of the first iterations, then a line now and then. Of the thread that owns the problem.
class LocalLog {
  public:
    explicit LocalLog(SolveSession& session) noexcept : session_(session) {}

    // The lines of the solver that begins are counted anew.
    void begin(const char* solver, double objective_factor);
    // Another solver goes on where one has failed.
    void take_over(const std::string& reason);
    void report(const nlp::LocalProgress& progress);
    // Why the solver stopped, and its evaluations.
    void end(const nlp::LocalAnswer& answer);

  private:
    SolveSession& session_;
    double objective_factor_ = 1;
    int lines_ = 0;
    double next_line_ = 0;  // seconds at which the next line is due
};

}  // namespace qlx

// The first line of every method of a problem: is it usable by this thread now?
#pragma once

#include "module/environment.hpp"
#include "problem/problem.hpp"
#include "problem/transfer/nonlinear_part.hpp"

namespace quilex {

// Throws unless the library is on, the problem was created and no other thread is solving it; then
// hands the pending columns and rows to the library.
void prepare_for_call(Problem* problem);

// The same without handing anything over: for reads of what the library holds already, where a
// refused row would be news of no concern to the caller.
void require_usable(const Problem* problem);

// Hands the pending columns and rows to the library. Where it refuses them, takes them out of the
// problem again and throws.
void flush_pending(Problem* problem);

// The library's number of rows, where the next constraint belongs. Lets go of constraints beyond
// it, which stand for rows that the library refused. To be called within a ConversionScope, as the
// end of an object may run any Python code.
int rows_to_append_to(Problem* problem);

// While a body is converted, which may run Python code: numbers may be of the user's own types. No
// method of the problem runs then.
class ConversionScope {
  public:
    explicit ConversionScope(Problem* problem);
    ~ConversionScope() { problem_->converting = false; }
    ConversionScope(const ConversionScope&) = delete;
    ConversionScope& operator=(const ConversionScope&) = delete;

  private:
    Problem* problem_;
};

// Forgets the cached result vectors.
void drop_results(Problem* problem) noexcept;

inline bool needs_preparation(const Problem* problem) noexcept {
    return qlx_py_env.initialised == 0 || problem->prob == nullptr ||
           problem->solving_thread != 0 || problem->has_pending;
}

// For methods that leave the model and the results as they are.
inline Problem* reading(PyObject* self) {
    auto* problem = reinterpret_cast<Problem*>(self);
    if (needs_preparation(problem)) prepare_for_call(problem);
    return problem;
}

// For methods that change the results.
inline Problem* solving(PyObject* self) {
    Problem* problem = reading(self);
    if (problem->results != nullptr) drop_results(problem);
    return problem;
}

// For methods that change the model.
inline Problem* changing(PyObject* self) {
    Problem* problem = solving(self);
    if (!is_linear_or_quadratic(problem)) check_nl_unconstruct(problem);
    return problem;
}

// For addConstraint, whose rows may go on waiting in the batch.
inline Problem* collecting(PyObject* self) {
    auto* problem = reinterpret_cast<Problem*>(self);
    if (qlx_py_env.initialised == 0 || problem->prob == nullptr || problem->solving_thread != 0 ||
        problem->converting) {
        prepare_for_call(problem);
    }
    if (problem->results != nullptr) drop_results(problem);
    if (!is_linear_or_quadratic(problem)) check_nl_unconstruct(problem);
    return problem;
}

}  // namespace quilex

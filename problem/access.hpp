// The first line of every method of a problem: is it usable by this thread now?
#pragma once

#include "module/environment.hpp"
#include "problem/problem.hpp"

namespace quilex {

// Throws unless the library is on, the problem was created and no other thread is solving it; then
// hands the pending columns and rows to the library.
void prepare_for_call(Problem* problem);

// Hands the pending columns and rows to the library.
void flush_pending(Problem* problem);

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

// For methods that change the model or the results.
inline Problem* changing(PyObject* self) {
    Problem* problem = reading(self);
    if (problem->results != nullptr) drop_results(problem);
    return problem;
}

// For addConstraint, whose rows may go on waiting in the batch.
inline Problem* collecting(PyObject* self) {
    auto* problem = reinterpret_cast<Problem*>(self);
    if (qlx_py_env.initialised == 0 || problem->prob == nullptr || problem->solving_thread != 0) {
        prepare_for_call(problem);
    }
    if (problem->results != nullptr) drop_results(problem);
    return problem;
}

}  // namespace quilex

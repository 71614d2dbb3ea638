// Whether a problem is usable by this thread now.
#include "problem/access.hpp"

#include "problem/results/results.hpp"
#include "problem/transfer/column_batch.hpp"
#include "problem/transfer/row_batch.hpp"

namespace quilex {

void prepare_for_call(Problem* problem) {
    if (problem->prob == nullptr) {
        raise_runtime_error("The problem has not been created: call quilex.problem.__init__ first");
    }
    if (problem->solving_thread != 0 && problem->solving_thread != PyThread_get_thread_ident()) {
        raise_runtime_error("The problem is being solved by another thread");
    }
    require_library_on();
    if (problem->has_pending) flush_pending(problem);
}

void flush_pending(Problem* problem) {
    // Rows may have entries in pending columns, never the other way round.
    if (problem->columns != nullptr) problem->columns->flush(problem);
    if (problem->rows != nullptr) problem->rows->flush(problem);
    problem->has_pending = false;
}

void drop_results(Problem* problem) noexcept {
    problem->results->drop();
}

}  // namespace quilex

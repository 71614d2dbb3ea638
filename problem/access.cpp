// Whether a problem is usable by this thread now.
#include "problem/access.hpp"

#include "module/library_error.hpp"
#include "problem/results/results.hpp"
#include "problem/transfer/column_batch.hpp"
#include "problem/transfer/row_batch.hpp"

namespace quilex {

namespace {

void require_not_converting(const Problem* problem) {
    if (!problem->converting) return;
    raise_runtime_error(
        "The problem cannot be used while the numbers of one of its constraints, or of its "
        "objective, are converted");
}

}  // namespace

void require_usable(const Problem* problem) {
    if (problem->prob == nullptr) {
        raise_runtime_error("The problem has not been created: call quilex.problem.__init__ first");
    }
    if (problem->solving_thread != 0 && problem->solving_thread != PyThread_get_thread_ident()) {
        raise_runtime_error("The problem is being solved by another thread");
    }
    require_library_on();
}

void prepare_for_call(Problem* problem) {
    require_usable(problem);
    if (problem->has_pending) flush_pending(problem);
}

void flush_pending(Problem* problem) {
    require_not_converting(problem);
    try {
        // Rows may have entries in pending columns, never the other way round.
        problem->columns->send(problem);
        problem->rows->send(problem);
    } catch (...) {
        problem->rows->take_back(problem);
        problem->columns->take_back(problem);
        problem->has_pending = false;
        throw;
    }
    problem->has_pending = false;
}

int rows_to_append_to(Problem* problem) {
    assert(problem->converting);
    int rows = 0;
    require_library(as_object(problem), QLXgetintattrib(problem->prob, QLX_ATTRIB_ROWS, &rows));
    problem->constraints.truncate(rows);
    return rows;
}

ConversionScope::ConversionScope(Problem* problem) : problem_(problem) {
    require_not_converting(problem);
    problem->converting = true;
    problem->has_pending = true;
}

void drop_results(Problem* problem) noexcept {
    problem->results->drop();
}

}  // namespace quilex

// Ctrl-C, and what callbacks raise, while the library solves.
#include "problem/interrupt.hpp"

#include "module/environment.hpp"
#include "module/interpreter_lock.hpp"
#include "module/library_error.hpp"

namespace quilex {

namespace {

// Short enough to feel immediate; long enough not to hold up other Python threads, from which each
// look takes the interpreter lock away.
constexpr int kMillisecondsBetweenLooks = 50;

// Called by the library on the thread that called solve. Signals are handled on the main thread
// only; elsewhere PyErr_CheckSignals does nothing.
int stop_if_signalled(QLXprob prob, void*) {
    if (!Py_IsInitialized()) return QLX_STOP_USER;  // a daemon thread, the interpreter is gone
    const GilAcquire lock;
    if (PyErr_Occurred() == nullptr) {
        // What a callback raised on a thread of the library's waits to be raised here.
        if (qlx_py_env.deferred_exceptions.kept(prob)) return QLX_STOP_USER;
        return PyErr_CheckSignals() != 0 ? QLX_STOP_CTRLC : 0;
    }
    return PyErr_ExceptionMatches(PyExc_KeyboardInterrupt) != 0 ? QLX_STOP_CTRLC : QLX_STOP_USER;
}

}  // namespace

void watch_signals_during_solves(Problem* problem) {
    require_library(nullptr, QLXsetinterruptcheck(problem->prob, stop_if_signalled, nullptr,
                                                  kMillisecondsBetweenLooks));
}

}  // namespace quilex

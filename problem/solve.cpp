// solve, the objective value and the status.
#include "module/allocator.hpp"
#include "module/boundary.hpp"
#include "module/interpreter_lock.hpp"
#include "module/library_error.hpp"
#include "module/text.hpp"
#include "problem/access.hpp"
#include "problem/building.hpp"
#include "problem/results/results.hpp"
#include "problem/row_gate.hpp"

namespace quilex {

namespace {

// Marks the problem as being solved by this thread.
class SolvingMark {
  public:
    explicit SolvingMark(Problem* problem) : problem_(problem) {
        if (problem->solving_thread != 0)
            raise_runtime_error("The problem is already being solved");
        problem->solving_thread = PyThread_get_thread_ident();
    }
    ~SolvingMark() { problem_->solving_thread = 0; }
    SolvingMark(const SolvingMark&) = delete;
    SolvingMark& operator=(const SolvingMark&) = delete;

  private:
    Problem* problem_;
};

int optimize(const Problem* problem, bool integer, const char* flags) noexcept {
    const GilRelease released;
    if (!is_linear_or_quadratic(problem)) return QSLPnlpoptimize(problem->slpprob, flags);
    return integer ? QLXmipoptimize(problem->prob, flags) : QLXlpoptimize(problem->prob, flags);
}

Ref problem_solve(PyObject* self, PyObject* arguments, PyObject* keywords) {
    static const char* names[] = {"flags", nullptr};
    PyObject* flags = nullptr;
    if (!PyArg_ParseTupleAndKeywords(arguments, keywords, "|O", const_cast<char**>(names),
                                     &flags)) {
        throw PythonFailure();
    }
    Block<char> flag_text;
    if (flags != nullptr && flags != Py_None) {
        flag_text = Block<char>::adopt(pyStrToStr(flags));
        if (!flag_text) {
            if (PyErr_Occurred()) throw PythonFailure();
            raise_runtime_error("The flags of solve() must be a string");
        }
    }
    Problem* const problem = solving(self);
    // Settling may run Python code that adds rows.
    do {
        reading(self);
        settle_rows(problem, RowChange::kSolve);
    } while (problem->has_pending);
    const bool integer = is_integer_problem(problem);
    int status = 0;
    {
        const SolvingMark mark(problem);
        status = optimize(problem, integer, flag_text.get());
    }
    drop_results(problem);
    // An exception raised in a callback, or Ctrl-C, counts more than the library's status.
    if (callback_failed(self)) throw PythonFailure();
    require_library(self, status);
    return none();
}

// A problem's status with the names that its numbers have.
struct Status {
    int value;                 // 0: not solved yet
    const char* const* names;  // of the values from 0 on
    const char* otherwise;
};

constexpr int kNamedStatuses = 9;
constexpr const char* kLinearStatuses[kNamedStatuses] = {
    "lp_unstarted", "lp_optimal",        "lp_infeas",   "lp_cutoff",   "lp_unfinished",
    "lp_unbounded", "lp_cutoff_in_dual", "lp_unsolved", "lp_nonconvex"};
constexpr const char* kIntegerStatuses[kNamedStatuses] = {
    "mip_not_loaded", "mip_lp_not_optimal", "mip_lp_optimal", "mip_no_sol_found", "mip_solution",
    "mip_infeas",     "mip_optimal",        "mip_unbounded",  "mip_unknown"};
constexpr const char* kNonlinearStatuses[kNamedStatuses] = {
    "nlp_unstarted",          "nlp_solution",   "nlp_globally_optimal",
    "nlp_locally_infeasible", "nlp_infeasible", "nlp_unbounded",
    "nlp_unfinished",         "nlp_unknown",    "nlp_unknown"};

Status status_of(Problem* problem) {
    PyObject* const self = as_object(problem);
    if (!is_linear_or_quadratic(problem)) {
        Status status{0, kNonlinearStatuses, "nlp_unknown"};
        require_library(self,
                        QSLPgetintattrib(problem->slpprob, QSLP_ATTRIB_STATUS, &status.value));
        return status;
    }
    const bool integer = is_integer_problem(problem);
    Status status = integer ? Status{0, kIntegerStatuses, "mip_unknown"}
                            : Status{0, kLinearStatuses, "lp_unknown"};
    require_library(
        self, QLXgetintattrib(problem->prob, integer ? QLX_ATTRIB_MIPSTATUS : QLX_ATTRIB_LPSTATUS,
                              &status.value));
    return status;
}

Ref problem_getObjVal(PyObject* self, PyObject*) {
    Problem* const problem = reading(self);
    if (problem->solving_thread == 0 && status_of(problem).value == 0) {
        raise_runtime_error("Could not get objective value: the problem has not been solved");
    }
    double value = 0.0;
    if (is_linear_or_quadratic(problem)) {
        const int attribute =
            is_integer_problem(problem) ? QLX_ATTRIB_MIPOBJVAL : QLX_ATTRIB_LPOBJVAL;
        require_library(self, QLXgetdblattrib(problem->prob, attribute, &value));
    } else {
        require_library(self, QSLPgetdblattrib(problem->slpprob, QSLP_ATTRIB_OBJVAL, &value));
    }
    return require(PyFloat_FromDouble(value));
}

Ref problem_getProbStatus(PyObject* self, PyObject*) {
    return require(PyLong_FromLong(status_of(reading(self)).value));
}

Ref problem_getProbStatusString(PyObject* self, PyObject*) {
    const Status status = status_of(reading(self));
    const bool named = status.value >= 0 && status.value < kNamedStatuses;
    return require(PyUnicode_FromString(named ? status.names[status.value] : status.otherwise));
}

}  // namespace

PyMethodDef solve_methods[] = {
    {"solve", method<problem_solve>, METH_VARARGS | METH_KEYWORDS,
     "solve($self, flags=None)\n--\n\n"
     "Solve the problem; the outcome is in getProbStatus(). `flags` is a string: 'p' primal\n"
     "simplex, 'd' dual simplex, 'b' interior point, 'n' first-order method. Other threads run\n"
     "meanwhile. An exception raised in a callback, and KeyboardInterrupt after Ctrl-C, stop the\n"
     "solve and are raised here; the best solution so far can be read."},
    {"getObjVal", method<problem_getObjVal>, METH_NOARGS,
     "getObjVal($self)\n--\n\nThe objective value of the last solve's solution, its constant "
     "included."},
    {"getProbStatus", method<problem_getProbStatus>, METH_NOARGS,
     "getProbStatus($self)\n--\n\n"
     "The status as one of the constants quilex.lp_..., quilex.mip_... or quilex.nlp_...,\n"
     "depending on the kind of problem."},
    {"getProbStatusString", method<problem_getProbStatusString>, METH_NOARGS,
     "getProbStatusString($self)\n--\n\nThe name of the status, for example 'lp_optimal'."},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace quilex

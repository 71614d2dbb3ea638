// quilex.problem: one library problem and the modelling objects that were added to it.
#pragma once

#include <qlx/qlx.h>
#include <qlx/qslp.h>

#include <limits>

#include "module/failure.hpp"
#include "problem/index_map.hpp"
#include "problem/object_list.hpp"

namespace quilex {

inline constexpr int kCallbackEvents = 36;
// No column, nor what stands for one.
inline constexpr int32_t kUnreadColumn = std::numeric_limits<int32_t>::min();

class RowBatch;
class ColumnBatch;
struct Results;
struct UserFunctions;

struct Problem {
    PyObject_HEAD
    QLXprob prob;                          // null until created
    QSLPprob slpprob;                      // null while the nonlinear solver is off
    ObjectList variables;                  // the position is the column index
    ObjectList constraints;                // the position is the row index
    ObjectList sos;                        // the position is the set index
    PyObject* controls;                    // this problem's control object
    PyObject* attributes;                  // this problem's attribute object
    IndexMap var_index;                    // serial number of a variable -> column
    IndexMap con_index;                    // serial number of a constraint -> row
    IndexMap sos_index;                    // serial number of a set -> set index
    PyObject* callbacks[kCallbackEvents];  // lists of registrations; null when none
    int32_t objective_transfer_row;        // of a nonlinear objective; -1 when none
    int32_t nl_cons;                       // constraints handed to the nonlinear solver
    uint64_t nl_obj;                       // nonzero when the objective was handed to it
    PyObject* nl_objexpr;                  // the objective, kept while it is nonlinear
    int32_t objective_transfer_column;     // -1 when none
    int32_t formula_column;  // of coefficients without a column; kUnreadColumn at first
    PyObject* weak_references;
    RowBatch* rows;        // rows of an addConstraint call that the library lacks yet
    ColumnBatch* columns;  // columns of an addVariable call that the library lacks yet
    bool has_pending;      // a call has to look first: a batch is not empty, or converting
    bool converting;       // a body is being converted: its columns must stay where they are
    Results* results;      // vectors of the last solve; null until asked for
    UserFunctions* user_functions;  // callables that formulas name
    unsigned long solving_thread;   // identifier of the thread in a solve call; 0 when none
};

extern PyTypeObject problem_type;

inline bool is_problem(PyObject* object) noexcept {
    return Py_TYPE(object) == &problem_type || PyType_IsSubtype(Py_TYPE(object), &problem_type);
}

// Whether the library's own solves apply (no nonlinear part was handed to the nonlinear solver).
inline bool is_linear_or_quadratic(const Problem* problem) noexcept {
    return problem->nl_cons < 1 && problem->nl_obj == 0;
}

extern PyMethodDef identity_methods[];  // name, __reduce__

// Joins the method tables of all themes into problem_type. To be called once, before the type is
// readied.
void collect_problem_methods() noexcept;

}  // namespace quilex

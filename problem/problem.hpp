// quilex.problem: one library problem and the modelling objects that were added to it.
#pragma once

#include <qlx/qlx.h>
#include <qlx/qslp.h>

#include "module/failure.hpp"
#include "problem/index_map.hpp"

namespace quilex {

inline constexpr int kCallbackEvents = 36;

struct Problem {
    PyObject_HEAD
    QLXprob prob;            // null until created
    QSLPprob slpprob;        // null while the nonlinear solver is off
    PyObject* variables;     // list; the position is the column index
    PyObject* constraints;   // list; the position is the row index
    PyObject* sos;           // list; the position is the set index
    PyObject* controls;      // this problem's control object
    PyObject* attributes;    // this problem's attribute object
    IndexMap var_index;      // serial number of a variable -> column
    IndexMap con_index;      // serial number of a constraint -> row
    IndexMap sos_index;      // serial number of a set -> set index
    PyObject* callbacks[kCallbackEvents];  // lists of registrations; null when none
    int32_t objective_transfer_row;        // of a nonlinear objective; -1 when none
    int32_t nl_cons;                       // constraints handed to the nonlinear solver
    uint64_t nl_obj;                       // nonzero when the objective was handed to it
    PyObject* nl_objexpr;                  // the objective, kept while it is nonlinear
    int32_t objective_transfer_column;     // -1 when none
    int32_t formula_column;                // column of coefficients without one; -1 when unread
};

extern PyTypeObject problem_type;

inline bool is_problem(PyObject* object) noexcept {
    return Py_TYPE(object) == &problem_type || PyType_IsSubtype(Py_TYPE(object), &problem_type);
}

}  // namespace quilex

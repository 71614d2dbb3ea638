// The one environment record, and the switching of the library.
#pragma once

#include <qlx/qlx.h>
#include <qlx/qslp.h>

#include "module/deferred_exceptions.hpp"
#include "module/failure.hpp"

namespace quilex {

// The library's side of an object: what keeps the text of its last error. Null where it has none.
struct LibraryHandles {
    QLXbranchobject branch_object = nullptr;
    QLXprob prob = nullptr;
    QSLPprob nonlinear_prob = nullptr;
};

// All module-wide state. One static instance, guarded by the interpreter lock.
struct Environment {
    uint64_t var_counter = 0;              // serial number of the next variable
    uint64_t con_counter = 0;              // serial number of the next constraint
    uint64_t sos_counter = 0;              // serial number of the next special ordered set
    PyObject* controls = nullptr;          // the module-wide control object
    PyObject* ctrl_table = nullptr;        // dict: control name -> (id, type, solver)
    PyObject* attr_table = nullptr;        // dict: attribute name -> (id, type, solver)
    PyObject* default_controls = nullptr;  // dict: control name -> value set by the user
    PyObject* msghandlers = nullptr;       // list of [callable, data]
    int32_t initialised = 0;
    // -1 before the nonlinear solver was first seen, then 1; 0 when it cannot be started.
    int32_t nonlinear_state = 0;
    // What callbacks raised on threads that Python does not know, kept for the callers
    // (module/deferred_exceptions.hpp).
    DeferredExceptions deferred_exceptions;
    // Fills the tables of controls and attributes once the library is on; nonzero with an exception
    // set where that fails and `report` is not 0. Set at start-up, as is the handles' reader.
    int (*fill_tables)(int report) noexcept = nullptr;
    LibraryHandles (*handles_of)(PyObject* object) noexcept = nullptr;
};

extern Environment qlx_py_env;

// Makes sure that the library is on (force 0), or initialises it again (force 1). Returns 0, or a
// nonzero status with a Python exception set.
int turnQLXon(int force) noexcept;

// The rows of the module's method table for `init` and `free`, ended by a row without a name.
extern PyMethodDef environment_methods[];

// Frees the library; returns 0, or -1 with a Python exception set.
int turnQLXoff(int force) noexcept;

// Throws when the module has been released: objects may outlive it at the interpreter's end.
inline void require_environment() {
    if (qlx_py_env.attr_table == nullptr) {
        raise_runtime_error("The Quilex module has been released");
    }
}

// Throwing form of turnQLXon(0), for the first line of every function that calls the library.
inline void require_library_on() {
    if (qlx_py_env.initialised == 0 && turnQLXon(0) != 0) throw PythonFailure();
}

// Classifies a control or attribute of the library (nonlinear 0) or of the nonlinear solver. Both
// outputs may be null.
void getParType(int nonlinear, int flags, int id, int* is_int64_out, int* type_out) noexcept;

}  // namespace quilex

// The one environment record, and the switching of the library.
#include "module/environment.hpp"

#include <qlx/qlx.h>
#include <qlx/qslp.h>

#include "module/boundary.hpp"
#include "module/library_error.hpp"

namespace quilex {

Environment qlx_py_env;

namespace {

// Starts the nonlinear solver; without it the linear part stays usable.
void start_nonlinear_solver() noexcept {
    if (qlx_py_env.nonlinear_state == 0) return;
    const bool started = QSLPinit() == 0;
    qlx_py_env.nonlinear_state = started ? 1 : 0;
    if (!started) PyErr_SetString(PyExc_RuntimeError, "Error initializing QSLP environment");
}

Ref quilexmod_init(PyObject*, PyObject*) {
    if (turnQLXon(1) != 0) raise_library_error(nullptr);
    return none();
}

Ref quilexmod_free(PyObject*, PyObject*) {
    if (turnQLXoff(1) != 0) raise_library_error(nullptr);
    return none();
}

}  // namespace

int turnQLXon(int force) noexcept {
    if (qlx_py_env.initialised != 0 && force == 0) return 0;
    if (qlx_py_env.attr_table == nullptr) {
        PyErr_SetString(PyExc_RuntimeError, "The Quilex module has been released");
        return -1;
    }
    if (const int status = QLXinit(nullptr); status != 0) {
        if (!PyErr_Occurred()) {
            PyErr_Format(PyExc_RuntimeError, "Error %d initializing the optimizer library", status);
        }
        return status;
    }
    qlx_py_env.initialised = 1;
    start_nonlinear_solver();
    QLXenablemessages(1);
    if (PyDict_GET_SIZE(qlx_py_env.attr_table) == 0 && !PyErr_Occurred() &&
        qlx_py_env.fill_tables(1) != 0) {
        return -1;
    }
    // A nonlinear solver that did not start is told once: the library is on from here.
    return PyErr_Occurred() ? -1 : 0;
}

int turnQLXoff(int force) noexcept {
    if (qlx_py_env.initialised == 0 && force == 0) return 0;
    if (qlx_py_env.nonlinear_state == 1 && QSLPfree() != 0) {
        set_library_error(nullptr);
        return -1;
    }
    if (QLXfree() != 0) {
        set_library_error(nullptr);
        return -1;
    }
    qlx_py_env.initialised = 0;
    return 0;
}

void getParType(int nonlinear, int flags, int id, int* is_int64_out, int* type_out) noexcept {
    int control = -1;
    int type = -1;
    if (nonlinear == 0) {
        control = (flags & QLX_PARAM_CONTROL) != 0 ? 1 : 0;
        type = (flags & QLX_PARAM_INT) != 0 ? 1 : (flags & QLX_PARAM_DOUBLE) != 0 ? 2 : 3;
    } else {
        char name[128] = {};
        int bits = 0;
        if (QSLPcontrolname(nullptr, id, name, &bits) == 0) {
            control = bits & QSLP_PARAM_CONTROL;
            type = (bits & QSLP_PARAM_INT) != 0      ? 1
                   : (bits & QSLP_PARAM_DOUBLE) != 0 ? 2
                   : (bits & QSLP_PARAM_STRING) != 0 ? 3
                                                     : 0;
        }
    }
    if (is_int64_out != nullptr) *is_int64_out = control;
    if (type_out != nullptr) *type_out = type;
}

PyMethodDef environment_methods[] = {
    {"init", method<quilexmod_init>, METH_NOARGS,
     "init()\n--\n\nInitialise the optimizer library, again where it is on already. Returns None;\n"
     "RuntimeError with the library's text where it refuses."},
    {"free", method<quilexmod_free>, METH_NOARGS,
     "free()\n--\n\nFree the optimizer library. Problems that exist lose their library problem "
     "and\n"
     "cannot be used afterwards. The next use of the library switches it on again."},
    {nullptr, nullptr, 0, nullptr},
};

}  // namespace quilex

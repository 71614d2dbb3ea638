// The tables of controls and attributes, listed from the library once.
#include <qlx/qlx.h>
#include <qlx/qslp.h>

#include <array>
#include <cctype>

#include "module/boundary.hpp"
#include "module/environment.hpp"
#include "module/library_error.hpp"
#include "problem/parameters/controls.hpp"

namespace quilex {

namespace {

constexpr size_t kLongestName = 128;

// The getters of one solver's controls, on the temporary problem.
struct Source {
    int solver;
    QLXprob prob;
    QSLPprob slpprob;

    int get_int(int id, int* value) const {
        return solver == kOptimizer ? QLXgetintcontrol(prob, id, value)
                                    : QSLPgetintcontrol(slpprob, id, value);
    }
    int get_double(int id, double* value) const {
        return solver == kOptimizer ? QLXgetdblcontrol(prob, id, value)
                                    : QSLPgetdblcontrol(slpprob, id, value);
    }
    int get_string(int id, char* value) const {
        return solver == kOptimizer ? QLXgetstrcontrol(prob, id, value)
                                    : QSLPgetstrcontrol(slpprob, id, value);
    }
};

// The library's value of a control; an empty reference where the library refuses.
Ref library_value(const Source& source, int id, int type) {
    if (type == kIntegerParameter) {
        int value = 0;
        return source.get_int(id, &value) != 0 ? Ref() : require(PyLong_FromLong(value));
    }
    if (type == kDoubleParameter) {
        double value = 0;
        return source.get_double(id, &value) != 0 ? Ref() : require(PyFloat_FromDouble(value));
    }
    std::array<char, 2048> value{};
    if (source.get_string(id, value.data()) != 0) return Ref();
    value.back() = '\0';
    return require(PyUnicode_FromString(value.data()));
}

Ref lower_case_key(const char* name) {
    std::string key(name, strnlen(name, kLongestName));
    for (char& character : key) {
        character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    }
    return require(PyUnicode_FromStringAndSize(key.data(), static_cast<Py_ssize_t>(key.size())));
}

// Throws RuntimeError with this text in place of whatever went wrong.
template <class Action>
void otherwise(const char* message, Action&& action) {
    if (guarded(action)) return;
    raise_runtime_error("%s", message);
}

void add_attribute(PyObject* key, PyObject* triple) {
    otherwise("Could not add attribute",
              [&] { require_status(PyDict_SetItem(qlx_py_env.attr_table, key, triple)); });
}

void add_control(const Source& source, int id, int type, PyObject* key, PyObject* triple) {
    otherwise("Could not initialize control", [&] {
        const Ref value = library_value(source, id, type);
        if (!value) return;
        require_status(PyDict_SetItem(qlx_py_env.ctrl_table, key, triple));
        auto* const defaults = reinterpret_cast<ParameterObject*>(qlx_py_env.controls);
        require_status(PyDict_SetItem(defaults->dict, key, value.get()));
    });
}

void list_parameters(const Source& source) {
    const char* const* names = nullptr;
    const int* ids = nullptr;
    const int* flags = nullptr;
    const int status = source.solver == kOptimizer
                           ? QLXgetcalist_c(source.prob, &names, &ids, &flags)
                           : QSLPgetcalist(source.slpprob, &names, &ids, &flags);
    if (status != 0) raise_runtime_error("Could not get control/attribute list from Quilex");
    // The two lists end differently: at id 0, and at an empty name.
    for (size_t i = 0; source.solver == kOptimizer ? ids[i] != 0 : names[i][0] != '\0'; ++i) {
        int is_control = 0;
        int type = 0;
        getParType(source.solver, flags[i], ids[i], &is_control, &type);
        if (type == -1) {
            raise_runtime_error("Erroneous %s value/type in initialization",
                                is_control != 0 ? "control" : "attribute");
        }
        if (type == kNotAvailable) continue;
        const Ref key = lower_case_key(names[i]);
        const Ref triple = require(Py_BuildValue("(iii)", ids[i], type, source.solver));
        if (is_control != 0) {
            add_control(source, ids[i], type, key.get(), triple.get());
        } else {
            add_attribute(key.get(), triple.get());
        }
    }
}

void list_all(QLXprob* prob, QSLPprob* slpprob) {
    const bool nonlinear = qlx_py_env.nonlinear_state != 0;
    if (QLXcreateprob(prob) != 0 || (nonlinear && QSLPcreateprob(slpprob, *prob) != 0)) {
        raise_runtime_error("Could not create temporary problem");
    }
    list_parameters({kOptimizer, *prob, nullptr});
    if (nonlinear) list_parameters({kNonlinearSolver, nullptr, *slpprob});
}

void destroy(QLXprob prob, QSLPprob slpprob) noexcept {
    if (slpprob != nullptr && QSLPdestroyprob(slpprob) != 0) set_library_error(nullptr);
    if (prob != nullptr && QLXdestroyprob(prob) != 0) set_library_error(nullptr);
}

}  // namespace

int ctrl_attr_fill_typeobj(int report) noexcept {
    if (QLXinit(nullptr) != 0) {
        if (report != 0) set_library_error(nullptr);
        return report != 0 ? -1 : 0;
    }
    qlx_py_env.nonlinear_state = QSLPinit() == 0 ? 1 : 0;
    QLXprob prob = nullptr;
    QSLPprob slpprob = nullptr;
    guarded([&] { list_all(&prob, &slpprob); });
    destroy(prob, slpprob);
    const bool nonlinear_freed = qlx_py_env.nonlinear_state == 0 || QSLPfree() == 0;
    const bool freed = QLXfree() == 0;
    if ((!nonlinear_freed || !freed) && !PyErr_Occurred()) {
        PyErr_SetString(PyExc_RuntimeError, "Error initializing optimization environment");
    }
    return PyErr_Occurred() ? -1 : 0;
}

}  // namespace quilex

// getControl, setControl and getAttrib.
#include "problem/parameters/controls.hpp"

#include <algorithm>
#include <array>

#include "model/operand.hpp"
#include "module/allocator.hpp"
#include "module/boundary.hpp"
#include "module/environment.hpp"
#include "module/library_error.hpp"
#include "module/text.hpp"
#include "problem/access.hpp"

#include "module/numpy.hpp"

namespace quilex {

namespace {

// Attributes that are constants of the interface, never asked of the library.
constexpr int kConstantIds[] = {12013, 22013};
constexpr int kConstantValue = -1;

struct Wording {
    const char* method;
    const char* noun;
    PyObject* table;
};

Wording wording(bool control) noexcept {
    return control ? Wording{"getControl", "control", qlx_py_env.ctrl_table}
                   : Wording{"getAttrib", "attribute", qlx_py_env.attr_table};
}

int get_int(Problem* problem, int id, bool control, int solver, int* value) noexcept {
    if (solver == kOptimizer) {
        return control ? QLXgetintcontrol(problem->prob, id, value)
                       : QLXgetintattrib(problem->prob, id, value);
    }
    return control ? QSLPgetintcontrol(problem->slpprob, id, value)
                   : QSLPgetintattrib(problem->slpprob, id, value);
}

int get_double(Problem* problem, int id, bool control, int solver, double* value) noexcept {
    if (solver == kOptimizer) {
        return control ? QLXgetdblcontrol(problem->prob, id, value)
                       : QLXgetdblattrib(problem->prob, id, value);
    }
    return control ? QSLPgetdblcontrol(problem->slpprob, id, value)
                   : QSLPgetdblattrib(problem->slpprob, id, value);
}

int get_string(Problem* problem, int id, bool control, int solver, char* value, int size) noexcept {
    int length = 0;
    if (solver == kOptimizer) {
        return control ? QLXgetstringcontrol(problem->prob, id, value, size, &length)
                       : QLXgetstringattrib(problem->prob, id, value, size, &length);
    }
    return control ? QSLPgetstrcontrol(problem->slpprob, id, value)
                   : QSLPgetstrattrib(problem->slpprob, id, value);
}

// The value of one name of a table. Throws where the name is unknown or the read fails.
Ref value_of_name(Problem* problem, PyObject* name, bool control) {
    const Ref entry = Ref::share(PyDict_GetItemWithError(wording(control).table, name));
    ParameterTriple triple{};
    if (!read_triple(entry.get(), &triple)) {
        if (PyErr_Occurred()) throw PythonFailure();
        raise_runtime_error("Unknown name %R", name);
    }
    return problem_getInfo_single(problem, triple.id, triple.type, control, triple.solver);
}

// A dict of the names that an iterator gives, each with its value.
Ref values_of_names(Problem* problem, PyObject* iterator, bool control) {
    Ref values = require(PyDict_New());
    while (const Ref name = Ref::steal(PyIter_Next(iterator))) {
        const Ref value = value_of_name(problem, name.get(), control);
        require_status(PyDict_SetItem(values.get(), name.get(), value.get()));
    }
    if (PyErr_Occurred()) throw PythonFailure();
    return values;
}

Ref values_in_sequence(Problem* problem, PyObject* names, bool control) {
    const Ref iterator = require(PyObject_GetIter(names));
    return values_of_names(problem, iterator.get(), control);
}

Ref values_of_arguments(Problem* problem, PyObject* arguments, bool control) {
    if (PyTuple_GET_SIZE(arguments) > 1) return values_in_sequence(problem, arguments, control);
    PyObject* const only = PyTuple_GET_ITEM(arguments, 0);
    if (PyTuple_Check(only) || PyList_Check(only)) {
        return values_in_sequence(problem, only, control);
    }
    if (PyIter_Check(only)) return values_of_names(problem, only, control);
    return value_of_name(problem, only, control);
}

bool is_numpy_integer(PyObject* value) noexcept {
    return PyArray_IsScalar(value, Int) || PyArray_IsScalar(value, Long) ||
           (sizeof(long) == sizeof(npy_longlong) && PyArray_IsScalar(value, LongLong));
}

Ref problem_getControl(PyObject* self, PyObject* arguments) {
    return problem_getInfo(reinterpret_cast<Problem*>(self), arguments, true);
}

Ref problem_getAttrib(PyObject* self, PyObject* arguments) {
    return problem_getInfo(reinterpret_cast<Problem*>(self), arguments, false);
}

void set_by_name(Problem* problem, PyObject* name, PyObject* value) {
    const Ref entry = Ref::share(PyDict_GetItemWithError(qlx_py_env.ctrl_table, name));
    ParameterTriple triple{};
    if (!read_triple(entry.get(), &triple)) {
        PyErr_Clear();
        raise_runtime_error("Incorrect control name");
    }
    require_library(as_object(problem), problem_setControl_single(problem, triple.id, triple.type,
                                                                  triple.solver, value));
}

Ref problem_setControl(PyObject* self, PyObject* arguments) {
    Problem* const problem = reading(self);
    const Py_ssize_t count = PyTuple_GET_SIZE(arguments);
    if (count == 0) {
        raise_runtime_error(
            "setControl requires at least one argument of type dictionary or two elements: "
            "parameter, value");
    }
    if (count > 2) raise_runtime_error("setControl: arguments mismatch");
    if (count == 2) {
        set_by_name(problem, PyTuple_GET_ITEM(arguments, 0), PyTuple_GET_ITEM(arguments, 1));
        return none();
    }
    PyObject* const settings = PyTuple_GET_ITEM(arguments, 0);
    if (!PyDict_Check(settings)) {
        raise_runtime_error("single argument to setControl must be a dictionary");
    }
    // The items are taken first: a message handler may change the dictionary.
    const Ref items = require(PyDict_Items(settings));
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(items.get()); ++i) {
        PyObject* const item = PyList_GET_ITEM(items.get(), i);
        set_by_name(problem, PyTuple_GET_ITEM(item, 0), PyTuple_GET_ITEM(item, 1));
    }
    return none();
}

}  // namespace

bool read_triple(PyObject* object, ParameterTriple* triple) noexcept {
    if (object == nullptr || !PyTuple_Check(object) || PyTuple_GET_SIZE(object) != 3) return false;
    int* const fields[] = {&triple->id, &triple->type, &triple->solver};
    for (Py_ssize_t i = 0; i < 3; ++i) {
        const long value = PyLong_AsLong(PyTuple_GET_ITEM(object, i));
        if (value == -1 && PyErr_Occurred()) {
            PyErr_Clear();
            return false;
        }
        *fields[i] = static_cast<int>(value);
    }
    return true;
}

Ref problem_getInfo_single(Problem* problem, int id, int type, bool control, int solver) {
    if (type == kDoubleParameter) {
        double value = 0;
        require_library(as_object(problem), get_double(problem, id, control, solver, &value));
        return require(PyFloat_FromDouble(value));
    }
    if (type == kStringParameter) {
        std::array<char, 2048> value{};
        require_library(as_object(problem), get_string(problem, id, control, solver, value.data(),
                                                       static_cast<int>(value.size())));
        value.back() = '\0';
        return require(PyUnicode_DecodeUTF8(
            value.data(), static_cast<Py_ssize_t>(strlen(value.data())), "backslashreplace"));
    }
    if (type == kIntegerParameter) {
        int value = 0;
        require_library(as_object(problem), get_int(problem, id, control, solver, &value));
        return require(PyLong_FromLong(value));
    }
    raise_runtime_error("%s() called with unknown ID", wording(control).method);
}

Ref getAllCtrlAttr(Problem* problem, bool control) {
    const auto [method_name, noun, table] = wording(control);
    Ref values = require(PyDict_New());
    const Ref items = require(PyDict_Items(table));
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(items.get()); ++i) {
        PyObject* const item = PyList_GET_ITEM(items.get(), i);
        ParameterTriple triple{};
        if (!read_triple(PyTuple_GET_ITEM(item, 1), &triple)) {
            raise_runtime_error("Cannot add to %s() result", method_name);
        }
        const bool constant = std::ranges::count(kConstantIds, triple.id) != 0;
        const Ref value = constant ? require(PyLong_FromLong(kConstantValue))
                                   : problem_getInfo_single(problem, triple.id, triple.type,
                                                            control, triple.solver);
        if (PyDict_SetItem(values.get(), PyTuple_GET_ITEM(item, 0), value.get()) < 0) {
            raise_runtime_error("Cannot add to %s() result", method_name);
        }
    }
    return values;
}

Ref problem_getInfo(Problem* problem, PyObject* arguments, bool control) {
    reading(as_object(problem));
    if (PyTuple_GET_SIZE(arguments) == 0) return getAllCtrlAttr(problem, control);
    Ref result;
    if (!guarded([&] { result = values_of_arguments(problem, arguments, control); })) {
        raise_runtime_error("Could not retrieve value of %s", wording(control).noun);
    }
    return result;
}

int check_setCtrl(int type, PyObject* value) noexcept {
    const char* message = nullptr;
    if (type == kDoubleParameter) {
        if (!PyFloat_Check(value) && !PyLong_Check(value) && !is_numpy_integer(value)) {
            message = "Cannot set non-numerical value to a floating-point control";
        }
    } else if (type == kStringParameter) {
        if (!PyUnicode_Check(value)) message = "Cannot set non-string value to a string control";
    } else if (type == kIntegerParameter) {
        if (!PyLong_Check(value) && !is_numpy_integer(value)) {
            message = "Cannot set non-integer value to an integer control";
        }
    } else {
        message = "setControl called with unknown ID";
    }
    if (message != nullptr) PyErr_SetString(PyExc_RuntimeError, message);
    return message == nullptr ? 0 : -1;
}

int problem_setControl_single(Problem* problem, int id, int type, int solver, PyObject* value) {
    require_status(check_setCtrl(type, value));
    const bool optimizer = solver == kOptimizer;
    if (type == kDoubleParameter) {
        const Ref number = Ref::steal(PyNumber_Float(value));
        if (!number && PyErr_ExceptionMatches(PyExc_OverflowError))
            raise_runtime_error("Value is beyond the range of a floating-point control");
        if (!number) throw PythonFailure();
        const double converted = PyFloat_AS_DOUBLE(number.get());
        return optimizer ? QLXsetdblcontrol(problem->prob, id, converted)
                         : QSLPsetdblcontrol(problem->slpprob, id, converted);
    }
    if (type == kStringParameter) {
        const Block<char> text = Block<char>::adopt(pyStrToStr(value));
        if (!text) throw PythonFailure();
        return optimizer ? QLXsetstrcontrol(problem->prob, id, text.get())
                         : QSLPsetstrcontrol(problem->slpprob, id, text.get());
    }
    const Ref number = require(PyNumber_Long(value));
    int overflow = 0;
    const long converted = PyLong_AsLongAndOverflow(number.get(), &overflow);
    if (converted == -1 && PyErr_Occurred()) throw PythonFailure();
    if (overflow != 0 || converted != static_cast<int>(converted)) {
        raise_runtime_error("Value %S is beyond the 32-bit range of an integer control",
                            number.get());
    }
    return optimizer ? QLXsetintcontrol(problem->prob, id, static_cast<int>(converted))
                     : QSLPsetintcontrol(problem->slpprob, id, static_cast<int>(converted));
}

int apply_default_controls(Problem* problem) {
    const Ref items = require(PyDict_Items(qlx_py_env.default_controls));
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(items.get()); ++i) {
        PyObject* const item = PyList_GET_ITEM(items.get(), i);
        const Ref entry =
            Ref::share(PyDict_GetItemWithError(qlx_py_env.ctrl_table, PyTuple_GET_ITEM(item, 0)));
        ParameterTriple triple{};
        if (!read_triple(entry.get(), &triple)) {
            PyErr_Clear();
            raise_runtime_error("Incorrect control name in initialization");
        }
        const int status = problem_setControl_single(problem, triple.id, triple.type, triple.solver,
                                                     PyTuple_GET_ITEM(item, 1));
        if (status != 0) return status;
    }
    return 0;
}

PyMethodDef control_methods[] = {
    {"getControl", method<problem_getControl>, METH_VARARGS,
     "getControl($self, *names)\n--\n\n"
     "One name: the value of that control. A list, tuple or iterator of names, or several names:\n"
     "a dict of their values. No name: a dict of all controls."},
    {"setControl", method<problem_setControl>, METH_VARARGS,
     "setControl(name, value) or setControl(settings)\n\n"
     "Set one control, or those of a dict {name: value} in its order, up to the first failure."},
    {"getAttrib", method<problem_getAttrib>, METH_VARARGS,
     "getAttrib($self, *names)\n--\n\n"
     "One name: the value of that attribute. A list, tuple or iterator of names, or several "
     "names:\n"
     "a dict of their values. No name: a dict of all attributes."},
    {nullptr, nullptr, 0, nullptr},
};

}  // namespace quilex

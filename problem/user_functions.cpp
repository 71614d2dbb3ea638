// Registering Python callables with the nonlinear solver, and its calls of them.
#include "problem/user_functions.hpp"

#include <cmath>

#include "module/boundary.hpp"
#include "module/interpreter_lock.hpp"
#include "module/library_error.hpp"
#include "module/pending_exception.hpp"

namespace quilex {

namespace {

constexpr char kName[] = "xpy_generic_user_function";
constexpr double kFailed = -3.0;
constexpr int kInputsVary = -1;

PyObject* require_callable(PyObject* operands) {
    if (!PyTuple_Check(operands) || PyTuple_GET_SIZE(operands) == 0 ||
        !PyCallable_Check(PyTuple_GET_ITEM(operands, 0))) {
        raise_runtime_error(
            "Invalid user function, must specify at least one argument (the user function itself)");
    }
    return PyTuple_GET_ITEM(operands, 0);
}

// All functions are defined alike: called directly, with inputs, steps and places for results.
void define(Problem* problem, int number, PyObject* object) {
    PyObject* const self = as_object(problem);
    QSLPprob prob = problem->slpprob;
    int name = 0;
    int linkage = 0;
    require_library(self, QSLPsetstring(prob, &name, kName));
    require_library(self, QSLPsetstring(prob, &linkage, "DirectC"));
    const int types[] = {QSLP_TOKEN_STRING, QSLP_TOKEN_LINKAGE, QSLP_TOKEN_ARGUMENTS,
                         QSLP_TOKEN_STRING, QSLP_TOKEN_END};
    const double values[] = {static_cast<double>(name), 1.0, 19.0, static_cast<double>(linkage),
                             0.0};
    require_library(self, QSLPadduserfuncs(prob, 1, types, values));
    require_library(self, QSLPaddnames(prob, QSLP_NAMES_USERFUNCTION, kName, number, number));
    require_library(self, QSLPchguserfuncaddress(prob, number, xpy_generic_user_function));
    require_library(self, QSLPsetuserfuncobject(prob, number, object));
}

// Where all formulas give a function as many inputs the library need not find out how many they
// are.
void state_inputs(Problem* problem, int number, int inputs) {
    int& known = problem->user_functions->inputs[static_cast<size_t>(number) - 1];
    if (known == inputs || known == kInputsVary) return;
    require_library(as_object(problem),
                    QSLPchguserfuncinputs(problem->slpprob, number, kInputsVary));
    known = kInputsVary;
}

int add_function(Problem* problem, PyObject* callable, int inputs) {
    UserFunctions& known = *problem->user_functions;
    const auto number = static_cast<int>(known.inputs.size()) + 1;
    const Ref key = require(PyLong_FromLong(number));
    const Ref object = require(PyTuple_Pack(2, callable, key.get()));
    known.inputs.reserve(known.inputs.size() + 1);
    define(problem, number, object.get());
    require_library(as_object(problem), QSLPchguserfuncinputs(problem->slpprob, number, inputs));
    require_status(PyList_Append(known.objects.get(), object.get()));
    known.inputs.push_back(inputs);
    require_status(PyDict_SetItem(known.numbers.get(), callable, key.get()));
    return number;
}

// What the library wants of a call.
struct Request {
    QSLPprob prob = nullptr;
    int inputs = 0;
    int wants_value = 0;
    int wants_derivatives = 0;
    int function = 0;
    PyObject* object = nullptr;  // borrowed

    // In a call for a difference, which may fail without harm.
    bool is_trial() const noexcept { return wants_value > 1; }
};

bool read_request(void* context, Request& request) noexcept {
    void* prob = nullptr;
    void* object = nullptr;
    if (QSLPgetfuncobject(context, QSLP_POINTER_PROBLEM, &prob) != 0 ||
        QSLPgetfuncinfo(context, &request.inputs, &request.wants_value, &request.wants_derivatives,
                        &request.function) != 0) {
        return false;
    }
    request.prob = static_cast<QSLPprob>(prob);
    if (QSLPgetuserfuncobject(request.prob, request.function, &object) != 0) return false;
    request.object = static_cast<PyObject*>(object);
    return object != nullptr;
}

Ref tuple_of(const double* values, int count) {
    Ref tuple = require(PyTuple_New(count));
    for (int i = 0; i < count; ++i) {
        PyTuple_SET_ITEM(tuple.get(), i, require(PyFloat_FromDouble(values[i])).release());
    }
    return tuple;
}

// A number among a function's results; `position` 0 is the value.
double number_in(PyObject* result, Py_ssize_t position) {
    if (PyFloat_Check(result)) return PyFloat_AS_DOUBLE(result);
    const double value = PyUnicode_Check(result) ? -1.0 : PyFloat_AsDouble(result);
    if (PyUnicode_Check(result) || (value == -1.0 && PyErr_Occurred())) {
        if (PyErr_Occurred() && !PyErr_ExceptionMatches(PyExc_TypeError)) throw PythonFailure();
        if (position == 0) {
            raise(PyExc_TypeError,
                  "A user function must return a number, or a tuple of the value and the "
                  "derivatives, not %s",
                  Py_TYPE(result)->tp_name);
        }
        raise(PyExc_TypeError, "Derivative %zd of a user function must be a number, not %s",
              position, Py_TYPE(result)->tp_name);
    }
    return value;
}

// A number is the value; a tuple has the value first and the derivatives by each input, in order,
// after it: as many as the function cares to give. Value and derivatives that are not a number are
// the library's to deal with.
double store_results(PyObject* result, const Request& request, const double* deltas,
                     double* results) {
    if (!PyTuple_Check(result)) return results[0] = number_in(result, 0);
    const Py_ssize_t size = PyTuple_GET_SIZE(result);
    if (size == 0 || size > request.inputs + 1) {
        raise(PyExc_TypeError,
              "A user function of %d arguments must return a number or a tuple of 1 .. %d, not of "
              "%zd",
              request.inputs, request.inputs + 1, size);
    }
    const double value = number_in(PyTuple_GET_ITEM(result, 0), 0);
    if (request.wants_derivatives != 0) {
        for (Py_ssize_t i = 1; i < size; ++i) {
            if (deltas[i - 1] != 0.0) results[i] = number_in(PyTuple_GET_ITEM(result, i), i);
        }
    }
    results[0] = value;  // last: a call that failed has none
    return 0.0;
}

double call_function(const Request& request, const double* input, const double* deltas,
                     double* results) {
    const Ref object = share(request.object);
    const Ref arguments = tuple_of(input, request.inputs);
    const Ref result =
        require(PyObject_Call(PyTuple_GET_ITEM(object.get(), 0), arguments.get(), nullptr));
    return store_results(result.get(), request, deltas, results);
}

// Leaves RuntimeError pending, with the exception that was as its cause, and has the solve end.
// KeyboardInterrupt and the like are not the function's fault and stay as they are.
void report_failure(QSLPprob prob) noexcept {
    if (!PyErr_ExceptionMatches(PyExc_Exception)) {
        QSLPinterrupt(prob, QLX_STOP_CTRLC);
        return;
    }
    Ref cause = take_exception();
    PyErr_SetString(PyExc_RuntimeError, "Problem encountered in user function");
    Ref error = take_exception();
    PyException_SetContext(error.get(), share(cause.get()).release());
    PyException_SetCause(error.get(), cause.release());
    set_exception(std::move(error));
    QSLPinterrupt(prob, QLX_STOP_USER);
}

// The handle of the library's problem that exceptions of a call belong to.
const void* owner_of(void* context) noexcept {
    void* owner = nullptr;
    QSLPgetfuncobject(context, QSLP_POINTER_USEROBJECT, &owner);
    return owner != nullptr ? static_cast<const Problem*>(owner)->prob : nullptr;
}

}  // namespace

int UserFunctions::traverse(visitproc visit, void* arg) const noexcept {
    Py_VISIT(numbers.get());
    Py_VISIT(objects.get());
    return 0;
}

void UserFunctions::clear() noexcept {
    inputs.clear();
    const Ref dropped_numbers = std::move(numbers);
    const Ref dropped_objects = std::move(objects);
}

int create_user_function(Problem* problem, PyObject* operands) {
    PyObject* const callable = require_callable(operands);
    UserFunctions& known = *problem->user_functions;
    if (!known.numbers) {
        known.objects = require(PyList_New(0));
        known.numbers = require(PyDict_New());
    }
    const auto inputs = static_cast<int>(PyTuple_GET_SIZE(operands) - 1);
    PyObject* const number = PyDict_GetItemWithError(known.numbers.get(), callable);
    if (number == nullptr) {
        if (PyErr_Occurred()) throw PythonFailure();
        return add_function(problem, callable, inputs);
    }
    const auto found = static_cast<int>(PyLong_AsLong(number));
    state_inputs(problem, found, inputs);
    return found;
}

double xpy_generic_user_function(const double* input, void* context, const double* deltas,
                                 double* results) noexcept {
    if (!Py_IsInitialized()) return kFailed;
    const CallbackLock lock(owner_of(context));
    Request request;
    // After a failure the solve is about to end, and no Python code may run.
    if (lock.exception_pending() || !read_request(context, request)) return kFailed;
    double value = kFailed;
    if (guarded([&] { value = call_function(request, input, deltas, results); })) return value;
    const bool is_domain_error = PyErr_ExceptionMatches(PyExc_ArithmeticError) != 0 ||
                                 PyErr_ExceptionMatches(PyExc_ValueError) != 0;
    if (request.is_trial() && is_domain_error) {
        PyErr_Clear();
    } else {
        report_failure(request.prob);
    }
    return kFailed;
}

}  // namespace quilex

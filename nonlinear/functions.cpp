// The elementary and user functions of the module.
#include "nonlinear/functions.hpp"

#include <cmath>

#include "model/containers.hpp"
#include "module/boundary.hpp"
#include "module/numpy.hpp"
#include "module/pending_exception.hpp"
#include "nonlinear/node_internal.hpp"

namespace quilex {

namespace {

double natural_log(double x) {
    return std::log(x);
}
// The solver's own decimal logarithm is this product; the two agree to the last bit.
double decimal_log(double x) {
    return std::log(x) * 0.4342944819032518;
}
double absolute_value(double x) {
    return std::fabs(x);
}
double square_root(double x) {
    return std::sqrt(x);
}
double sign(double x) {
    return x < 0.0 ? -1.0 : x > 0.0 ? 1.0 : 0.0;
}
double sine(double x) {
    return std::sin(x);
}
double cosine(double x) {
    return std::cos(x);
}
double tangent(double x) {
    return std::tan(x);
}
double arc_sine(double x) {
    return std::asin(x);
}
double arc_cosine(double x) {
    return std::acos(x);
}
double arc_tangent(double x) {
    return std::atan(x);
}
double exponential(double x) {
    return std::exp(x);
}
double error_function(double x) {
    return std::erf(x);
}
double complementary_error_function(double x) {
    return std::erfc(x);
}

struct RecursionLeft {
    ~RecursionLeft() { Py_LeaveRecursiveCall(); }
};

// A function of a number is computed, of an array applied to each element, of a modelling object
// a node. No domain is checked: the mathematics library's NaN or infinity is the result.
template <NodeCode Code, double (*Function)(double)>
Ref elementary_function(PyObject* module, PyObject* argument);

// The module function itself, as vector_compose_op calls it.
template <NodeCode Code, double (*Function)(double)>
PyObject* element_function(PyObject* module, PyObject* argument) noexcept {
    return slot<elementary_function<Code, Function>>(module, argument);
}

Ref apply_to_elements(PyObject* module, PyObject* array, double (*number_function)(double),
                      PyObject* (*function)(PyObject*, PyObject*));

template <NodeCode Code, double (*Function)(double)>
Ref elementary_function(PyObject* module, PyObject* argument) {
    const OperandKind kind = quick_kind(argument);
    if (kind > kConstant) return make_unary(Code, argument);
    if (kind == kConstant || isNumericConstant(argument))
        return python_float(Function(constant_value(argument)));
    if (is_numpy_array(argument))
        return apply_to_elements(module, argument, Function, element_function<Code, Function>);
    if (offers_array(argument))
        return elementary_function<Code, Function>(module, offered_array(argument).get());
    return nonlin_build_node(false, Code, argument);
}

template <NodeCode Code>
Ref nary_function(PyObject*, PyObject* const* arguments, Py_ssize_t count) {
    Ref tuple = require(PyTuple_New(count));
    for (Py_ssize_t i = 0; i < count; ++i)
        PyTuple_SET_ITEM(tuple.get(), i, Ref::share(arguments[i]).release());
    return nonlin_build_node(true, Code, tuple.get());
}

// The result of one element; a failure says that it happened in an array, and carries its cause.
Ref element_result(PyObject* result) {
    if (result != nullptr) return Ref::steal(result);
    if (!PyErr_ExceptionMatches(PyExc_Exception) || PyErr_ExceptionMatches(PyExc_MemoryError) ||
        PyErr_ExceptionMatches(PyExc_RecursionError))
        throw PythonFailure();
    Ref cause = take_exception();
    PyErr_SetString(PyExc_RuntimeError, "Cannot compose operation");
    Ref failure = take_exception();
    PyException_SetCause(failure.get(), cause.release());
    set_exception(std::move(failure));
    throw PythonFailure();
}

[[noreturn]] void raise_not_iterable() {
    PyErr_Clear();
    raise_runtime_error("Cannot iterate on sequence of arguments");
}

// A C-contiguous array of the shape and subclass of another one.
Ref new_like(PyArrayObject* array, int type) {
    Ref result = require(PyArray_NewLikeArray(array, NPY_CORDER, PyArray_DescrFromType(type), 1));
    PyArrayObject* const made = reinterpret_cast<PyArrayObject*>(result.get());
    if (PyArray_SIZE(made) != PyArray_SIZE(array) || !PyArray_IS_C_CONTIGUOUS(made))
        raise_not_iterable();
    return result;
}

// The elements of an array of any strides in C order and as the given type.
Ref elements_of(PyObject* array, int type) {
    Ref elements = Ref::steal(PyArray_FROM_OTF(array, type, NPY_ARRAY_CARRAY_RO));
    if (!elements) raise_not_iterable();
    return elements;
}

template <class Element>
Element* data_of(const Ref& array) noexcept {
    return static_cast<Element*>(PyArray_DATA(reinterpret_cast<PyArrayObject*>(array.get())));
}

// Applies a function of objects to the elements of an array.
template <class Function>
Ref compose_objects(PyObject* object, Function function) {
    PyArrayObject* const array = reinterpret_cast<PyArrayObject*>(object);
    const Ref source = elements_of(object, NPY_OBJECT);
    Ref result = new_like(array, NPY_OBJECT);
    PyObject* const* const from = data_of<PyObject*>(source);
    PyObject** const to = data_of<PyObject*>(result);
    // An array may hold arrays, and itself.
    require_status(Py_EnterRecursiveCall(" while applying a function to an array") != 0 ? -1 : 0);
    const RecursionLeft left;
    for (npy_intp i = 0; i < PyArray_SIZE(array); ++i) {
        const Ref element = Ref::share(from[i] == nullptr ? Py_None : from[i]);
        Ref value = element_result(function(element.get()));
        const Ref old = Ref::steal(std::exchange(to[i], value.release()));
    }
    return result;
}

Ref compose_numbers(PyObject* object, double (*function)(double)) {
    PyArrayObject* const array = reinterpret_cast<PyArrayObject*>(object);
    const Ref source = elements_of(object, NPY_DOUBLE);
    Ref result = new_like(array, NPY_DOUBLE);
    const double* const from = data_of<double>(source);
    double* const to = data_of<double>(result);
    for (npy_intp i = 0; i < PyArray_SIZE(array); ++i) to[i] = function(from[i]);
    return result;
}

bool holds_plain_numbers(PyArrayObject* array) noexcept {
    const int type = PyArray_TYPE(array);
    return PyArray_ISBOOL(array) || PyArray_ISINTEGER(array) || type == NPY_DOUBLE ||
           type == NPY_FLOAT || type == NPY_HALF;
}

Ref apply_to_elements(PyObject* module, PyObject* array, double (*number_function)(double),
                      PyObject* (*function)(PyObject*, PyObject*)) {
    if (holds_plain_numbers(reinterpret_cast<PyArrayObject*>(array)))
        return compose_numbers(array, number_function);
    return compose_objects(array, [=](PyObject* element) { return function(module, element); });
}

#define ELEMENTARY(name, code, function, purpose)                                                \
    {                                                                                            \
#name, method < elementary_function < code, function>>, METH_O,                          \
            #name "(t, /)\n--\n\n" purpose "\n\na = quilex." #name                               \
                  " (t)\n\n"                                                                     \
                  "The argument is a number, a modelling object, or a numpy array of them, to\n" \
                  "whose elements the function is applied. Use this function instead of the\n"   \
                  "one in Python's math module when the argument depends on variables."          \
    }

}  // namespace

PyMethodDef function_methods[] = {
    ELEMENTARY(sin, kSin, sine, "The sine of t (in radians)."),
    ELEMENTARY(cos, kCos, cosine, "The cosine of t (in radians)."),
    ELEMENTARY(tan, kTan, tangent, "The tangent of t (in radians)."),
    ELEMENTARY(asin, kAsin, arc_sine, "The arc sine of t."),
    ELEMENTARY(acos, kAcos, arc_cosine, "The arc cosine of t."),
    ELEMENTARY(atan, kAtan, arc_tangent, "The arc tangent of t."),
    ELEMENTARY(exp, kExp, exponential, "The exponential of t."),
    ELEMENTARY(log, kLog, natural_log, "The natural logarithm of t."),
    ELEMENTARY(log10, kLog10, decimal_log, "The decimal logarithm of t."),
    ELEMENTARY(abs, kAbs, absolute_value, "The absolute value of t."),
    ELEMENTARY(sqrt, kSqrt, square_root, "The square root of t."),
    ELEMENTARY(sign, kSign, sign, "The sign of t: 1 if positive, -1 if negative, 0 if zero."),
    ELEMENTARY(erf, kErf, error_function, "The error function of t."),
    ELEMENTARY(erfc, kErfc, complementary_error_function, "The complementary error function of t."),
    {"max", method<nary_function<kMax>>, METH_FASTCALL,
     "max(*terms)\n--\n\nThe maximum of its arguments.\n\na = quilex.max (t1, t2, ..., tn)\n\n"
     "The arguments are numbers and modelling objects. Use this function instead of\n"
     "Python's own max when an argument depends on variables."},
    {"min", method<nary_function<kMin>>, METH_FASTCALL,
     "min(*terms)\n--\n\nThe minimum of its arguments.\n\na = quilex.min (t1, t2, ..., tn)\n\n"
     "The arguments are numbers and modelling objects. Use this function instead of\n"
     "Python's own min when an argument depends on variables."},
    {"user", method<nary_function<kUser>>, METH_FASTCALL,
     "user(f, /, *terms)\n--\n\nA function of the user's own.\n\n"
     "a = quilex.user (f, t1, t2, ..., tn)\n\n"
     "During the solve f is called with the values of t1, ..., tn and must return a\n"
     "float; the behaviour is otherwise undefined."},
    {nullptr, nullptr, 0, nullptr},
};

Ref vector_compose_op(PyObject*, PyObject* array, PyObject* function) {
    return compose_objects(
        array, [=](PyObject* element) { return PyObject_CallOneArg(function, element); });
}

}  // namespace quilex

// The arguments of the constructor quilex.constraint.
#include "model/constraint_arguments.hpp"

#include "model/constraint.hpp"
#include "model/containers.hpp"
#include "model/var.hpp"
#include "module/numpy.hpp"

namespace quilex {

namespace {

// Bounds and right-hand sides that no caller gives stand for "not given"; a NaN counts as given.
constexpr double kNoLowerBound = -2e20;
constexpr double kNoUpperBound = 2e20;
constexpr double kNoRightHandSide = -2e20;

enum Sense : long { kNoSense = 0, kLessEqual = 1, kGreaterEqual = 2 };

// The element at index zero in every dimension.
Ref first_element(PyObject* object) {
    PyArrayObject* const array = reinterpret_cast<PyArrayObject*>(object);
    if (PyArray_SIZE(array) == 0)
        raise_runtime_error("Invalid expression passed as body of constraint");
    return require(PyArray_GETITEM(array, PyArray_BYTES(array)));
}

Ref checked_body(PyObject* body) {
    Ref checked = array_if_offered(body);
    if (is_numpy_array(checked.get())) checked = first_element(checked.get());
    if (classify(checked.get()) == kInvalid)
        raise_runtime_error("Invalid expression passed as body of constraint");
    return checked;
}

[[noreturn]] void raise_missing() {
    raise_runtime_error(
        "Arguments required for quilex.constraint(): constraint OR {body, lb and/or ub} OR "
        "{body,sense,rhs}.");
}

[[noreturn]] void raise_contradiction() {
    raise_runtime_error(
        "Cannot create constraint by specifying both rhs AND either or both of lb/ub.");
}

}  // namespace

ConstraintArguments parse_constraint_arguments(PyObject* args, PyObject* keywords) {
    static const char* const names[] = {"constraint", "body", "lb",   "ub",
                                        "sense",      "rhs",  "name", nullptr};
    PyObject* source = nullptr;
    PyObject* body = nullptr;
    PyObject* name = nullptr;
    double lb = kNoLowerBound;
    double ub = kNoUpperBound;
    double rhs = kNoRightHandSide;
    long sense = kNoSense;
    if (!PyArg_ParseTupleAndKeywords(args, keywords, "|OOddldO", const_cast<char**>(names), &source,
                                     &body, &lb, &ub, &sense, &rhs, &name)) {
        if (PyErr_ExceptionMatches(PyExc_OverflowError))
            raise_runtime_error(
                "An argument of constraint() is an int beyond the range of its type");
        throw PythonFailure();
    }
    ConstraintArguments result{Ref(), lb, ub, name};
    if (body != nullptr) result.body = checked_body(body);
    if (source != nullptr) {
        if (Py_TYPE(source) != &constraint_type)
            raise_runtime_error(
                "Attempt to generate an empty constraint failed. Consider using "
                "quilex.constraint(body=..., sense=..., rhs=...) instead.");
        auto* const other = reinterpret_cast<Constraint*>(source);
        result.body = constraint_body(other);
        result.lb = other->lb;
        result.ub = other->ub;
    } else {
        if (body == nullptr) raise_missing();
        const bool bound_given = lb != kNoLowerBound || ub != kNoUpperBound;
        const bool rhs_given = rhs != kNoRightHandSide;
        if (sense == kNoSense && !bound_given) raise_missing();
        if (rhs_given && (bound_given || sense == kNoSense)) raise_contradiction();
        if (rhs_given) {
            result.lb = sense == kLessEqual ? kNoLowerBound : rhs;
            result.ub = sense == kGreaterEqual ? kNoUpperBound : rhs;
        }
    }
    if (result.lb == kNoLowerBound) result.lb = -kInfinity;
    if (result.ub == kNoUpperBound) result.ub = kInfinity;
    return result;
}

}  // namespace quilex

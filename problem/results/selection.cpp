// The arguments index, first and last that deletion and look-up share.
#include "problem/results/selection.hpp"

#include <algorithm>
#include <limits>

#include "model/constraint.hpp"
#include "model/sos.hpp"
#include "model/var.hpp"
#include "problem/transfer/dormant_constraints.hpp"

namespace quilex {

PyObject* object_of(Problem* problem, ObjectKind kind, int index) {
    if (kind == ObjectKind::kConstraint) return as_object(constraint_at(problem, index));
    return objects_of(problem, kind)[index];
}

PyObject* checked_object_of(Problem* problem, ObjectKind kind, int64_t index) {
    if (index < 0 || index >= objects_of(problem, kind).size()) {
        raise(PyExc_IndexError, "list index out of range");
    }
    return object_of(problem, kind, static_cast<int>(index));
}

int index_in_problem(const Problem* problem, PyObject* object, bool* known) noexcept {
    *known = true;
    if (is_variable(object)) {
        return problem->var_index.find(reinterpret_cast<Variable*>(object)->index);
    }
    if (is_constraint(object)) {
        return problem->con_index.find(reinterpret_cast<Constraint*>(object)->index);
    }
    if (is_special_ordered_set(object)) {
        return problem->sos_index.find(reinterpret_cast<SpecialOrderedSet*>(object)->index);
    }
    *known = false;
    return IndexMap::kMissing;
}

namespace {

// What is beyond the range of an int is out of every other range too.
int clipped(PyObject* number) {
    if (number == nullptr) return -1;
    const Py_ssize_t value = PyNumber_AsSsize_t(number, nullptr);
    if (value == -1 && PyErr_Occurred()) throw PythonFailure();
    constexpr Py_ssize_t kLargest = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(value, -kLargest, kLargest));
}

}  // namespace

Selection parse_selection(PyObject* arguments, PyObject* keywords) {
    static const char* names[] = {"index", "first", "last", nullptr};
    Selection selection;
    PyObject* first = nullptr;
    PyObject* last = nullptr;
    if (!PyArg_ParseTupleAndKeywords(arguments, keywords, "|OOO", const_cast<char**>(names),
                                     &selection.index, &first, &last)) {
        throw PythonFailure();
    }
    selection.first = clipped(first);
    selection.last = clipped(last);
    if (selection.index == Py_None) selection.index = nullptr;
    return selection;
}

}  // namespace quilex

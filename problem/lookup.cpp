// getVariable, getConstraint, getSOS, getIndex.
#include <algorithm>

#include "bridge/conversion.hpp"
#include "bridge/integers.hpp"
#include "module/boundary.hpp"
#include "problem/access.hpp"
#include "problem/building.hpp"
#include "problem/results/selection.hpp"
#include "problem/transfer/walker.hpp"

namespace quilex {

namespace {

// Looks up every leaf index; the result is a list in walking order.
class LookupWalker final : public ArgumentWalker {
  public:
    LookupWalker(Problem* problem, ObjectKind kind)
        : ArgumentWalker(kDepthOfVariables),
          problem_(problem),
          kind_(kind),
          result_(require(PyList_New(0))) {}
    Ref take() noexcept { return std::move(result_); }

  private:
    void leaf(PyObject* object) override {
        const int index = require_index(problem_, object, static_cast<ElementKind>(kind_));
        if (index < 0 || index >= objects_of(problem_, kind_).size()) {
            raise_runtime_error("Index out of range");
        }
        require_status(PyList_Append(result_.get(), object_of(problem_, kind_, index)));
    }
    bool is_plain_leaf(PyTypeObject* type) const noexcept override { return type == &PyLong_Type; }

    Problem* problem_;
    ObjectKind kind_;
    Ref result_;
};

Ref list_of_objects(Problem* problem, ObjectKind kind, int first, int end) {
    Ref list = require(PyList_New(end - first));
    for (int i = first; i < end; ++i) {
        PyList_SET_ITEM(list.get(), i - first, Ref::share(object_of(problem, kind, i)).release());
    }
    return list;
}

Ref range_of_objects(Problem* problem, ObjectKind kind, const Selection& selection) {
    if (selection.index != nullptr) {
        raise_runtime_error(
            "Parameters 'first' and 'last' cannot be specified if 'index' is also specified");
    }
    if (selection.first < 0 || selection.last < 0) {
        raise_runtime_error(
            "Parameters 'first' and 'last' must be both nonnegative when specified");
    }
    const int count = objects_of(problem, kind).size();
    if (selection.first >= count || selection.last >= count) {
        raise_runtime_error("Parameters 'first' and 'last' are out of range");
    }
    return list_of_objects(problem, kind, selection.first,
                           std::max(selection.first, selection.last + 1));
}

template <ObjectKind Kind>
Ref lookup_method(PyObject* self, PyObject* arguments, PyObject* keywords) {
    const Selection selection = parse_selection(arguments, keywords);
    Problem* const problem = reading(self);
    if (selection.first >= 0 || selection.last >= 0) {
        return range_of_objects(problem, Kind, selection);
    }
    const int count = objects_of(problem, Kind).size();
    if (selection.index == nullptr) {
        return list_of_objects(problem, Kind, 0, count);
    }
    if (is_index(selection.index)) {
        return Ref::share(checked_object_of(problem, Kind, int64_value(selection.index)));
    }
    LookupWalker walker(problem, Kind);
    walker.walk(&selection.index, 1);
    return walker.take();
}

Ref problem_getIndex(PyObject* self, PyObject* object) {
    Problem* const problem = reading(self);
    bool known = false;
    const int index = index_in_problem(problem, object, &known);
    if (index == IndexMap::kMissing) {
        raise_runtime_error("Incorrect object(s) passed: need variable, constraint, or SOS");
    }
    return require(PyLong_FromLong(index));
}

}  // namespace

PyMethodDef lookup_methods[] = {
    {"getVariable", method<lookup_method<ObjectKind::kVariable>>, METH_VARARGS | METH_KEYWORDS,
     "getVariable($self, index=None, first=-1, last=-1)\n--\n\n"
     "The variable at an index, a list of those at a nested list of indices, or of those from\n"
     "`first` to `last`; without arguments a list of all, in the order of the columns."},
    {"getConstraint", method<lookup_method<ObjectKind::kConstraint>>, METH_VARARGS | METH_KEYWORDS,
     "getConstraint($self, index=None, first=-1, last=-1)\n--\n\n"
     "The constraint at an index, or a list of constraints, chosen as in getVariable."},
    {"getSOS", method<lookup_method<ObjectKind::kSet>>, METH_VARARGS | METH_KEYWORDS,
     "getSOS($self, index=None, first=-1, last=-1)\n--\n\n"
     "The special ordered set at an index, or a list of sets, chosen as in getVariable."},
    {"getIndex", method<problem_getIndex>, METH_O,
     "getIndex($self, object, /)\n--\n\n"
     "The index of a variable (its column), a constraint (its row) or a special ordered set."},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace quilex

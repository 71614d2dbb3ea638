// delVariable, delConstraint, delSOS.
#include "problem/deletion.hpp"

#include <algorithm>

#include "bridge/conversion.hpp"
#include "bridge/integers.hpp"
#include "model/constraint.hpp"
#include "model/containers.hpp"
#include "model/sos.hpp"
#include "model/var.hpp"
#include "module/boundary.hpp"
#include "module/library_error.hpp"
#include "problem/access.hpp"
#include "problem/building.hpp"
#include "problem/nonlinear_objective.hpp"
#include "problem/results/selection.hpp"
#include "problem/row_gate.hpp"
#include "problem/transfer/nonlinear_part.hpp"

namespace quilex {

namespace {

using DeleteCall = int (*)(QLXprob, int, const int*);

std::vector<int> sorted(std::span<const int> indices) {
    std::vector<int> result(indices.begin(), indices.end());
    std::sort(result.begin(), result.end());
    return result;
}

// Deletes in the library first, as it checks the indices; then in the map and the list. The
// library gets the indices in the order in which they were given, for its messages.
void delete_objects(Problem* problem, std::span<const int> indices, DeleteCall call,
                    ObjectList& objects, IndexMap& map) {
    if (indices.empty()) return;
    const std::vector<int> ascending = sorted(indices);
    require_library(as_object(problem),
                    call(problem->prob, static_cast<int>(indices.size()), indices.data()));
    try {
        map.erase_indices(ascending);
    } catch (const std::bad_alloc&) {
        raise_runtime_error("Cannot delete item");
    }
    objects.remove(ascending);
}

}  // namespace

void delete_rows(Problem* problem, std::span<const int> rows) {
    require_no_transfer_row(problem, rows);
    settle_rows(problem, RowChange::kDeletion, rows);
    delete_objects(problem, rows, QLXdelrows, problem->constraints, problem->con_index);
    int& transfer = problem->objective_transfer_row;
    transfer = index_after_deletion(transfer, rows);
    recount_coefficients(problem);
}

void delete_columns(Problem* problem, std::span<const int> columns) {
    require_no_transfer_column(problem, columns);
    settle_rows(problem, RowChange::kColumnDeletion, columns);
    delete_objects(problem, columns, QLXdelcols, problem->variables, problem->var_index);
    int& transfer = problem->objective_transfer_column;
    transfer = index_after_deletion(transfer, columns);
}

void delete_sets(Problem* problem, std::span<const int> sets) {
    delete_objects(problem, sets, QLXdelsets, problem->sos, problem->sos_index);
}

namespace {

std::vector<int> range_to_delete(const Selection& selection, const ObjectList& objects) {
    if (selection.index != nullptr) {
        raise_runtime_error(
            "Parameters 'first' and 'last' cannot be specified if 'index' is also specified");
    }
    if (selection.first < 0 || selection.last < 0) {
        raise_runtime_error(
            "Parameters 'first' and 'last' must be both nonnegative when specified");
    }
    const int count = objects.size();
    if (selection.first >= count || selection.last >= count) {
        raise_runtime_error("Parameters 'first' or 'last' are out of range");
    }
    if (selection.first > selection.last) {
        raise_runtime_error("Parameter 'first' must be less than, or equal to, 'last'");
    }
    return index_range(selection.first, selection.last - selection.first + 1);
}

bool is_of_kind(PyObject* object, ObjectKind kind) noexcept {
    switch (kind) {
        case ObjectKind::kConstraint:
            return is_constraint(object);
        case ObjectKind::kVariable:
            return is_variable(object);
        case ObjectKind::kSet:
            return is_special_ordered_set(object);
    }
    return false;
}

template <ElementKind Kind>
std::vector<int> converted(Problem* problem, PyObject* object) {
    int64_t count = -1;
    const ConvertedArray<Kind> array = convert_container<Kind>(problem, &count, object);
    return {array.elements().begin(), array.elements().end()};
}

// Sets have no array conversion of their own: their indices are converted one by one.
std::vector<int> converted_sets(Problem* problem, PyObject* object) {
    const Ref container = array_if_offered(object);
    if (!PySequence_Check(container.get()) && !PyIter_Check(container.get())) {
        raise_runtime_error("Invalid sequence of objects");
    }
    // A list of its own: finding an index may run Python code.
    const Ref items = require(PySequence_List(container.get()));
    std::vector<int> indices;
    try {
        for (Py_ssize_t i = 0; i < PyList_GET_SIZE(items.get()); ++i) {
            indices.push_back(require_index(problem, PyList_GET_ITEM(items.get(), i), kSetIndex));
        }
    } catch (const PythonFailure&) {
        raise_with_hint(object);
    }
    return indices;
}

std::vector<int> indices_to_delete(Problem* problem, PyObject* index, ObjectKind kind) {
    if (index == nullptr) raise_runtime_error("At least one parameter must be specified");
    if (is_index(index)) {
        const int value = int32_value(index);
        if (value >= 0) return {value};
    }
    if (is_of_kind(index, kind)) {
        return {require_index(problem, index, static_cast<ElementKind>(kind))};
    }
    switch (kind) {
        case ObjectKind::kConstraint:
            return converted<kRowIndex>(problem, index);
        case ObjectKind::kVariable:
            return converted<kColumnIndex>(problem, index);
        case ObjectKind::kSet:
            return converted_sets(problem, index);
    }
    return {};
}

template <ObjectKind Kind, void (*Delete)(Problem*, std::span<const int>)>
Ref delete_method(PyObject* self, PyObject* arguments, PyObject* keywords) {
    const Selection selection = parse_selection(arguments, keywords);
    Problem* const problem = changing(self);
    const bool by_range = selection.first != -1 || selection.last != -1;
    const std::vector<int> indices = by_range
                                         ? range_to_delete(selection, objects_of(problem, Kind))
                                         : indices_to_delete(problem, selection.index, Kind);
    // The conversion of the indices may have run any Python code.
    Delete(changing(self), indices);
    return none();
}

}  // namespace

static_assert(static_cast<int>(ObjectKind::kConstraint) == kRowIndex &&
              static_cast<int>(ObjectKind::kVariable) == kColumnIndex &&
              static_cast<int>(ObjectKind::kSet) == kSetIndex);

PyMethodDef deletion_methods[] = {
    {"delVariable", method<delete_method<ObjectKind::kVariable, delete_columns>>,
     METH_VARARGS | METH_KEYWORDS,
     "delVariable($self, index=None, first=-1, last=-1)\n--\n\n"
     "Delete variables: `index` is an index, a variable, or a list of indices, variables and\n"
     "names; `first` and `last` give a range instead. A variable that has entries in\n"
     "constraints, in the objective or in sets disappears from them in the library; the\n"
     "constraints' bodies still show it."},
    {"delConstraint", method<delete_method<ObjectKind::kConstraint, delete_rows>>,
     METH_VARARGS | METH_KEYWORDS,
     "delConstraint($self, index=None, first=-1, last=-1)\n--\n\n"
     "Delete constraints, chosen as in delVariable."},
    {"delSOS", method<delete_method<ObjectKind::kSet, delete_sets>>, METH_VARARGS | METH_KEYWORDS,
     "delSOS($self, index=None, first=-1, last=-1)\n--\n\n"
     "Delete special ordered sets, chosen as in delVariable."},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace quilex

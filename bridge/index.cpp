// One Python value as a row, column or set index.
#include "bridge/conversion.hpp"
#include "model/constraint.hpp"
#include "model/sos.hpp"
#include "model/var.hpp"
#include "module/boundary.hpp"
#include "module/library_error.hpp"
#include "module/text.hpp"
#include "problem/transfer/name_batch.hpp"

#include "bridge/integers.hpp"

namespace quilex {

namespace {

[[noreturn]] void raise_not_in_problem(const char* noun, PyObject* object) {
    raise_runtime_error("%s %S not in problem", noun, object);
}

// The index of a modelling object of the problem.
int index_of_object(Problem* problem, PyObject* object, int kind) {
    int index = IndexMap::kMissing;
    if (kind == kColumnIndex && is_variable(object)) {
        index = problem->var_index.find(reinterpret_cast<Variable*>(object)->index);
        if (index == IndexMap::kMissing) raise_not_in_problem("Variable", object);
    } else if (kind == kRowIndex && is_constraint(object)) {
        index = problem->con_index.find(reinterpret_cast<Constraint*>(object)->index);
        if (index == IndexMap::kMissing) raise_not_in_problem("Constraint", object);
    } else if (kind == kSetIndex && is_special_ordered_set(object)) {
        index = problem->sos_index.find(reinterpret_cast<SpecialOrderedSet*>(object)->index);
        if (index == IndexMap::kMissing) raise_not_in_problem("SOS", object);
    } else {
        const char* const noun = kind == kColumnIndex ? "variable "
                                 : kind == kRowIndex  ? "constraint "
                                 : kind == kSetIndex  ? "SOS "
                                                      : "";
        raise_runtime_error("Invalid %sobject %S", noun, object);
    }
    return index;
}

int index_of_name(Problem* problem, PyObject* name, int kind) {
    require_valid_name(name, kind == kRowIndex ? "constraint" : "variable");
    const Block<char> text = Block<char>::adopt(pyStrToStr(name));
    if (!text) {
        if (!PyErr_Occurred()) throw std::bad_alloc();
        throw PythonFailure();
    }
    // Sets have no names of their own here: theirs are looked up among the columns'.
    const int type = kind == kRowIndex ? QLX_NAMES_ROW : QLX_NAMES_COLUMN;
    int index = 0;
    require_library(as_object(problem), QLXgetindex(problem->prob, type, text.get(), &index));
    return index;
}

}  // namespace

int require_index(Problem* problem, PyObject* object, ElementKind kind) {
    if (is_index(object)) return int32_value(object);
    if (problem == nullptr) raise_runtime_error("Invalid object %S", object);
    if (PyUnicode_Check(object) || PyBytes_Check(object)) {
        return index_of_name(problem, object, kind);
    }
    return index_of_object(problem, object, kind);
}

int ObjInt2int(PyObject* object, PyObject* problem, int* index, int kind) noexcept {
    return guarded([&] {
        *index = require_index(reinterpret_cast<Problem*>(problem), object,
                               static_cast<ElementKind>(kind));
    })
               ? 0
               : -1;
}

}  // namespace quilex

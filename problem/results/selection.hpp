// The arguments index, first and last that deletion and look-up share.
#pragma once

#include "problem/problem.hpp"

namespace quilex {

// What the methods of one kind of object work on.
enum class ObjectKind : int { kConstraint = 0, kVariable = 1, kSet = 2 };

inline ObjectList& objects_of(Problem* problem, ObjectKind kind) noexcept {
    switch (kind) {
        case ObjectKind::kConstraint:
            return problem->constraints;
        case ObjectKind::kVariable:
            return problem->variables;
        case ObjectKind::kSet:
            break;
    }
    return problem->sos;
}

// An object of the problem, borrowed from it.
PyObject* object_of(Problem* problem, ObjectKind kind, int index);

// The same for an index that may be any number; IndexError for one that is out of range.
PyObject* checked_object_of(Problem* problem, ObjectKind kind, int64_t index);

// Index of an object in the map of its own kind. IndexMap::kMissing for an object that is not in
// the problem and, with *known false, for one that is of no such kind.
int index_in_problem(const Problem* problem, PyObject* object, bool* known) noexcept;

struct Selection {
    PyObject* index = nullptr;  // borrowed; null when not given
    int first = -1;
    int last = -1;
};

// Parses index, first and last; all optional.
Selection parse_selection(PyObject* arguments, PyObject* keywords);

}  // namespace quilex

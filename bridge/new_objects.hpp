// Modelling objects for columns and rows that were added to the library problem in the library's
// own terms.
#pragma once

#include "bridge/conversion.hpp"

namespace quilex {

// The integrality of new columns as parallel arrays: column (counted from the first new one),
// letter and limit of every entity.
struct Entities {
    std::span<const int> columns;
    std::span<const char> letters;
    std::span<const double> limits;  // not used
};

// Makes a variable for each of the columns first .. first + count - 1. `names` (list of str or
// bytes) and `types` (list of str, whose first character is the column's letter) may be null or
// None; without types the letters come from the entities. Throws, and then nothing has changed.
void addColsAsVariables(Problem* problem, PyObject* names, PyObject* types,
                        const Entities& entities, int first, int count);

// Makes a constraint without a body for each of the rows first .. first + count - 1. Throws, and
// then nothing has changed.
void addRowsAsConstraints(Problem* problem, PyObject* names, int first, int count);

// Takes the indices from the constraints of rows that the library refused: they stay at the end of
// the problem's list, where they can be looked at, until rows are added (problem/access.hpp).
void disown_constraints(Problem* problem, int first, int count) noexcept;

// Gives the library the names (list; null or None: none) and the letters (null: none) of the
// columns first .. first + count - 1.
void nameAndTypeColumns(Problem* problem, PyObject* names, const char* letters, int first,
                        int count);

}  // namespace quilex

// Nonlinear objectives: modelled by a row objective - column == 0 whose column is minimised or
// maximised in the objective's place.
#pragma once

#include "problem/transfer/row_entries.hpp"

namespace quilex {

// Adds the row "objtransferrow" with these entries, those of the objective, and the column
// "objtransfercol"; both have their places in the problem's lists. Where the library refuses one of
// them, takes everything back and throws.
void add_objective_transfer(Problem* problem, PyObject* objective, RowEntries& entries);

// Takes the row and column of a nonlinear objective out again; nothing happens where there is none.
// Indices behind them become smaller.
void remove_objective_transfer(Problem* problem);

// Refuse the deletion of the row and the column, which go with the objective.
void require_no_transfer_row(const Problem* problem, std::span<const int> rows);
void require_no_transfer_column(const Problem* problem, std::span<const int> columns);
// The new place of the row or column (-1: none) once others, in any order, are deleted.
int index_after_deletion(int index, std::span<const int> deleted) noexcept;

}  // namespace quilex

// Constraints that nobody but their problem holds: they sleep as rows, and are made again when
// somebody asks for them. A large model then costs its rows, not an object for each.
#pragma once

#include "model/constraint.hpp"
#include "problem/problem.hpp"
#include "problem/transfer/row_side.hpp"

namespace quilex {

// Lets go of the constraint of a row that the library holds, if the problem is its last owner and
// the row tells all about it. To be called when no borrowed reference to it is in use.
void put_to_sleep_if_alone(Problem* problem, int row, const RowSide& side) noexcept;

// The constraint of a row, borrowed from the problem; made again where it sleeps.
Constraint* constraint_at(Problem* problem, int row);

}  // namespace quilex

// Bodies of constraints whose rows the library holds: a linear body that nobody else has is
// released, and rebuilt from its row when somebody asks for it.
//
// A constraint without its body has the address of its problem in problem_slot. The body comes back
// before the row is changed or deleted and before the problem goes.
#pragma once

#include "model/constraint.hpp"
#include "model/expression.hpp"
#include "problem/problem.hpp"

namespace quilex {

inline bool has_released_body(const Constraint* constraint) noexcept {
    return constraint->problem_slot != 0;
}

// Whether the body can be rebuilt from its row exactly, and is the constraint's alone.
bool is_releasable(const Constraint* constraint) noexcept;

// Lets go of a body whose row the problem holds, in the library or in its pending batch.
void release_body(Problem* problem, Constraint* constraint) noexcept;

// The body with these entries.
Owned<Expression> body_from_entries(const Problem* problem, std::span<const int> columns,
                                    std::span<const double> coefficients);

// Rebuilds the body of one constraint, if it was released to this problem.
void restore_body(Problem* problem, Constraint* constraint);
// The same for the constraints of the given rows; those that nobody but the problem holds are left
// out when `only_held` is set.
void restore_bodies(Problem* problem, std::span<const int> rows, bool only_held);
// The same for all rows that have an entry in one of the columns.
void restore_bodies_with_columns(Problem* problem, std::span<const int> columns);
// Makes the constraints of rows that are about to change independent of them, so that they keep
// what they were made with: their bounds and, where `coefficients` change, their bodies. Indices
// out of range are left to the library.
void settle_constraints(Problem* problem, std::span<const int> rows, bool coefficients);
// Rebuilds the body of every constraint that somebody else holds: the problem is going away.
void restore_all_held_bodies(Problem* problem);
// Cuts the link of every constraint whose body is still released: nobody can ask for it any more.
void forget_released_bodies(Problem* problem) noexcept;

}  // namespace quilex

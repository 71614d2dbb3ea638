// Bodies of constraints whose rows the library holds: a linear body that nobody else has is
// released, and rebuilt from its row when somebody asks for it.
//
// A constraint without its body has the address of its problem in problem_slot. The body comes back
// before the row is changed or deleted and before the problem goes (problem/row_gate.hpp).
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

// Adds these entries to a new body.
void fill_body(Expression* body, const Problem* problem, std::span<const int> columns,
               std::span<const double> coefficients);

// Makes the body again, if it was released to this problem: from the pending batch, or from what
// the library holds.
void restore_body(Problem* problem, Constraint* constraint);

}  // namespace quilex

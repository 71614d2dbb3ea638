// Solves a linearly constrained convex program by one kernel after another, until an answer holds.
#pragma once

#include "engine/quad/convex_program.hpp"

namespace qlx::quad {

// The model has a positive semidefinite Hessian and at least one column, and is already reduced.
ConvexResult climb(const QuadraticModel& model, const ConvexControl& control);

// Which of the two ways to stop has come about.
ConvexStatus stop_status(const StopRule& rule) noexcept;

}  // namespace qlx::quad

// Convex programs with quadratic rows.
#pragma once

#include "engine/quad/convex_program.hpp"

namespace qlx::quad {

ConvexResult solve_with_quadratic_rows(const ConvexProgram& program, const ConvexControl& control);

}  // namespace qlx::quad

// Proofs of infeasibility and unboundedness for programs with ellipsoids and cones.
#pragma once

#include "engine/quad/barrier_problem.hpp"

namespace qlx::quad {

// The program of least squares of the violations: its columns are the program's and one elastic
// column a row, first those of the linear rows.
ConeProgram least_violation(const ConeProgram& program);

// The program of directions d that every bound, row and cone admits, that no Hessian sees, within
// the unit box, along which the cost falls most.
ConeProgram recession(const ConeProgram& program);

}  // namespace qlx::quad

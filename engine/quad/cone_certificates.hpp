// Auxiliary programs behind the proofs for programs with ellipsoids and cones.
#pragma once

#include <span>

#include "engine/quad/barrier_problem.hpp"
#include "engine/quad/certificates.hpp"

namespace qlx::quad {

// Phase one: the program's columns, those of its linear rows' violations and one for the violation
// of every convex row; the cost is their sum.
ConeProgram elastic_cone_program(const ConeProgram& program);

// Linear rows that all points of the program meet: the tangents of its convex rows at a point.
void add_tangents(const ConeProgram& program, std::span<const double> x, QuadraticModel& outer);

// The directions that every bound, row and cone admits, within the unit box, that no Hessian sees;
// cones are made narrower by the factor, so that what the barrier method finds lies inside.
ConeProgram recession_cone_program(const ConeProgram& program,
                                   const RecessionConditions& conditions, double narrower);
// Whether all cones of the program admit the direction.
bool meets_cones(const ConeProgram& program, std::span<const double> direction);

}  // namespace qlx::quad

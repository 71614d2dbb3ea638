// Proofs that a quadratic program has no feasible point, or no finite minimum.
#pragma once

#include <vector>

#include "engine/quad/convex_program.hpp"

namespace qlx::quad {

enum class Finding { kProven, kRefuted, kUnknown };

struct Feasibility {
    Finding infeasible = Finding::kUnknown;
    int row = -1;           // where infeasible: the row with the largest violation
    std::vector<double> x;  // the point of least violation
};

// Least squares of the scaled row violations within the column bounds. Its residual is a vector of
// Farkas: infeasible is proven by evaluating that vector, refuted by a feasible point.
Feasibility find_feasibility(const QuadraticModel& model, const QuadraticKernel& kernel,
                             const ConvexControl& control);

struct Unboundedness {
    Finding unbounded = Finding::kUnknown;
    std::vector<double> ray;
};

// Looks for a direction that every bound and row admits, that Q does not see and along which the
// cost falls; evaluates it before calling the program unbounded.
Unboundedness find_ray(const QuadraticModel& model, const QuadraticKernel& kernel,
                       const ConvexControl& control);

}  // namespace qlx::quad

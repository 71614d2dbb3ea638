// Tests whether a program is unbounded, along rays from a feasible point.
#pragma once

#include <span>
#include <vector>

#include "engine/nlp/local_solver.hpp"

namespace qlx::nlp {

struct RayOptions {
    double feasibility_tolerance = 1e-6;
    // Coordinate directions are tried in programs of at most so many columns.
    int max_coordinates = 500;
};

struct RayVerdict {
    bool is_unbounded = false;
    std::vector<double> direction;  // empty where not
    double step = 0;                // the farthest point evaluated
    double objective = 0;           // there
};

// From a feasible x: the directions given (an iterate's last steps, recession directions of the
// linear part), steepest descent without what bounds and linear rows forbid, and the coordinate
// directions. A direction proves unboundedness if, at steps 1, 2, 4 ... 1e30 times it, or until the
// objective overflows,
//   - no bound ends the way, linear rows do not move towards a side, and all rows stay feasible,
//     those that are not linear without coming nearer to a side in the last eight steps;
//   - the objective falls at every step, at last below f(x) - 1e12 max(1, |f(x)|), and in the last
//     eight steps by at least 1.1 times what it fell by in the step before. Functions that saturate
//     fall by ever less; those that grow like logarithms are left undecided with them.
// Points on the way between the steps do not matter: the steps alone are feasible points without a
// lowest value.
[[nodiscard]] RayVerdict test_rays(LocalProblem& problem, std::span<const double> x,
                                   std::span<const std::vector<double>> directions = {},
                                   const RayOptions& options = {});

}  // namespace qlx::nlp

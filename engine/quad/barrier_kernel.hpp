// Barrier method (Ipopt) as the last resort for linearly constrained programs.
#pragma once

#include "engine/quad/convex_program.hpp"

namespace qlx::quad {

// Empty in a build without Ipopt.
QuadraticKernel barrier_kernel();

}  // namespace qlx::quad

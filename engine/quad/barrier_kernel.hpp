// Barrier method (Ipopt) as the last resort for linearly constrained programs.
#pragma once

#include "engine/nlp/local_solver.hpp"
#include "engine/quad/convex_program.hpp"

namespace qlx::quad {

// Empty in a build without Ipopt.
QuadraticKernel barrier_kernel();

nlp::LocalOptions barrier_options(const StopRule& rule, int iterations);

KernelClaim claim_of(nlp::LocalStatus status) noexcept;

}  // namespace qlx::quad

// Interior point with proximal terms (PIQP) for programs whose factor has little fill.
#pragma once

#include "engine/quad/convex_program.hpp"

namespace qlx::quad {

// The Hessian must be positive semidefinite. The stop rule is read before every factorisation.
KernelAnswer solve_proximal(const QuadraticModel& model, const StopRule& rule, int iterations);

// Whether the factorisations of solve_proximal() take at most this many multiplications each.
bool has_small_factor(const QuadraticModel& model, std::int64_t work_limit);

}  // namespace qlx::quad

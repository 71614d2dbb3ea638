// The interior point method HiPO of HiGHS for large convex quadratic programs.
#pragma once

#include "engine/quad/convex_program.hpp"

namespace qlx {

// A quad::QuadraticKernel once the number of threads, at most, is bound. Where the companion
// library of HiPO is missing, HiGHS falls back to another method; the answer's claim is then
// `failed`.
quad::KernelAnswer solve_large_quadratic(const quad::QuadraticModel& model, const StopRule& rule,
                                         int iterations, int threads);

}  // namespace qlx

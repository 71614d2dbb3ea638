// The cutoff of a tree search: only better solutions are of interest.
#pragma once

#include "engine/core/problem.hpp"
#include "engine/lp/lp_kernel.hpp"

namespace qlx {

[[nodiscard]] bool has_cutoff(const Problem& problem) noexcept;

// False also for an objective value that only equals the cutoff.
[[nodiscard]] bool beats_cutoff(const Problem& problem, double objective) noexcept;

// Adds the row that keeps the objective from being worse than the cutoff. HiGHS' own control for it
// bounds dual simplex solves of minimisations only.
void add_cutoff_row(KernelModel& model, double cutoff);

}  // namespace qlx

// The cutoff of a tree search: only better solutions are of interest.
#pragma once

#include "engine/lp/lp_kernel.hpp"

namespace qlx {

// Adds the row that keeps the objective from being worse than the cutoff. HiGHS' own control for it
// bounds dual simplex solves of minimisations only.
void add_cutoff_row(KernelModel& model, double cutoff);

}  // namespace qlx

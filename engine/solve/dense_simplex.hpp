// Small linear programs in more than double precision, where no kernel's tolerances fit.
#pragma once

#include <vector>

#include "engine/base/stop_rule.hpp"
#include "engine/check/matrix_view.hpp"

namespace qlx {

struct DenseAnswer {
    enum class Status { kOptimal, kInfeasible, kUnbounded, kUndecided };
    Status status = Status::kUndecided;
    std::vector<double> x;
    std::vector<double> duals;  // of an optimum; Farkas multipliers where infeasible
    std::vector<double> ray;
};

// Whether a program is small enough for a tableau.
[[nodiscard]] bool fits_dense_simplex(const ProgramView& program) noexcept;

// The primal simplex method on a tableau of 113 bits: minimises first the violations, then the
// cost. Dantzig's rule, Bland's (1977) where that takes long. Every number carries a bound on what
// the data's own rounding makes of it, and counts as 0 within that. The answer is to be checked.
[[nodiscard]] DenseAnswer solve_dense(const ProgramView& program, const StopRule& stop_rule);

}  // namespace qlx

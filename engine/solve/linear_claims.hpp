// Decides "infeasible" and "unbounded": no kernel's claim counts without a proof.
#pragma once

#include <vector>

#include "engine/lp/lp_kernel.hpp"
#include "engine/solve/solve_session.hpp"

namespace qlx {

// Whether an outcome says that there is no optimum.
[[nodiscard]] bool claims_no_optimum(KernelOutcome outcome) noexcept;

// What a kernel gives as the reasons of such a claim; empty where it has none.
struct Rays {
    std::vector<double> dual, primal, point;
};

// QLX_LP_INFEAS or QLX_LP_UNBOUNDED where rays, and a point that is feasible, prove it; else -1.
[[nodiscard]] int status_by_rays(SolveSession& session, KernelOutcome claim, const Rays& rays,
                                 double matrix_tolerance);

// The same for a claim without rays, by linear programs that always have an optimum: least sum of
// row violations (its duals are Farkas multipliers), then the best direction of the recession cone
// within a unit box. -1 when neither is proven, QLX_LP_UNFINISHED when a limit stopped them.
[[nodiscard]] int status_by_phase_one(SolveSession& session, const KernelOptions& options);

// Whether some direction improves the objective for ever within rows and bounds, integrality and
// the rest of it apart. False where that stays open.
[[nodiscard]] bool has_improving_ray(SolveSession& session, const KernelOptions& options);

}  // namespace qlx

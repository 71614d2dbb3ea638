// The nonlinear problem handle, on top of a problem.
#pragma once

#include <cstdint>

#include "engine/base/errors.hpp"
#include "engine/base/live_counts.hpp"
#include "engine/core/problem_fwd.hpp"
#include "engine/core/results.hpp"
#include "engine/core/user_function_table.hpp"

namespace qlx {

// Bits of a nonlinear problem's presolve_state.
inline constexpr int kConstructed = 1;
inline constexpr int kPresolved = 1 << 29;

}  // namespace qlx

// What the handle adds to the problem below, which holds the coefficients, the columns' values and
// the controls.
struct qslp_problem {
    explicit qslp_problem(qlx::Problem& below);
    ~qslp_problem();
    qslp_problem(const qslp_problem&) = delete;
    qslp_problem& operator=(const qslp_problem&) = delete;

    qlx::Problem& linear;  // shares its ownership, messages, model and controls
    qlx::LastError error;
    int status = QSLP_UNSTARTED;
    int presolve_state = 0;
    double objective = qlx::kNoValue;
    int iterations = 0;            // of all local solvers of the last solve
    std::int64_t evaluations = 0;  // of the objective with the rows
    void* user_object = nullptr;
    qlx::UserFunctionTable functions{*this};

    // The value of a column at the current point: its value, or its initial value where it has
    // none. Throws Error naming the column where it has neither.
    [[nodiscard]] double current_value(int col) const;
    void forget_results() noexcept;

  private:
    qlx::Counted<&qlx::LiveCounts::problems> counted_;
};

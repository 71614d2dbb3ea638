// The nonlinear problem handle, on top of a problem.
#pragma once

#include "engine/core/errors.hpp"
#include "engine/core/live_counts.hpp"
#include "engine/core/nonlinear_controls.hpp"
#include "engine/core/problem_fwd.hpp"
#include "engine/core/results.hpp"

struct qslp_problem {
    explicit qslp_problem(qlx::Problem& below);
    ~qslp_problem();
    qslp_problem(const qslp_problem&) = delete;
    qslp_problem& operator=(const qslp_problem&) = delete;

    qlx::Problem& linear;  // shares its ownership and messages
    qlx::LastError error;
    qlx::NonlinearControls controls;
    int status = QSLP_UNSTARTED;
    int presolve_state = 0;
    double objective = qlx::kNoValue;
    void* user_object = nullptr;

  private:
    qlx::Counted<&qlx::LiveCounts::problems> counted_;
};

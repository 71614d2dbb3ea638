// Ties a nonlinear problem to the problem below it.
#include "engine/core/nonlinear_problem.hpp"

#include <cmath>

#include "engine/core/problem.hpp"

qslp_problem::qslp_problem(qlx::Problem& below) : linear(below) {
    if (below.nonlinear != nullptr)
        qlx::fail(QLX_ERROR_STATE, "a nonlinear problem is built on this problem already");
    qlx::copy_controls(qlx::Handle::kNonlinearProblem, below.controls, {});
    below.model.nonlinear().functions.set(&functions);
    below.nonlinear = this;
}

qslp_problem::~qslp_problem() {
    linear.model.nonlinear().functions.set(nullptr);
    linear.nonlinear = nullptr;
}

double qslp_problem::current_value(int col) const {
    const double value = linear.model.nonlinear().values.at_point(col);
    if (!std::isnan(value)) return value;
    qlx::fail(QLX_ERROR_STATE, "column ", col, " (", linear.model.col_names().name(col),
              ") has neither a value nor an initial value; give it one with QSLPchgvar");
}

void qslp_problem::forget_results() noexcept {
    status = QSLP_UNSTARTED;
    presolve_state = 0;
    objective = qlx::kNoValue;
    iterations = 0;
    evaluations = 0;
}

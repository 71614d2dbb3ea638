// Ties a nonlinear problem to the problem below it.
#include "engine/core/nonlinear_problem.hpp"

#include "engine/core/problem.hpp"

qslp_problem::qslp_problem(qlx::Problem& below) : linear(below) {
    if (below.nonlinear != nullptr)
        qlx::fail(QLX_ERROR_STATE, "a nonlinear problem is built on this problem already");
    below.nonlinear = this;
}

qslp_problem::~qslp_problem() {
    linear.nonlinear = nullptr;
}

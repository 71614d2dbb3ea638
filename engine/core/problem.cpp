// Making and dropping a problem's parts.
#include "engine/core/problem.hpp"

#include "engine/core/nonlinear_problem.hpp"
#include "engine/lp/live_model.hpp"

qlx_problem::qlx_problem() = default;
qlx_problem::~qlx_problem() = default;

qlx::LiveModel& qlx_problem::live_model() {
    if (live_model_ == nullptr) live_model_ = std::make_unique<qlx::LiveModel>();
    return *live_model_;
}

void qlx_problem::drop_live_model() noexcept {
    live_model_.reset();
    model.changes().stop_listening();
}

void qlx_problem::forget_results() {
    results = {};
    if (nonlinear != nullptr) nonlinear->forget_results();
}

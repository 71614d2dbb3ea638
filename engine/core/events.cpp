// What raising an event needs of a problem.
#include "engine/core/events.hpp"

#include "engine/core/problem.hpp"

namespace qlx {

Events& events_of(Problem& problem) noexcept {
    return problem.events;
}

Ownership& ownership_of(Problem& problem) noexcept {
    return problem.ownership;
}

bool stopping(const Problem& problem) noexcept {
    return problem.stop_reason() != 0;
}

void stop_by_callback(Problem& problem) noexcept {
    problem.interrupt(QLX_STOP_USER);
}

void give_handle(Problem& problem, Problem*& handle) noexcept {
    handle = &problem;
}

void give_handle(Problem& problem, NonlinearProblem*& handle) noexcept {
    handle = problem.nonlinear;
}

}  // namespace qlx

// The boundary of calls on a nonlinear problem.
#pragma once

#include <utility>

#include "engine/api/boundary.hpp"
#include "engine/core/nonlinear_problem.hpp"

namespace qlx {

template <class Body>
int call(QSLPprob prob, const char* name, Access access, Body&& body) noexcept {
    try {
        if (prob == nullptr) fail(QLX_ERROR_ARGUMENT, "prob is null");
        require_initialised();
        const Use use(prob->linear.ownership, access);
        std::forward<Body>(body)(*prob);
        return QLX_OK;
    } catch (...) {
        return report_exception(prob, name);
    }
}

template <class Body>
int nonlinear_read(QSLPprob prob, const char* name, Body&& body) noexcept {
    return call(prob, name, Access::kRead, std::forward<Body>(body));
}

template <class Body>
int nonlinear_control(QSLPprob prob, const char* name, Body&& body) noexcept {
    return call(prob, name, Access::kControl, std::forward<Body>(body));
}

template <class Body>
int nonlinear_change(QSLPprob prob, const char* name, Body&& body) noexcept {
    return call(prob, name, Access::kChange, std::forward<Body>(body));
}

}  // namespace qlx

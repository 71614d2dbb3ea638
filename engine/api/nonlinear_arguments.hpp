// Checks of the arguments that functions of the nonlinear solver share.
#pragma once

#include "engine/api/arguments.hpp"
#include "engine/core/nonlinear_problem.hpp"
#include "engine/data/nonlinear_checks.hpp"

namespace qlx {

// Formulas are read in reverse Polish order only.
inline void require_parsed(int parsed) {
    if (parsed == 0)
        fail(QLX_ERROR_NOT_AVAILABLE,
             "parsed is 0: formulas in infix order are not available yet, use reverse Polish order "
             "(parsed = 1)");
}

}  // namespace qlx

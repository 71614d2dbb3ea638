// Checks of the arguments that functions of the nonlinear solver share.
#pragma once

#include "engine/api/arguments.hpp"
#include "engine/core/nonlinear_problem.hpp"

namespace qlx {

// Formulas are read in reverse Polish order only.
inline void require_parsed(int parsed) {
    if (parsed == 0)
        fail(QLX_ERROR_NOT_AVAILABLE,
             "parsed is 0: formulas in infix order are not available yet, use reverse Polish order "
             "(parsed = 1)");
}

// Column -1 stands for the constant 1.
inline void require_coefficient_column(int col, int num_cols, const char* name) {
    if (col < kNoColumn || col >= num_cols)
        fail(QLX_ERROR_ARGUMENT, name, " is ", col, ", must be -1 (none) or 0 .. ", num_cols - 1);
}

// Refuses a formula because of a token; `position` is its index in the caller's arrays.
[[noreturn]] inline void refuse_token(const BadToken& bad, std::int64_t size, const int* type,
                                      const double* value, const std::string& where) {
    if (bad.position >= size)
        fail(QLX_ERROR_ARGUMENT, "type[", bad.position, "] is missing: ", bad.reason, where);
    fail(QLX_ERROR_ARGUMENT, "type[", bad.position, "] is ", type[bad.position], " and value[",
         bad.position, "] is ", value[bad.position], ": ", bad.reason, where);
}

}  // namespace qlx

// Why functions or derivatives are undefined at a point, in words.
#pragma once

#include <span>
#include <string>

#include "engine/nlp/formula/user_functions.hpp"
#include "engine/nlp/statement/statement.hpp"

namespace qlx::nlp {

// Row, function and arguments of the first operation that is undefined, infinite or without
// derivatives at the values of the moving columns; formulas are walked one operation at a time.
// Where there is none: the objective or row that overflows in a sum, else an empty text.
[[nodiscard]] std::string find_complaint(const Statement& statement,
                                         std::span<const double> moving_values,
                                         UserFunctions* user);

}  // namespace qlx::nlp

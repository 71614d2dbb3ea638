// Taking variables, constraints and sets out of a problem.
#pragma once

#include "problem/problem.hpp"

namespace quilex {

// Each takes indices in any order, each at most once, and throws the library's error when it
// refuses; then nothing has changed. Deleting a column takes it out of the library's rows,
// quadratic terms and sets; the bodies of the constraints keep it.
void delete_rows(Problem* problem, std::span<const int> rows);
void delete_columns(Problem* problem, std::span<const int> columns);
void delete_sets(Problem* problem, std::span<const int> sets);

}  // namespace quilex

// Comparisons of numpy arrays that hold modelling objects give arrays of constraints.
#pragma once

#include "module/python.hpp"

namespace quilex {

// Installs the comparisons `<=`, `>=` and `==` (under numpy 1 in the table of numeric operators,
// under numpy 2 in ndarray's rich comparison). Returns 0, or -1 with an exception set.
int install_numpy_comparisons() noexcept;

// Restores numpy's own; 0 also when nothing was installed.
int restore_numpy_comparisons() noexcept;

}  // namespace quilex

// Comparisons of numpy arrays that hold modelling objects give arrays of constraints.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// Installs the comparisons `<=`, `>=` and `==` (under numpy 1 in the table of numeric operators,
// under numpy 2 in ndarray's rich comparison). Returns 0, or -1 with an exception set.
int install_numpy_comparisons() noexcept;

// Restores numpy's own; 0 also when nothing was installed.
int restore_numpy_comparisons() noexcept;

// The comparison of one modelling object with a numpy array, element by element, the object on
// the left: an array of constraints; NotImplemented for an operator that makes none.
Ref compare_with_array(PyObject* object, PyObject* array, int op);

}  // namespace quilex

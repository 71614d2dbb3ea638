// numpy's C interfaces, loaded at start-up, and what they lack.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// Imports numpy's array and ufunc interfaces. Throws ImportError, after printing its cause.
void import_numpy();

// Whether the object is a masked array with elements under its mask, which keep values of their
// own.
bool has_masked_elements(PyObject* object);

}  // namespace quilex

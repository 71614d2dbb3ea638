// Loading of numpy's C interfaces at start-up.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// Imports numpy's array and ufunc interfaces. Throws ImportError, after printing its cause.
void import_numpy();

}  // namespace quilex

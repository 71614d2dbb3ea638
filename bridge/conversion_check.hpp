// Functions through which the tests of builds that count objects reach the conversions directly.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// Rows of the module's method table, ended by a row without a name; no rows in other builds.
extern PyMethodDef conversion_check_methods[];

}  // namespace quilex

// The module's integer and float constants.
#pragma once

#include "module/failure.hpp"

namespace quilex {

void add_constants(PyObject* module);

}  // namespace quilex

// Module functions that read or change library-wide settings.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// The rows of the module's method table for settings, ended by a row without a name.
extern PyMethodDef setting_methods[];

}  // namespace quilex

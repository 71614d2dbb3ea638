// Module-wide handlers of the library's messages.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// The rows of the module's method table for message handlers, ended by a row without a name.
extern PyMethodDef message_handler_methods[];

}  // namespace quilex

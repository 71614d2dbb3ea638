// The macro behind functions that are declared and not built yet.
#pragma once

#include "engine/base/errors.hpp"

// A function `name` with parameter list `params` that reports on `handle` that it is not available.
#define NOT_AVAILABLE(name, handle, params)              \
    int name params {                                    \
        return qlx::report_not_available(handle, #name); \
    }

// What is tried, in order, when a kernel's result does not stand our check.
#pragma once

#include <array>

#include "engine/lp/lp_kernel.hpp"

namespace qlx {

struct Recovery {
    const char* name;
    void (*adjust)(KernelOptions& options);
};

// The first step is the solve as asked.
[[nodiscard]] const std::array<Recovery, 5>& recovery_ladder();

}  // namespace qlx

// A problem's controls as options of a kernel.
#pragma once

#include "engine/core/controls.hpp"
#include "engine/lp/lp_kernel.hpp"

namespace qlx {

// flags may name the LP method ('d', 'p', 'b', 'n') against control lpmethod; others are refused.
[[nodiscard]] KernelOptions kernel_options(const Controls& controls, const char* flags);

}  // namespace qlx

// A problem's controls as options of a kernel.
#pragma once

#include "engine/core/controls.hpp"
#include "engine/lp/lp_kernel.hpp"

namespace qlx {

// Throws Error where flags has a letter that is not one of the LP methods' ('d', 'p', 'b', 'n').
void refuse_unknown_flags(const char* flags);

// flags may name the LP method ('d', 'p', 'b', 'n') against control lpmethod.
[[nodiscard]] KernelOptions kernel_options(const Controls& controls, const char* flags);

}  // namespace qlx

// What is tried, in order, when a kernel's result does not stand our check.
#pragma once

#include <array>
#include <cstddef>

#include "engine/lp/lp_kernel.hpp"

namespace qlx {

struct Recovery {
    const char* name;
    void (*adjust)(KernelOptions& options);
};

inline constexpr std::size_t kWithTighterTolerances = 1;
// The first step without presolve, whose claims come with their reasons.
inline constexpr std::size_t kWithoutPresolve = 2;

// The first step is the solve as asked.
[[nodiscard]] const std::array<Recovery, 5>& recovery_ladder();

}  // namespace qlx

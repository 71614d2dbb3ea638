// What counts as infinite in bounds, sides and values.
#pragma once

#include <cmath>

namespace qlx {

inline constexpr double kInfinity = 1e20;

[[nodiscard]] inline bool is_finite_side(double side) noexcept {
    return std::fabs(side) < kInfinity;
}

}  // namespace qlx

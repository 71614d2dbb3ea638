// What counts as an infinite bound or side.
#pragma once

namespace qlx::nlp {

inline constexpr double kInfiniteBound = 1e20;

[[nodiscard]] constexpr bool is_minus_infinite(double bound) noexcept {
    return bound <= -kInfiniteBound;
}
[[nodiscard]] constexpr bool is_plus_infinite(double bound) noexcept {
    return bound >= kInfiniteBound;
}

}  // namespace qlx::nlp

// Numbers just beyond a rounded one.
#pragma once

#include <cmath>
#include <limits>

namespace qlx::nlp {

inline constexpr double kLargestFinite = std::numeric_limits<double>::max();

[[nodiscard]] inline double next_below(double x) noexcept {
    return std::nextafter(x, -std::numeric_limits<double>::infinity());
}

// Four units in the last place outwards: more than the mathematical library's error.
[[nodiscard]] inline double library_down(double x) noexcept {
    if (x == std::numeric_limits<double>::infinity()) return kLargestFinite;
    for (int k = 0; k < 4; ++k) x = next_below(x);
    return x;
}
[[nodiscard]] inline double library_up(double x) noexcept {
    return -library_down(-x);
}

}  // namespace qlx::nlp

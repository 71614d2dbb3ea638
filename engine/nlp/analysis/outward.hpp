// Numbers just beyond a rounded one.
#pragma once

#include <cmath>
#include <limits>

namespace qlx::nlp {

inline constexpr double kLargestFinite = std::numeric_limits<double>::max();

[[nodiscard]] inline double next_below(double x) noexcept {
    return std::nextafter(x, -std::numeric_limits<double>::infinity());
}

// Below this the remainder of a product, quotient or root is no longer exact.
inline constexpr double kSmallestExact = 1e-280;

// A lower bound of the exact result, of which `rounded` came out and `tail` says what is missing.
[[nodiscard]] inline double settle(double rounded, double tail) noexcept {
    if (rounded == std::numeric_limits<double>::infinity()) return kLargestFinite;
    return tail < 0 || std::isnan(tail) ? next_below(rounded) : rounded;
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

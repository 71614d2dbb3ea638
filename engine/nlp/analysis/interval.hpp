// Intervals of real numbers, and the values that functions take over them, rounded outwards.
#pragma once

#include <limits>
#include <span>

#include "engine/nlp/formula/instruction.hpp"

namespace qlx::nlp {

// All real numbers from lower to upper; an infinite end is not among them. Empty where lower is
// above upper.
struct Interval {
    double lower = -std::numeric_limits<double>::infinity();
    double upper = std::numeric_limits<double>::infinity();

    [[nodiscard]] static constexpr Interval empty() noexcept {
        return {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    }
    [[nodiscard]] static constexpr Interval point(double x) noexcept { return {x, x}; }
    [[nodiscard]] constexpr bool is_empty() const noexcept { return !(lower <= upper); }
    [[nodiscard]] constexpr bool is_point() const noexcept { return lower == upper; }
    [[nodiscard]] constexpr bool has(double x) const noexcept { return lower <= x && x <= upper; }
    [[nodiscard]] constexpr bool has_inside(double x) const noexcept {
        return lower < x && x < upper;
    }
    [[nodiscard]] constexpr bool is_nonnegative() const noexcept { return lower >= 0; }
    [[nodiscard]] constexpr bool is_nonpositive() const noexcept { return upper <= 0; }
};

[[nodiscard]] Interval intersect(Interval a, Interval b) noexcept;
[[nodiscard]] Interval hull(Interval a, Interval b) noexcept;

// The arithmetic operations round in the last digit and only where they are inexact, by their exact
// remainders (TwoSum, fused multiply-add); the mathematical library's results are widened by
// several units in the last place, more than its documented errors. All are empty where an operand
// is, and leave out points where the function is undefined: sqrt([-4, 9]) is [0, 3].
[[nodiscard]] Interval operator-(Interval a) noexcept;
[[nodiscard]] Interval operator+(Interval a, Interval b) noexcept;
[[nodiscard]] Interval operator-(Interval a, Interval b) noexcept;
[[nodiscard]] Interval operator*(Interval a, Interval b) noexcept;
[[nodiscard]] Interval operator/(Interval a, Interval b) noexcept;
[[nodiscard]] Interval square(Interval a) noexcept;
[[nodiscard]] Interval power(Interval base, Interval exponent) noexcept;
[[nodiscard]] Interval apply_function(Operation function, Interval a) noexcept;
// An operator, function, min or max; everything for what is unknown.
[[nodiscard]] Interval apply_interval(Operation operation,
                                      std::span<const Interval> operands) noexcept;

// The arguments for which a function of one argument is defined, hull and all.
[[nodiscard]] Interval domain_of(Operation function) noexcept;
// Whether an operation is defined for all operands within the intervals.
[[nodiscard]] bool is_defined(Operation operation, std::span<const Interval> operands) noexcept;

// x from the ends outwards by `parts` of its size and the smallest number.
[[nodiscard]] Interval widened(Interval x, double parts) noexcept;

[[nodiscard]] bool is_integer(double x) noexcept;

}  // namespace qlx::nlp

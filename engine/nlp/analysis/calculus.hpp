// Derivatives of operations over intervals.
#pragma once

#include "engine/nlp/analysis/interval.hpp"

namespace qlx::nlp {

// A function of one variable over an interval: its value and its first two derivatives there.
struct Jet {
    Interval value;
    Interval first;
    Interval second;

    [[nodiscard]] static constexpr Jet constant(Interval value) noexcept {
        return {value, Interval::point(0), Interval::point(0)};
    }
    [[nodiscard]] static constexpr Jet variable(Interval value) noexcept {
        return {value, Interval::point(1), Interval::point(0)};
    }
};

// A function's slope and curvature within an interval of its argument, where it is defined;
// everything where it has a kink or a pole inside.
struct Slopes {
    Interval first;
    Interval second;
};
[[nodiscard]] Slopes slopes_of_function(Operation function, Interval argument) noexcept;
// Of x^p, and of base^x for a positive base.
[[nodiscard]] Slopes slopes_of_power(Interval base, double p) noexcept;
[[nodiscard]] Slopes slopes_of_exponential(Interval base, Interval exponent) noexcept;

[[nodiscard]] Jet compose(Interval value, const Slopes& slopes, const Jet& argument) noexcept;
[[nodiscard]] Jet negative(const Jet& a) noexcept;
[[nodiscard]] Jet sum(const Jet& a, const Jet& b) noexcept;
[[nodiscard]] Jet product(const Jet& a, const Jet& b) noexcept;

}  // namespace qlx::nlp

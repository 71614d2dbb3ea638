// Derivatives of operations over intervals.
#include "engine/nlp/analysis/calculus.hpp"

#include <cmath>
#include <numbers>

namespace qlx::nlp {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr Interval kOne = Interval::point(1);
constexpr Interval kTwo = Interval::point(2);

// A rounded constant with the number that it stands for.
Interval around(double constant) noexcept {
    return widened(Interval::point(constant), 0);
}

Slopes scaled(Interval factor, const Slopes& slopes) noexcept {
    return {factor * slopes.first, factor * slopes.second};
}

Slopes of_logarithm(Interval x) noexcept {
    const Interval inverse = kOne / intersect(x, {0, kInfinity});
    return {inverse, -square(inverse)};
}

Slopes of_root(Interval x) noexcept {
    const Interval inverse = kOne / apply_function(Operation::kSqrt, x);
    const Interval first = Interval::point(0.5) * inverse;
    return {first, -(Interval::point(0.25) * (inverse * square(inverse)))};
}

Slopes of_tangent(Interval x) noexcept {
    if (!is_defined(Operation::kTan, {&x, 1})) return {};
    const Interval value = apply_function(Operation::kTan, x);
    const Interval first = kOne + square(value);
    return {first, kTwo * value * first};
}

Slopes of_arcsine(Interval x) noexcept {
    x = intersect(x, {-1, 1});
    const Interval rest = intersect(kOne - square(x), {0, 1});
    const Interval first = kOne / apply_function(Operation::kSqrt, rest);
    return {first, x * (first * square(first))};
}

Slopes of_arctangent(Interval x) noexcept {
    const Interval first = kOne / (kOne + square(x));
    return {first, -(kTwo * x * square(first))};
}

Slopes of_error_function(Interval x) noexcept {
    const Interval first =
        around(2 * std::numbers::inv_sqrtpi) * apply_function(Operation::kExp, -square(x));
    return {first, -(kTwo * x * first)};
}

Slopes of_size(Interval x) noexcept {
    if (x.lower >= 0) return {kOne, Interval::point(0)};
    if (x.upper <= 0) return {-kOne, Interval::point(0)};
    return {{-1, 1}, {}};
}

}  // namespace

Slopes slopes_of_function(Operation function, Interval argument) noexcept {
    switch (function) {
        case Operation::kNegate:
            return {-kOne, Interval::point(0)};
        case Operation::kLog10:
            return scaled(kOne / around(std::numbers::ln10), of_logarithm(argument));
        case Operation::kLog:
            return of_logarithm(argument);
        case Operation::kExp: {
            const Interval value = apply_function(function, argument);
            return {value, value};
        }
        case Operation::kAbs:
            return of_size(argument);
        case Operation::kSqrt:
            return of_root(argument);
        case Operation::kSin:
            return {apply_function(Operation::kCos, argument),
                    -apply_function(Operation::kSin, argument)};
        case Operation::kCos:
            return {-apply_function(Operation::kSin, argument),
                    -apply_function(Operation::kCos, argument)};
        case Operation::kTan:
            return of_tangent(argument);
        case Operation::kAsin:
            return of_arcsine(argument);
        case Operation::kAcos:
            return scaled(-kOne, of_arcsine(argument));
        case Operation::kAtan:
            return of_arctangent(argument);
        case Operation::kErf:
            return of_error_function(argument);
        case Operation::kErfc:
            return scaled(-kOne, of_error_function(argument));
        case Operation::kSign:
            if (argument.lower > 0 || argument.upper < 0)
                return {Interval::point(0), Interval::point(0)};
            return {};
        default:
            return {};
    }
}

Slopes slopes_of_power(Interval base, double p) noexcept {
    const bool whole = is_integer(p);
    if (!whole) base = intersect(base, {0, kInfinity});
    if (p < 0 && base.has_inside(0)) return {};
    const Interval exponent = Interval::point(p);
    const Interval once = exponent - kOne;
    const Interval twice = once - kOne;
    // Rounded, an exponent of a negative base would no longer be whole: such ones are beyond use.
    if (whole && !(once.is_point() && twice.is_point())) return {};
    Slopes slopes;
    slopes.first = exponent * power(base, once);
    slopes.second = exponent * once * power(base, twice);
    return slopes;
}

Slopes slopes_of_exponential(Interval base, Interval exponent) noexcept {
    if (!(base.lower > 0)) return {};
    const Interval value = power(base, exponent);
    const Interval logarithm = apply_function(Operation::kLog, base);
    return {value * logarithm, value * square(logarithm)};
}

Jet compose(Interval value, const Slopes& slopes, const Jet& argument) noexcept {
    return {value, slopes.first * argument.first,
            slopes.second * square(argument.first) + slopes.first * argument.second};
}

Jet negative(const Jet& a) noexcept {
    return {-a.value, -a.first, -a.second};
}

Jet sum(const Jet& a, const Jet& b) noexcept {
    return {a.value + b.value, a.first + b.first, a.second + b.second};
}

Jet product(const Jet& a, const Jet& b) noexcept {
    return {a.value * b.value, a.first * b.value + a.value * b.first,
            a.second * b.value + kTwo * (a.first * b.first) + a.value * b.second};
}

}  // namespace qlx::nlp

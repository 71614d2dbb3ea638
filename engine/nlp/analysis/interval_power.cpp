// Powers of intervals, rounded outwards.
#include <algorithm>
#include <cmath>

#include "engine/nlp/analysis/interval.hpp"
#include "engine/nlp/analysis/outward.hpp"

namespace qlx::nlp {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

double power_down(double x, double p) noexcept {
    if (x == 1 || p == 0) return 1;
    const double result = std::pow(x, p);
    if (x == 0 || std::isinf(x) || p == 1) return result;
    return std::max(0.0, library_down(result));
}
double power_up(double x, double p) noexcept {
    if (x == 1 || p == 0) return 1;
    const double result = std::pow(x, p);
    return x == 0 || std::isinf(x) || p == 1 ? result : library_up(result);
}

// Of nonnegative bases: the power of two variables has its extremes in the corners, as its
// logarithm is bilinear.
Interval power_of_nonnegative(Interval base, Interval exponent) noexcept {
    Interval result = Interval::empty();
    // The powers of -0 would have another sign.
    for (const double x : {base.lower + 0.0, base.upper + 0.0}) {
        for (const double p : {exponent.lower, exponent.upper}) {
            if (std::isinf(p) && !(x == 0 || std::isinf(x))) {
                // Towards 0, 1 or infinity.
                const double limit = std::pow(x, p);
                result = hull(result, Interval::point(limit));
                continue;
            }
            if ((std::isinf(x) && p == 0) || (x == 1 && std::isinf(p))) {
                result = hull(result, Interval::point(1));
                continue;
            }
            result = hull(result, {power_down(x, p), power_up(x, p)});
        }
    }
    result.lower = result.lower == kInfinity ? kLargestFinite : result.lower;
    return result;
}

Interval power_of_integer(Interval base, double p) noexcept {
    if (p == 2) return square(base);
    if (p < 0) return Interval::point(1) / power_of_integer(base, -p);
    const bool is_even = std::fmod(p, 2) == 0;
    if (is_even) {
        const Interval size = apply_function(Operation::kAbs, base);
        return {power_down(size.lower, p), power_up(size.upper, p)};
    }
    const auto odd_down = [p](double x) { return x < 0 ? -power_up(-x, p) : power_down(x, p); };
    Interval result = {odd_down(base.lower), -odd_down(-base.upper)};
    if (result.lower == kInfinity) result.lower = kLargestFinite;
    if (result.upper == -kInfinity) result.upper = -kLargestFinite;
    return result;
}

}  // namespace

Interval power(Interval base, Interval exponent) noexcept {
    if (base.is_empty() || exponent.is_empty()) return Interval::empty();
    if (exponent.is_point()) {
        const double p = exponent.lower;
        if (p == 0) return Interval::point(1);
        if (is_integer(p)) return power_of_integer(base, p);
    }
    const Interval nonnegative = intersect(base, {0, kInfinity});
    Interval result = Interval::empty();
    if (!nonnegative.is_empty() && !(nonnegative.upper == 0 && exponent.upper < 0))
        result = power_of_nonnegative(nonnegative, exponent);
    // Negative bases have powers by whole numbers, of either sign.
    if (base.lower < 0 && std::ceil(exponent.lower) <= exponent.upper) {
        const Interval negative = intersect(base, {-kInfinity, 0});
        const Interval size = power_of_nonnegative(-negative, exponent);
        result = hull(result, hull(size, -size));
    }
    return result;
}

}  // namespace qlx::nlp

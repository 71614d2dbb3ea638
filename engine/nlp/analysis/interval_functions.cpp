// Elementary functions over intervals, rounded outwards, and where they are defined.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "engine/nlp/analysis/interval.hpp"
#include "engine/nlp/analysis/outward.hpp"

namespace qlx::nlp {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

double sqrt_down(double x) noexcept {
    const double root = std::sqrt(x);
    if (std::isinf(root) || root == 0) return root;
    return x < kSmallestExact ? std::max(0.0, next_below(root))
                              : settle(root, std::fma(-root, root, x));
}
double sqrt_up(double x) noexcept {
    const double root = std::sqrt(x);
    if (std::isinf(root) || root == 0) return root;
    const double rest = std::fma(-root, root, x);
    return x < kSmallestExact || rest > 0 ? std::nextafter(root, kInfinity) : root;
}

template <double (*Function)(double)>
Interval increasing(Interval a) noexcept {
    return {library_down(Function(a.lower)), library_up(Function(a.upper))};
}
double exp_of(double x) noexcept {
    return std::exp(x);
}
double log_of(double x) noexcept {
    return std::log(x);
}
double log10_of(double x) noexcept {
    return std::log10(x);
}
double tan_of(double x) noexcept {
    return std::tan(x);
}
double asin_of(double x) noexcept {
    return std::asin(x);
}
double atan_of(double x) noexcept {
    return std::atan(x);
}
double erf_of(double x) noexcept {
    return std::erf(x);
}
double minus_acos_of(double x) noexcept {
    return -std::acos(x);
}
double minus_erfc_of(double x) noexcept {
    return -std::erfc(x);
}

// Of functions with the argument's sign: rounding must not lose it.
Interval with_sign_of(Interval argument, Interval values) noexcept {
    if (argument.lower >= 0) values.lower = std::max(values.lower, 0.0);
    if (argument.upper <= 0) values.upper = std::min(values.upper, 0.0);
    return values;
}

// Whether some shift + k * period is within the interval, or so near that rounding cannot tell.
bool may_have(Interval a, double shift, double period) noexcept {
    const double slack = 1e-9 * std::max({1.0, std::fabs(a.lower), std::fabs(a.upper)});
    const double k = std::ceil((a.lower - slack - shift) / period);
    return shift + k * period <= a.upper + slack;
}

// Beyond this the argument's last digits are worth whole periods.
bool is_far(Interval a) noexcept {
    return !(std::max(std::fabs(a.lower), std::fabs(a.upper)) < 1e6);
}

Interval cosine(Interval a) noexcept {
    constexpr double kPi = std::numbers::pi;
    if (is_far(a) || a.upper - a.lower >= 2 * kPi) return {-1, 1};
    const double first = std::cos(a.lower);
    const double second = std::cos(a.upper);
    Interval values = {library_down(std::min(first, second)), library_up(std::max(first, second))};
    if (may_have(a, 0, 2 * kPi)) values.upper = 1;
    if (may_have(a, kPi, 2 * kPi)) values.lower = -1;
    return intersect(values, {-1, 1});
}

Interval sine(Interval a) noexcept {
    constexpr double kPi = std::numbers::pi;
    if (is_far(a) || a.upper - a.lower >= 2 * kPi) return {-1, 1};
    const double first = std::sin(a.lower);
    const double second = std::sin(a.upper);
    Interval values = {library_down(std::min(first, second)), library_up(std::max(first, second))};
    if (may_have(a, kPi / 2, 2 * kPi)) values.upper = 1;
    if (may_have(a, -kPi / 2, 2 * kPi)) values.lower = -1;
    if (a.lower >= 0 && a.upper <= 3.14159) values.lower = std::max(values.lower, 0.0);
    if (a.upper <= 0 && a.lower >= -3.14159) values.upper = std::min(values.upper, 0.0);
    return intersect(values, {-1, 1});
}

Interval tangent(Interval a) noexcept {
    constexpr double kPi = std::numbers::pi;
    if (is_far(a) || a.upper - a.lower >= kPi || may_have(a, kPi / 2, kPi)) return {};
    const Interval values = increasing<tan_of>(a);
    return a.has_inside(0) || std::fabs(a.lower) > 1.5 || std::fabs(a.upper) > 1.5
               ? values
               : with_sign_of(a, values);
}

Interval logarithm(Interval a, Interval values) noexcept {
    return with_sign_of({a.lower - 1, a.upper - 1}, values);
}

Interval exponential(Interval a) noexcept {
    Interval values = increasing<exp_of>(a);
    values.lower = std::max(values.lower, a.lower >= 0 ? 1.0 : 0.0);
    if (a.upper <= 0) values.upper = std::min(values.upper, 1.0);
    return values;
}

}  // namespace

Interval apply_function(Operation function, Interval a) noexcept {
    a = intersect(a, domain_of(function));
    if (a.is_empty()) return Interval::empty();
    constexpr double kHalfPi = std::numbers::pi / 2;
    switch (function) {
        case Operation::kNegate:
            return -a;
        case Operation::kLog10:
            return a.upper == 0 ? Interval::empty() : logarithm(a, increasing<log10_of>(a));
        case Operation::kLog:
            return a.upper == 0 ? Interval::empty() : logarithm(a, increasing<log_of>(a));
        case Operation::kExp:
            return exponential(a);
        case Operation::kAbs:
            if (a.lower >= 0) return a;
            return a.upper <= 0 ? -a : Interval{0, std::max(-a.lower, a.upper)};
        case Operation::kSqrt:
            return {sqrt_down(a.lower), sqrt_up(a.upper)};
        case Operation::kSin:
            return sine(a);
        case Operation::kCos:
            return cosine(a);
        case Operation::kTan:
            return tangent(a);
        case Operation::kAsin:
            return with_sign_of(a, increasing<asin_of>(a));
        case Operation::kAcos:
            return intersect(-increasing<minus_acos_of>(a), {0, library_up(2 * kHalfPi)});
        case Operation::kAtan:
            return with_sign_of(a, increasing<atan_of>(a));
        case Operation::kSign:
            return {a.lower > 0 ? 1.0 : (a.lower == 0 ? 0.0 : -1.0),
                    a.upper < 0 ? -1.0 : (a.upper == 0 ? 0.0 : 1.0)};
        case Operation::kErf:
            return intersect(with_sign_of(a, increasing<erf_of>(a)), {-1, 1});
        case Operation::kErfc:
            return intersect(-increasing<minus_erfc_of>(a), {0, 2});
        default:
            return {};
    }
}

Interval domain_of(Operation function) noexcept {
    switch (function) {
        case Operation::kLog10:
        case Operation::kLog:
        case Operation::kSqrt:
            return {0, kInfinity};
        case Operation::kAsin:
        case Operation::kAcos:
            return {-1, 1};
        default:
            return {};
    }
}

bool is_defined(Operation operation, std::span<const Interval> operands) noexcept {
    for (const Interval& operand : operands)
        if (operand.is_empty()) return false;
    const Interval last = operands.empty() ? Interval{} : operands.back();
    switch (operation) {
        case Operation::kDivide:
            return !last.has(0);
        case Operation::kPower: {
            const Interval base = operands[0];
            if (base.lower < 0 && !(last.is_point() && is_integer(last.lower))) return false;
            return last.lower >= 0 || !base.has(0);
        }
        case Operation::kLog:
        case Operation::kLog10:
            return last.lower > 0;
        case Operation::kTan: {
            const Interval values = tangent(last);
            return std::isfinite(values.lower) && std::isfinite(values.upper);
        }
        case Operation::kConstant:
        case Operation::kColumn:
        case Operation::kMarker:
            return true;
        default: {
            if (operation > Operation::kMax) return false;  // functions of the user
            const Interval domain = domain_of(operation);
            return last.lower >= domain.lower && last.upper <= domain.upper;
        }
    }
}

}  // namespace qlx::nlp

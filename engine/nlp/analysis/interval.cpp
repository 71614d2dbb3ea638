// Interval arithmetic and elementary functions over intervals, rounded outwards.
#include "engine/nlp/analysis/interval.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace qlx::nlp {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kLargest = std::numeric_limits<double>::max();
// Below this a product's or quotient's remainder is no longer exact.
constexpr double kSmall = 1e-280;

double next_below(double x) noexcept {
    return std::nextafter(x, -kInfinity);
}

// A lower bound of the exact result, of which `rounded` came out and `tail` says what is missing.
double settle(double rounded, double tail) noexcept {
    if (rounded == kInfinity) return kLargest;
    return tail < 0 || std::isnan(tail) ? next_below(rounded) : rounded;
}

double add_down(double a, double b) noexcept {
    const double sum = a + b;
    if (std::isnan(sum)) return -kInfinity;
    if (std::isinf(a) || std::isinf(b)) return sum;
    const double part = sum - a;
    return settle(sum, (a - (sum - part)) + (b - part));
}

double multiply_down(double a, double b) noexcept {
    if (a == 0 || b == 0) return 0;
    const double product = a * b;
    if (std::isinf(a) || std::isinf(b)) return product;
    if (std::fabs(product) < kSmall)
        return product > 0 || (a > 0) == (b > 0) ? std::max(0.0, next_below(product))
                                                 : next_below(product);
    return settle(product, std::fma(a, b, -product));
}

double divide_down(double a, double b) noexcept {
    if (a == 0 || std::isinf(b)) return std::isinf(a) ? -kInfinity : 0;
    const double quotient = a / b;
    if (std::isinf(a)) return quotient;
    if (std::fabs(quotient) < kSmall || std::fabs(a) < kSmall) {
        return (a > 0) == (b > 0) ? std::max(0.0, next_below(quotient)) : next_below(quotient);
    }
    const double rest = std::fma(-quotient, b, a);
    return settle(quotient, b > 0 ? rest : -rest);
}

double sqrt_down(double x) noexcept {
    const double root = std::sqrt(x);
    if (std::isinf(root) || root == 0) return root;
    return x < kSmall ? std::max(0.0, next_below(root)) : settle(root, std::fma(-root, root, x));
}
double sqrt_up(double x) noexcept {
    const double root = std::sqrt(x);
    if (std::isinf(root) || root == 0) return root;
    const double rest = std::fma(-root, root, x);
    return x < kSmall || rest > 0 ? std::nextafter(root, kInfinity) : root;
}

// Four units in the last place outwards.
double library_down(double x) noexcept {
    if (x == kInfinity) return kLargest;
    for (int k = 0; k < 4; ++k) x = next_below(x);
    return x;
}
double library_up(double x) noexcept {
    return -library_down(-x);
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

Interval intersect(Interval a, Interval b) noexcept {
    return {std::max(a.lower, b.lower), std::min(a.upper, b.upper)};
}

Interval hull(Interval a, Interval b) noexcept {
    if (a.is_empty()) return b;
    if (b.is_empty()) return a;
    return {std::min(a.lower, b.lower), std::max(a.upper, b.upper)};
}

Interval operator-(Interval a) noexcept {
    return {-a.upper, -a.lower};
}

Interval operator+(Interval a, Interval b) noexcept {
    if (a.is_empty() || b.is_empty()) return Interval::empty();
    return {add_down(a.lower, b.lower), -add_down(-a.upper, -b.upper)};
}

Interval operator-(Interval a, Interval b) noexcept {
    return a + -b;
}

Interval operator*(Interval a, Interval b) noexcept {
    if (a.is_empty() || b.is_empty()) return Interval::empty();
    Interval product = Interval::empty();
    for (const double x : {a.lower, a.upper}) {
        for (const double y : {b.lower, b.upper}) {
            product.lower = std::min(product.lower, multiply_down(x, y));
            product.upper = std::max(product.upper, -multiply_down(-x, y));
        }
    }
    return product;
}

Interval operator/(Interval a, Interval b) noexcept {
    if (a.is_empty() || b.is_empty() || (b.lower == 0 && b.upper == 0)) return Interval::empty();
    if (a.lower == 0 && a.upper == 0) return a;
    if (b.has_inside(0)) return {};
    if (b.upper <= 0) return -a / -b;
    // The divisor is positive, and may come as near to 0 as it likes where its lower end is 0.
    Interval quotient;
    if (b.lower == 0) {
        quotient.lower = a.lower < 0 ? -kInfinity : divide_down(a.lower, b.upper);
        quotient.upper = a.upper > 0 ? kInfinity : -divide_down(-a.upper, b.upper);
        return quotient;
    }
    quotient.lower = divide_down(a.lower, a.lower < 0 ? b.lower : b.upper);
    quotient.upper = -divide_down(-a.upper, a.upper > 0 ? b.lower : b.upper);
    return quotient;
}

Interval square(Interval a) noexcept {
    if (a.is_empty()) return a;
    const double largest = std::max(std::fabs(a.lower), std::fabs(a.upper));
    const double least = a.has(0) ? 0 : std::min(std::fabs(a.lower), std::fabs(a.upper));
    return {multiply_down(least, least), -multiply_down(-largest, largest)};
}

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

Interval apply_interval(Operation operation, std::span<const Interval> operands) noexcept {
    const auto extremum = [&](auto better) {
        Interval result = operands[0];
        for (const Interval& operand : operands) {
            if (operand.is_empty()) return Interval::empty();
            result = {better(result.lower, operand.lower), better(result.upper, operand.upper)};
        }
        return result;
    };
    switch (operation) {
        case Operation::kPower:
            return power(operands[0], operands[1]);
        case Operation::kMultiply:
            return operands[0] * operands[1];
        case Operation::kDivide:
            return operands[0] / operands[1];
        case Operation::kAdd:
            return operands[0] + operands[1];
        case Operation::kSubtract:
            return operands[0] - operands[1];
        case Operation::kMin:
            return extremum([](double a, double b) { return std::min(a, b); });
        case Operation::kMax:
            return extremum([](double a, double b) { return std::max(a, b); });
        default:
            return operands.size() == 1 ? apply_function(operation, operands[0]) : Interval{};
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

bool is_integer(double x) noexcept {
    return std::isfinite(x) && x == std::floor(x);
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

Interval widened(Interval x, double parts) noexcept {
    if (x.is_empty()) return x;
    const auto below = [parts](double end) {
        return std::isinf(end) ? end : next_below(end - parts * std::fabs(end));
    };
    return {below(x.lower), -below(-x.upper)};
}

// Powers -------------------------------------------------------------------------------------

namespace {

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
    for (const double x : {base.lower, base.upper}) {
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
    result.lower = result.lower == kInfinity ? kLargest : result.lower;
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
    if (result.lower == kInfinity) result.lower = kLargest;
    if (result.upper == -kInfinity) result.upper = -kLargest;
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

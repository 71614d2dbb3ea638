// Interval arithmetic and elementary functions over intervals, rounded outwards.
#include "engine/nlp/analysis/interval.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "engine/nlp/analysis/outward.hpp"

namespace qlx::nlp {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

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
    if (std::fabs(product) < kSmallestExact)
        return product > 0 || (a > 0) == (b > 0) ? std::max(0.0, next_below(product))
                                                 : next_below(product);
    return settle(product, std::fma(a, b, -product));
}

double divide_down(double a, double b) noexcept {
    if (a == 0 || std::isinf(b)) return std::isinf(a) ? -kInfinity : 0;
    const double quotient = a / b;
    if (std::isinf(a)) return quotient;
    if (std::fabs(quotient) < kSmallestExact || std::fabs(a) < kSmallestExact) {
        return (a > 0) == (b > 0) ? std::max(0.0, next_below(quotient)) : next_below(quotient);
    }
    const double rest = std::fma(-quotient, b, a);
    return settle(quotient, b > 0 ? rest : -rest);
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

bool is_integer(double x) noexcept {
    return std::isfinite(x) && x == std::floor(x);
}

Interval widened(Interval x, double parts) noexcept {
    if (x.is_empty()) return x;
    const auto below = [parts](double end) {
        return std::isinf(end) ? end : next_below(end - parts * std::fabs(end));
    };
    return {below(x.lower), -below(-x.upper)};
}

}  // namespace qlx::nlp

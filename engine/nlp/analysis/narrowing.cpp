// The inverse of operations over intervals.
#include <algorithm>
#include <cmath>
#include <cstddef>

#include "engine/nlp/analysis/interval_analysis.hpp"

namespace qlx::nlp {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
// Roots are taken by powers of a rounded exponent: ln(1e308) units in the last place.
constexpr double kRootError = 1e-12;

// value = x * y narrows x.
void narrow_factor(Interval value, Interval& x, Interval y) noexcept {
    if (value.has(0) && y.has(0)) return;
    x = intersect(x, value / y);
}

// value = x / y narrows y.
void narrow_divisor(Interval value, Interval x, Interval& y) noexcept {
    if (value.has(0) && x.has(0)) return;
    y = intersect(y, x / value);
}

// |x| is within `size`.
void narrow_by_size(Interval size, Interval& x) noexcept {
    if (size.is_empty() || size.upper < 0) {
        x = Interval::empty();
        return;
    }
    x = intersect(x, {-size.upper, size.upper});
    if (size.lower > 0) {
        if (x.lower > -size.lower) x.lower = std::max(x.lower, size.lower);
        if (x.upper < size.lower) x.upper = std::min(x.upper, -size.lower);
    }
}

// x^p for x >= 0 is within value, p not 0.
Interval root_of(Interval value, double p) noexcept {
    value = intersect(value, {0, kInfinity});
    if (value.is_empty()) return value;
    if (p == 2) return apply_function(Operation::kSqrt, value);
    // The powers of -0 would have another sign.
    const double lower = std::pow((p > 0 ? value.lower : value.upper) + 0.0, 1 / p);
    const double upper = std::pow((p > 0 ? value.upper : value.lower) + 0.0, 1 / p);
    const Interval root = widened({lower, upper}, kRootError);
    return {std::max(0.0, std::isinf(root.lower) ? 0.0 : root.lower), root.upper};
}

void narrow_base(Interval value, Interval& base, double p) noexcept {
    if (p == 0) return;
    if (!is_integer(p)) {
        base = intersect(base, root_of(value, p));
    } else if (std::fmod(p, 2) == 0) {
        narrow_by_size(root_of(value, p), base);
    } else {
        Interval result = Interval::empty();
        if (const Interval positive = intersect(value, {0, kInfinity}); !positive.is_empty())
            result = hull(result, root_of(positive, p));
        if (const Interval negative = intersect(-value, {0, kInfinity}); !negative.is_empty())
            result = hull(result, -root_of(negative, p));
        base = intersect(base, result);
    }
}

void narrow_power(Interval value, Interval& base, Interval& exponent) noexcept {
    if (exponent.is_point()) {
        narrow_base(value, base, exponent.lower);
    } else if (base.is_point() && base.lower > 0 && base.lower != 1) {
        exponent = intersect(exponent, apply_function(Operation::kLog, value) /
                                           apply_function(Operation::kLog, base));
    }
}

void narrow_function(Operation function, Interval value, Interval& x) noexcept {
    x = intersect(x, domain_of(function));
    switch (function) {
        case Operation::kNegate:
            x = intersect(x, -value);
            break;
        case Operation::kExp:
            x = intersect(x, apply_function(Operation::kLog, value));
            break;
        case Operation::kLog:
            x = intersect(x, apply_function(Operation::kExp, value));
            break;
        case Operation::kLog10:
            x = intersect(x, power(Interval::point(10), value));
            break;
        case Operation::kSqrt:
            x = intersect(x, square(intersect(value, {0, kInfinity})));
            break;
        case Operation::kAbs:
            narrow_by_size(value, x);
            break;
        case Operation::kSign:
            if (value.lower > -1) x.lower = std::max(x.lower, 0.0);
            if (value.upper < 1) x.upper = std::min(x.upper, 0.0);
            break;
        default:
            break;
    }
}

// The least of all is within value; max by turning signs.
void narrow_least(Interval value, std::span<Interval> operands) noexcept {
    int can_be_least = 0;
    std::size_t last = 0;
    for (std::size_t k = 0; k < operands.size(); ++k) {
        operands[k].lower = std::max(operands[k].lower, value.lower);
        if (operands[k].lower > value.upper) continue;
        ++can_be_least;
        last = k;
    }
    if (can_be_least == 0) operands[0] = Interval::empty();
    if (can_be_least == 1) operands[last].upper = std::min(operands[last].upper, value.upper);
}

void turn(std::span<Interval> operands) noexcept {
    for (Interval& operand : operands) operand = -operand;
}

}  // namespace

void narrow_operands(Operation operation, Interval value, std::span<Interval> operands) noexcept {
    if (value.is_empty()) {
        for (Interval& operand : operands) operand = Interval::empty();
        return;
    }
    switch (operation) {
        case Operation::kAdd:
            operands[0] = intersect(operands[0], value - operands[1]);
            operands[1] = intersect(operands[1], value - operands[0]);
            break;
        case Operation::kSubtract:
            operands[0] = intersect(operands[0], value + operands[1]);
            operands[1] = intersect(operands[1], operands[0] - value);
            break;
        case Operation::kMultiply:
            narrow_factor(value, operands[0], operands[1]);
            narrow_factor(value, operands[1], operands[0]);
            break;
        case Operation::kDivide:
            operands[0] = intersect(operands[0], value * operands[1]);
            narrow_divisor(value, operands[0], operands[1]);
            break;
        case Operation::kPower:
            narrow_power(value, operands[0], operands[1]);
            break;
        case Operation::kMin:
            narrow_least(value, operands);
            break;
        case Operation::kMax:
            turn(operands);
            narrow_least(-value, operands);
            turn(operands);
            break;
        default:
            if (operands.size() == 1) narrow_function(operation, value, operands[0]);
            break;
    }
}

}  // namespace qlx::nlp

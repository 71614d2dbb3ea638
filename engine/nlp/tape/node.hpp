// The nodes that expressions are made of, and what each of them computes.
#pragma once

#include <cmath>
#include <cstdint>

#include "engine/nlp/formula/evaluator.hpp"

namespace qlx::nlp {

enum class NodeKind : std::uint8_t {
    // Leaves; `a` numbers them.
    kLiteral,  // value
    kColumn,
    kParameter,  // a constant that differs between expressions of one shape
    kWeight,     // the factor of the expression in a weighted sum
    kArgument,   // a list of a user function's arguments: b after the list a, which may be absent
    // Of one value.
    kNegate,
    kSquare,
    kReciprocal,
    kIntegerPower,  // exponent: c
    kHalfPower,     // exponent: half of c, which is odd
    kSqrt,
    kExp,
    kLog,
    kLog10,
    kSin,
    kCos,
    kTan,
    kAsin,
    kAcos,
    kAtan,
    kAbs,
    kSign,
    kErf,
    kErfc,
    // Of two values.
    kAdd,
    kSubtract,
    kMultiply,
    kDivide,
    kPower,
    kMin,
    kMax,
    kLess,             // 1 where a < b, else 0
    kLessEqual,        // 1 where a <= b, else 0
    kKeepIf,           // b where a is not 0, else 0
    kGuardedMultiply,  // a * b; 0 where a is 0, whatever b is
    kPowerTimesLog,    // a = b**y times log(b)
    // Of three.
    kPowerBelow,        // b**c, where a = b**(c + 1) is known
    kMultiplyAdd,       // a * b + c
    kMultiplySubtract,  // a * b - c
    kSubtractProduct,   // c - a * b
    // User functions: a is the list of arguments, c the function's number.
    kUser,            // b: how many arguments
    kUserPartials,    // b: how many arguments; no value of its own
    kUserPartial,     // b: by which argument
    kUserCurvatures,  // b: how many arguments; no value of its own
    kUserCurvature,   // b: by which pair i >= j, counted i * (i + 1) / 2 + j
};

[[nodiscard]] constexpr bool is_leaf(NodeKind kind) noexcept {
    return kind <= NodeKind::kWeight;
}
[[nodiscard]] constexpr bool is_of_one(NodeKind kind) noexcept {
    return kind >= NodeKind::kNegate && kind <= NodeKind::kErfc;
}
[[nodiscard]] constexpr bool is_of_two(NodeKind kind) noexcept {
    return kind >= NodeKind::kAdd && kind <= NodeKind::kPowerTimesLog;
}
[[nodiscard]] constexpr bool is_of_three(NodeKind kind) noexcept {
    return kind >= NodeKind::kPowerBelow && kind <= NodeKind::kSubtractProduct;
}
[[nodiscard]] constexpr bool is_of_user(NodeKind kind) noexcept {
    return kind >= NodeKind::kUser;
}
[[nodiscard]] constexpr bool has_kink(NodeKind kind) noexcept {
    return kind == NodeKind::kAbs || kind == NodeKind::kSign || kind == NodeKind::kMin ||
           kind == NodeKind::kMax;
}

// By squaring, which loses about half a unit in the last place for every unit of the exponent.
[[nodiscard]] inline double integer_power(double x, int exponent) noexcept {
    double result = 1;
    for (int n = exponent < 0 ? -exponent : exponent; n != 0; n >>= 1, x *= x)
        if ((n & 1) != 0) result *= x;
    return exponent < 0 ? 1 / result : result;
}

[[nodiscard]] inline double half_power(double x, int twice) noexcept {
    const double power = integer_power(x, (twice < 0 ? -twice : twice) / 2) * std::sqrt(x);
    return twice < 0 ? 1 / power : power;
}

// x**exponent from above = x**(exponent + 1), which is cheap where x is not 0.
[[nodiscard]] inline double power_below(double above, double x, double exponent) noexcept {
    return x != 0 ? above / x : std::pow(x, exponent);
}

// x**y log(x), which is 0 at x = 0 where the power is.
[[nodiscard]] inline double power_times_log(double power, double x) noexcept {
    return power == 0 && x >= 0 ? 0 : power * std::log(x);
}

[[nodiscard]] inline double apply_one(NodeKind kind, double a, int exponent) noexcept {
    switch (kind) {
        case NodeKind::kNegate:
            return -a;
        case NodeKind::kSquare:
            return a * a;
        case NodeKind::kReciprocal:
            return 1 / a;
        case NodeKind::kIntegerPower:
            return integer_power(a, exponent);
        case NodeKind::kHalfPower:
            return half_power(a, exponent);
        case NodeKind::kSqrt:
            return std::sqrt(a);
        case NodeKind::kExp:
            return std::exp(a);
        case NodeKind::kLog:
            return std::log(a);
        case NodeKind::kLog10:
            return std::log10(a);
        case NodeKind::kSin:
            return std::sin(a);
        case NodeKind::kCos:
            return std::cos(a);
        case NodeKind::kTan:
            return std::tan(a);
        case NodeKind::kAsin:
            return std::asin(a);
        case NodeKind::kAcos:
            return std::acos(a);
        case NodeKind::kAtan:
            return std::atan(a);
        case NodeKind::kAbs:
            return std::fabs(a);
        case NodeKind::kSign:
            return sign_of(a);
        case NodeKind::kErf:
            return std::erf(a);
        default:
            return std::erfc(a);
    }
}

[[nodiscard]] inline double apply_two(NodeKind kind, double a, double b) noexcept {
    switch (kind) {
        case NodeKind::kAdd:
            return a + b;
        case NodeKind::kSubtract:
            return a - b;
        case NodeKind::kMultiply:
            return a * b;
        case NodeKind::kDivide:
            return a / b;
        case NodeKind::kPower:
            return std::pow(a, b);
        case NodeKind::kMin:
            return smaller(a, b);
        case NodeKind::kMax:
            return larger(a, b);
        case NodeKind::kLess:
            return a < b ? 1 : 0;
        case NodeKind::kLessEqual:
            return a <= b ? 1 : 0;
        case NodeKind::kKeepIf:
            return a != 0 ? b : 0;
        case NodeKind::kGuardedMultiply:
            return a == 0 ? 0 : a * b;
        default:
            return power_times_log(a, b);
    }
}

[[nodiscard]] inline double apply_three(NodeKind kind, double a, double b, double c) noexcept {
    switch (kind) {
        case NodeKind::kPowerBelow:
            return power_below(a, b, c);
        case NodeKind::kMultiplyAdd:
            return a * b + c;
        case NodeKind::kMultiplySubtract:
            return a * b - c;
        default:
            return c - a * b;
    }
}

}  // namespace qlx::nlp

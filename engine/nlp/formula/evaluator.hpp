// Values of formulas at a point.
#pragma once

#include <cmath>
#include <limits>
#include <utility>

#include "engine/nlp/formula/instruction.hpp"
#include "engine/nlp/formula/user_functions.hpp"

namespace qlx {

[[nodiscard]] inline double sign_of(double x) noexcept {
    return static_cast<double>(x > 0) - static_cast<double>(x < 0);
}

// Of two values; not a number as soon as one of them is.
[[nodiscard]] inline double smaller(double a, double b) noexcept {
    return a < b || std::isnan(a) ? a : b;
}
[[nodiscard]] inline double larger(double a, double b) noexcept {
    return a > b || std::isnan(a) ? a : b;
}

// The value of a function of one argument.
[[nodiscard]] inline double apply_function(Operation function, double x) noexcept {
    switch (function) {
        case Operation::kNegate:
            return -x;
        case Operation::kLog10:
            return std::log10(x);
        case Operation::kLog:
            return std::log(x);
        case Operation::kExp:
            return std::exp(x);
        case Operation::kAbs:
            return std::fabs(x);
        case Operation::kSqrt:
            return std::sqrt(x);
        case Operation::kSin:
            return std::sin(x);
        case Operation::kCos:
            return std::cos(x);
        case Operation::kTan:
            return std::tan(x);
        case Operation::kAsin:
            return std::asin(x);
        case Operation::kAcos:
            return std::acos(x);
        case Operation::kAtan:
            return std::atan(x);
        case Operation::kSign:
            return sign_of(x);
        case Operation::kErf:
            return std::erf(x);
        default:
            return std::erfc(x);
    }
}

[[nodiscard]] inline double apply_operator(Operation operation, double a, double b) noexcept {
    switch (operation) {
        case Operation::kPower:
            return std::pow(a, b);
        case Operation::kMultiply:
            return a * b;
        case Operation::kDivide:
            return a / b;
        case Operation::kAdd:
            return a + b;
        default:
            return a - b;
    }
}

// The value of a user function; not a number where the call fails or `functions` is null.
[[nodiscard]] inline double apply_user_function(UserFunctions* functions, double number,
                                                std::span<const double> inputs) {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    double value = kNone;
    if (functions == nullptr) return kNone;
    return functions->call(static_cast<int>(number), inputs, {}, value, {}) ? value : kNone;
}

// The value of a formula; not a number outside the functions' domains. value_of_column(column) is
// called once for every occurrence; `stack` has room for the formula's values.
template <class ValueOfColumn>
[[nodiscard]] double evaluate(const Formula& formula, double* stack, UserFunctions* functions,
                              ValueOfColumn&& value_of_column) {
    const double* constant = formula.constants;
    double* top = stack;  // one past the last value
    for (std::size_t k = 0; k < formula.length; ++k) {
        const Instruction instruction = formula.instructions[k];
        switch (instruction.operation) {
            case Operation::kMarker:
                break;
            case Operation::kConstant:
                *top++ = *constant++;
                break;
            case Operation::kColumn:
                *top++ = value_of_column(instruction.argument);
                break;
            case Operation::kPower:
            case Operation::kMultiply:
            case Operation::kDivide:
            case Operation::kAdd:
            case Operation::kSubtract:
                --top;
                top[-1] = apply_operator(instruction.operation, top[-1], top[0]);
                break;
            case Operation::kMin:
                for (std::int32_t n = 1; n < instruction.argument; ++n, --top)
                    top[-2] = smaller(top[-2], top[-1]);
                break;
            case Operation::kMax:
                for (std::int32_t n = 1; n < instruction.argument; ++n, --top)
                    top[-2] = larger(top[-2], top[-1]);
                break;
            case Operation::kUser: {
                const auto count = static_cast<std::size_t>(instruction.argument);
                top -= count;
                *top = apply_user_function(functions, *constant++, {top, count});
                ++top;
                break;
            }
            default:
                top[-1] = apply_function(instruction.operation, top[-1]);
        }
    }
    double product = 1;
    while (top > stack) product *= *--top;
    return product;
}

// Without user functions: not a number where the formula calls one.
template <class ValueOfColumn>
[[nodiscard]] double evaluate(const Formula& formula, double* stack,
                              ValueOfColumn&& value_of_column) {
    return evaluate(formula, stack, nullptr, std::forward<ValueOfColumn>(value_of_column));
}

}  // namespace qlx

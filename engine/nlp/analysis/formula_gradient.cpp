// Reverse differentiation of single formulas.
#include "engine/nlp/analysis/formula_gradient.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>

#include "engine/base/index.hpp"
#include "engine/nlp/formula/evaluator.hpp"

namespace qlx::nlp {

namespace {

bool is_operator(Operation operation) noexcept {
    return operation >= Operation::kPower && operation <= Operation::kSubtract;
}

}  // namespace

double derivative_of_function(Operation function, double x, double value) noexcept {
    switch (function) {
        case Operation::kNegate:
            return -1;
        case Operation::kLog10:
            return 1 / (x * std::numbers::ln10);
        case Operation::kLog:
            return 1 / x;
        case Operation::kExp:
            return value;
        case Operation::kAbs:
            return x < 0 ? -1 : 1;
        case Operation::kSqrt:
            return 0.5 / value;
        case Operation::kSin:
            return std::cos(x);
        case Operation::kCos:
            return -std::sin(x);
        case Operation::kTan:
            return 1 + value * value;
        case Operation::kAsin:
            return 1 / std::sqrt((1 - x) * (1 + x));
        case Operation::kAcos:
            return -1 / std::sqrt((1 - x) * (1 + x));
        case Operation::kAtan:
            return 1 / (1 + x * x);
        case Operation::kSign:
            return 0;
        case Operation::kErf:
            return 2 * std::numbers::inv_sqrtpi * std::exp(-x * x);
        case Operation::kErfc:
            return -2 * std::numbers::inv_sqrtpi * std::exp(-x * x);
        default:
            return std::numeric_limits<double>::quiet_NaN();
    }
}

OperatorDerivatives derivatives_of_operator(Operation operation, double a, double b,
                                            double value) noexcept {
    switch (operation) {
        case Operation::kPower: {
            const double by_base = b == 0 ? 0 : b * std::pow(a, b - 1);
            return {by_base, value == 0 ? 0 : value * std::log(a)};
        }
        case Operation::kMultiply:
            return {b, a};
        case Operation::kDivide:
            return {1 / b, -value / b};
        case Operation::kAdd:
            return {1, 1};
        default:
            return {1, -1};
    }
}

double FormulaGradient::add(const Formula& formula, double scale, std::span<const double> x,
                            std::span<double> out) {
    record(formula, x);
    if (stack_.empty()) return 1;
    while (stack_.size() > 1) {
        const int top = stack_.back();
        const int below = stack_[stack_.size() - 2];
        push(Operation::kMultiply, 2, nodes_[at(below)].value * nodes_[at(top)].value);
    }
    nodes_[at(stack_.back())].adjoint = scale;
    for (std::size_t k = nodes_.size(); k-- > 0;) {
        const Node node = nodes_[k];
        if (node.adjoint == 0) continue;
        if (node.operation == Operation::kColumn) {
            out[at(node.column)] += node.adjoint;
        } else {
            send_back(node);
        }
    }
    return nodes_[at(stack_.back())].value;
}

void FormulaGradient::record(const Formula& formula, std::span<const double> x) {
    nodes_.clear();
    operands_.clear();
    stack_.clear();
    const double* constant = formula.constants;
    for (std::size_t k = 0; k < formula.length; ++k) {
        const auto [operation, argument] = formula.instructions[k];
        switch (operation) {
            case Operation::kMarker:
                break;
            case Operation::kConstant:
                push(operation, 0, *constant++);
                break;
            case Operation::kColumn:
                push(operation, 0, x[at(argument)]);
                nodes_.back().column = argument;
                break;
            case Operation::kUser:
                push_call(*constant++, argument);
                break;
            default: {
                const int count = 1 - stack_change(formula.instructions[k]);
                push(operation, count, value_of_top(operation, count));
            }
        }
    }
}

void FormulaGradient::push(Operation operation, int operands, double value) {
    const auto taken = stack_.end() - operands;
    nodes_.push_back({operation, -1, static_cast<int>(operands_.size()), operands, value, 0});
    operands_.insert(operands_.end(), taken, stack_.end());
    stack_.erase(taken, stack_.end());
    stack_.push_back(static_cast<int>(nodes_.size()) - 1);
}

double FormulaGradient::value_of_top(Operation operation, int operands) const {
    const auto value = [&](int k) {
        return nodes_[at(stack_[stack_.size() - at(operands) + at(k)])].value;
    };
    if (is_operator(operation)) return apply_operator(operation, value(0), value(1));
    if (operation != Operation::kMin && operation != Operation::kMax)
        return apply_function(operation, value(0));
    double result = value(0);
    for (int k = 1; k < operands; ++k) {
        result =
            operation == Operation::kMin ? smaller(result, value(k)) : larger(result, value(k));
    }
    return result;
}

void FormulaGradient::push_call(double number, int operands) {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    const auto count = at(operands);
    std::vector<double> inputs(count);
    for (std::size_t k = 0; k < count; ++k)
        inputs[k] = nodes_[at(stack_[stack_.size() - count + k])].value;
    std::vector<double> partials(count, kNone);
    double value = kNone;
    if (functions_ == nullptr || !functions_->call(static_cast<int>(number), inputs,
                                                   std::vector<char>(count, 1), value, partials))
        value = kNone;
    push(Operation::kUser, operands, value);
    partials_.resize(operands_.size());
    std::copy(partials.begin(), partials.end(), partials_.end() - operands);
}

void FormulaGradient::send_back(const Node& node) {
    const auto operand = [&](int k) -> Node& {
        return nodes_[at(operands_[at(node.first_operand + k)])];
    };
    if (node.operation == Operation::kUser) {
        for (int k = 0; k < node.operands; ++k)
            operand(k).adjoint += node.adjoint * partials_[at(node.first_operand + k)];
    } else if (is_operator(node.operation)) {
        const auto [first, second] =
            derivatives_of_operator(node.operation, operand(0).value, operand(1).value, node.value);
        operand(0).adjoint += node.adjoint * first;
        // The derivative by a constant exponent may be undefined, and nobody wants it.
        if (operand(1).operation != Operation::kConstant)
            operand(1).adjoint += node.adjoint * second;
    } else if (node.operation == Operation::kMin || node.operation == Operation::kMax) {
        int active = 0;
        while (active + 1 < node.operands && operand(active).value != node.value) ++active;
        operand(active).adjoint += node.adjoint;
    } else if (node.operands == 1) {
        operand(0).adjoint +=
            node.adjoint * derivative_of_function(node.operation, operand(0).value, node.value);
    }
}

}  // namespace qlx::nlp

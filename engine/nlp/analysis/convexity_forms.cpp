// Forms of expressions that rules of curvature ask for, and second derivatives.
#include <algorithm>
#include <cstddef>

#include "engine/base/index.hpp"
#include "engine/nlp/analysis/convexity.hpp"

namespace qlx::nlp {

bool ConvexityAnalysis::is_sum_of_squares(int k) const {
    const std::span<const int> operands = graph_.operands(k);
    const auto is_good = [this](int node) {
        return at_node(node).curvature == Curvature::kAffine ||
               (is_convex(at_node(node).curvature) && range(node).is_nonnegative());
    };
    switch (graph_.node(k).operation) {
        case Operation::kAdd:
            return at_node(operands[0]).is_sum_of_squares && at_node(operands[1]).is_sum_of_squares;
        case Operation::kMultiply:
            if (operands[0] == operands[1]) return is_good(operands[0]);
            return at_node(operands[0]).is_sum_of_squares &&
                   at_node(operands[1]).is_sum_of_squares &&
                   (at_node(operands[0]).is_constant || at_node(operands[1]).is_constant);
        case Operation::kDivide:
            return at_node(operands[0]).is_sum_of_squares && at_node(operands[1]).is_constant &&
                   range(operands[1]).lower > 0;
        case Operation::kPower:
            return at_node(operands[1]).is_constant && range(operands[1]).lower == 2 &&
                   range(operands[1]).upper == 2 && is_good(operands[0]);
        default:
            return false;
    }
}

bool ConvexityAnalysis::is_log_convex(int k) const {
    const std::span<const int> operands = graph_.operands(k);
    const auto all = [&] {
        return std::ranges::all_of(operands, [this](int i) { return at_node(i).is_log_convex; });
    };
    switch (graph_.node(k).operation) {
        case Operation::kExp:
            return is_convex(at_node(operands[0]).curvature);
        case Operation::kAdd:
        case Operation::kMultiply:
        case Operation::kMax:
        case Operation::kSqrt:
            return all();
        case Operation::kDivide:
            return at_node(operands[0]).is_log_convex && at_node(operands[1]).is_log_concave;
        case Operation::kPower: {
            if (!at_node(operands[1]).is_constant) return false;
            const Interval exponent = range(operands[1]);
            return exponent.is_nonnegative()
                       ? at_node(operands[0]).is_log_convex
                       : exponent.is_nonpositive() && at_node(operands[0]).is_log_concave;
        }
        default:
            return false;
    }
}

// Nonnegative concave expressions are log-concave as well.
bool ConvexityAnalysis::is_log_concave(int k) const {
    const std::span<const int> operands = graph_.operands(k);
    switch (graph_.node(k).operation) {
        case Operation::kExp:
            return is_concave(at_node(operands[0]).curvature);
        case Operation::kMultiply:
        case Operation::kMin:
        case Operation::kSqrt:
            return std::ranges::all_of(operands,
                                       [this](int i) { return at_node(i).is_log_concave; });
        case Operation::kDivide:
            return at_node(operands[0]).is_log_concave && at_node(operands[1]).is_log_convex;
        case Operation::kPower:
            return at_node(operands[1]).is_constant && range(operands[1]).lower > 0 &&
                   at_node(operands[0]).is_log_concave;
        default:
            return false;
    }
}

// Takes off constant factors, divisors and signs.
ConvexityAnalysis::Multiple ConvexityAnalysis::without_factor(int k) const {
    Multiple multiple = {k, 1};
    for (;;) {
        const std::span<const int> operands = graph_.operands(multiple.node);
        const Operation operation = graph_.node(multiple.node).operation;
        const auto constant = [&](std::size_t i) {
            return at_node(operands[i]).is_constant && !at_node(operands[1 - i]).is_constant &&
                   !range(operands[i]).has(0);
        };
        if (operation == Operation::kNegate) {
            multiple = {operands[0], -multiple.factor};
        } else if (operation == Operation::kMultiply && (constant(0) || constant(1))) {
            const std::size_t i = constant(0) ? 0 : 1;
            multiple = {operands[1 - i], multiple.factor * range(operands[i]).lower};
        } else if (operation == Operation::kDivide && constant(1)) {
            multiple = {operands[0], multiple.factor / range(operands[1]).lower};
        } else {
            return multiple;
        }
    }
}

Jet ConvexityAnalysis::jet_of(int k, int pivot) const {
    const Knowledge& known = at_node(k);
    if (known.is_constant) return Jet::constant(range(k));
    return k == pivot ? Jet::variable(range(k)) : known.jet;
}

void ConvexityAnalysis::learn_jet(int k, Knowledge& known) const {
    const std::span<const int> operands = graph_.operands(k);
    const Operation operation = graph_.node(k).operation;
    int pivot = -1;
    for (const int operand : operands) {
        if (at_node(operand).is_constant) continue;
        const int own = at_node(operand).pivot;
        if (own < 0 || (pivot >= 0 && own != pivot)) return;
        pivot = own;
    }
    if (pivot < 0 || operation == Operation::kMin || operation == Operation::kMax ||
        operation == Operation::kUser) {
        return;
    }
    if (!has_convex_domain(k)) return;
    const Jet a = jet_of(operands[0], pivot);
    const Jet b = jet_of(operands.back(), pivot);
    const Interval value = range(k);
    Jet jet;
    switch (operation) {
        case Operation::kAdd:
            jet = sum(a, b);
            break;
        case Operation::kSubtract:
            jet = sum(a, negative(b));
            break;
        case Operation::kMultiply:
            jet = operands[0] == operands[1] ? compose(value, slopes_of_power(a.value, 2), a)
                                             : product(a, b);
            break;
        case Operation::kDivide:
            jet =
                product(a, compose(Interval::point(1) / b.value, slopes_of_power(b.value, -1), b));
            break;
        case Operation::kPower:
            if (at_node(operands[1]).is_constant && b.value.is_point()) {
                jet = compose(value, slopes_of_power(a.value, b.value.lower), a);
            } else if (at_node(operands[0]).is_constant) {
                jet = compose(value, slopes_of_exponential(a.value, b.value), b);
            } else {
                return;
            }
            break;
        default:
            jet = compose(value, slopes_of_function(operation, a.value), a);
            break;
    }
    jet.value = value;
    if (jet.first.is_empty() || jet.second.is_empty()) return;
    known.pivot = pivot;
    known.jet = jet;
    known.curvature = static_cast<Curvature>(static_cast<unsigned>(known.curvature) |
                                             (jet.second.is_nonnegative() ? 1U : 0U) |
                                             (jet.second.is_nonpositive() ? 2U : 0U));
}

}  // namespace qlx::nlp

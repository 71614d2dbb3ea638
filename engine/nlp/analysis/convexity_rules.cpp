// The rules of composition, node by node.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "engine/base/index.hpp"
#include "engine/nlp/analysis/convexity.hpp"

namespace qlx::nlp {

namespace {

Curvature of(bool convex, bool concave) noexcept {
    return static_cast<Curvature>((convex ? 1U : 0U) | (concave ? 2U : 0U));
}
Curvature either(Curvature a, Curvature b) noexcept {
    return static_cast<Curvature>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
Curvature turned(Curvature c) noexcept {
    return of(is_concave(c), is_convex(c));
}
// Of a multiple by numbers of an interval.
Curvature times(Interval factor, Curvature c) noexcept {
    if (factor.is_nonnegative()) return c;
    return factor.is_nonpositive() ? turned(c) : Curvature::kUnknown;
}
Curvature only_if(bool condition, Curvature c) noexcept {
    return condition ? c : Curvature::kUnknown;
}

}  // namespace

void ConvexityAnalysis::learn(int k) {
    Knowledge& known = known_[at(k)];
    const std::span<const int> operands = graph_.operands(k);
    const Operation operation = graph_.node(k).operation;
    if (operation == Operation::kColumn) {
        known.curvature = Curvature::kAffine;
        known.pivot = k;
        known.jet = Jet::variable(range(k));
        known.is_log_concave = range(k).is_nonnegative();
        return;
    }
    known.is_constant = is_constant(k);
    if (known.is_constant) {
        known.curvature = Curvature::kAffine;
        known.jet = Jet::constant(range(k));
        known.is_log_convex = range(k).lower > 0;
        known.is_log_concave = known.is_sum_of_squares = range(k).is_nonnegative();
        return;
    }
    known.is_sum_of_squares = is_sum_of_squares(k);
    known.is_log_convex = is_log_convex(k);
    known.curvature = rule(k);
    learn_jet(k, known);
    if (known.is_log_convex) known.curvature = either(known.curvature, Curvature::kConvex);
    known.is_log_concave =
        is_log_concave(k) || (is_concave(known.curvature) && range(k).is_nonnegative());
    if (known.curvature == Curvature::kAffine && known.pivot < 0) {
        known.pivot = k;
        known.jet = Jet::variable(range(k));
    }
}

bool ConvexityAnalysis::is_constant(int k) const {
    const Operation operation = graph_.node(k).operation;
    if (operation == Operation::kConstant) return true;
    if (operation == Operation::kUser) return false;
    return (range(k).is_point() && ranges_.is_defined(k)) ||
           std::ranges::all_of(graph_.operands(k),
                               [this](int operand) { return at_node(operand).is_constant; });
}

Curvature ConvexityAnalysis::rule(int k) const {
    const std::span<const int> operands = graph_.operands(k);
    const auto curvature = [&](std::size_t i) { return at_node(operands[i]).curvature; };
    switch (graph_.node(k).operation) {
        case Operation::kAdd:
            return of(is_convex(curvature(0)) && is_convex(curvature(1)),
                      is_concave(curvature(0)) && is_concave(curvature(1)));
        case Operation::kSubtract:
            return of(is_convex(curvature(0)) && is_concave(curvature(1)),
                      is_concave(curvature(0)) && is_convex(curvature(1)));
        case Operation::kMultiply:
            return rule_of_product(k);
        case Operation::kDivide:
            return rule_of_quotient(k);
        case Operation::kPower:
            return rule_of_power(k);
        case Operation::kMin:
        case Operation::kMax:
            return rule_of_extremum(k);
        case Operation::kUser:
            return Curvature::kUnknown;
        default:
            return rule_of_function(k);
    }
}

Curvature ConvexityAnalysis::rule_of_product(int k) const {
    const std::span<const int> operands = graph_.operands(k);
    const int a = operands[0];
    const int b = operands[1];
    if (a == b) return composed(a, slopes_of_power(range(a), 2), false);
    for (const auto& [factor, other] : {std::pair{a, b}, std::pair{b, a}}) {
        if (at_node(factor).is_constant) return times(range(factor), at_node(other).curvature);
        const Operation operation = graph_.node(other).operation;
        Curvature found = Curvature::kUnknown;
        if (operation == Operation::kLog || operation == Operation::kLog10)
            found = rule_of_entropy(factor, other);
        if (operation == Operation::kExp) found = rule_of_perspective(factor, other);
        if (found != Curvature::kUnknown) return found;
    }
    return Curvature::kUnknown;
}

// t log t, and t log(t / v) with v > 0, are convex for affine t and v; the factor before the
// logarithm may be any multiple of t, and then log(v / t) is turned.
Curvature ConvexityAnalysis::rule_of_entropy(int factor, int logarithm) const {
    const int argument = graph_.operands(logarithm)[0];
    const Multiple outer = without_factor(factor);
    const Multiple inner = without_factor(argument);
    if (inner.node == outer.node && at_node(inner.node).curvature == Curvature::kAffine)
        return outer.factor * inner.factor > 0 ? Curvature::kConvex : Curvature::kConcave;
    if (graph_.node(inner.node).operation != Operation::kDivide || !(inner.factor > 0))
        return Curvature::kUnknown;
    const std::span<const int> ratio = graph_.operands(inner.node);
    const Multiple above = without_factor(ratio[0]);
    const Multiple below = without_factor(ratio[1]);
    const auto is_positive_affine = [this](const Multiple& m, int node) {
        return at_node(node).curvature == Curvature::kAffine && range(node).is_nonnegative() &&
               m.factor > 0;
    };
    if (!is_positive_affine(above, ratio[0]) || !is_positive_affine(below, ratio[1]))
        return Curvature::kUnknown;
    if (above.node == outer.node)
        return outer.factor > 0 ? Curvature::kConvex : Curvature::kConcave;
    if (below.node == outer.node)
        return outer.factor > 0 ? Curvature::kConcave : Curvature::kConvex;
    return Curvature::kUnknown;
}

// v exp(u / v) with v > 0 is convex for affine u and v.
Curvature ConvexityAnalysis::rule_of_perspective(int factor, int exponential) const {
    const Multiple inner = without_factor(graph_.operands(exponential)[0]);
    if (graph_.node(inner.node).operation != Operation::kDivide) return Curvature::kUnknown;
    const std::span<const int> ratio = graph_.operands(inner.node);
    const Multiple outer = without_factor(factor);
    const Multiple below = without_factor(ratio[1]);
    if (below.node != outer.node || at_node(ratio[1]).curvature != Curvature::kAffine ||
        at_node(ratio[0]).curvature != Curvature::kAffine ||
        !(range(ratio[1]).is_nonnegative() || range(ratio[1]).is_nonpositive())) {
        return Curvature::kUnknown;
    }
    return range(factor).is_nonnegative()
               ? Curvature::kConvex
               : only_if(range(factor).is_nonpositive(), Curvature::kConcave);
}

Curvature ConvexityAnalysis::rule_of_quotient(int k) const {
    const std::span<const int> operands = graph_.operands(k);
    const int above = operands[0];
    const int below = operands[1];
    if (at_node(below).is_constant)
        return range(below).has(0) ? Curvature::kUnknown
                                   : times(range(below), at_node(above).curvature);
    if (at_node(above).is_constant && has_convex_domain(k))
        return times(range(above), composed(below, slopes_of_power(range(below), -1), false));
    if (!at_node(above).is_sum_of_squares) return Curvature::kUnknown;
    const Curvature curvature = at_node(below).curvature;
    return of(range(below).is_nonnegative() && is_concave(curvature),
              range(below).is_nonpositive() && is_convex(curvature));
}

Curvature ConvexityAnalysis::rule_of_power(int k) const {
    const std::span<const int> operands = graph_.operands(k);
    const int base = operands[0];
    const int exponent = operands[1];
    if (!has_convex_domain(k)) return Curvature::kUnknown;
    if (at_node(base).is_constant)
        return composed(exponent, slopes_of_exponential(range(base), range(exponent)), false);
    if (!at_node(exponent).is_constant || !range(exponent).is_point()) return Curvature::kUnknown;
    const double p = range(exponent).lower;
    if (p == 1) return at_node(base).curvature;
    const bool is_norm = at_node(base).is_sum_of_squares && p >= 0.5;
    return either(composed(base, slopes_of_power(range(base), p), false),
                  only_if(is_norm, Curvature::kConvex));
}

Curvature ConvexityAnalysis::rule_of_extremum(int k) const {
    const bool is_max = graph_.node(k).operation == Operation::kMax;
    bool good = true;
    for (const int operand : graph_.operands(k)) {
        const Curvature curvature = at_node(operand).curvature;
        good = good && (is_max ? is_convex(curvature) : is_concave(curvature));
    }
    return only_if(good, is_max ? Curvature::kConvex : Curvature::kConcave);
}

Curvature ConvexityAnalysis::rule_of_function(int k) const {
    const Operation function = graph_.node(k).operation;
    const int argument = graph_.operands(k)[0];
    const Knowledge& inner = at_node(argument);
    if (!has_convex_domain(k)) return Curvature::kUnknown;
    Curvature found = composed(argument, slopes_of_function(function, range(argument)),
                               function == Operation::kAbs);
    if (function == Operation::kLog || function == Operation::kLog10)
        found = either(found, of(inner.is_log_convex, inner.is_log_concave));
    if (function == Operation::kSqrt) {
        if (inner.is_sum_of_squares) found = either(found, Curvature::kConvex);
        const std::span<const int> factors = graph_.operands(argument);
        const auto is_good = [this](int factor) {
            return range(factor).is_nonnegative() && is_concave(at_node(factor).curvature);
        };
        if (graph_.node(argument).operation == Operation::kMultiply && is_good(factors[0]) &&
            is_good(factors[1])) {
            found = either(found, Curvature::kConcave);
        }
    }
    return found;
}

// A convex function of an affine argument is convex, as is a rising one of a convex argument and a
// falling one of a concave argument; concave ones alike.
Curvature ConvexityAnalysis::composed(int argument, const Slopes& slopes,
                                      bool is_convex_anyway) const {
    const Curvature inner = at_node(argument).curvature;
    if (slopes.first.is_empty() || slopes.second.is_empty()) return Curvature::kUnknown;
    const bool rising = slopes.first.is_nonnegative();
    const bool falling = slopes.first.is_nonpositive();
    const bool fits_convex = inner == Curvature::kAffine || (rising && is_convex(inner)) ||
                             (falling && is_concave(inner));
    const bool fits_concave = inner == Curvature::kAffine || (rising && is_concave(inner)) ||
                              (falling && is_convex(inner));
    return of((is_convex_anyway || slopes.second.is_nonnegative()) && fits_convex,
              slopes.second.is_nonpositive() && fits_concave);
}

// Whether the points where the operation is defined are a convex set, given that those of its
// operands are.
bool ConvexityAnalysis::has_convex_domain(int k) const {
    const std::span<const int> operands = graph_.operands(k);
    const Operation operation = graph_.node(k).operation;
    const int last = operands.back();
    Interval ranges[] = {range(operands[0]), range(last)};
    if (is_defined(operation, std::span(ranges).first(operands.size()))) return true;
    int argument = last;
    bool has_pole = operation == Operation::kDivide;
    Interval domain = domain_of(operation);
    if (operation == Operation::kPower) {
        if (!at_node(last).is_constant || !range(last).is_point()) return false;
        argument = operands[0];
        has_pole = is_integer(range(last).lower);
        domain = {0, std::numeric_limits<double>::infinity()};
    } else if (operation == Operation::kTan || operation == Operation::kUser) {
        return false;
    }
    const Interval value = range(argument);
    const Curvature curvature = at_node(argument).curvature;
    if (has_pole) {
        return (value.is_nonnegative() &&
                (is_concave(curvature) || at_node(argument).is_log_concave)) ||
               (value.is_nonpositive() && is_convex(curvature));
    }
    const bool reaches_zero_only = value.is_nonnegative() && at_node(argument).is_log_concave;
    const bool reaches_zero_never = value.is_nonnegative() && at_node(argument).is_log_convex;
    if (value.lower <= domain.lower && !is_concave(curvature) && !reaches_zero_only &&
        !reaches_zero_never) {
        return false;
    }
    return value.upper <= domain.upper || is_convex(curvature);
}

}  // namespace qlx::nlp

// Expressions in which every distinct subexpression is one node.
#include "engine/nlp/tape/expression_graph.hpp"

#include <bit>
#include <utility>

namespace qlx::nlp {

namespace {

// Above, std::pow is more exact and not much slower.
constexpr double kLargestIntegerPower = 16;
constexpr double kLargestHalfPower = 4;

bool equal(const Node& one, const Node& other) noexcept {
    return one.kind == other.kind && one.a == other.a && one.b == other.b && one.c == other.c &&
           std::bit_cast<std::uint64_t>(one.value) == std::bit_cast<std::uint64_t>(other.value);
}

bool commutes(NodeKind kind) noexcept {
    return kind == NodeKind::kAdd || kind == NodeKind::kMultiply;
}

std::uint64_t mix(std::uint64_t hash, std::uint64_t word) noexcept {
    hash = (hash ^ word) * 0x9e3779b97f4a7c15U;
    return hash ^ (hash >> 29);
}

}  // namespace

ExpressionGraph::ExpressionGraph(bool drop_zeros) : drop_zeros_(drop_zeros), table_(64, kNoNode) {}

std::size_t ExpressionGraph::place_of(const Node& node) const noexcept {
    int a = node.a;
    int b = node.b;
    // Both orders of a sum or product are one node: the order that came first.
    if (commutes(node.kind) && a > b) std::swap(a, b);
    std::uint64_t hash = mix(static_cast<std::uint64_t>(node.kind), static_cast<std::uint32_t>(a));
    hash = mix(hash, static_cast<std::uint32_t>(b));
    hash = mix(hash, static_cast<std::uint32_t>(node.c));
    hash = mix(hash, std::bit_cast<std::uint64_t>(node.value));
    return static_cast<std::size_t>(hash ^ (hash >> 32)) & (table_.size() - 1);
}

int ExpressionGraph::find(const Node& node) {
    Node swapped = node;
    if (commutes(node.kind)) std::swap(swapped.a, swapped.b);
    std::size_t place = place_of(node);
    for (; table_[place] != kNoNode; place = (place + 1) & (table_.size() - 1)) {
        const Node& there = nodes_[at(table_[place])];
        if (equal(there, node) || equal(there, swapped)) return table_[place];
    }
    nodes_.push_back(node);
    table_[place] = size() - 1;
    if (2 * nodes_.size() > table_.size()) grow_table();
    return size() - 1;
}

void ExpressionGraph::grow_table() {
    table_.assign(2 * table_.size(), kNoNode);
    for (int index = 0; index < size(); ++index) {
        std::size_t place = place_of(nodes_[at(index)]);
        while (table_[place] != kNoNode) place = (place + 1) & (table_.size() - 1);
        table_[place] = index;
    }
}

int ExpressionGraph::literal(double value) {
    return find({NodeKind::kLiteral, kNoNode, kNoNode, kNoNode, value});
}

int ExpressionGraph::leaf(NodeKind kind, int number) {
    return find({kind, number, kNoNode, kNoNode});
}

int ExpressionGraph::integer_power(int base, int exponent) {
    switch (exponent) {
        case 0:
            return literal(1);
        case 1:
            return base;
        case 2:
            return apply(NodeKind::kSquare, base);
        case -1:
            return apply(NodeKind::kReciprocal, base);
        default:
            if (is_literal(base)) return literal(nlp::integer_power(folded(base), exponent));
            return find({NodeKind::kIntegerPower, base, kNoNode, exponent});
    }
}

int ExpressionGraph::half_power(int base, int twice) {
    if (is_literal(base)) return literal(nlp::half_power(folded(base), twice));
    if (twice == 1) return apply(NodeKind::kSqrt, base);
    return find({NodeKind::kHalfPower, base, kNoNode, twice});
}

int ExpressionGraph::apply(NodeKind kind, int a) {
    if (is_literal(a)) return literal(apply_one(kind, folded(a), 0));
    if (kind == NodeKind::kNegate) {
        const Node from = node(a);
        if (from.kind == NodeKind::kNegate) return from.a;
        if (from.kind == NodeKind::kSubtract) return subtract(from.b, from.a);
        if (from.kind == NodeKind::kMultiply && is_literal(from.a))
            return scale(-folded(from.a), from.b);
    }
    if (kind == NodeKind::kSquare && node(a).kind == NodeKind::kNegate) a = node(a).a;
    return find({kind, a, kNoNode, kNoNode});
}

int ExpressionGraph::apply(NodeKind kind, int a, int b) {
    if (is_literal(a) && is_literal(b)) return literal(apply_two(kind, folded(a), folded(b)));
    switch (kind) {
        case NodeKind::kAdd:
        case NodeKind::kSubtract:
            return add_or_subtract(kind, a, b);
        case NodeKind::kMultiply:
            return product(a, b);
        case NodeKind::kDivide:
            return quotient(a, b);
        case NodeKind::kPower:
            return power(a, b);
        case NodeKind::kKeepIf:
            if (is_literal(b, 0)) return b;
            break;
        case NodeKind::kGuardedMultiply:
            if (is_literal(a) || is_literal(b)) return product(a, b);
            break;
        case NodeKind::kPowerTimesLog:
            if (is_literal(b) && folded(b) > 0) return scale(std::log(folded(b)), a);
            break;
        default:
            break;
    }
    return find({kind, a, b, kNoNode});
}

int ExpressionGraph::apply(NodeKind kind, int a, int b, int c) {
    return find({kind, a, b, c});
}

int ExpressionGraph::add_or_subtract(NodeKind kind, int a, int b) {
    const bool is_sum = kind == NodeKind::kAdd;
    if (is_literal(b, 0)) return a;
    if (is_literal(a, 0)) return is_sum ? b : negate(b);
    if (a == b && is_sum) return scale(2, a);
    const Node second = node(b);
    if (second.kind == NodeKind::kNegate)
        return apply(is_sum ? NodeKind::kSubtract : NodeKind::kAdd, a, second.a);
    if (is_sum && node(a).kind == NodeKind::kNegate) return subtract(b, node(a).a);
    return find({kind, a, b, kNoNode});
}

int ExpressionGraph::product(int a, int b) {
    if (is_literal(b)) std::swap(a, b);
    if (is_literal(a)) {
        const double factor = folded(a);
        if (factor == 1) return b;
        if (factor == -1) return negate(b);
        if (factor == 0 && drop_zeros_) return a;
        const Node other = node(b);
        if (other.kind == NodeKind::kNegate) return scale(-factor, other.a);
        if (other.kind == NodeKind::kMultiply && is_literal(other.a)) {
            const double both = factor * folded(other.a);
            if (std::isfinite(both) && both != 0) return scale(both, other.b);
        }
        return find({NodeKind::kMultiply, a, b, kNoNode});
    }
    // Signs and constant factors move out, where they meet others.
    const Node first = node(a);
    const Node second = node(b);
    if (first.kind == NodeKind::kNegate) return negate(product(first.a, b));
    if (second.kind == NodeKind::kNegate) return negate(product(a, second.a));
    if (first.kind == NodeKind::kMultiply && is_literal(first.a))
        return product(first.a, product(first.b, b));
    if (second.kind == NodeKind::kMultiply && is_literal(second.a))
        return product(second.a, product(a, second.b));
    if (a == b) return apply(NodeKind::kSquare, a);
    return find({NodeKind::kMultiply, a, b, kNoNode});
}

int ExpressionGraph::quotient(int a, int b) {
    if (is_literal(b)) {
        const double inverse = 1 / folded(b);
        if (std::isnormal(inverse)) return product(literal(inverse), a);
    }
    if (is_literal(a, 1)) return apply(NodeKind::kReciprocal, b);
    const Node first = node(a);
    if (first.kind == NodeKind::kNegate) return negate(quotient(first.a, b));
    if (first.kind == NodeKind::kMultiply && is_literal(first.a))
        return product(first.a, quotient(first.b, b));
    if (is_literal(a) && folded(a) != 0) return product(a, apply(NodeKind::kReciprocal, b));
    return find({NodeKind::kDivide, a, b, kNoNode});
}

int ExpressionGraph::power(int a, int b) {
    if (!is_literal(b)) return find({NodeKind::kPower, a, b, kNoNode});
    const double exponent = folded(b);
    if (exponent == std::nearbyint(exponent) && std::fabs(exponent) <= kLargestIntegerPower)
        return integer_power(a, static_cast<int>(exponent));
    if (2 * exponent == std::nearbyint(2 * exponent) && std::fabs(exponent) <= kLargestHalfPower)
        return half_power(a, static_cast<int>(2 * exponent));
    return find({NodeKind::kPower, a, b, kNoNode});
}

}  // namespace qlx::nlp

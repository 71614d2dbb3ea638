// The partial derivatives of one node by its operands.
#include "engine/nlp/tape/partials.hpp"

#include <algorithm>
#include <numbers>

namespace qlx::nlp {

namespace {

struct OfOne {
    int first;
    int second;
};

// Where the value is `self` at the operand `a`.
OfOne partials_of_one(ExpressionGraph& g, const Node& node, int self) {
    const int a = node.a;
    const int zero = g.literal(0);
    switch (node.kind) {
        case NodeKind::kNegate:
            return {g.literal(-1), zero};
        case NodeKind::kSquare:
            return {g.scale(2, a), g.literal(2)};
        case NodeKind::kReciprocal: {
            const int square = g.apply(NodeKind::kSquare, self);
            return {g.negate(square), g.scale(2, g.multiply(square, self))};
        }
        case NodeKind::kIntegerPower: {
            const int n = node.c;
            return {g.scale(n, g.integer_power(a, n - 1)),
                    g.scale(static_cast<double>(n) * (n - 1), g.integer_power(a, n - 2))};
        }
        case NodeKind::kHalfPower: {
            const double n = 0.5 * node.c;
            return {g.scale(n, g.half_power(a, node.c - 2)),
                    g.scale(n * (n - 1), g.half_power(a, node.c - 4))};
        }
        case NodeKind::kSqrt: {
            const int inverse = g.apply(NodeKind::kReciprocal, self);
            const int cube = g.multiply(g.apply(NodeKind::kSquare, inverse), inverse);
            return {g.scale(0.5, inverse), g.scale(-0.25, cube)};
        }
        case NodeKind::kExp:
            return {self, self};
        case NodeKind::kLog:
        case NodeKind::kLog10: {
            const double unit = node.kind == NodeKind::kLog ? 1 : std::numbers::log10e;
            const int inverse = g.apply(NodeKind::kReciprocal, a);
            return {g.scale(unit, inverse), g.scale(-unit, g.apply(NodeKind::kSquare, inverse))};
        }
        case NodeKind::kSin:
            return {g.apply(NodeKind::kCos, a), g.negate(self)};
        case NodeKind::kCos:
            return {g.negate(g.apply(NodeKind::kSin, a)), g.negate(self)};
        case NodeKind::kTan: {
            const int slope = g.add(g.apply(NodeKind::kSquare, self), g.literal(1));
            return {slope, g.scale(2, g.multiply(self, slope))};
        }
        case NodeKind::kAsin:
        case NodeKind::kAcos: {
            // (1 - a)(1 + a) is exact near 1 and -1, where 1 - a**2 is not.
            const int rest = g.multiply(g.subtract(g.literal(1), a), g.add(g.literal(1), a));
            const int slope = g.apply(NodeKind::kReciprocal, g.apply(NodeKind::kSqrt, rest));
            const int cube = g.multiply(g.apply(NodeKind::kSquare, slope), slope);
            const double sign = node.kind == NodeKind::kAsin ? 1 : -1;
            return {g.scale(sign, slope), g.scale(sign, g.multiply(a, cube))};
        }
        case NodeKind::kAtan: {
            const int slope =
                g.apply(NodeKind::kReciprocal, g.add(g.apply(NodeKind::kSquare, a), g.literal(1)));
            return {slope, g.scale(-2, g.multiply(a, g.apply(NodeKind::kSquare, slope)))};
        }
        case NodeKind::kAbs:
            return {g.apply(NodeKind::kSign, a), zero};
        case NodeKind::kErf:
        case NodeKind::kErfc: {
            const double factor = node.kind == NodeKind::kErf ? 2 : -2;
            const int bell = g.apply(NodeKind::kExp, g.negate(g.apply(NodeKind::kSquare, a)));
            const int slope = g.scale(factor * std::numbers::inv_sqrtpi, bell);
            return {slope, g.scale(-2, g.multiply(a, slope))};
        }
        default:  // kSign
            return {zero, zero};
    }
}

struct OfTwo {
    int a, b, aa, ab, bb;
};

OfTwo partials_of_power(ExpressionGraph& g, const Node& node, int self, bool base_moves,
                        bool exponent_moves) {
    const int x = node.a;
    const int y = node.b;
    const int zero = g.literal(0);
    OfTwo out{zero, zero, zero, zero, zero};
    const auto lower = [&](int power, double by) {
        return g.apply(NodeKind::kPowerBelow, power, x, g.add(y, g.literal(-by)));
    };
    const auto times_log = [&](int power) { return g.apply(NodeKind::kPowerTimesLog, power, x); };
    if (base_moves) {
        const int below = lower(self, 1);
        out.a = g.multiply(y, below);
        out.aa = g.multiply(g.multiply(y, g.add(y, g.literal(-1))), lower(below, 2));
        if (exponent_moves) out.ab = g.add(below, g.multiply(y, times_log(below)));
    }
    if (exponent_moves) {
        out.b = times_log(self);
        out.bb = times_log(out.b);
    }
    return out;
}

OfTwo partials_of_two(ExpressionGraph& g, const Node& node, int self, bool a_moves, bool b_moves) {
    const int zero = g.literal(0);
    const int one = g.literal(1);
    switch (node.kind) {
        case NodeKind::kAdd:
            return {one, one, zero, zero, zero};
        case NodeKind::kSubtract:
            return {one, g.literal(-1), zero, zero, zero};
        case NodeKind::kMultiply:
            return {node.b, node.a, zero, one, zero};
        case NodeKind::kDivide: {
            const int inverse = g.apply(NodeKind::kReciprocal, node.b);
            const int slope = g.multiply(self, inverse);
            return {inverse, g.negate(slope), zero, g.negate(g.apply(NodeKind::kSquare, inverse)),
                    g.scale(2, g.multiply(slope, inverse))};
        }
        case NodeKind::kPower:
            return partials_of_power(g, node, self, a_moves, b_moves);
        case NodeKind::kMin:  // the first of equal values is the active one
            return {g.apply(NodeKind::kLessEqual, node.a, node.b),
                    g.apply(NodeKind::kLess, node.b, node.a), zero, zero, zero};
        default:
            return {g.apply(NodeKind::kLessEqual, node.b, node.a),
                    g.apply(NodeKind::kLess, node.a, node.b), zero, zero, zero};
    }
}

class Collector {
  public:
    Collector(ExpressionGraph& graph, const std::vector<char>& moves, Partials& out)
        : graph_(graph), moves_(moves), out_(out) {}

    [[nodiscard]] bool moves(int operand) const { return moves_[at(operand)] != 0; }

    void add(int operand, int partial) {
        if (!moves(operand) || graph_.is_literal(partial, 0)) return;
        const std::size_t place = place_of(operand);
        out_.first[place] = graph_.add(out_.first[place], partial);
    }

    // Of an entry of a symmetric matrix: one beside the diagonal stands for two.
    void add_second(int one, int other, int partial) {
        if (!moves(one) || !moves(other) || graph_.is_literal(partial, 0)) return;
        std::size_t i = place_of(one);
        std::size_t j = place_of(other);
        if (i < j) std::swap(i, j);
        for (auto& second : out_.second) {
            if (second.i != i || second.j != j) continue;
            second.node = graph_.add(second.node, partial);
            return;
        }
        out_.second.push_back({i, j, partial});
    }

  private:
    [[nodiscard]] std::size_t place_of(int operand) {
        const auto found = std::find(out_.operands.begin(), out_.operands.end(), operand);
        const auto place = static_cast<std::size_t>(found - out_.operands.begin());
        if (found == out_.operands.end()) {
            out_.operands.push_back(operand);
            out_.first.push_back(graph_.literal(0));
        }
        return place;
    }

    ExpressionGraph& graph_;
    const std::vector<char>& moves_;
    Partials& out_;
};

void find_user_partials(ExpressionGraph& g, const Node& node, Collector& collector) {
    std::vector<int> arguments;
    for (int list = node.a; list != kNoNode; list = g.node(list).a)
        arguments.push_back(g.node(list).b);
    std::reverse(arguments.begin(), arguments.end());
    const int slopes = g.raw(NodeKind::kUserPartials, node.a, node.b, node.c);
    const int curvatures = g.raw(NodeKind::kUserCurvatures, node.a, node.b, node.c);
    for (int i = 0; i < node.b; ++i)
        collector.add(arguments[at(i)], g.raw(NodeKind::kUserPartial, slopes, i, kNoNode));
    for (int i = 0; i < node.b; ++i) {
        for (int j = 0; j <= i; ++j) {
            const int one = arguments[at(i)];
            const int other = arguments[at(j)];
            if (!collector.moves(one) || !collector.moves(other)) continue;
            int second = g.raw(NodeKind::kUserCurvature, curvatures, i * (i + 1) / 2 + j, kNoNode);
            if (one == other && i != j) second = g.scale(2, second);
            collector.add_second(one, other, second);
        }
    }
}

}  // namespace

void find_partials(ExpressionGraph& graph, int index, const std::vector<char>& moves,
                   Partials& out) {
    out.clear();
    const Node node = graph.node(index);
    Collector collector(graph, moves, out);
    if (is_of_user(node.kind)) return find_user_partials(graph, node, collector);
    if (is_of_one(node.kind)) {
        const OfOne partials = partials_of_one(graph, node, index);
        collector.add(node.a, partials.first);
        collector.add_second(node.a, node.a, partials.second);
        return;
    }
    const bool a_moves = collector.moves(node.a);
    const bool b_moves = collector.moves(node.b);
    const OfTwo partials = partials_of_two(graph, node, index, a_moves, b_moves);
    collector.add(node.a, partials.a);
    collector.add(node.b, partials.b);
    collector.add_second(node.a, node.a, partials.aa);
    collector.add_second(node.b, node.b, partials.bb);
    const bool same = node.a == node.b;
    collector.add_second(node.a, node.b, same ? graph.scale(2, partials.ab) : partials.ab);
}

}  // namespace qlx::nlp

// Expressions in which every distinct subexpression is one node.
#pragma once

#include <algorithm>
#include <vector>

#include "engine/base/index.hpp"
#include "engine/nlp/tape/node.hpp"

namespace qlx::nlp {

inline constexpr int kNoNode = -1;

struct Node {
    NodeKind kind = NodeKind::kLiteral;
    int a = kNoNode;
    int b = kNoNode;
    int c = kNoNode;
    double value = 0;  // of a literal
};

// Nodes come after their operands. Every function below gives the node of an expression equal to
// the one asked for: constants are folded, and products with 0, 1 and -1, sums with 0 and the like
// are made simpler. Undefined constants become literals that are not numbers.
class ExpressionGraph {
  public:
    // Products with 0 become 0 where `drop_zeros`, although a factor may be infinite.
    explicit ExpressionGraph(bool drop_zeros = false);

    void set_drop_zeros(bool drop) noexcept { drop_zeros_ = drop; }
    [[nodiscard]] int size() const noexcept { return static_cast<int>(nodes_.size()); }
    [[nodiscard]] const Node& node(int index) const noexcept { return nodes_[at(index)]; }
    [[nodiscard]] bool is_literal(int index) const noexcept {
        return node(index).kind == NodeKind::kLiteral;
    }
    [[nodiscard]] bool is_literal(int index, double value) const noexcept {
        return is_literal(index) && node(index).value == value;
    }

    int literal(double value);
    int leaf(NodeKind kind, int number);
    // Of one, two and three values.
    int apply(NodeKind kind, int a);
    int apply(NodeKind kind, int a, int b);
    int apply(NodeKind kind, int a, int b, int c);
    int integer_power(int base, int exponent);
    int half_power(int base, int twice);
    // User functions and lists of their arguments; nothing is simplified.
    int raw(NodeKind kind, int a, int b, int c) { return find({kind, a, b, c}); }

    int negate(int a) { return apply(NodeKind::kNegate, a); }
    int add(int a, int b) { return apply(NodeKind::kAdd, a, b); }
    int subtract(int a, int b) { return apply(NodeKind::kSubtract, a, b); }
    int multiply(int a, int b) { return apply(NodeKind::kMultiply, a, b); }
    int scale(double factor, int a) { return multiply(literal(factor), a); }

    // The nodes that the roots are made of, ascending; those `stops` says true for are in it but
    // not what they are made of.
    template <class Stops>
    [[nodiscard]] std::vector<int> below(const std::vector<int>& roots, Stops&& stops);
    // The operands of a node that are nodes.
    template <class Visit>
    void for_operands(int index, Visit&& visit) const;

  private:
    int find(const Node& node);
    void grow_table();
    [[nodiscard]] std::size_t place_of(const Node& node) const noexcept;
    int add_or_subtract(NodeKind kind, int a, int b);
    int product(int a, int b);
    int quotient(int a, int b);
    int power(int a, int b);
    [[nodiscard]] double folded(int index) const noexcept { return node(index).value; }

    bool drop_zeros_;
    std::vector<Node> nodes_;
    std::vector<int> table_;  // open addressing; a power of two
    std::vector<int> mark_;
    int last_mark_ = 0;
};

template <class Visit>
void ExpressionGraph::for_operands(int index, Visit&& visit) const {
    const Node& from = node(index);
    if (is_leaf(from.kind)) return;
    if (from.a >= 0) visit(from.a);
    if (from.kind == NodeKind::kArgument || is_of_two(from.kind) || is_of_three(from.kind))
        visit(from.b);
    if (is_of_three(from.kind)) visit(from.c);
}

template <class Stops>
std::vector<int> ExpressionGraph::below(const std::vector<int>& roots, Stops&& stops) {
    mark_.resize(nodes_.size(), 0);
    ++last_mark_;
    std::vector<int> found;
    const auto visit = [&](int index) {
        if (mark_[at(index)] == last_mark_) return;
        mark_[at(index)] = last_mark_;
        found.push_back(index);
    };
    for (const int root : roots) visit(root);
    for (std::size_t k = 0; k < found.size(); ++k)
        if (const int index = found[k]; !stops(index)) for_operands(index, visit);
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace qlx::nlp

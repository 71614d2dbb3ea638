// Derivatives of an expression as expressions of the same graph.
#include "engine/nlp/tape/derivatives.hpp"

#include <unordered_map>

#include "engine/nlp/tape/partials.hpp"

namespace qlx::nlp {

namespace {

// The second derivatives by pairs of nodes that are still to be passed on, as a symmetric matrix of
// which one triangle is kept: an entry beside the diagonal stands for two.
class Edges {
  public:
    explicit Edges(int size) : partners_(at(size)) {}

    void add(ExpressionGraph& graph, int one, int other, int value) {
        if (graph.is_literal(value, 0)) return;
        const int high = std::max(one, other);
        const int low = std::min(one, other);
        const auto [place, is_new] = values_.try_emplace(key(high, low), value);
        if (is_new)
            partners_[at(high)].push_back(low);
        else
            place->second = graph.add(place->second, value);
    }
    // The nodes that come no later than this one and have an entry with it.
    [[nodiscard]] const std::vector<int>& partners(int node) const { return partners_[at(node)]; }
    [[nodiscard]] int value(int high, int low) const { return values_.at(key(high, low)); }
    void drop(int high) {
        for (const int low : partners_[at(high)]) values_.erase(key(high, low));
        partners_[at(high)] = {};
    }

  private:
    static std::uint64_t key(int high, int low) noexcept {
        return static_cast<std::uint64_t>(high) << 32 | static_cast<std::uint32_t>(low);
    }

    std::vector<std::vector<int>> partners_;
    std::unordered_map<std::uint64_t, int> values_;
};

class Differentiator {
  public:
    Differentiator(ExpressionGraph& graph, int root, int weight)
        : graph_(graph),
          weight_(weight),
          nodes_(graph.below({root}, [](int) { return false; })),
          moves_(at(graph.size()), 0),
          guarded_(at(graph.size()), 0),
          adjoint_(at(graph.size()), kNoNode),
          edges_(graph.size()) {
        for (const int index : nodes_) mark(index);
        adjoint_[at(root)] = graph.literal(1);
    }

    Derivatives run(int num_columns) {
        Derivatives result;
        result.first.assign(at(num_columns), kNoNode);
        for (std::size_t k = nodes_.size(); k-- > 0;) {
            const int index = nodes_[k];
            if (moves_[at(index)] == 0) continue;
            const Node& node = graph_.node(index);
            if (node.kind == NodeKind::kColumn) {
                if (adjoint_[at(index)] != kNoNode && !graph_.is_literal(adjoint_[at(index)], 0))
                    result.first[at(node.a)] = adjoint_[at(index)];
                collect(index, result);
            } else if (node.kind != NodeKind::kArgument) {
                pass_on(index);
            }
        }
        return result;
    }

  private:
    // Whether a node depends on columns, and whether it is chosen from by a minimum or maximum.
    void mark(int index) {
        char moves = graph_.node(index).kind == NodeKind::kColumn ? 1 : 0;
        graph_.for_operands(index, [&](int operand) { moves |= moves_[at(operand)]; });
        moves_[at(index)] = moves;
    }

    [[nodiscard]] bool is_choice(int node) const {
        const NodeKind kind = graph_.node(node).kind;
        return kind == NodeKind::kLess || kind == NodeKind::kLessEqual;
    }

    // An active piece's derivatives count even where those of the others are infinite.
    int times(int value, int partial, bool guarded) {
        if (is_choice(partial)) return graph_.apply(NodeKind::kKeepIf, partial, value);
        return guarded ? graph_.apply(NodeKind::kGuardedMultiply, value, partial)
                       : graph_.multiply(value, partial);
    }

    void guard_operands(int index) {
        const NodeKind kind = graph_.node(index).kind;
        const bool chosen = kind == NodeKind::kMin || kind == NodeKind::kMax;
        if (!chosen && guarded_[at(index)] == 0) return;
        graph_.for_operands(index, [&](int operand) { guarded_[at(operand)] = 1; });
    }

    void pass_on(int index) {
        guard_operands(index);
        const bool guarded = guarded_[at(index)] != 0;
        find_partials(graph_, index, moves_, partials_);
        push_edges(index, guarded);
        const int adjoint = adjoint_[at(index)];
        if (adjoint == kNoNode) return;
        if (!partials_.second.empty()) {
            const int weighted = graph_.multiply(weight_, adjoint);
            for (const auto& second : partials_.second)
                edges_.add(graph_, partials_.operands[second.i], partials_.operands[second.j],
                           times(weighted, second.node, guarded));
        }
        for (std::size_t k = 0; k < partials_.operands.size(); ++k) {
            int& to = adjoint_[at(partials_.operands[k])];
            const int share = times(adjoint, partials_.first[k], guarded);
            to = to == kNoNode ? share : graph_.add(to, share);
        }
    }

    void push_edges(int index, bool guarded) {
        for (const int partner : edges_.partners(index)) {
            const int value = edges_.value(index, partner);
            if (partner == index) {
                push_square(value, guarded);
                continue;
            }
            for (std::size_t k = 0; k < partials_.operands.size(); ++k) {
                const int operand = partials_.operands[k];
                const int share = times(value, partials_.first[k], guarded);
                edges_.add(graph_, operand, partner,
                           operand == partner ? graph_.scale(2, share) : share);
            }
        }
        edges_.drop(index);
    }

    void push_square(int value, bool guarded) {
        for (std::size_t i = 0; i < partials_.operands.size(); ++i) {
            const int once = times(value, partials_.first[i], guarded);
            for (std::size_t j = 0; j <= i; ++j)
                edges_.add(graph_, partials_.operands[i], partials_.operands[j],
                           times(once, partials_.first[j], guarded));
        }
    }

    void collect(int index, Derivatives& result) {
        for (const int partner : edges_.partners(index)) {
            // Edges between a column and an operation were passed on with the operation.
            const int i = graph_.node(index).a;
            const int j = graph_.node(partner).a;
            result.second.push_back({std::max(i, j), std::min(i, j), edges_.value(index, partner)});
        }
    }

    ExpressionGraph& graph_;
    const int weight_;
    const std::vector<int> nodes_;
    std::vector<char> moves_;
    std::vector<char> guarded_;
    std::vector<int> adjoint_;
    Edges edges_;
    Partials partials_;
};

}  // namespace

Derivatives differentiate(ExpressionGraph& graph, int root, int weight, int num_columns) {
    return Differentiator(graph, root, weight).run(num_columns);
}

}  // namespace qlx::nlp

// Derivatives of an expression as expressions of the same graph.
#include "engine/nlp/tape/derivatives.hpp"

#include <algorithm>

#include "engine/nlp/tape/partials.hpp"

namespace qlx::nlp {

namespace {

// The second derivatives by pairs of nodes that are still to be passed on, as a symmetric matrix of
// which one triangle is kept: an entry beside the diagonal stands for two. Nodes are passed on in
// descending order, and then their entries are gone.
class Edges {
  public:
    struct Edge {
        int partner;
        int value;  // where it is
    };

    explicit Edges(int size) : edges_(at(size)), place_(at(size), 0), mark_(at(size), 0) {}

    // Entries are added to this node from now on; those with nodes above `passed` are forgotten.
    void select(int node, int passed) {
        node_ = node;
        ++last_mark_;
        std::vector<Edge>& edges = edges_[at(node)];
        std::erase_if(edges, [passed](const Edge& edge) { return edge.partner > passed; });
        for (const Edge& edge : edges) {
            place_[at(edge.partner)] = edge.value;
            mark_[at(edge.partner)] = last_mark_;
        }
    }

    void add(ExpressionGraph& graph, int partner, int value) {
        if (graph.is_literal(value, 0)) return;
        if (mark_[at(partner)] == last_mark_) {
            int& sum = values_[at(place_[at(partner)])];
            sum = graph.add(sum, value);
            return;
        }
        const int place = static_cast<int>(values_.size());
        values_.push_back(value);
        place_[at(partner)] = place;
        mark_[at(partner)] = last_mark_;
        edges_[at(node_)].push_back({partner, place});
        if (partner != node_) edges_[at(partner)].push_back({node_, place});
    }

    [[nodiscard]] const std::vector<Edge>& of(int node) const { return edges_[at(node)]; }
    [[nodiscard]] int value(const Edge& edge) const { return values_[at(edge.value)]; }
    void drop(int node) { edges_[at(node)] = {}; }

  private:
    std::vector<std::vector<Edge>> edges_;  // by node, each edge at both of its ends
    std::vector<int> values_;
    // Of the selected node, by partner.
    int node_ = 0;
    std::vector<int> place_;
    std::vector<int> mark_;
    int last_mark_ = 0;
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
            for (const auto& second : partials_.second) {
                edges_.select(partials_.operands[second.i], index);
                edges_.add(graph_, partials_.operands[second.j],
                           times(weighted, second.node, guarded));
            }
        }
        for (std::size_t k = 0; k < partials_.operands.size(); ++k) {
            int& to = adjoint_[at(partials_.operands[k])];
            const int share = times(adjoint, partials_.first[k], guarded);
            to = to == kNoNode ? share : graph_.add(to, share);
        }
    }

    void push_edges(int index, bool guarded) {
        for (std::size_t k = 0; k < partials_.operands.size(); ++k) {
            const int operand = partials_.operands[k];
            edges_.select(operand, index);
            for (const Edges::Edge& edge : edges_.of(index)) {
                const int value = edges_.value(edge);
                if (edge.partner > index) continue;
                const int share = times(value, partials_.first[k], guarded);
                if (edge.partner == index)
                    push_square(k, share, guarded);
                else
                    edges_.add(graph_, edge.partner,
                               operand == edge.partner ? graph_.scale(2, share) : share);
            }
        }
        edges_.drop(index);
    }

    // `once` has been multiplied by the derivative by operand i.
    void push_square(std::size_t i, int once, bool guarded) {
        for (std::size_t j = 0; j <= i; ++j)
            edges_.add(graph_, partials_.operands[j], times(once, partials_.first[j], guarded));
    }

    void collect(int index, Derivatives& result) {
        for (const Edges::Edge& edge : edges_.of(index)) {
            if (edge.partner > index) continue;
            const int i = graph_.node(index).a;
            const int j = graph_.node(edge.partner).a;
            result.second.push_back({std::max(i, j), std::min(i, j), edges_.value(edge)});
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

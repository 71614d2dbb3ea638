// Expressions sorted by their shape: the same operations on other columns and constants.
#include "engine/nlp/tape/shapes.hpp"

#include <unordered_map>
#include <utility>

namespace qlx::nlp {

namespace {

using Signature = std::vector<int>;

struct SignatureHash {
    std::size_t operator()(const Signature& signature) const noexcept {
        std::uint64_t hash = signature.size();
        for (const int word : signature) {
            hash = (hash ^ static_cast<std::uint32_t>(word)) * 0x9e3779b97f4a7c15U;
            hash ^= hash >> 31;
        }
        return static_cast<std::size_t>(hash);
    }
};

// One expression, renumbered. What a walk found is kept until the next one.
class Walker {
  public:
    explicit Walker(const ExpressionGraph& graph)
        : graph_(graph), local_(at(graph.size())), seen_(at(graph.size()), 0) {}

    void walk(int root) {
        nodes_.clear();
        columns_.clear();
        parameters_.clear();
        ++stamp_;
        pending_.assign(1, root);
        while (!pending_.empty()) {
            const int index = pending_.back();
            const std::size_t before = pending_.size();
            if (!is_known(index))
                graph_.for_operands(index, [&](int operand) {
                    if (!is_known(operand) && !graph_.is_literal(operand))
                        pending_.push_back(operand);
                });
            // The first operand comes first.
            std::reverse(pending_.begin() + static_cast<std::ptrdiff_t>(before), pending_.end());
            if (pending_.size() > before) continue;
            pending_.pop_back();
            if (!is_known(index)) number(index);
        }
    }

    [[nodiscard]] Signature signature(unsigned users) const {
        Signature result = {static_cast<int>(users)};
        result.reserve(4 * nodes_.size() + 1);
        for (const Node& node : nodes_)
            result.insert(result.end(), {static_cast<int>(node.kind), node.a, node.b, node.c});
        return result;
    }
    [[nodiscard]] const std::vector<Node>& nodes() const noexcept { return nodes_; }
    [[nodiscard]] const std::vector<int>& columns() const noexcept { return columns_; }
    [[nodiscard]] const std::vector<double>& parameters() const noexcept { return parameters_; }

  private:
    [[nodiscard]] bool is_known(int index) const { return seen_[at(index)] == stamp_; }

    int operand(int index) {
        if (!graph_.is_literal(index)) return local_[at(index)];
        nodes_.push_back({NodeKind::kParameter, static_cast<int>(parameters_.size())});
        parameters_.push_back(graph_.node(index).value);
        return static_cast<int>(nodes_.size()) - 1;
    }

    void number(int index) {
        Node node = graph_.node(index);
        if (node.kind == NodeKind::kColumn) {
            columns_.push_back(node.a);
            node.a = static_cast<int>(columns_.size()) - 1;
        } else {
            const bool has_second = is_of_two(node.kind) || node.kind == NodeKind::kArgument;
            if (node.a >= 0) node.a = operand(node.a);
            if (has_second) node.b = operand(node.b);
        }
        nodes_.push_back(node);
        seen_[at(index)] = stamp_;
        local_[at(index)] = static_cast<int>(nodes_.size()) - 1;
    }

    const ExpressionGraph& graph_;
    std::vector<int> local_;
    std::vector<int> seen_;
    int stamp_ = 0;
    std::vector<int> pending_;
    std::vector<Node> nodes_;
    std::vector<int> columns_;
    std::vector<double> parameters_;
};

}  // namespace

std::vector<ShapeGroup> group_by_shape(const ExpressionGraph& graph, const std::vector<int>& roots,
                                       const std::vector<unsigned>& users) {
    std::vector<ShapeGroup> groups;
    std::unordered_map<Signature, std::size_t, SignatureHash> known;
    Walker walker(graph);
    for (std::size_t k = 0; k < roots.size(); ++k) {
        walker.walk(roots[k]);
        const auto [place, is_new] = known.try_emplace(walker.signature(users[k]), groups.size());
        if (is_new) {
            groups.emplace_back();
            groups.back().users = users[k];
            groups.back().nodes = walker.nodes();
            groups.back().num_slots = static_cast<int>(walker.columns().size());
            groups.back().num_parameters = static_cast<int>(walker.parameters().size());
        }
        ShapeGroup& group = groups[place->second];
        group.expressions.push_back(static_cast<int>(k));
        group.columns.insert(group.columns.end(), walker.columns().begin(), walker.columns().end());
        group.parameters.insert(group.parameters.end(), walker.parameters().begin(),
                                walker.parameters().end());
    }
    return groups;
}

}  // namespace qlx::nlp

// Expressions sorted by their shape: the same operations on other columns and constants.
#include "engine/nlp/tape/shapes.hpp"

#include <algorithm>
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
    Walker(const ExpressionGraph& graph, const std::vector<Expression>& expressions)
        : graph_(graph),
          local_(at(graph.size())),
          seen_(at(graph.size()), 0),
          part_(at(graph.size()), -1) {
        for (std::size_t k = 0; k < expressions.size(); ++k)
            if (expressions[k].is_part) part_[at(expressions[k].root)] = static_cast<int>(k);
    }

    void walk(int root) {
        root_ = root;
        nodes_.clear();
        nodes_of_parts_.clear();
        parts_.clear();
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

    [[nodiscard]] Signature signature(const Expression& expression) const {
        Signature result = {static_cast<int>(expression.users),
                            static_cast<int>(expression.needed_by),
                            static_cast<int>(expression.is_part), expression.level};
        result.reserve(4 * nodes_.size() + nodes_of_parts_.size() + 4);
        result.insert(result.end(), nodes_of_parts_.begin(), nodes_of_parts_.end());
        for (const Node& node : nodes_)
            result.insert(result.end(), {static_cast<int>(node.kind), node.a, node.b, node.c});
        return result;
    }
    [[nodiscard]] const std::vector<Node>& nodes() const noexcept { return nodes_; }
    [[nodiscard]] const std::vector<int>& nodes_of_parts() const noexcept {
        return nodes_of_parts_;
    }
    [[nodiscard]] const std::vector<int>& parts() const noexcept { return parts_; }
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
        if (part_[at(index)] < 0 || index == root_) return;
        nodes_of_parts_.push_back(local_[at(index)]);
        parts_.push_back(part_[at(index)]);
    }

    const ExpressionGraph& graph_;
    std::vector<int> local_;
    std::vector<int> seen_;
    int stamp_ = 0;
    int root_ = kNoNode;
    std::vector<int> part_;  // by node: the expression that computes it for others
    std::vector<int> pending_;
    std::vector<Node> nodes_;
    std::vector<int> nodes_of_parts_;
    std::vector<int> parts_;
    std::vector<int> columns_;
    std::vector<double> parameters_;
};

}  // namespace

std::vector<ShapeGroup> group_by_shape(const ExpressionGraph& graph,
                                       const std::vector<Expression>& expressions) {
    std::vector<ShapeGroup> groups;
    std::unordered_map<Signature, std::size_t, SignatureHash> known;
    Walker walker(graph, expressions);
    const auto append = [](auto& to, const auto& from) {
        to.insert(to.end(), from.begin(), from.end());
    };
    for (std::size_t k = 0; k < expressions.size(); ++k) {
        const Expression& expression = expressions[k];
        walker.walk(expression.root);
        const auto [place, is_new] = known.try_emplace(walker.signature(expression), groups.size());
        if (is_new) {
            ShapeGroup& group = groups.emplace_back();
            group.users = expression.users;
            group.needed_by = expression.needed_by;
            group.is_part = expression.is_part;
            group.level = expression.level;
            group.nodes = walker.nodes();
            group.nodes_of_parts = walker.nodes_of_parts();
            group.num_slots = static_cast<int>(walker.columns().size());
            group.num_parameters = static_cast<int>(walker.parameters().size());
        }
        ShapeGroup& group = groups[place->second];
        group.expressions.push_back(static_cast<int>(k));
        append(group.columns, walker.columns());
        append(group.parameters, walker.parameters());
        append(group.parts, walker.parts());
    }
    std::stable_sort(groups.begin(), groups.end(),
                     [](const auto& a, const auto& b) { return a.level < b.level; });
    return groups;
}

}  // namespace qlx::nlp

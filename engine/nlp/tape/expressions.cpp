// The expressions that rows and objective add up, and those whose values several of them share.
#include "engine/nlp/tape/expressions.hpp"

#include <algorithm>

namespace qlx::nlp {

namespace {

// Costs in about nanoseconds, in loops over many expressions. To hand a value over costs about two.
constexpr float kWorthSharing = 5;

float cost_of(NodeKind kind) noexcept {
    switch (kind) {
        case NodeKind::kReciprocal:
        case NodeKind::kDivide:
        case NodeKind::kSqrt:
        case NodeKind::kHalfPower:
            return 2;
        case NodeKind::kPower:
            return 20;
        case NodeKind::kUser:
            return 1000;
        case NodeKind::kArgument:
            return 0;
        default:
            return kind >= NodeKind::kExp && kind <= NodeKind::kErfc && kind != NodeKind::kAbs &&
                           kind != NodeKind::kSign
                       ? 8
                       : 0.4F;
    }
}

// Walks from the roots down. A region is what an expression computes itself.
class PartFinder {
  public:
    PartFinder(const ExpressionGraph& graph, std::vector<Expression>& expressions)
        : graph_(graph),
          expressions_(expressions),
          size_(at(graph.size())),
          region_(size_, kNowhere),
          users_(size_, 0),
          expression_(size_, kNoNode) {}

    void run() {
        for (std::size_t k = 0; k < expressions_.size(); ++k) {
            expression_[at(expressions_[k].root)] = static_cast<int>(k);
            users_[at(expressions_[k].root)] = expressions_[k].users;
        }
        find_costs();
        for (int index = graph_.size(); index-- > 0;) visit(index);
        for (Expression& expression : expressions_)
            expression.needed_by = users_[at(expression.root)];
        find_levels();
    }

  private:
    static constexpr int kNowhere = -1;
    static constexpr int kManyRegions = -2;

    void find_costs() {
        cost_.assign(size_, 0);
        for (int index = 0; index < graph_.size(); ++index) {
            float cost = is_leaf(graph_.node(index).kind) ? 0 : cost_of(graph_.node(index).kind);
            graph_.for_operands(index, [&](int operand) { cost += cost_[at(operand)]; });
            cost_[at(index)] = std::min(cost, 1e6F);
        }
    }

    // Its users come before it.
    void visit(int index) {
        int region = region_[at(index)];
        int& expression = expression_[at(index)];
        if (region == kNowhere && expression == kNoNode) return;
        const bool is_value = graph_.node(index).kind != NodeKind::kArgument;
        const bool is_shared = region == kManyRegions || expression != kNoNode;
        if (region != kNowhere && is_shared && is_value && cost_[at(index)] >= kWorthSharing) {
            if (expression == kNoNode) {
                expression = static_cast<int>(expressions_.size());
                expressions_.push_back({index, 0, 0});
            }
            expressions_[at(expression)].is_part = true;
            region = index;
        } else if (region == kNowhere) {
            region = index;
        } else if (expression != kNoNode && region != index) {
            region = kManyRegions;
        }
        graph_.for_operands(index, [&](int operand) {
            int& known = region_[at(operand)];
            known = known == kNowhere || known == region ? region : kManyRegions;
            users_[at(operand)] |= users_[at(index)];
        });
    }

    void find_levels() {
        std::vector<int> level(size_, 0);
        for (int index = 0; index < graph_.size(); ++index)
            graph_.for_operands(index, [&](int operand) {
                const int part = expression_[at(operand)];
                const int above = part != kNoNode && expressions_[at(part)].is_part ? 1 : 0;
                level[at(index)] = std::max(level[at(index)], level[at(operand)] + above);
            });
        for (Expression& expression : expressions_) expression.level = level[at(expression.root)];
    }

    const ExpressionGraph& graph_;
    std::vector<Expression>& expressions_;
    std::size_t size_;
    std::vector<int> region_;  // by node: the root of the region it is in
    std::vector<unsigned> users_;
    std::vector<int> expression_;
    std::vector<float> cost_;
};

}  // namespace

void find_shared_parts(const ExpressionGraph& graph, std::vector<Expression>& expressions) {
    PartFinder(graph, expressions).run();
}

}  // namespace qlx::nlp

// A statement split into constants, linear entries, products and sums of nonlinear expressions.
#include "engine/nlp/tape/split_statement.hpp"

#include <algorithm>
#include <tuple>
#include <utility>

namespace qlx::nlp {

namespace {

NodeKind kind_of(Operation function) noexcept {
    switch (function) {
        case Operation::kNegate:
            return NodeKind::kNegate;
        case Operation::kLog10:
            return NodeKind::kLog10;
        case Operation::kLog:
            return NodeKind::kLog;
        case Operation::kExp:
            return NodeKind::kExp;
        case Operation::kAbs:
            return NodeKind::kAbs;
        case Operation::kSqrt:
            return NodeKind::kSqrt;
        case Operation::kSin:
            return NodeKind::kSin;
        case Operation::kCos:
            return NodeKind::kCos;
        case Operation::kTan:
            return NodeKind::kTan;
        case Operation::kAsin:
            return NodeKind::kAsin;
        case Operation::kAcos:
            return NodeKind::kAcos;
        case Operation::kAtan:
            return NodeKind::kAtan;
        case Operation::kSign:
            return NodeKind::kSign;
        case Operation::kErf:
            return NodeKind::kErf;
        case Operation::kErfc:
            return NodeKind::kErfc;
        case Operation::kPower:
            return NodeKind::kPower;
        case Operation::kMultiply:
            return NodeKind::kMultiply;
        case Operation::kDivide:
            return NodeKind::kDivide;
        case Operation::kAdd:
            return NodeKind::kAdd;
        case Operation::kSubtract:
            return NodeKind::kSubtract;
        case Operation::kMin:
            return NodeKind::kMin;
        default:
            return NodeKind::kMax;
    }
}

// Sorts by the key and adds up what has the same one.
template <class Entry, class Key>
void merge(std::vector<Entry>& entries, Key&& key) {
    std::sort(entries.begin(), entries.end(),
              [&](const Entry& a, const Entry& b) { return key(a) < key(b); });
    std::size_t kept = 0;
    for (std::size_t k = 0; k < entries.size(); ++k) {
        if (kept > 0 && key(entries[kept - 1]) == key(entries[k]))
            entries[kept - 1].coefficient += entries[k].coefficient;
        else
            entries[kept++] = entries[k];
    }
    entries.resize(kept);
}

class Splitter {
  public:
    explicit Splitter(const Statement& statement)
        : statement_(statement), moving_(at(statement.num_columns()), -1) {
        split_.num_columns = static_cast<int>(statement.moving.size());
        for (std::size_t k = 0; k < statement.moving.size(); ++k)
            moving_[at(statement.moving[k])] = static_cast<int>(k);
        split_.constants.assign(at(statement.num_rows()) + 1, 0.0);
        split_.constants[0] = statement.constant;
    }

    SplitStatement run() {
        for (const LinearEntry& entry : statement_.linear)
            add_linear(entry.row, entry.column, entry.coefficient);
        for (const QuadraticEntry& entry : statement_.quadratic) add_quadratic(entry);
        for (const NonlinearTerm& term : statement_.nonlinear) {
            int node = read(term.formula);
            if (term.column != kNoColumn) node = graph().multiply(column(term.column), node);
            add_expression(term.row, node, term.factor);
        }
        merge(split_.linear, [](const auto& e) { return std::pair(e.row, e.column); });
        merge(split_.quadratic, [](const auto& e) { return std::tuple(e.row, e.first, e.second); });
        merge(split_.uses, [](const auto& e) { return std::pair(e.row, e.node); });
        std::erase_if(split_.linear, [](const auto& e) { return e.coefficient == 0; });
        std::erase_if(split_.quadratic, [](const auto& e) { return e.coefficient == 0; });
        return std::move(split_);
    }

  private:
    ExpressionGraph& graph() noexcept { return split_.graph; }
    double& constant(int row) { return split_.constants[at(row + 1)]; }
    double fixed(int column) const { return statement_.fixed_value[at(column)]; }

    int column(int column) {
        const int number = moving_[at(column)];
        return number < 0 ? graph().literal(fixed(column))
                          : graph().leaf(NodeKind::kColumn, number);
    }

    void add_linear(int row, int column, double coefficient) {
        if (const int number = moving_[at(column)]; number >= 0)
            split_.linear.push_back({row, number, coefficient});
        else
            constant(row) += coefficient * fixed(column);
    }

    void add_quadratic(const QuadraticEntry& entry) {
        const int first = moving_[at(entry.first)];
        const int second = moving_[at(entry.second)];
        if (first < 0)
            add_linear(entry.row, entry.second, entry.coefficient * fixed(entry.first));
        else if (second < 0)
            add_linear(entry.row, entry.first, entry.coefficient * fixed(entry.second));
        else
            split_.quadratic.push_back(
                {entry.row, std::max(first, second), std::min(first, second), entry.coefficient});
    }

    int read(const Formula& formula) {
        stack_.clear();
        const double* constant = formula.constants;
        for (std::size_t k = 0; k < formula.length; ++k) {
            const Instruction instruction = formula.instructions[k];
            switch (instruction.operation) {
                case Operation::kMarker:
                    break;
                case Operation::kConstant:
                    stack_.push_back(graph().literal(*constant++));
                    break;
                case Operation::kColumn:
                    stack_.push_back(column(instruction.argument));
                    break;
                case Operation::kUser:
                    call_user(static_cast<int>(*constant++), at(instruction.argument));
                    break;
                default:
                    apply(instruction);
            }
        }
        if (stack_.empty()) return graph().literal(1);
        int product = stack_.back();
        for (std::size_t k = stack_.size() - 1; k-- > 0;)
            product = graph().multiply(product, stack_[k]);
        return product;
    }

    void apply(Instruction instruction) {
        const int taken = 1 - stack_change(instruction);
        const NodeKind kind = kind_of(instruction.operation);
        if (taken == 1) {
            // The smallest or largest of one value is that value.
            if (is_of_one(kind)) stack_.back() = graph().apply(kind, stack_.back());
            return;
        }
        for (int n = 1; n < taken; ++n) {
            const int last = stack_.back();
            stack_.pop_back();
            stack_.back() = graph().apply(kind, stack_.back(), last);
        }
    }

    void call_user(int number, std::size_t count) {
        int list = kNoNode;
        for (std::size_t k = stack_.size() - count; k < stack_.size(); ++k)
            list = graph().raw(NodeKind::kArgument, list, stack_[k], kNoNode);
        stack_.resize(stack_.size() - count);
        stack_.push_back(graph().raw(NodeKind::kUser, list, static_cast<int>(count), number));
    }

    // Takes sums apart, down to what is not linear.
    void add_expression(int row, int root, double factor) {
        pending_.assign(1, {root, factor});
        while (!pending_.empty()) {
            const auto [index, coefficient] = pending_.back();
            pending_.pop_back();
            const Node node = graph().node(index);
            if (node.kind == NodeKind::kLiteral) {
                constant(row) += coefficient * node.value;
            } else if (node.kind == NodeKind::kColumn) {
                split_.linear.push_back({row, node.a, coefficient});
            } else if (node.kind == NodeKind::kNegate) {
                pending_.emplace_back(node.a, -coefficient);
            } else if (node.kind == NodeKind::kAdd || node.kind == NodeKind::kSubtract) {
                const double sign = node.kind == NodeKind::kAdd ? 1 : -1;
                pending_.emplace_back(node.b, sign * coefficient);
                pending_.emplace_back(node.a, coefficient);
            } else if (node.kind == NodeKind::kMultiply && graph().is_literal(node.a)) {
                pending_.emplace_back(node.b, coefficient * graph().node(node.a).value);
            } else {
                split_.uses.push_back({row, index, coefficient});
            }
        }
    }

    const Statement& statement_;
    std::vector<int> moving_;  // of all columns; -1: a constant
    SplitStatement split_;
    std::vector<int> stack_;
    std::vector<std::pair<int, double>> pending_;
};

}  // namespace

SplitStatement split(const Statement& statement) {
    return Splitter(statement).run();
}

}  // namespace qlx::nlp

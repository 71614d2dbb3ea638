// Builds the graph of all formulas by hashing nodes.
#include "engine/nlp/analysis/formula_graph.hpp"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "engine/base/index.hpp"

namespace qlx::nlp {

FormulaGraph::FormulaGraph(const Statement& statement)
    : column_node_(statement.column_lower.size(), -1),
      moves_(statement.column_lower.size(), 0),
      table_(1024, -1) {
    for (const int column : statement.moving) moves_[at(column)] = 1;
    for (const NonlinearTerm& term : statement.nonlinear) {
        int node = add_formula(term.formula, statement);
        if (term.column != kNoColumn) {
            const int both[] = {add_column(term.column, statement), node};
            node = add(Operation::kMultiply, 0, 0, both);
        }
        roots_.push_back({term.row, term.factor, node});
    }
}

int FormulaGraph::add_formula(const Formula& formula, const Statement& statement) {
    stack_.clear();
    const double* constant = formula.constants;
    for (std::size_t k = 0; k < formula.length; ++k) {
        const Instruction instruction = formula.instructions[k];
        if (instruction.operation == Operation::kMarker) continue;
        if (instruction.operation == Operation::kConstant) {
            stack_.push_back(add_constant(*constant++));
        } else if (instruction.operation == Operation::kColumn) {
            stack_.push_back(add_column(instruction.argument, statement));
        } else {
            const std::size_t taken = at(1 - stack_change(instruction));
            const std::vector<int> operands(stack_.end() - static_cast<std::ptrdiff_t>(taken),
                                            stack_.end());
            stack_.resize(stack_.size() - taken);
            const int number =
                instruction.operation == Operation::kUser ? static_cast<int>(*constant++) : 0;
            stack_.push_back(add(instruction.operation, number, 0, operands));
        }
    }
    if (stack_.empty()) return add_constant(1);
    while (stack_.size() > 1) {
        const int both[] = {stack_[stack_.size() - 2], stack_.back()};
        stack_.pop_back();
        stack_.back() = add(Operation::kMultiply, 0, 0, both);
    }
    return stack_.back();
}

int FormulaGraph::add_column(int column, const Statement& statement) {
    if (moves_[at(column)] == 0) return add_constant(statement.fixed_value[at(column)]);
    int& known = column_node_[at(column)];
    if (known < 0) known = add(Operation::kColumn, column, 0, {});
    return known;
}

int FormulaGraph::add_constant(double value) {
    return add(Operation::kConstant, 0, value + 0.0, {});
}

// Sums, products, min and max have their operands sorted, so that x + y and y + x are one node.
int FormulaGraph::add(Operation operation, int argument, double constant,
                      std::span<const int> operands) {
    if (2 * nodes_.size() >= table_.size()) grow();
    const auto first = static_cast<int>(operands_.size());
    operands_.insert(operands_.end(), operands.begin(), operands.end());
    if (operation == Operation::kAdd || operation == Operation::kMultiply ||
        operation == Operation::kMin || operation == Operation::kMax) {
        std::sort(operands_.begin() + first, operands_.end());
    }
    const GraphNode made = {operation, argument, first, static_cast<int>(operands.size()),
                            constant};
    int& entry = table_[place_of(made)];
    if (entry >= 0) {
        operands_.resize(at(first));
        return entry;
    }
    entry = num_nodes();
    nodes_.push_back(made);
    return entry;
}

// Where the table has the node, or would have it.
std::size_t FormulaGraph::place_of(const GraphNode& made) const {
    std::size_t place = hash(made) & (table_.size() - 1);
    while (table_[place] >= 0 && !same(node(table_[place]), made))
        place = (place + 1) & (table_.size() - 1);
    return place;
}

std::size_t FormulaGraph::hash(const GraphNode& made) const {
    std::uint64_t value = static_cast<std::uint64_t>(made.operation) +
                          (static_cast<std::uint64_t>(made.argument) << 8U);
    const auto mix = [&value](std::uint64_t part) {
        value = (value ^ part) * 0x9E3779B97F4A7C15ULL;
        value ^= value >> 29U;
    };
    mix(std::bit_cast<std::uint64_t>(made.constant));
    for (int k = 0; k < made.operands; ++k)
        mix(static_cast<std::uint64_t>(operands_[at(made.first_operand + k)]));
    return static_cast<std::size_t>(value);
}

bool FormulaGraph::same(const GraphNode& a, const GraphNode& b) const {
    return a.operation == b.operation && a.argument == b.argument && a.operands == b.operands &&
           std::bit_cast<std::uint64_t>(a.constant) == std::bit_cast<std::uint64_t>(b.constant) &&
           std::equal(operands_.begin() + a.first_operand,
                      operands_.begin() + a.first_operand + a.operands,
                      operands_.begin() + b.first_operand);
}

void FormulaGraph::grow() {
    table_.assign(2 * table_.size(), -1);
    for (int k = 0; k < num_nodes(); ++k) table_[place_of(node(k))] = k;
}

}  // namespace qlx::nlp

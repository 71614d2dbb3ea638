// Forward evaluation and backward propagation of intervals over rows.
#include "engine/nlp/analysis/interval_analysis.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "engine/base/index.hpp"
#include "engine/nlp/analysis/lower_sum.hpp"
#include "engine/nlp/presolve/limits.hpp"

namespace qlx::nlp {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Worth telling the other rows.
bool is_progress(Interval from, Interval to) noexcept {
    if (to.is_empty() && !from.is_empty()) return true;
    const double width = from.upper - from.lower;
    const double scale = std::max({1.0, std::fabs(to.lower), std::fabs(to.upper)});
    if (std::isinf(width))
        return std::isinf(from.lower) != std::isinf(to.lower) ||
               std::isinf(from.upper) != std::isinf(to.upper);
    const double gain = width - (to.upper - to.lower);
    return gain > 0.01 * width && gain > 1e-6 * scale;
}

}  // namespace

std::vector<Interval> bounds_of(const Statement& statement) {
    std::vector<Interval> box;
    for (const double value : statement.fixed_value) box.push_back(Interval::point(value));
    for (const int column : statement.moving) {
        const double lower = statement.column_lower[at(column)];
        const double upper = statement.column_upper[at(column)];
        box[at(column)] = {is_minus_infinite(lower) ? -kInfinity : lower,
                           is_plus_infinite(upper) ? kInfinity : upper};
    }
    return box;
}

IntervalAnalysis::IntervalAnalysis(const Statement& statement, const FormulaGraph& graph)
    : IntervalAnalysis(statement, graph, bounds_of(statement)) {}

IntervalAnalysis::IntervalAnalysis(const Statement& statement, const FormulaGraph& graph,
                                   std::vector<Interval> box)
    : statement_(statement),
      graph_(graph),
      entries_(statement),
      columns_(std::move(box)),
      nodes_(at(graph.num_nodes())),
      defined_(at(graph.num_nodes()), 0) {
    evaluate_nodes();
    mark_defined();
    mark_wanted();
}

void IntervalAnalysis::mark_wanted() {
    wanted_.assign(nodes_.size(), 0);
    for (const GraphRoot& root : graph_.roots()) {
        const bool is_free = root.row != kObjectiveRow &&
                             is_minus_infinite(statement_.row_lower[at(root.row)]) &&
                             is_plus_infinite(statement_.row_upper[at(root.row)]);
        if (!is_free) wanted_[at(root.node)] = 1;
    }
    for (int k = graph_.num_nodes(); k-- > 0;) {
        if (wanted_[at(k)] == 0) continue;
        for (const int operand : graph_.operands(k)) wanted_[at(operand)] = 1;
    }
}

void IntervalAnalysis::mark_defined() {
    for (int k = 0; k < graph_.num_nodes(); ++k) {
        operand_intervals_.clear();
        bool defined = true;
        for (const int operand : graph_.operands(k)) {
            operand_intervals_.push_back(nodes_[at(operand)]);
            defined = defined && defined_[at(operand)] != 0;
        }
        defined = defined && nlp::is_defined(graph_.node(k).operation, operand_intervals_);
        defined_[at(k)] = static_cast<char>(defined);
    }
}

void IntervalAnalysis::evaluate_nodes() {
    for (int k = 0; k < graph_.num_nodes(); ++k)
        nodes_[at(k)] = intersect(nodes_[at(k)], evaluate_node(k));
}

Interval IntervalAnalysis::evaluate_node(int k) {
    const GraphNode& made = graph_.node(k);
    if (made.operation == Operation::kConstant) return Interval::point(made.constant);
    if (made.operation == Operation::kColumn) return columns_[at(made.argument)];
    const std::span<const int> operands = graph_.operands(k);
    if (made.operation == Operation::kMultiply && operands[0] == operands[1])
        return square(nodes_[at(operands[0])]);
    operand_intervals_.clear();
    for (const int operand : operands) operand_intervals_.push_back(nodes_[at(operand)]);
    return apply_interval(made.operation, operand_intervals_);
}

Interval IntervalAnalysis::linear_range(const LinearEntry& entry) const {
    return Interval::point(entry.coefficient) * columns_[at(entry.column)];
}

Interval IntervalAnalysis::quadratic_range(const QuadraticEntry& entry) const {
    const Interval& first = columns_[at(entry.first)];
    const Interval product =
        entry.first == entry.second ? square(first) : first * columns_[at(entry.second)];
    return Interval::point(entry.coefficient) * product;
}

Interval IntervalAnalysis::root_range(int root) const {
    const GraphRoot& made = graph_.roots()[at(root)];
    return Interval::point(made.factor) * nodes_[at(made.node)];
}

Interval IntervalAnalysis::row_range(int row, int without) const {
    Interval sum = Interval::point(row == kObjectiveRow ? statement_.constant : 0);
    for (const int k : entries_.linear(row)) {
        const LinearEntry& entry = statement_.linear[at(k)];
        if (entry.column != without) sum = sum + linear_range(entry);
    }
    for (const int k : entries_.quadratic(row))
        sum = sum + quadratic_range(statement_.quadratic[at(k)]);
    for (const int k : entries_.nonlinear(row)) sum = sum + root_range(k);
    return sum;
}

bool IntervalAnalysis::row_is_defined(int row) const {
    return std::ranges::all_of(entries_.nonlinear(row), [this](int root) {
        return is_defined(graph_.roots()[at(root)].node);
    });
}

bool IntervalAnalysis::propagate(const PropagationOptions& options) {
    tolerance_ = options.feasibility_tolerance;
    for (const int column : statement_.moving)
        if (columns_[at(column)].is_empty()) return false;
    if (!find_undefined_row()) return false;
    const double round_work = 3.0 * graph_.num_nodes() + 2.0 * statement_.num_rows() +
                              2.0 * static_cast<double>(statement_.linear.size()) +
                              2.0 * static_cast<double>(statement_.quadratic.size()) + 1;
    double work = 0;
    for (int round = 0; round < options.max_rounds; ++round) {
        work += round_work;
        if (work > options.work_limit) break;
        tightened_ = false;
        for (int row = 0; row < statement_.num_rows(); ++row)
            if (!visit_row(row)) return false;
        if (!project_all()) return false;
        evaluate_nodes();
        if (!find_undefined_row()) return false;
        if (!tightened_) break;
    }
    return true;
}

// A formula that is undefined everywhere within the bounds. Where an operand's interval ran empty,
// so did those of all formulas that have it.
bool IntervalAnalysis::find_undefined_row() {
    for (const GraphRoot& root : graph_.roots()) {
        if (!nodes_[at(root.node)].is_empty() || wanted_[at(root.node)] == 0) continue;
        failed_row_ = root.row;
        return false;
    }
    return true;
}

void IntervalAnalysis::collect_parts(int row) {
    parts_.clear();
    for (const int k : entries_.linear(row))
        parts_.push_back(linear_range(statement_.linear[at(k)]));
    for (const int k : entries_.quadratic(row))
        parts_.push_back(quadratic_range(statement_.quadratic[at(k)]));
    for (const int k : entries_.nonlinear(row)) parts_.push_back(root_range(k));
}

bool IntervalAnalysis::visit_row(int row) {
    const double lower_side = statement_.row_lower[at(row)];
    const double upper_side = statement_.row_upper[at(row)];
    const double lower = is_minus_infinite(lower_side)
                             ? -kInfinity
                             : lower_side - tolerance_ * std::max(1.0, std::fabs(lower_side));
    const double upper = is_plus_infinite(upper_side)
                             ? kInfinity
                             : upper_side + tolerance_ * std::max(1.0, std::fabs(upper_side));
    collect_parts(row);
    LowerSum low;
    LowerSum high;  // of the negated parts
    for (const Interval& part : parts_) {
        low.add(part.lower);
        high.add(-part.upper);
    }
    failed_row_ = row;
    if (low.below() > upper || -high.below() < lower) return false;
    for (std::size_t k = 0; k < parts_.size(); ++k) {
        const Interval part = parts_[k];
        const Interval rest = {low.below_without(part.lower), -high.below_without(-part.upper)};
        const Interval allowed = Interval{lower, upper} - rest;
        if (part.lower >= allowed.lower && part.upper <= allowed.upper) continue;
        if (!tighten_part(row, k, allowed)) return false;
    }
    return true;
}

bool IntervalAnalysis::tighten_part(int row, std::size_t part, Interval allowed) {
    const std::span<const int> linear = entries_.linear(row);
    const std::span<const int> quadratic = entries_.quadratic(row);
    if (part < linear.size()) {
        const LinearEntry& entry = statement_.linear[at(linear[part])];
        return entry.coefficient == 0 ||
               tighten_column(entry.column, allowed / Interval::point(entry.coefficient));
    }
    part -= linear.size();
    if (part < quadratic.size())
        return tighten_pair(statement_.quadratic[at(quadratic[part])], allowed);
    part -= quadratic.size();
    const GraphRoot& root = graph_.roots()[at(entries_.nonlinear(row)[part])];
    if (root.factor == 0) return true;
    tighten_node(root.node, allowed / Interval::point(root.factor));
    return !nodes_[at(root.node)].is_empty();
}

bool IntervalAnalysis::tighten_pair(const QuadraticEntry& entry, Interval allowed) {
    if (entry.coefficient == 0) return true;
    const Interval value = allowed / Interval::point(entry.coefficient);
    Interval pair[] = {columns_[at(entry.first)], columns_[at(entry.second)]};
    if (entry.first != entry.second) {
        narrow_operands(Operation::kMultiply, value, pair);
        return tighten_column(entry.first, pair[0]) && tighten_column(entry.second, pair[1]);
    }
    pair[1] = Interval::point(2);
    narrow_operands(Operation::kPower, value, pair);
    return tighten_column(entry.first, pair[0]);
}

bool IntervalAnalysis::tighten_column(int column, Interval to) {
    Interval& known = columns_[at(column)];
    const Interval smaller = intersect(known, to);
    if (is_progress(known, smaller)) tightened_ = true;
    known = smaller;
    return !known.is_empty();
}

void IntervalAnalysis::tighten_node(int k, Interval to) {
    Interval& known = nodes_[at(k)];
    const Interval smaller = intersect(known, to);
    if (is_progress(known, smaller)) tightened_ = true;
    known = smaller;
}

// From what is made of nodes to the nodes, and to the columns at last.
bool IntervalAnalysis::project_all() {
    for (int k = graph_.num_nodes(); k-- > 0;)
        if (wanted_[at(k)] != 0 && !project(k)) return false;
    return true;
}

bool IntervalAnalysis::project(int k) {
    const GraphNode& made = graph_.node(k);
    if (made.operation == Operation::kConstant) return true;
    if (made.operation == Operation::kColumn) return tighten_column(made.argument, nodes_[at(k)]);
    const std::span<const int> operands = graph_.operands(k);
    operand_intervals_.clear();
    for (const int operand : operands) operand_intervals_.push_back(nodes_[at(operand)]);
    if (made.operation == Operation::kMultiply && operands[0] == operands[1]) {
        operand_intervals_[1] = Interval::point(2);
        narrow_operands(Operation::kPower, nodes_[at(k)], operand_intervals_);
        tighten_node(operands[0], operand_intervals_[0]);
        return true;
    }
    narrow_operands(made.operation, nodes_[at(k)], operand_intervals_);
    for (std::size_t i = 0; i < operands.size(); ++i)
        tighten_node(operands[i], operand_intervals_[i]);
    return true;
}

}  // namespace qlx::nlp

// Curvature of rows and programs.
#include "engine/nlp/analysis/convexity.hpp"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>

#include "engine/base/index.hpp"
#include "engine/nlp/presolve/limits.hpp"
#include "engine/quad/curvature.hpp"

namespace qlx::nlp {

namespace {

std::vector<Interval> propagated_box(const Statement& statement, const FormulaGraph& graph) {
    IntervalAnalysis analysis(statement, graph);
    // Curvature is a property of the program as it is stated, without tolerances; an infeasible one
    // is left to those who say so.
    PropagationOptions options;
    options.feasibility_tolerance = 0;
    if (!analysis.propagate(options)) return bounds_of(statement);
    return analysis.columns();
}

Curvature both(Curvature a, Curvature b) noexcept {
    return static_cast<Curvature>(static_cast<unsigned>(a) & static_cast<unsigned>(b));
}

Curvature turned(Curvature c) noexcept {
    if (c == Curvature::kConvex) return Curvature::kConcave;
    return c == Curvature::kConcave ? Curvature::kConvex : c;
}

Curvature times(double factor, Curvature c) noexcept {
    // Where it is undefined, so is its multiple by 0.
    if (factor == 0) return c == Curvature::kUnknown ? c : Curvature::kAffine;
    return factor > 0 ? c : turned(c);
}

// Products of columns added up, with the curvature of their sum.
class QuadraticSum {
  public:
    void add(int first, int second, double coefficient) {
        entries_.push_back(
            {number_of(first), number_of(second), first == second ? 2 * coefficient : coefficient});
    }
    [[nodiscard]] Curvature curvature() const {
        if (entries_.empty()) return Curvature::kAffine;
        quad::SparseColumns upper =
            quad::compress_symmetric(static_cast<int>(numbers_.size()), entries_);
        const bool convex = quad::test_curvature(upper).curvature == quad::Curvature::kConvex;
        for (double& value : upper.value) value = -value;
        const bool concave = quad::test_curvature(upper).curvature == quad::Curvature::kConvex;
        return static_cast<Curvature>((convex ? 1U : 0U) | (concave ? 2U : 0U));
    }

  private:
    int number_of(int column) {
        return numbers_.try_emplace(column, static_cast<int>(numbers_.size())).first->second;
    }

    std::map<int, int> numbers_;
    std::vector<quad::Triplet> entries_;
};

}  // namespace

ConvexityAnalysis::ConvexityAnalysis(const Statement& statement)
    : statement_(statement),
      graph_(statement),
      box_(propagated_box(statement, graph_)),
      ranges_(statement, graph_, box_),
      entries_(statement),
      known_(at(graph_.num_nodes())) {
    for (int k = 0; k < graph_.num_nodes(); ++k) learn(k);
}

Curvature ConvexityAnalysis::row(int row) const {
    const Curvature apart = row_by_parts(row, true);
    return apart != Curvature::kUnknown ? apart : row_by_parts(row, false);
}

// Sums are taken apart from the last node on, so that those that several sums share are met once
// with all that they are multiplied by; either all of them or those of unknown curvature only.
Curvature ConvexityAnalysis::row_by_parts(int row, bool takes_all_apart) const {
    QuadraticSum quadratic;
    for (const int k : entries_.quadratic(row)) {
        const QuadraticEntry& entry = statement_.quadratic[at(k)];
        if (!box_[at(entry.first)].is_point() && !box_[at(entry.second)].is_point())
            quadratic.add(entry.first, entry.second, entry.coefficient);
    }
    std::map<int, double, std::greater<>> parts;
    for (const int k : entries_.nonlinear(row)) {
        const GraphRoot& root = graph_.roots()[at(k)];
        parts[root.node] += root.factor;
    }
    Curvature result = Curvature::kAffine;
    while (!parts.empty() && result != Curvature::kUnknown) {
        const auto [k, factor] = *parts.begin();
        parts.erase(parts.begin());
        const Curvature curvature = at_node(k).curvature;
        if (curvature == Curvature::kAffine) continue;
        const std::span<const int> operands = graph_.operands(k);
        const Operation operation = graph_.node(k).operation;
        const Multiple multiple = without_factor(k);
        if ((operation == Operation::kAdd || operation == Operation::kSubtract) &&
            (takes_all_apart || curvature == Curvature::kUnknown)) {
            parts[operands[0]] += factor;
            parts[operands[1]] += operation == Operation::kAdd ? factor : -factor;
        } else if (multiple.node != k) {
            parts[multiple.node] += factor * multiple.factor;
        } else if (const ColumnProduct product = columns_of_product(k); product.first >= 0) {
            quadratic.add(product.first, product.second, factor * product.factor);
        } else {
            result = both(result, times(factor, curvature));
        }
    }
    return both(result, quadratic.curvature());
}

ConvexityAnalysis::ColumnProduct ConvexityAnalysis::columns_of_product(int k) const {
    const std::span<const int> operands = graph_.operands(k);
    const Operation operation = graph_.node(k).operation;
    const bool is_square = operation == Operation::kPower && range(operands[1]).lower == 2 &&
                           range(operands[1]).upper == 2;
    if (operation != Operation::kMultiply && !is_square) return {-1, -1, 0};
    const Multiple first = without_factor(operands[0]);
    const Multiple second = is_square ? first : without_factor(operands[1]);
    if (graph_.node(first.node).operation != Operation::kColumn ||
        graph_.node(second.node).operation != Operation::kColumn) {
        return {-1, -1, 0};
    }
    return {graph_.node(first.node).argument, graph_.node(second.node).argument,
            first.factor * second.factor};
}

bool ConvexityAnalysis::is_convex_program() const {
    if (!is_convex(row(kObjectiveRow))) return false;
    for (int r = 0; r < statement_.num_rows(); ++r) {
        const bool has_lower = !is_minus_infinite(statement_.row_lower[at(r)]);
        const bool has_upper = !is_plus_infinite(statement_.row_upper[at(r)]);
        if (!has_lower && !has_upper) continue;
        if (entries_.quadratic(r).empty() && entries_.nonlinear(r).empty()) continue;
        const Curvature curvature = row(r);
        if (has_lower && !is_concave(curvature)) return false;
        if (has_upper && !is_convex(curvature)) return false;
    }
    return true;
}

Curvature curvature_of_row(const Statement& statement, int row) {
    return ConvexityAnalysis(statement).row(row);
}

bool is_convex_program(const Statement& statement) {
    return ConvexityAnalysis(statement).is_convex_program();
}

}  // namespace qlx::nlp

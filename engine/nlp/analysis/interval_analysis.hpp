// The ranges of all parts of a statement within its bounds, and what they say about the bounds.
#pragma once

#include <span>
#include <vector>

#include "engine/nlp/analysis/formula_graph.hpp"
#include "engine/nlp/analysis/interval.hpp"
#include "engine/nlp/analysis/statement_values.hpp"

namespace qlx::nlp {

struct PropagationOptions {
    // Sides of rows are moved outwards by this, relative to those beyond 1: points that solvers
    // call feasible may break them so far.
    double feasibility_tolerance = 1e-6;
    int max_rounds = 10;
    // Nodes and entries looked at, in all rounds.
    double work_limit = 2e7;
};

// Enclosures in exact arithmetic; formulas are taken where they are defined, those of rows without
// sides included in evaluation and left out of propagation. Refers to statement and graph.
class IntervalAnalysis {
  public:
    // Evaluates all nodes within the columns' bounds.
    IntervalAnalysis(const Statement& statement, const FormulaGraph& graph);
    // Within a box in the place of the bounds.
    IntervalAnalysis(const Statement& statement, const FormulaGraph& graph,
                     std::vector<Interval> box);

    // Forward-backward propagation (Benhamou, Goualard, Granvilliers, Puget 1999) over graph and
    // rows: intervals shrink, but not below any point that is within bounds, feasible within the
    // tolerance, and at which all rows and the objective are defined. False where there is none;
    // failed_row() tells where that came out.
    bool propagate(const PropagationOptions& options = {});

    [[nodiscard]] const Interval& node(int k) const noexcept {
        return nodes_[static_cast<std::size_t>(k)];
    }
    [[nodiscard]] const std::vector<Interval>& columns() const noexcept { return columns_; }
    [[nodiscard]] const Interval& column(int j) const noexcept {
        return columns_[static_cast<std::size_t>(j)];
    }
    // Whether a node has a value at all points within the columns' bounds.
    [[nodiscard]] bool is_defined(int k) const noexcept {
        return defined_[static_cast<std::size_t>(k)] != 0;
    }
    // Of a row's parts, or of the objective with its constant; without the linear entries of a
    // column, if one is given.
    [[nodiscard]] Interval row_range(int row, int without = kNoColumn) const;
    // Whether all parts of the row have values at all points within the columns' bounds.
    [[nodiscard]] bool row_is_defined(int row) const;
    // The row that no point satisfies, or where a function is undefined everywhere;
    // kObjectiveRow: a function of the objective, or bounds that contradict each other.
    [[nodiscard]] int failed_row() const noexcept { return failed_row_; }

  private:
    void evaluate_nodes();
    [[nodiscard]] Interval evaluate_node(int k);
    void mark_defined();
    void mark_wanted();
    [[nodiscard]] Interval linear_range(const LinearEntry& entry) const;
    [[nodiscard]] Interval quadratic_range(const QuadraticEntry& entry) const;
    [[nodiscard]] Interval root_range(int root) const;
    bool visit_row(int row);
    bool find_undefined_row();
    void collect_parts(int row);
    bool tighten_part(int row, std::size_t part, Interval allowed);
    bool tighten_pair(const QuadraticEntry& entry, Interval allowed);
    bool tighten_column(int column, Interval to);
    bool project_all();
    bool project(int k);
    void tighten_node(int k, Interval to);

    const Statement& statement_;
    const FormulaGraph& graph_;
    EntriesByRow entries_;
    std::vector<Interval> columns_;
    std::vector<Interval> nodes_;
    std::vector<char> defined_;
    std::vector<char> wanted_;     // nodes of the objective and of rows with sides
    std::vector<Interval> parts_;  // of the row at hand: linear, quadratic, nonlinear
    std::vector<Interval> operand_intervals_;
    double tolerance_ = 0;
    int failed_row_ = kObjectiveRow;
    bool tightened_ = false;
};

// The columns' bounds, and the values of those that do not move.
[[nodiscard]] std::vector<Interval> bounds_of(const Statement& statement);

// What the operands of an operation can be where its value is within `value`; they are given by
// their intervals so far and narrowed. Leaves out operands for which it is undefined.
void narrow_operands(Operation operation, Interval value, std::span<Interval> operands) noexcept;

}  // namespace qlx::nlp

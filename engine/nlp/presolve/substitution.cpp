// Free columns of one row, substituted together with it.
#include <cmath>
#include <cstddef>

#include "engine/base/index.hpp"
#include "engine/nlp/presolve/limits.hpp"
#include "engine/nlp/presolve/reduction.hpp"

namespace qlx::nlp {

namespace {

// A cost over coefficient beyond this would make an objective that no solver can scale.
constexpr double kLargestDual = 1e10;

}  // namespace

void Reduction::substitute_columns() {
    bool any = false;
    ranges_.reset();
    for (const int column : work_.moving) {
        if (moves(column) && counts_.rows_of_column[at(column)] == 1 &&
            counts_.curved_of_column[at(column)] == 0 && substitute(column)) {
            any = true;
        }
    }
    ranges_.reset();
    if (any) move_rows_to_objective();
    changed_ = changed_ || any;
}

// The costs of other columns that this changes are those of columns of the same row: none of them
// has that row alone and is still there to be substituted.
bool Reduction::substitute(int column) {
    const LinearEntry entry = work_.linear[at(counts_.entry_of_column[at(column)])];
    const int row = entry.row;
    if (alive_[at(row)] == 0) return false;
    const double dual = counts_.cost[at(column)] / entry.coefficient;
    if (!(std::fabs(dual) <= kLargestDual)) return false;
    const double lower = work_.row_lower[at(row)];
    const double upper = work_.row_upper[at(row)];
    // Without a cost the functions' values decide nothing, and solvers would no longer see that
    // they have to be defined.
    if (dual == 0 && counts_.curved_of_row[at(row)] > 0 && !ranges().row_is_defined(row))
        return false;
    const bool uses_lower = dual > 0 || (dual == 0 && !is_minus_infinite(lower));
    const double side = uses_lower ? lower : upper;
    if (std::fabs(side) >= kInfinity) return false;  // the column has no optimal value
    if (!is_free(column) && !implies_bounds(entry, side)) return false;

    const EnclosedSum shift = constant(row);
    constant(kObjectiveRow).add_product(dual, side);
    constant(kObjectiveRow).add_product(-dual, shift.value());
    alive_[at(row)] = 0;
    moves_[at(column)] = 0;
    joins_objective_[at(row)] = 1;
    to_objective_[at(row)] = -dual;
    removals.push_back({column, row, entry.coefficient, side, dual});
    return true;
}

bool Reduction::is_free(int column) const noexcept {
    return is_minus_infinite(work_.column_lower[at(column)]) &&
           is_plus_infinite(work_.column_upper[at(column)]);
}

// Whether the column is within its bounds wherever the row equals its side.
bool Reduction::implies_bounds(const LinearEntry& entry, double side) {
    const Interval rest =
        ranges().row_range(entry.row, entry.column) + Interval::point(constant(entry.row).value());
    const Interval value = (Interval::point(side) - rest) / Interval::point(entry.coefficient);
    const double lower = work_.column_lower[at(entry.column)];
    const double upper = work_.column_upper[at(entry.column)];
    return (is_minus_infinite(lower) || value.lower >= lower) &&
           (is_plus_infinite(upper) || value.upper <= upper);
}

const IntervalAnalysis& Reduction::ranges() {
    if (!ranges_) {
        graph_ = std::make_unique<FormulaGraph>(work_);
        ranges_ = std::make_unique<IntervalAnalysis>(work_, *graph_);
    }
    return *ranges_;
}

void Reduction::move_rows_to_objective() {
    const auto joins = [this](int row) {
        return row != kObjectiveRow && joins_objective_[at(row)] != 0;
    };
    std::erase_if(work_.linear, [&](LinearEntry& entry) {
        if (!moves(entry.column)) return true;
        if (!joins(entry.row)) return false;
        entry.coefficient *= to_objective_[at(entry.row)];
        entry.row = kObjectiveRow;
        return entry.coefficient == 0;
    });
    for (QuadraticEntry& entry : work_.quadratic) {
        if (!joins(entry.row)) continue;
        entry.coefficient *= to_objective_[at(entry.row)];
        entry.row = kObjectiveRow;
    }
    for (NonlinearTerm& term : work_.nonlinear) {
        if (!joins(term.row)) continue;
        term.factor *= to_objective_[at(term.row)];
        term.row = kObjectiveRow;
    }
}

}  // namespace qlx::nlp

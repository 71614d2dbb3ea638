// Columns that stop moving, and what is left of rows then.
#include <algorithm>
#include <cmath>
#include <cstddef>

#include "engine/base/index.hpp"
#include "engine/nlp/formula/evaluator.hpp"
#include "engine/nlp/presolve/limits.hpp"
#include "engine/nlp/presolve/reduction.hpp"

namespace qlx::nlp {

// A column whose bounds have crossed within the tolerance is put between them.
bool Reduction::fix_columns() {
    for (const int column : work_.moving) {
        if (!moves(column)) continue;
        const double lower = work_.column_lower[at(column)];
        const double upper = work_.column_upper[at(column)];
        if (lower < upper) continue;
        if (!(lower <= upper + tolerance(lower)))
            return infeasible(kObjectiveRow, column, "the column's bounds contradict each other");
        fix(column, lower == upper ? lower : 0.5 * lower + 0.5 * upper);
    }
    return true;
}

void Reduction::fix(int column, double value) {
    moves_[at(column)] = 0;
    work_.fixed_value[at(column)] = value;
    removals.push_back({column, -1, 0, value, 0});
    changed_ = has_constants_ = true;
}

// Columns that only the objective has stay where it wants them. Those that it would send to
// infinity are left for the solver.
void Reduction::settle_unused_columns() {
    for (const int column : work_.moving) {
        if (!moves(column) || counts_.rows_of_column[at(column)] > 0 ||
            counts_.curved_of_column[at(column)] > 0) {
            continue;
        }
        const double cost = counts_.cost[at(column)];
        const double lower = work_.column_lower[at(column)];
        const double upper = work_.column_upper[at(column)];
        if (cost == 0) {
            const double start = work_.start[at(column)];
            fix(column, std::max(lower, std::min(upper, std::isnan(start) ? 0.0 : start)));
        } else if (cost > 0 ? !is_minus_infinite(lower) : !is_plus_infinite(upper)) {
            fix(column, cost > 0 ? lower : upper);
        }
    }
}

void Reduction::fold_constants() {
    fold_nonlinear();
    fold_quadratic();
    fold_linear();
    has_constants_ = false;
}

void Reduction::fold_nonlinear() {
    std::vector<double> stack;
    const auto value = [this](int column) { return work_.fixed_value[at(column)]; };
    std::erase_if(work_.nonlinear, [&](NonlinearTerm& term) {
        if (term.column != kNoColumn && !moves(term.column)) {
            term.factor *= work_.fixed_value[at(term.column)];
            term.column = kNoColumn;
        }
        if (!is_constant(term.formula)) return false;
        stack.resize(std::max(stack.size(), term.formula.length + 1));
        const double product = term.factor * evaluate(term.formula, stack.data(), value);
        // Left in place, a formula without a value is found by whoever evaluates it.
        if (!std::isfinite(product)) return false;
        if (term.column == kNoColumn) {
            constant(term.row).add(product);
        } else {
            work_.linear.push_back({term.row, term.column, product});
        }
        return true;
    });
}

void Reduction::fold_quadratic() {
    std::erase_if(work_.quadratic, [&](const QuadraticEntry& entry) {
        const bool first = moves(entry.first);
        const bool second = moves(entry.second);
        if (first && second) return entry.coefficient == 0;
        const int fixed = first ? entry.second : entry.first;
        const int other = first ? entry.first : entry.second;
        work_.linear.push_back(
            {entry.row, other, entry.coefficient * work_.fixed_value[at(fixed)]});
        return true;
    });
}

void Reduction::fold_linear() {
    std::erase_if(work_.linear, [&](const LinearEntry& entry) {
        if (moves(entry.column)) return false;
        constant(entry.row).add_product(entry.coefficient, work_.fixed_value[at(entry.column)]);
        return true;
    });
}

// Sorts by row, the objective first, and adds up what one row has of one column.
void Reduction::merge_linear() {
    std::vector<int> start(alive_.size() + 2, 0);
    for (const LinearEntry& entry : work_.linear) ++start[at(entry.row + 2)];
    for (std::size_t r = 1; r < start.size(); ++r) start[r] += start[r - 1];
    std::vector<int> next(start.begin(), start.end() - 1);
    std::vector<LinearEntry> sorted(work_.linear.size());
    for (const LinearEntry& entry : work_.linear) sorted[at(next[at(entry.row + 1)]++)] = entry;

    std::vector<int> place(moves_.size(), -1);  // of a column's entry of this row
    std::vector<LinearEntry>& merged = work_.linear;
    merged.clear();
    int first_of_row = 0;
    for (const LinearEntry& entry : sorted) {
        if (!merged.empty() && merged.back().row != entry.row)
            first_of_row = static_cast<int>(merged.size());
        int& known = place[at(entry.column)];
        if (known >= first_of_row && known < static_cast<int>(merged.size()) &&
            merged[at(known)].column == entry.column && merged[at(known)].row == entry.row) {
            merged[at(known)].coefficient += entry.coefficient;
        } else {
            known = static_cast<int>(merged.size());
            merged.push_back(entry);
        }
    }
    std::erase_if(merged, [this](const LinearEntry& entry) {
        return entry.coefficient == 0 || (entry.row != kObjectiveRow && alive_[at(entry.row)] == 0);
    });
}

void Reduction::count() {
    const std::size_t rows = alive_.size();
    const std::size_t columns = moves_.size();
    counts_.linear_of_row.assign(rows, 0);
    counts_.curved_of_row.assign(rows, 0);
    counts_.rows_of_column.assign(columns, 0);
    counts_.curved_of_column.assign(columns, 0);
    counts_.entry_of_row.assign(rows, -1);
    counts_.entry_of_column.assign(columns, -1);
    counts_.cost.assign(columns, 0);
    for (std::size_t k = 0; k < work_.linear.size(); ++k) {
        const LinearEntry& entry = work_.linear[k];
        if (entry.row == kObjectiveRow) {
            counts_.cost[at(entry.column)] = entry.coefficient;
            continue;
        }
        ++counts_.linear_of_row[at(entry.row)];
        ++counts_.rows_of_column[at(entry.column)];
        counts_.entry_of_row[at(entry.row)] = static_cast<int>(k);
        counts_.entry_of_column[at(entry.column)] = static_cast<int>(k);
    }
    for (const QuadraticEntry& entry : work_.quadratic) {
        if (entry.row != kObjectiveRow) ++counts_.curved_of_row[at(entry.row)];
        ++counts_.curved_of_column[at(entry.first)];
        ++counts_.curved_of_column[at(entry.second)];
    }
    for (const NonlinearTerm& term : work_.nonlinear) {
        if (term.row != kObjectiveRow) ++counts_.curved_of_row[at(term.row)];
        if (term.column != kNoColumn) ++counts_.curved_of_column[at(term.column)];
        for (std::size_t k = 0; k < term.formula.length; ++k) {
            const Instruction instruction = term.formula.instructions[k];
            if (instruction.operation == Operation::kColumn)
                ++counts_.curved_of_column[at(instruction.argument)];
        }
    }
}

bool Reduction::is_constant(const Formula& formula) const noexcept {
    for (std::size_t k = 0; k < formula.length; ++k) {
        const Instruction instruction = formula.instructions[k];
        if (instruction.operation == Operation::kColumn && moves(instruction.argument))
            return false;
        // Functions of the user are for solvers to call.
        if (instruction.operation == Operation::kUser) return false;
    }
    return true;
}

}  // namespace qlx::nlp

// The entries of bodies, row after row, as the library takes them; one row is under construction
// at a time. Merging follows the rules of expressions: entries of one variable add up, a sum of
// exactly 0.0 takes the entry out, and a later entry of that variable goes to the end.
#pragma once

#include "model/expression.hpp"
#include "problem/problem.hpp"
#include "problem/transfer/formula_entries.hpp"

namespace quilex {

class RowEntries {
  public:
    std::vector<int> columns;
    std::vector<double> coefficients;
    std::vector<int> first_columns;  // of quadratic entries
    std::vector<int> second_columns;
    std::vector<double> quadratic_coefficients;
    double constant = 0.0;  // of the row under construction
    FormulaEntries formulas;

    // Starts a row for `constraint`, or for the objective when null (used in messages only).
    void begin_row(const Problem* problem, PyObject* constraint) noexcept;

    void add_constant(double value) noexcept { constant += value; }
    void add_linear(Variable* variable, double coefficient) {
        add_entry(column_of(variable), coefficient);
    }
    // The log of an expression's linear part, scaled.
    void add_linear_log(std::span<const LinearEntry> log, double scale);
    void add_quadratic(Variable* first, Variable* second, double coefficient);

    // Ends the row: refuses values that are infinite or not a number.
    void end_row();
    void clear() noexcept;

    // See problem/transfer/append.hpp; between rows.
    struct Mark {
        size_t entries;
        size_t products;
        FormulaEntries::Mark formulas;
    };
    Mark mark() const noexcept { return {columns.size(), first_columns.size(), formulas.mark()}; }
    void rewind(const Mark& mark) noexcept;

    size_t row_length() const noexcept { return columns.size() - row_start_; }
    size_t quadratic_length() const noexcept { return first_columns.size() - quadratic_start_; }
    const Problem* problem() const noexcept { return problem_; }
    // Refuses a number of a formula that is infinite or not a number.
    [[noreturn]] void raise_bad_formula(const char* what, double value) const;
    // Whether an entry of 0.0 was left out, so that the row lacks a variable of its body.
    bool left_out_zero() const noexcept { return left_out_zero_; }

  private:
    static constexpr int kHole = -1;  // the column of an entry that was taken out again
    // Rows up to this length are searched for a column; longer ones get an index over columns.
    static constexpr size_t kSearchedLength = 12;
    // Capacity that is kept from one batch to the next.
    static constexpr size_t kKeptCapacity = 131072;

    int column_of(const Variable* variable) const {
        const int column = problem_->var_index.find(variable->index);
        if (column == IndexMap::kMissing) raise_unknown_variable(variable);
        return column;
    }
    void add_entry(int column, double coefficient) {
        if (coefficient == 0.0) {
            left_out_zero_ = true;
        } else if (column > highest_) {
            append(column, coefficient);
            highest_ = column;
        } else {
            merge(column, coefficient);
        }
    }
    void append(int column, double coefficient) {
        columns.push_back(column);
        coefficients.push_back(coefficient);
        if (indexed_) {
            position_[static_cast<size_t>(column)] =
                static_cast<uint32_t>(columns.size() - row_start_);
        }
    }
    void merge(int column, double coefficient);
    void index_row();
    size_t find_in_row(int column) const noexcept;
    void remove_holes() noexcept;
    void reset_index() noexcept;
    void require_finite() const;
    [[noreturn]] void raise_unknown_variable(const Variable* variable) const;
    [[noreturn]] void raise_bad_value(const char* what, double value, int column) const;

    const Problem* problem_ = nullptr;
    PyObject* constraint_ = nullptr;
    size_t row_start_ = 0;
    size_t quadratic_start_ = 0;
    int highest_ = -1;  // no column of the row is above this one
    size_t holes_ = 0;
    bool left_out_zero_ = false;
    bool indexed_ = false;
    std::vector<uint32_t>
        position_;  // while indexed: column -> its position in the row + 1, else 0
};

}  // namespace quilex

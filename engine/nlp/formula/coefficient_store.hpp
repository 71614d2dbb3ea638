// The nonlinear coefficients of a problem: factor * column * formula, added to a row.
#pragma once

#include <span>
#include <vector>

#include "engine/nlp/formula/parser.hpp"

namespace qlx {

// Column of coefficients without one: the constant 1.
inline constexpr int kNoColumn = -1;

// Coefficients as they are given; factors null: 1.0. The tokens of coefficient k are
// start[k] .. start[k + 1] - 1, the closing one included.
struct CoefficientBlock {
    int count;
    const int* rows;
    const int* cols;
    const double* factors;
    const int* start;
    const int* type;
    const double* value;
};

// Why a block was refused.
struct BadCoefficient {
    int coefficient;  // -1: it was not
    BadToken token;   // its position counts from the block's first token
};

// A row and column may have several terms, which add up to their one coefficient. The terms are in
// flat arrays in the order in which they came. Arguments are checked by the callers.
class CoefficientStore {
  public:
    [[nodiscard]] std::size_t num_terms() const noexcept { return rows_.size(); }
    [[nodiscard]] int row(std::size_t term) const noexcept { return rows_[term]; }
    [[nodiscard]] int col(std::size_t term) const noexcept { return cols_[term]; }
    [[nodiscard]] double factor(std::size_t term) const noexcept { return factors_[term]; }
    [[nodiscard]] Formula formula(std::size_t term) const noexcept;
    // Values that any of the formulas has on its stack at a time.
    [[nodiscard]] int stack_size() const noexcept { return arrays_.stack_size; }

    // The terms of a row and column; of all columns of a row. Built on demand.
    [[nodiscard]] std::vector<std::size_t> terms_of(int row, int col);
    [[nodiscard]] std::span<const std::size_t> terms_of_row(int row);
    // The first term of every coefficient, by row, in a row in the order in which they came.
    [[nodiscard]] std::vector<std::size_t> first_terms();

    // Appends all coefficients or none. Formulas may have what `symbols` states.
    [[nodiscard]] BadCoefficient append(const CoefficientBlock& block,
                                        const FormulaSymbols& symbols);
    void clear();
    // Drops the terms that are marked.
    void delete_terms(const std::vector<char>& marked);
    // new_index[i] is item i's new number, -1 when it goes. Coefficients go with their rows; a
    // column that goes must not occur.
    void delete_rows(const std::vector<int>& new_index);
    void delete_columns(const std::vector<int>& new_index);
    // The first term that has one of the columns that go, as its own or in its formula, and that
    // column; num_terms() when there is none.
    [[nodiscard]] std::size_t term_with_deleted_column(const std::vector<int>& new_index,
                                                       int* col) const;

  private:
    void append_terms(const CoefficientBlock& block);
    void index_rows();
    void forget_index() noexcept { row_start_.clear(); }

    std::vector<int> rows_;
    std::vector<int> cols_;
    std::vector<double> factors_;
    // Where each term's instructions and constants begin, and where the last one's end.
    std::vector<std::size_t> instruction_start_ = {0};
    std::vector<std::size_t> constant_start_ = {0};
    FormulaArrays arrays_;
    // The terms sorted by row; empty when not up to date.
    std::vector<std::size_t> row_start_;
    std::vector<std::size_t> by_row_;
};

}  // namespace qlx

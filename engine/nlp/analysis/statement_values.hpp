// Values and gradients of a statement's rows, for work done once a solve: solvers evaluate by
// tapes.
#pragma once

#include <span>
#include <vector>

#include "engine/nlp/analysis/formula_gradient.hpp"
#include "engine/nlp/statement/statement.hpp"

namespace qlx::nlp {

// Which entries of a statement belong to which row, kObjectiveRow included.
class EntriesByRow {
  public:
    explicit EntriesByRow(const Statement& statement);

    // Positions in the statement's `linear`, `quadratic` and `nonlinear`.
    [[nodiscard]] std::span<const int> linear(int row) const noexcept { return linear_.of(row); }
    [[nodiscard]] std::span<const int> quadratic(int row) const noexcept {
        return quadratic_.of(row);
    }
    [[nodiscard]] std::span<const int> nonlinear(int row) const noexcept {
        return nonlinear_.of(row);
    }

  private:
    struct Lists {
        std::vector<int> start;
        std::vector<int> entry;
        [[nodiscard]] std::span<const int> of(int row) const noexcept;
    };
    template <class Entry>
    static Lists sort(const std::vector<Entry>& entries, int num_rows);

    Lists linear_;
    Lists quadratic_;
    Lists nonlinear_;
};

// Refers to the statement, which must stay as it is. Points have one place for every column, those
// that do not move included.
class StatementValues {
  public:
    explicit StatementValues(const Statement& statement);

    // Of a row, or of the objective with its constant; not a number where it is undefined.
    [[nodiscard]] double value(int row, std::span<const double> x);
    // out[j] += scale * derivative of the row by column j.
    void add_gradient(int row, double scale, std::span<const double> x, std::span<double> out);
    [[nodiscard]] const EntriesByRow& entries() const noexcept { return entries_; }
    // Of one nonlinear term, its factor and column included.
    [[nodiscard]] double term_value(int term, std::span<const double> x);

  private:
    const Statement& statement_;
    EntriesByRow entries_;
    FormulaGradient gradient_;
    std::vector<double> stack_;
};

// The point of all columns that belongs to values of the moving ones.
[[nodiscard]] std::vector<double> point_of_all_columns(const Statement& statement,
                                                       std::span<const double> moving_x);

}  // namespace qlx::nlp

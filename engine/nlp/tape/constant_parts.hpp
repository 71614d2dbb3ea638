// The linear and quadratic parts of objective and rows.
#pragma once

#include <vector>

#include "engine/nlp/tape/entry_index.hpp"
#include "engine/nlp/tape/split_statement.hpp"

namespace qlx::nlp {

class ConstantParts {
  public:
    explicit ConstantParts(SplitStatement& split);

    void add_entries(EntryIndex& jacobian, EntryIndex& hessian) const;
    void find_positions(const EntryIndex& jacobian, const EntryIndex& hessian,
                        std::size_t jacobian_size);
    // A row's coefficients that do not change count as its linear part.
    [[nodiscard]] const std::vector<QuadraticEntry>& quadratic_rows() const noexcept {
        return rows_.quadratic;
    }

    // These set their results, which nonlinear parts are then added to.
    [[nodiscard]] double objective(const double* x) const noexcept;
    void rows(const double* x, std::vector<double>& out) const noexcept;
    void gradient(const double* x, double* out) const noexcept;
    void jacobian(const double* x, double* out) const noexcept;
    // Of `size` entries.
    void hessian(double objective_factor, const double* multipliers, double* out,
                 std::size_t size) const noexcept;

  private:
    struct Part {
        std::vector<LinearEntry> linear;
        std::vector<QuadraticEntry> quadratic;
    };
    struct LinearRow {
        int row;
        std::size_t end;  // of its entries among all
    };
    // Where in the Jacobian the derivatives by the two columns go.
    struct PositionPair {
        int by_first;
        int by_second;
    };

    std::vector<double> constants_;       // of the rows
    std::vector<LinearRow> linear_rows_;  // that have entries
    double objective_constant_;
    Part objective_;
    Part rows_;
    std::vector<double> gradient_;  // that does not change
    std::vector<double> jacobian_;  // entries that do not change, 0 elsewhere
    std::vector<PositionPair> quadratic_positions_;
    std::vector<int> objective_hessian_;
    std::vector<int> rows_hessian_;
};

}  // namespace qlx::nlp

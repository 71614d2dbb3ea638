// The nonlinear part of a model: coefficients with formulas, and the columns' values.
#pragma once

#include <vector>

#include "engine/nlp/formula/coefficient_store.hpp"

namespace qlx {

// What the caller says about the columns' values; not a number, or past the end: nothing.
struct ColumnValues {
    std::vector<double> current;
    std::vector<double> initial;

    // Not a number where the column has neither a current nor an initial value.
    [[nodiscard]] double at_point(int col) const noexcept;
    void delete_columns(const std::vector<int>& new_index);
};

// Arguments are checked by the callers, as the model's are.
struct NonlinearPart {
    CoefficientStore coefficients;
    ColumnValues values;

    [[nodiscard]] bool empty() const noexcept { return coefficients.num_terms() == 0; }
    // new_index[i] is item i's new number, -1 when it goes. A column that goes must not occur in a
    // coefficient.
    void delete_rows(const std::vector<int>& new_index) { coefficients.delete_rows(new_index); }
    void delete_columns(const std::vector<int>& new_index);
};

// A term's value at a point of all columns; `stack` has room for the store's stack_size().
[[nodiscard]] double term_value(const CoefficientStore& store, std::size_t term, const double* x,
                                double* stack);

}  // namespace qlx

// The nonlinear part of a model: coefficients with formulas, and the columns' values.
#pragma once

#include <vector>

#include "engine/nlp/formula/coefficient_store.hpp"
#include "engine/nlp/formula/user_functions.hpp"

namespace qlx {

// What the caller says about the columns' values; not a number, or past the end: nothing.
struct ColumnValues {
    std::vector<double> current;
    std::vector<double> initial;

    // Not a number where the column has neither a current nor an initial value.
    [[nodiscard]] double at_point(int col) const noexcept;
    void delete_columns(const std::vector<int>& new_index);
};

// The user functions that the formulas name: those of the nonlinear problem built on the model,
// null without one. A link, which stays where it is when the rest is copied or assigned.
class UserFunctionsLink {
  public:
    UserFunctionsLink() = default;
    UserFunctionsLink(const UserFunctionsLink&) noexcept {}
    UserFunctionsLink& operator=(const UserFunctionsLink&) noexcept { return *this; }

    void set(UserFunctions* functions) noexcept { functions_ = functions; }
    [[nodiscard]] UserFunctions* get() const noexcept { return functions_; }

  private:
    UserFunctions* functions_ = nullptr;
};

// Arguments are checked by the callers, as the model's are.
struct NonlinearPart {
    CoefficientStore coefficients;
    ColumnValues values;
    UserFunctionsLink functions;

    [[nodiscard]] bool empty() const noexcept { return coefficients.num_terms() == 0; }
    // new_index[i] is item i's new number, -1 when it goes. A column that goes must not occur in a
    // coefficient.
    void delete_rows(const std::vector<int>& new_index) { coefficients.delete_rows(new_index); }
    void delete_columns(const std::vector<int>& new_index);
};

// A term's value at a point of all columns; `stack` has room for the coefficients' stack_size().
[[nodiscard]] double term_value(const NonlinearPart& part, std::size_t term, const double* x,
                                double* stack);

}  // namespace qlx

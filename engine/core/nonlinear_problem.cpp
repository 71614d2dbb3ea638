// Ties a nonlinear problem to the problem below it.
#include "engine/core/nonlinear_problem.hpp"

#include <cmath>

#include "engine/core/problem.hpp"

qslp_problem::qslp_problem(qlx::Problem& below) : linear(below) {
    if (below.nonlinear != nullptr)
        qlx::fail(QLX_ERROR_STATE, "a nonlinear problem is built on this problem already");
    below.nonlinear = this;
}

qslp_problem::~qslp_problem() {
    linear.nonlinear = nullptr;
}

double qslp_problem::current_value(int col) const {
    const auto at = static_cast<std::size_t>(col);
    for (const std::vector<double>* values : {&column_values.current, &column_values.initial})
        if (at < values->size() && !std::isnan((*values)[at])) return (*values)[at];
    qlx::fail(QLX_ERROR_STATE, "column ", col, " (", linear.model.col_names().name(col),
              ") has neither a value nor an initial value; give it one with QSLPchgvar");
}

void qslp_problem::delete_rows(const std::vector<int>& new_index) {
    coefficients.delete_rows(new_index);
}

void qslp_problem::require_deletable(const std::vector<int>& new_index) const {
    int col = 0;
    const std::size_t term = coefficients.term_with_deleted_column(new_index, &col);
    if (term == coefficients.num_terms()) return;
    const int row = coefficients.row(term);
    qlx::fail(QLX_ERROR_STATE, "column ", col, " (", linear.model.col_names().name(col),
              ") occurs in a formula of row ", row, " (", linear.model.row_names().name(row),
              "); delete the row or the coefficient first");
}

void qslp_problem::delete_columns(const std::vector<int>& new_index) {
    coefficients.delete_columns(new_index);
    for (std::vector<double>* values : {&column_values.current, &column_values.initial}) {
        std::size_t kept = 0;
        for (std::size_t col = 0; col < values->size(); ++col)
            if (new_index[col] >= 0) (*values)[kept++] = (*values)[col];
        values->resize(kept);
    }
}

void qslp_problem::clear_model() {
    coefficients.clear();
    column_values = {};
}

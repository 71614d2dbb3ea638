// The nonlinear problem handle, on top of a problem.
#pragma once

#include <vector>

#include "engine/base/errors.hpp"
#include "engine/base/live_counts.hpp"
#include "engine/core/nonlinear_controls.hpp"
#include "engine/core/problem_fwd.hpp"
#include "engine/core/results.hpp"
#include "engine/nlp/formula/coefficient_store.hpp"

namespace qlx {

// What the caller says about the columns' values; not a number, or past the end: nothing.
struct ColumnValues {
    std::vector<double> current;
    std::vector<double> initial;
};

}  // namespace qlx

struct qslp_problem {
    explicit qslp_problem(qlx::Problem& below);
    ~qslp_problem();
    qslp_problem(const qslp_problem&) = delete;
    qslp_problem& operator=(const qslp_problem&) = delete;

    qlx::Problem& linear;  // shares its ownership and messages
    qlx::LastError error;
    qlx::NonlinearControls controls;
    int status = QSLP_UNSTARTED;
    int presolve_state = 0;
    double objective = qlx::kNoValue;
    void* user_object = nullptr;
    qlx::CoefficientStore coefficients;
    qlx::ColumnValues column_values;

    // The value of a column at the current point: its value, or its initial value where it has
    // none. Throws Error naming the column where it has neither.
    [[nodiscard]] double current_value(int col) const;
    // Keep coefficients and values in step with the problem below. Columns that occur in a
    // coefficient cannot be deleted: require_deletable throws Error naming column and row.
    void delete_rows(const std::vector<int>& new_index);
    void require_deletable(const std::vector<int>& new_index) const;
    void delete_columns(const std::vector<int>& new_index);
    // The model below was replaced.
    void clear_model();

  private:
    qlx::Counted<&qlx::LiveCounts::problems> counted_;
};

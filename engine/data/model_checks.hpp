// What may be added to, changed in or deleted from a model: like checks.hpp, but seen against what
// the model has. Used by the entry points and by readers of files.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/data/model.hpp"

namespace qlx {

[[nodiscard]] constexpr bool is_limited(char type) noexcept {
    return type == 'S' || type == 'R' || type == 'P';
}

// A matrix by columns: every column's entries exist, their rows in range and given once, values
// finite. count null: column k ends at start[k + 1].
template <class Start>
void check_matrix(int num_cols, int num_rows, const Start* start, const int* count,
                  const int* row_index, const double* values);

// Special ordered sets: types, columns, reference values that differ. Starts have been checked.
void check_sets(int count, const char* type, const std::int64_t* start, const int* columns,
                const double* references, int num_cols);
// Adds checked sets, their members in the order of the reference values.
void add_sets(Model& model, int count, const char* type, const std::int64_t* start,
              const int* columns, const double* references);

// New types, limits and indicators of columns and rows that exist.
void check_col_types(const Model& model, int count, const int* cols, const char* type);
void check_limits(const Model& model, int count, const int* cols, const double* limit);
void check_indicators(const Model& model, int count, const int* rows, const int* cols,
                      const int* complements);
// A row that gets quadratic terms has no indicator.
void check_no_indicator(const Model& model, int row);

// New right-hand sides, ranges and types of rows that exist.
void check_new_rhs(const Model& model, int count, const int* rows, const double* rhs);
void check_new_range(const Model& model, int count, const int* rows);
void check_new_row_type(const Model& model, int count, const int* rows, const char* type);
// Columns of objective coefficients: -1 stands for the constant.
void check_objective_columns(int count, const int* cols, int num_cols);
void check_sense(int sense);

// A column's bounds after changes.
struct ColumnBounds {
    int col;
    Sides bounds;
};
// The columns of a list of changes (type 'L', 'U' or 'B') with their bounds at its end, which must
// be possible.
[[nodiscard]] std::vector<ColumnBounds> changed_bounds(const Model& model, int count,
                                                       const int* cols, const char* type,
                                                       const double* values);

// Columns that go are neither indicators nor in nonlinear coefficients of rows that stay.
void check_deletable_columns(const Model& model, const std::vector<int>& new_index);

}  // namespace qlx

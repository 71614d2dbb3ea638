// Checks against a model, and the few additions that need the same order of things.
#include "engine/data/model_checks.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "engine/base/index.hpp"
#include "engine/data/checks.hpp"

namespace qlx {

namespace {

// The members of a set in the order of their reference values.
std::vector<std::int64_t> member_order(std::int64_t first, std::int64_t last,
                                       const double* references) {
    std::vector<std::int64_t> order(at(last - first));
    std::iota(order.begin(), order.end(), first);
    std::stable_sort(order.begin(), order.end(), [references](std::int64_t a, std::int64_t b) {
        return references[a] < references[b];
    });
    return order;
}

// The bounds that a column would have after becoming binary.
void check_binary(const Model& model, int col, int k) {
    const double lower = model.lb()[at(col)];
    const double upper = model.ub()[at(col)];
    if (std::max(lower, 0.0) > std::min(upper, 1.0))
        fail(QLX_ERROR_ARGUMENT, "coltype[", k, "] is 'B', but column ", col, " has bounds ", lower,
             " .. ", upper, ", which leave neither 0 nor 1");
}

void check_indicator_row(const Model& model, int row, int k) {
    if (model.quadratic_rows().count(row) != 0)
        fail(QLX_ERROR_UNSUPPORTED, "rows[", k, "] is ", row,
             ", which has quadratic terms; an indicator row must be linear");
}

}  // namespace

template <class Start>
void check_matrix(int num_cols, int num_rows, const Start* start, const int* count,
                  const int* row_index, const double* values) {
    std::vector<int> seen(at(num_rows), -1);
    for (int col = 0; col < num_cols; ++col) {
        const std::int64_t first = start[col];
        const std::int64_t last =
            count != nullptr ? first + count[col] : std::int64_t{start[col + 1]};
        for (std::int64_t k = first; k < last; ++k) {
            if (row_index[k] < 0 || row_index[k] >= num_rows)
                check_index(row_index[k], num_rows, join("rowind[", k, "]").c_str());
            if (!(std::fabs(values[k]) < kInfinity))
                fail(QLX_ERROR_ARGUMENT, "values[", k, "] is ", values[k],
                     ", must be a number below 1e20 in magnitude");
            int& mark = seen[at(row_index[k])];
            if (mark == col)
                fail(QLX_ERROR_ARGUMENT, "rowind[", k, "] is ", row_index[k],
                     ", which is given twice in column ", col);
            mark = col;
        }
    }
}

template void check_matrix(int, int, const int*, const int*, const int*, const double*);
template void check_matrix(int, int, const std::int64_t*, const int*, const int*, const double*);

void check_sets(int count, const char* type, const std::int64_t* start, const int* columns,
                const double* references, int num_cols) {
    check_letters(type, count, "12", "settype");
    check_indices(columns, start[count], num_cols, "colind");
    check_numbers(references, start[count], "refval", true);
    IndexStamps stamps;
    check_distinct(stamps, start, columns, count, num_cols, "colind");
    for (int set = 0; set < count; ++set) {
        const auto order = member_order(start[set], start[set + 1], references);
        for (std::size_t k = 1; k < order.size(); ++k)
            if (references[order[k]] == references[order[k - 1]])
                fail(QLX_ERROR_ARGUMENT, "refval[", order[k], "] is ", references[order[k]],
                     ", which another member of set ", set, " has too");
    }
}

void add_sets(Model& model, int count, const char* type, const std::int64_t* start,
              const int* columns, const double* references) {
    for (int set = 0; set < count; ++set) {
        SpecialOrderedSet added{type[set] - '0', {}, {}};
        for (const std::int64_t k : member_order(start[set], start[set + 1], references)) {
            added.columns.push_back(columns[k]);
            added.references.push_back(references[k]);
        }
        model.add_set(std::move(added));
    }
}

void check_col_types(const Model& model, int count, const int* cols, const char* type) {
    for (int k = 0; k < count; ++k)
        if (type[k] == 'B') check_binary(model, cols[k], k);
}

void check_limits(const Model& model, int count, const int* cols, const double* limit) {
    check_numbers(limit, count, "limit", true);
    for (int k = 0; k < count; ++k) {
        const char type = model.col_type()[at(cols[k])];
        if (!is_limited(type))
            fail(QLX_ERROR_ARGUMENT, "cols[", k, "] is ", cols[k], ", a column of type '", type,
                 "', which has no limit; must be of type 'S', 'R' or 'P'");
    }
}

void check_indicators(const Model& model, int count, const int* rows, const int* cols,
                      const int* complements) {
    for (int k = 0; k < count; ++k) {
        if (complements[k] < -1 || complements[k] > 1)
            fail(QLX_ERROR_ARGUMENT, "complements[", k, "] is ", complements[k],
                 ", must be -1, 0 or 1");
        if (complements[k] == 0) continue;
        if (cols[k] < 0 || cols[k] >= model.num_cols())
            check_index(cols[k], model.num_cols(), join("cols[", k, "]").c_str());
        check_indicator_row(model, rows[k], k);
    }
}

void check_no_indicator(const Model& model, int row) {
    if (model.indicators().count(row) != 0)
        fail(QLX_ERROR_UNSUPPORTED, "row is ", row, ", an indicator row, which must be linear");
}

void check_new_rhs(const Model& model, int count, const int* rows, const double* rhs) {
    check_numbers(rhs, count, "rhs", false);
    for (int k = 0; k < count; ++k) check_row_side(model.row_type()[at(rows[k])], rhs[k], k);
}

void check_new_range(const Model& model, int count, const int* rows) {
    for (int k = 0; k < count; ++k)
        if (model.row_type()[at(rows[k])] == 'N')
            fail(QLX_ERROR_ARGUMENT, "rows[", k, "] is ", rows[k],
                 ", a free row, which has no range; must be of type 'L', 'G', 'E' or 'R'");
}

void check_new_row_type(const Model& model, int count, const int* rows, const char* type) {
    check_letters(type, count, "LGERN", "rowtype");
    for (int k = 0; k < count; ++k) check_row_side(type[k], model.rhs()[at(rows[k])], k);
}

void check_objective_columns(int count, const int* cols, int num_cols) {
    for (int k = 0; k < count; ++k)
        if (cols[k] < -1 || cols[k] >= num_cols)
            fail(QLX_ERROR_ARGUMENT, "cols[", k, "] is ", cols[k],
                 ", must be -1 (the constant) .. ", num_cols - 1);
}

void check_sense(int sense) {
    if (sense != 1 && sense != -1)
        fail(QLX_ERROR_ARGUMENT, "sense is ", sense, ", must be 1 (minimise) or -1 (maximise)");
}

std::vector<ColumnBounds> changed_bounds(const Model& model, int count, const int* cols,
                                         const char* type, const double* values) {
    std::vector<int> order(at(count));
    std::iota(order.begin(), order.end(), 0);
    // Columns in ascending order, as in whole blocks, need no sorting.
    if (!std::is_sorted(cols, cols + count))
        std::stable_sort(order.begin(), order.end(),
                         [cols](int a, int b) { return cols[a] < cols[b]; });
    std::vector<ColumnBounds> changed;
    for (const int k : order) {
        const int col = cols[k];
        if (changed.empty() || changed.back().col != col)
            changed.push_back({col, {model.lb()[at(col)], model.ub()[at(col)]}});
        Sides& own = changed.back().bounds;
        if (type[k] != 'U') own.lower = values[k];
        if (type[k] != 'L') own.upper = values[k];
    }
    for (const auto& [col, own] : changed)
        if (!(own.lower <= own.upper) || own.lower >= kInfinity || own.upper <= -kInfinity)
            fail(QLX_ERROR_ARGUMENT, "column ", col, " would have lower bound ", own.lower,
                 " and upper bound ", own.upper,
                 "; the lower must not be above the upper, nor either infinite on the wrong side");
    return changed;
}

namespace {

void check_no_nonlinear_use(const Model& model, const std::vector<int>& new_index) {
    const CoefficientStore& store = model.nonlinear().coefficients;
    int col = 0;
    const std::size_t term = store.term_with_deleted_column(new_index, &col);
    if (term == store.num_terms()) return;
    const int row = store.row(term);
    fail(QLX_ERROR_STATE, "column ", col, " (", model.col_names().name(col),
         ") occurs in a formula of row ", row, " (", model.row_names().name(row),
         "); delete the row or the coefficient first");
}

}  // namespace

void check_deletable_columns(const Model& model, const std::vector<int>& new_index) {
    for (const auto& [row, indicator] : model.indicators())
        if (new_index[at(indicator.column)] < 0)
            fail(QLX_ERROR_STATE, "column ", indicator.column, " is the indicator of row ", row,
                 "; delete the row or its indicator first");
    check_no_nonlinear_use(model, new_index);
}

}  // namespace qlx

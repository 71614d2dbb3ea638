// Checks of nonlinear coefficients.
#include "engine/data/nonlinear_checks.hpp"

#include <cmath>

#include "engine/base/index.hpp"
#include "engine/data/checks.hpp"

namespace qlx {

namespace {

[[noreturn]] void refuse_missing(int row, int col, const std::string& where) {
    fail(QLX_ERROR_ARGUMENT, "row ", row, " has no coefficient in column ", col, where);
}

}  // namespace

void check_coefficient_column(int col, int num_cols, const char* name) {
    if (col < kNoColumn || col >= num_cols)
        fail(QLX_ERROR_ARGUMENT, name, " is ", col, ", must be -1 (none) or 0 .. ", num_cols - 1);
}

// The cheap test first, as blocks are long.
void check_places(const Model& model, int count, const int* rows, const int* cols) {
    const int num_rows = model.num_rows();
    const int num_cols = model.num_cols();
    for (int k = 0; k < count; ++k) {
        if (rows[k] < 0 || rows[k] >= num_rows)
            check_index(rows[k], num_rows, join("rows[", k, "]").c_str());
        if (cols[k] < kNoColumn || cols[k] >= num_cols)
            check_coefficient_column(cols[k], num_cols, join("cols[", k, "]").c_str());
    }
}

void check_column_value(double value, const char* name) {
    if (!(std::fabs(value) < kInfinity))
        fail(QLX_ERROR_ARGUMENT, name, " is ", value, ", must be less than 1e20 in magnitude");
}

void check_factor(double factor, const char* name) {
    if (!std::isfinite(factor)) fail(QLX_ERROR_ARGUMENT, name, " is ", factor, ", must be finite");
}

void check_factors(const CoefficientBlock& block) {
    for (int k = 0; block.factors != nullptr && k < block.count; ++k)
        if (!std::isfinite(block.factors[k]))
            check_factor(block.factors[k], join("factors[", k, "]").c_str());
}

void check_formula_starts(const CoefficientBlock& block) {
    if (block.start[0] < 0)
        fail(QLX_ERROR_ARGUMENT, "start[0] is ", block.start[0], ", must be at least 0");
    for (int k = 0; k < block.count; ++k)
        if (block.start[k + 1] <= block.start[k])
            fail(QLX_ERROR_ARGUMENT, "start[", k + 1, "] is ", block.start[k + 1],
                 ", must be above start[", k, "] = ", block.start[k],
                 ": a formula has at least its closing token");
}

void append_coefficients(const FormulaSymbols& symbols, CoefficientStore& store,
                         const CoefficientBlock& block) {
    if (block.count == 0) return;
    const BadCoefficient bad = store.append(block, symbols);
    if (bad.coefficient < 0) return;
    const int k = bad.coefficient;
    refuse_token(bad.token, block.start[k + 1], block.type, block.value,
                 join("; in the formula of coefficient ", k, ", row ", block.rows[k], ", column ",
                      block.cols[k]));
}

void refuse_token(const BadToken& bad, std::int64_t size, const int* type, const double* value,
                  const std::string& where) {
    if (bad.position >= size)
        fail(QLX_ERROR_ARGUMENT, "type[", bad.position, "] is missing: ", bad.reason, where);
    fail(QLX_ERROR_ARGUMENT, "type[", bad.position, "] is ", type[bad.position], " and value[",
         bad.position, "] is ", value[bad.position], ": ", bad.reason, where);
}

std::vector<std::size_t> check_coefficient(Model& model, int row, int col) {
    check_index(row, model.num_rows(), "row");
    check_coefficient_column(col, model.num_cols(), "col");
    std::vector<std::size_t> terms = model.nonlinear().coefficients.terms_of(row, col);
    if (terms.empty()) refuse_missing(row, col, "");
    return terms;
}

std::vector<char> marked_coefficients(Model& model, int count, const int* rows, const int* cols) {
    check_places(model, count, rows, cols);
    CoefficientStore& store = model.nonlinear().coefficients;
    std::vector<char> marked(store.num_terms(), 0);
    for (int k = 0; k < count; ++k) {
        bool found = false;
        for (const std::size_t term : store.terms_of_row(rows[k])) {
            if (store.col(term) != cols[k]) continue;
            if (marked[term] != 0)
                fail(QLX_ERROR_ARGUMENT, "rows[", k, "] = ", rows[k], " and cols[", k,
                     "] = ", cols[k], " are given twice");
            marked[term] = 1;
            found = true;
        }
        if (!found) refuse_missing(rows[k], cols[k], join(" (rows[", k, "] and cols[", k, "])"));
    }
    return marked;
}

}  // namespace qlx

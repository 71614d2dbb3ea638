// Adding columns and rows to a linear model under construction.
#include "engine/constructs/builder.hpp"

#include <algorithm>
#include <cmath>

#include "engine/base/errors.hpp"
#include "engine/base/index.hpp"
#include "engine/lp/live_model.hpp"

namespace qlx {

namespace {

// The least integer that is not below the bound, but for rounding; infinite bounds stay.
double rounded_up(double bound) {
    if (std::fabs(bound) >= kInfinity) return bound;
    return std::ceil(bound - 1e-9 * std::max(1.0, std::fabs(bound)));
}
}  // namespace

Builder::Builder(Model& source, double largest_bound)
    : source_(source),
      largest_bound_(largest_bound),
      out_(kernel_columns_and_sides(source)),
      matrix_(source.matrix()) {
    out_.integer.resize(at(out_.num_cols), 0);
}

void Builder::set_bounds(int col, double lower, double upper) {
    out_.lower[at(col)] = lower;
    out_.upper[at(col)] = upper;
}

bool Builder::is_binary(int col) const {
    return out_.integer[at(col)] != 0 && lower(col) >= 0 && upper(col) <= 1;
}

const BoundVectors& Builder::stated() {
    if (stated_.lower.empty()) stated_ = stated_bounds(source_);
    return stated_;
}

const BoundVectors& Builder::implied() {
    if (implied_.lower.empty()) implied_ = propagate_bounds(source_);
    return implied_;
}

double Builder::finite_lower(int col, const char* purpose) {
    double bound = lower(col);
    if (bound < -largest_bound_) bound = implied().lower[at(col)];
    if (bound >= -largest_bound_) return bound;
    fail(QLX_ERROR_UNSUPPORTED, "column ", col, " (\"", source_.col_names().name(col), "\"), ",
         purpose, ", has no lower bound of at least ", -largest_bound_,
         ", stated or implied by rows: this needs the branch and cut");
}

double Builder::finite_upper(int col, const char* purpose) {
    double bound = upper(col);
    if (bound > largest_bound_) bound = implied().upper[at(col)];
    if (bound <= largest_bound_) return bound;
    fail(QLX_ERROR_UNSUPPORTED, "column ", col, " (\"", source_.col_names().name(col), "\"), ",
         purpose, ", has no upper bound of at most ", largest_bound_,
         ", stated or implied by rows: this needs the branch and cut");
}

int Builder::add_column(double lower, double upper, bool integer) {
    out_.cost.push_back(0);
    out_.lower.push_back(lower);
    out_.upper.push_back(upper);
    out_.integer.push_back(integer ? 1 : 0);
    return out_.num_cols++;
}

void Builder::add_row(double lower, double upper, const std::vector<Entry>& entries) {
    std::vector<int> columns;
    std::vector<double> values;
    for (const Entry& entry : entries) {
        if (entry.value == 0) continue;
        columns.push_back(entry.col);
        values.push_back(entry.value);
    }
    const std::int64_t start[] = {0, static_cast<std::int64_t>(columns.size())};
    matrix_.append_rows(1, start, columns.data(), values.data());
    out_.row_lower.push_back(lower);
    out_.row_upper.push_back(upper);
    ++out_.num_rows;
}

void Builder::add_coefficient(int row, int col, double value) {
    matrix_.set(row, col, source_.matrix().at(row, col) + value);
}

void Builder::set_sides(int row, Sides sides) {
    out_.row_lower[at(row)] = sides.lower;
    out_.row_upper[at(row)] = sides.upper;
}

// A kernel that is given fractional bounds of an integer column may lose its best point.
void Builder::round_integer_bounds() noexcept {
    for (std::size_t col = 0; col < out_.integer.size(); ++col) {
        if (out_.integer[col] == 0) continue;
        out_.lower[col] = rounded_up(out_.lower[col]);
        out_.upper[col] = -rounded_up(-out_.upper[col]);
    }
}

KernelModel Builder::take() {
    round_integer_bounds();
    transpose_into(out_, matrix_);
    return std::move(out_);
}

}  // namespace qlx

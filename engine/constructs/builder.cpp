// Adding columns and rows to a linear model under construction.
#include "engine/constructs/builder.hpp"

#include <algorithm>
#include <cmath>

#include "engine/lp/live_model.hpp"

namespace qlx {

namespace {

// Coefficients up to this need no propagation to become smaller.
constexpr double kComfortable = 1e3;

// The least integer that is not below the bound, but for rounding; infinite bounds stay.
double rounded_up(double bound) {
    if (std::fabs(bound) >= kInfinity) return bound;
    return std::ceil(bound - std::min(1e-9 * std::max(1.0, std::fabs(bound)), 1e-6));
}
}  // namespace

Builder::Builder(Model& source)
    : source_(source), out_(kernel_columns_and_sides(source)), matrix_(source.matrix()) {
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

double Builder::least(int col) {
    const double bound = lower(col);
    return bound >= -kComfortable ? bound : std::max(bound, implied().lower[at(col)]);
}

double Builder::most(int col) {
    const double bound = upper(col);
    return bound <= kComfortable ? bound : std::min(bound, implied().upper[at(col)]);
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

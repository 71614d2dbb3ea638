// Presolve of a quadratic program and the way back.
#include "engine/quad/reduction.hpp"
#include "engine/base/index.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qlx::quad {

namespace {

// Bounds may cross by this much, relative to max(1, |bound|), and then count as equal.
constexpr double kCrossing = 1e-9;

}  // namespace

bool Reduction::cross_check(int j) {
    double& lower = lower_[at(j)];
    double& upper = upper_[at(j)];
    if (lower <= upper) return true;
    const double size = std::max({1.0, std::abs(lower), std::abs(upper)});
    if (lower - upper > kCrossing * size) {
        place_.first_column = j;
        return false;
    }
    lower = upper = 0.5 * (lower + upper);
    return true;
}

bool Reduction::fix_column(int j) {
    if (is_fixed_[at(j)]) return true;
    if (!cross_check(j)) return false;
    if (lower_[at(j)] != upper_[at(j)]) return true;
    is_fixed_[at(j)] = true;
    fixed_value_[at(j)] = lower_[at(j)];
    const SparseColumns& rows = model_->rows;
    for (int k = rows.start[at(j)]; k < rows.start[at(j) + 1]; ++k) {
        const int i = rows.index[at(k)];
        if (left_in_row_[at(i)] < 0) continue;
        if (--left_in_row_[at(i)] <= 1) work_.push_back(i);
    }
    return true;
}

bool Reduction::tighten(int i, int j, double coefficient, double fixed_part) {
    const double lower = model_->row_lower[at(i)];
    const double upper = model_->row_upper[at(i)];
    double below = is_finite_lower(lower) ? (lower - fixed_part) / coefficient : -kInfinity;
    double above = is_finite_upper(upper) ? (upper - fixed_part) / coefficient : kInfinity;
    if (coefficient < 0.0) {
        below = is_finite_upper(upper) ? (upper - fixed_part) / coefficient : -kInfinity;
        above = is_finite_lower(lower) ? (lower - fixed_part) / coefficient : kInfinity;
    }
    const SingletonRow record{i, j, coefficient, below > lower_[at(j)], above < upper_[at(j)]};
    lower_[at(j)] = std::max(lower_[at(j)], below);
    upper_[at(j)] = std::min(upper_[at(j)], above);
    singletons_.push_back(record);
    if (!fix_column(j)) {
        place_.row = i;
        return false;
    }
    return true;
}

bool Reduction::reduce_row(int i) {
    if (left_in_row_[at(i)] < 0 || left_in_row_[at(i)] > 1) return true;
    const double lower = model_->row_lower[at(i)];
    const double upper = model_->row_upper[at(i)];
    double fixed_part = 0.0;
    double size = 1.0;
    int single = -1;
    double coefficient = 0.0;
    for (int k = by_row_.start[at(i)]; k < by_row_.start[at(i) + 1]; ++k) {
        const int j = by_row_.index[at(k)];
        if (is_fixed_[at(j)]) {
            const double term = by_row_.value[at(k)] * fixed_value_[at(j)];
            fixed_part += term;
            size = std::max(size, std::abs(term));
        } else {
            single = j;
            coefficient = by_row_.value[at(k)];
        }
    }
    left_in_row_[at(i)] = -1;
    if (single >= 0) return tighten(i, single, coefficient, fixed_part);
    const double allowed = kCrossing * size;
    const bool low =
        is_finite_lower(lower) && fixed_part < lower - allowed * std::max(1.0, std::abs(lower));
    const bool high =
        is_finite_upper(upper) && fixed_part > upper + allowed * std::max(1.0, std::abs(upper));
    if (low || high) place_.row = i;
    return !low && !high;
}

// A column that nothing but its own cost moves goes to its cheaper bound, if that is finite.
void Reduction::settle_empty_columns(std::span<const int> held) {
    std::vector<bool> used(is_fixed_.size(), false);
    for (int j : held) used[at(j)] = true;
    const SparseColumns& hessian = model_->hessian;
    for (int j = 0; j < model_->column_count(); ++j) {
        for (int k = hessian.start[at(j)]; k < hessian.start[at(j) + 1]; ++k) {
            used[at(j)] = used[at(hessian.index[at(k)])] = true;
        }
        for (int k = model_->rows.start[at(j)]; k < model_->rows.start[at(j) + 1]; ++k) {
            if (left_in_row_[at(model_->rows.index[at(k)])] >= 0) used[at(j)] = true;
        }
    }
    for (int j = 0; j < model_->column_count(); ++j) {
        if (used[at(j)] || is_fixed_[at(j)]) continue;
        const double cost = model_->cost[at(j)];
        const double lower = is_finite_lower(lower_[at(j)]) ? lower_[at(j)] : -kInfinity;
        const double upper = is_finite_upper(upper_[at(j)]) ? upper_[at(j)] : kInfinity;
        const double value = cost > 0.0   ? lower
                             : cost < 0.0 ? upper
                                          : std::clamp(0.0, lower, upper);
        if (!is_finite_lower(value) || !is_finite_upper(value)) continue;
        is_fixed_[at(j)] = true;
        fixed_value_[at(j)] = value;
    }
}

void Reduction::build() {
    const QuadraticModel& model = *model_;
    std::vector<int> column_place(is_fixed_.size(), -1);
    std::vector<int> row_place(left_in_row_.size(), -1);
    for (int j = 0; j < model.column_count(); ++j) {
        if (is_fixed_[at(j)]) continue;
        column_place[at(j)] = static_cast<int>(kept_columns_.size());
        kept_columns_.push_back(j);
    }
    std::vector<double> fixed(is_fixed_.size(), 0.0);
    for (std::size_t j = 0; j < fixed.size(); ++j) fixed[j] = is_fixed_[j] ? fixed_value_[j] : 0.0;
    std::vector<double> moved(left_in_row_.size(), 0.0);
    add_product(model.rows, 1.0, fixed, moved);
    std::vector<double> gradient(fixed.size(), 0.0);
    add_symmetric_product(model.hessian, 1.0, fixed, gradient);

    reduced_.constant = model.constant;
    for (std::size_t j = 0; j < fixed.size(); ++j) {
        reduced_.constant += fixed[j] * (model.cost[j] + 0.5 * gradient[j]);
    }
    for (int i = 0; i < model.row_count(); ++i) {
        const bool free =
            !is_finite_lower(model.row_lower[at(i)]) && !is_finite_upper(model.row_upper[at(i)]);
        if (left_in_row_[at(i)] < 0 || free) continue;
        row_place[at(i)] = static_cast<int>(kept_rows_.size());
        kept_rows_.push_back(i);
        auto shifted = [&](double bound, bool finite) {
            return finite ? bound - moved[at(i)] : bound;
        };
        reduced_.row_lower.push_back(
            shifted(model.row_lower[at(i)], is_finite_lower(model.row_lower[at(i)])));
        reduced_.row_upper.push_back(
            shifted(model.row_upper[at(i)], is_finite_upper(model.row_upper[at(i)])));
    }
    const int columns = static_cast<int>(kept_columns_.size());
    auto take = [&](const SparseColumns& from, const std::vector<int>& place, int rows) {
        SparseColumns to;
        to.rows = rows;
        to.columns = columns;
        to.start.reserve(at(columns) + 1);
        to.index.reserve(from.index.size());
        to.value.reserve(from.value.size());
        for (int j : kept_columns_) {
            for (int k = from.start[at(j)]; k < from.start[at(j) + 1]; ++k) {
                const int row = place[at(from.index[at(k)])];
                if (row < 0) continue;
                to.index.push_back(row);
                to.value.push_back(from.value[at(k)]);
            }
            to.start.push_back(static_cast<int>(to.index.size()));
        }
        return to;
    };
    reduced_.hessian = take(model.hessian, column_place, columns);
    reduced_.rows = take(model.rows, row_place, static_cast<int>(kept_rows_.size()));
    for (int j : kept_columns_) {
        reduced_.column_lower.push_back(lower_[at(j)]);
        reduced_.column_upper.push_back(upper_[at(j)]);
        reduced_.cost.push_back(model.cost[at(j)] + gradient[at(j)]);
    }
}

bool Reduction::reduce(const QuadraticModel& model, std::span<const int> held) {
    model_ = &model;
    by_row_ = transpose(model.rows);
    lower_ = model.column_lower;
    upper_ = model.column_upper;
    is_fixed_.assign(lower_.size(), false);
    fixed_value_.assign(lower_.size(), 0.0);
    left_in_row_.resize(at(model.row_count()));
    for (int i = 0; i < model.row_count(); ++i) {
        left_in_row_[at(i)] = by_row_.start[at(i) + 1] - by_row_.start[at(i)];
        if (left_in_row_[at(i)] <= 1) work_.push_back(i);
        const double lower = model.row_lower[at(i)];
        const double upper = model.row_upper[at(i)];
        if (lower - upper > kCrossing * std::max({1.0, std::abs(lower), std::abs(upper)})) {
            place_.row = i;
            return false;
        }
    }
    for (int j = 0; j < model.column_count(); ++j) {
        if (!fix_column(j)) return false;
    }
    while (!work_.empty()) {
        const int i = work_.back();
        work_.pop_back();
        if (!reduce_row(i)) return false;
    }
    settle_empty_columns(held);
    build();
    return true;
}

std::vector<double> Reduction::restore_columns(std::span<const double> x) const {
    std::vector<double> all = fixed_value_;
    for (std::size_t k = 0; k < kept_columns_.size(); ++k) all[at(kept_columns_[k])] = x[k];
    return all;
}

std::vector<double> Reduction::restore_duals(std::span<const double> x, std::span<const double> y,
                                             std::span<const double> normals) const {
    std::vector<double> duals(left_in_row_.size(), 0.0);
    for (std::size_t k = 0; k < kept_rows_.size(); ++k) duals[at(kept_rows_[k])] = y[k];
    if (singletons_.empty()) return duals;
    std::vector<double> gradient = model_->cost;
    add_symmetric_product(model_->hessian, 1.0, x, gradient);
    for (std::size_t j = 0; j < normals.size(); ++j) gradient[j] -= normals[j];
    // The last bound found is the one that holds the column, so the records go backwards.
    for (auto record = singletons_.rbegin(); record != singletons_.rend(); ++record) {
        const int j = record->column;
        double reduced_cost = gradient[at(j)];
        for (int k = model_->rows.start[at(j)]; k < model_->rows.start[at(j) + 1]; ++k) {
            reduced_cost -= model_->rows.value[at(k)] * duals[at(model_->rows.index[at(k)])];
        }
        const bool moves = reduced_cost > 0.0 ? record->tightened_lower : record->tightened_upper;
        if (moves) duals[at(record->row)] = reduced_cost / record->coefficient;
    }
    return duals;
}

}  // namespace qlx::quad

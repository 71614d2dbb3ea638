// States linear rows, bounds, ellipsoids and cones as rows of a cone program.
#include "engine/quad/conic/statement.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "engine/base/index.hpp"
#include "engine/quad/semidefinite_factor.hpp"

namespace qlx::quad::conic {

namespace {

// A square is completed unless its centre is this much farther away than the row's own size.
constexpr double kFarCentre = 1e4;

double square_of(std::span<const double> v) noexcept {
    double sum = 0.0;
    for (const double entry : v) sum += entry * entry;
    return sum;
}

double largest(std::span<const double> v) noexcept {
    double size = 0.0;
    for (const double entry : v) size = std::max(size, std::abs(entry));
    return size;
}

}  // namespace

Statement::Statement(const ConeProgram& source, std::span<const double> near)
    : source_(&source), linear_(transpose(source.model.rows)) {
    program_.hessian = source.model.hessian;
    program_.cost = source.model.cost;
    add_sides(true);
    const int equations = static_cast<int>(program_.right.size());
    add_sides(false);
    const int others = static_cast<int>(program_.right.size()) - equations;
    if (equations > 0) program_.cones.push_back({ConeKind::kZero, equations});
    if (others > 0) program_.cones.push_back({ConeKind::kNonnegative, others});
    for (const ConvexRow& row : source.rows) {
        if (row.shape == RowShape::kCone) {
            add_cone(row);
        } else {
            add_ellipsoid(row, near);
        }
        cones_.back().size = static_cast<int>(program_.right.size()) - cones_.back().first;
        program_.cones.push_back({ConeKind::kSecondOrder, cones_.back().size});
    }
    program_.rows =
        compress(static_cast<int>(program_.right.size()), source.model.column_count(), entries_);
    entries_ = {};
}

void Statement::add_entry(int column, double value) {
    if (value != 0.0) entries_.push_back({static_cast<int>(program_.right.size()), column, value});
}

void Statement::close_row(double level) {
    program_.right.push_back(level);
}

void Statement::add_side(int row, double sign, double level, bool is_bound) {
    sides_.push_back({row, sign, is_bound});
    if (is_bound) {
        add_entry(row, sign);
    } else {
        for (int k = linear_.start[at(row)]; k < linear_.start[at(row) + 1]; ++k) {
            add_entry(linear_.index[at(k)], sign * linear_.value[at(k)]);
        }
    }
    close_row(sign * level);
}

void Statement::add_sides(bool equations) {
    auto add = [this, equations](int row, double lower, double upper, bool is_bound) {
        if ((lower == upper) != equations) return;
        if (is_finite_upper(upper)) add_side(row, 1.0, upper, is_bound);
        if (is_finite_lower(lower) && !equations) add_side(row, -1.0, lower, is_bound);
    };
    const QuadraticModel& model = source_->model;
    for (int i = 0; i < model.row_count(); ++i) {
        add(i, model.row_lower[at(i)], model.row_upper[at(i)], false);
    }
    for (int j = 0; j < model.column_count(); ++j) {
        add(j, model.column_lower[at(j)], model.column_upper[at(j)], true);
    }
}

// Rows with the slacks Fx - level.
void Statement::add_square(const ConvexRow& row, const SparseColumns& factor,
                           std::span<const double> level) {
    for (int r = 0; r < factor.columns; ++r) {
        for (int k = factor.start[at(r)]; k < factor.start[at(r) + 1]; ++k) {
            add_entry(row.columns[at(factor.index[at(k)])], -factor.value[at(k)]);
        }
        close_row(-level[at(r)]);
    }
}

void Statement::add_cone(const ConvexRow& row) {
    cones_.push_back({static_cast<int>(program_.right.size()), 0, 1.0, false});
    double along = 0.0;
    for (std::size_t k = 0; k < row.columns.size(); ++k) {
        add_entry(row.columns[k], -row.axis[k]);
        along += row.axis[k] * row.apex[k];
    }
    close_row(-along);
    const SemidefiniteFactor factor = factor_semidefinite(row.spread);
    std::vector<double> level(at(factor.by_row.columns), 0.0);
    add_transposed_product(factor.by_row, 1.0, row.apex, level);
    add_square(row, factor.by_row, level);
    if (row.offset > 0.0) close_row(std::sqrt(row.offset));
}

void Statement::add_ellipsoid(const ConvexRow& row, std::span<const double> near) {
    const SemidefiniteFactor factor = factor_semidefinite(row.hessian);
    std::vector<double> rest;
    std::vector<double> w = factor.complete_square(row.linear, rest);
    if (square_of(w) > kFarCentre * kFarCentre * (1.0 + std::abs(row.upper))) {
        std::fill(w.begin(), w.end(), 0.0);
        rest = row.linear;
    }
    const double top = row.upper + 0.5 * square_of(w);
    cones_.push_back({static_cast<int>(program_.right.size()), 0, 1.0, false});
    ConeRow& cone = cones_.back();
    if (largest(rest) <= 1e-15 * largest(row.linear)) {
        const double radius = std::sqrt(std::max(2.0 * top, 0.0));
        cone.scale = radius > 0.0 ? 1.0 / radius : 0.0;
        close_row(radius);
        add_square(row, factor.by_row, w);
        return;
    }
    double value = std::abs(top);
    if (!near.empty()) {
        value = top;
        for (std::size_t k = 0; k < rest.size(); ++k) value -= rest[k] * near[at(row.columns[k])];
    }
    double unit = std::sqrt(2.0 * std::max(value, 0.0));
    if (!(unit > 0.0)) unit = largest(rest) / std::max(largest(factor.by_row.value), 1e-300);
    cone.scale = 1.0 / unit;
    cone.rotated = true;
    auto add_half = [&](double shift) {
        for (std::size_t k = 0; k < rest.size(); ++k) add_entry(row.columns[k], rest[k] / unit);
        close_row(top / unit + shift);
    };
    add_half(0.5 * unit);
    add_square(row, factor.by_row, w);
    add_half(-0.5 * unit);
}

std::vector<double> Statement::row_duals(std::span<const double> z) const {
    std::vector<double> y(source_->model.row_lower.size(), 0.0);
    for (std::size_t i = 0; i < sides_.size(); ++i) {
        if (!sides_[i].is_bound) y[at(sides_[i].row)] -= sides_[i].sign * z[i];
    }
    return y;
}

std::vector<double> Statement::normals(std::size_t row, std::span<const double> z) const {
    std::vector<double> own(z.size(), 0.0);
    const auto first = z.begin() + cones_[row].first;
    std::copy(first, first + cones_[row].size, own.begin() + cones_[row].first);
    std::vector<double> out(source_->model.cost.size(), 0.0);
    add_transposed_product(program_.rows, -1.0, own, out);
    return out;
}

double Statement::multiplier(std::size_t row, std::span<const double> z) const {
    const ConeRow& cone = cones_[row];
    const double last = cone.rotated ? z[at(cone.first + cone.size - 1)] : 0.0;
    return cone.scale * (z[at(cone.first)] + last);
}

int Statement::largest_part(std::span<const double> z) const {
    int row = -1;
    double most = 0.0;
    for (std::size_t i = 0; i < sides_.size(); ++i) {
        if (sides_[i].is_bound || !(std::abs(z[i]) > most)) continue;
        most = std::abs(z[i]);
        row = sides_[i].row;
    }
    for (std::size_t r = 0; r < cones_.size(); ++r) {
        if (!(z[at(cones_[r].first)] > most)) continue;
        most = z[at(cones_[r].first)];
        row = source_->model.row_count() + static_cast<int>(r);
    }
    return row;
}

}  // namespace qlx::quad::conic

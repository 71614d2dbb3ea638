// Geometric scaling of rows and columns, right-hand sides and bounds included.
#include "engine/quad/cone_scaling.hpp"
#include "engine/base/index.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qlx::quad {

namespace {

constexpr int kRounds = 30;
constexpr double kLargestExponent = 60.0;

// The mean of the logarithms of entries; sides and bounds, if any, count as much as all entries.
class Mean {
  public:
    void add(double logarithm) noexcept {
        sum_ += logarithm;
        ++count_;
    }
    void add_side(double logarithm) noexcept {
        side_sum_ += logarithm;
        ++sides_;
    }
    double value(double otherwise) const noexcept {
        if (count_ == 0) return sides_ == 0 ? otherwise : side_sum_ / sides_;
        const double mean = sum_ / count_;
        return sides_ == 0 ? mean : 0.5 * (mean + side_sum_ / sides_);
    }

  private:
    double sum_ = 0.0;
    double side_sum_ = 0.0;
    int count_ = 0;
    int sides_ = 0;
};

// Size of one entry in a row; `power` is 2 where it multiplies the column's square.
struct Entry {
    int row;
    int column;
    int power;
    double logarithm;
};

// Linear rows, then convex ones, then the objective; all sizes as powers of two.
class Equilibration {
  public:
    explicit Equilibration(const ConeProgram& program);
    void balance();
    ConeScaling scaling(const ConeProgram& program) const;

  private:
    void add(int row, int column, int power, double value) {
        if (value != 0.0) entries_.push_back({row, column, power, std::log2(std::abs(value))});
    }
    void add_side(int row, double side) {
        if (side != 0.0 && is_finite_lower(side) && is_finite_upper(side)) {
            sides_.push_back({row, -1, 0, std::log2(std::abs(side))});
        }
    }
    void add_bound(int column, double bound) {
        if (bound != 0.0 && is_finite_lower(bound) && is_finite_upper(bound)) {
            bounds_.push_back({-1, column, 1, std::log2(std::abs(bound))});
        }
    }
    void add_convex_row(int row, const ConvexRow& convex);

    std::vector<Entry> entries_;
    std::vector<Entry> sides_;
    std::vector<Entry> bounds_;
    std::vector<double> column_;
    std::vector<double> row_;
};

Equilibration::Equilibration(const ConeProgram& program) {
    const QuadraticModel& model = program.model;
    const int linear = model.row_count();
    const int objective = linear + static_cast<int>(program.rows.size());
    column_.assign(model.cost.size(), 0.0);
    row_.assign(at(objective) + 1, 0.0);
    const std::vector<double> diagonal = diagonal_of(model.hessian);
    for (int j = 0; j < model.column_count(); ++j) {
        for (int k = model.rows.start[at(j)]; k < model.rows.start[at(j) + 1]; ++k) {
            add(model.rows.index[at(k)], j, 1, model.rows.value[at(k)]);
        }
        add(objective, j, 1, model.cost[at(j)]);
        add(objective, j, 2, diagonal[at(j)]);
    }
    for (int j = 0; j < model.column_count(); ++j) {
        add_bound(j, model.column_lower[at(j)]);
        add_bound(j, model.column_upper[at(j)]);
    }
    for (int i = 0; i < linear; ++i) {
        add_side(i, model.row_lower[at(i)]);
        add_side(i, model.row_upper[at(i)]);
    }
    for (std::size_t r = 0; r < program.rows.size(); ++r) {
        add_convex_row(linear + static_cast<int>(r), program.rows[r]);
    }
}

void Equilibration::add_convex_row(int row, const ConvexRow& convex) {
    const bool cone = convex.shape == RowShape::kCone;
    const std::vector<double> diagonal = diagonal_of(cone ? convex.spread : convex.hessian);
    for (std::size_t k = 0; k < convex.columns.size(); ++k) {
        add(row, convex.columns[k], 2, diagonal[k]);
        if (cone) add(row, convex.columns[k], 2, convex.axis[k] * convex.axis[k]);
        if (!cone) add(row, convex.columns[k], 1, convex.linear[k]);
    }
    add_side(row, cone ? convex.offset : convex.upper);
}

void Equilibration::balance() {
    for (int round = 0; round < kRounds; ++round) {
        std::vector<Mean> rows(row_.size());
        std::vector<Mean> columns(column_.size());
        for (const Entry& e : entries_) {
            rows[at(e.row)].add(e.logarithm + e.power * column_[at(e.column)]);
        }
        for (const Entry& e : sides_) rows[at(e.row)].add_side(e.logarithm);
        for (std::size_t i = 0; i < rows.size(); ++i) row_[i] = rows[i].value(row_[i]);
        for (const Entry& e : entries_) {
            columns[at(e.column)].add((row_[at(e.row)] - e.logarithm) / e.power);
        }
        for (const Entry& e : bounds_) columns[at(e.column)].add_side(e.logarithm);
        for (std::size_t j = 0; j < columns.size(); ++j) column_[j] = columns[j].value(column_[j]);
    }
}

ConeScaling Equilibration::scaling(const ConeProgram& program) const {
    auto power = [](double logarithm) {
        return std::exp2(std::round(std::clamp(logarithm, -kLargestExponent, kLargestExponent)));
    };
    const std::size_t linear = program.model.row_lower.size();
    ConeScaling out;
    for (const double c : column_) out.column.push_back(power(c));
    for (std::size_t i = 0; i < linear; ++i) out.row.push_back(power(row_[i]));
    for (std::size_t r = linear; r + 1 < row_.size(); ++r) {
        out.cone_row.push_back(power(0.5 * row_[r]));
    }
    out.objective = power(row_.back());
    return out;
}

void divide(SparseColumns& matrix, std::span<const double> row, std::span<const double> column) {
    for (int j = 0; j < matrix.columns; ++j) {
        for (int k = matrix.start[at(j)]; k < matrix.start[at(j) + 1]; ++k) {
            matrix.value[at(k)] *= column[at(j)] / row[at(matrix.index[at(k)])];
        }
    }
}

// Both sides of the symmetric matrix times `size`, all over `whole`.
void rescale(SparseColumns& upper, std::span<const double> size, double whole) {
    for (int j = 0; j < upper.columns; ++j) {
        for (int k = upper.start[at(j)]; k < upper.start[at(j) + 1]; ++k) {
            upper.value[at(k)] *= size[at(j)] * size[at(upper.index[at(k)])] / whole;
        }
    }
}

// Infinite sides stay what they are.
void divide(std::vector<double>& sides, std::span<const double> size) {
    for (std::size_t k = 0; k < sides.size(); ++k) {
        if (is_finite_lower(sides[k]) && is_finite_upper(sides[k])) sides[k] /= size[k];
    }
}

ConvexRow scaled(const ConvexRow& row, std::span<const double> columns, double root) {
    ConvexRow out = row;
    std::vector<double> size;
    for (int j : row.columns) size.push_back(columns[at(j)]);
    const double whole = root * root;
    rescale(out.hessian, size, whole);
    rescale(out.spread, size, whole);
    for (std::size_t k = 0; k < size.size(); ++k) out.linear[k] *= size[k] / whole;
    for (std::size_t k = 0; k < out.axis.size(); ++k) {
        out.axis[k] *= size[k] / root;
        out.apex[k] /= size[k];
        out.inside[k] /= size[k];
    }
    // A direction: its length says nothing, and a start is best about as far as the rest.
    double longest = 0.0;
    for (const double d : out.inside) longest = std::max(longest, std::abs(d));
    for (double& d : out.inside) d /= longest;
    out.upper /= whole;
    out.offset /= whole;
    return out;
}

}  // namespace

double ConeScaling::spread() const noexcept {
    double worst = 1.0;
    auto see = [&](double size) { worst = std::max({worst, size, 1.0 / size}); };
    for (const double size : column) see(size);
    for (const double size : row) see(size);
    for (const double size : cone_row) see(size);
    see(objective);
    return worst;
}

ConeProgram ConeScaling::apply(const ConeProgram& program) const {
    ConeProgram out = program;
    QuadraticModel& model = out.model;
    divide(model.rows, row, column);
    divide(model.row_lower, row);
    divide(model.row_upper, row);
    divide(model.column_lower, column);
    divide(model.column_upper, column);
    rescale(model.hessian, column, objective);
    for (std::size_t j = 0; j < column.size(); ++j) model.cost[j] *= column[j] / objective;
    model.constant /= objective;
    for (std::size_t r = 0; r < out.rows.size(); ++r) {
        out.rows[r] = scaled(program.rows[r], column, cone_row[r]);
    }
    return out;
}

ConeScaling find_scaling(const ConeProgram& program) {
    Equilibration equilibration(program);
    equilibration.balance();
    return equilibration.scaling(program);
}

}  // namespace qlx::quad

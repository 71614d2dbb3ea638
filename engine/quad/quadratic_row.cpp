// Convexity of quadratic rows: ellipsoids, and plain, rotated and shifted second-order cones.
#include "engine/quad/quadratic_row.hpp"

#include <Eigen/QR>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <map>

#include "engine/base/index.hpp"
#include "engine/quad/curvature.hpp"

namespace qlx::quad {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
// Relative error allowed in the equations of an apex, and in the sign of its level.
constexpr double kApexTolerance = 1e-9;
// An apex off the origin is found by a dense factorisation of this order at most.
constexpr int kLargestShiftedCone = 400;

struct Interval {
    double low = 0.0;
    double high = 0.0;
};

Interval operator+(Interval a, Interval b) {
    return {a.low + b.low, a.high + b.high};
}

Interval times(double factor, Interval x) {
    if (factor == 0.0) return {};
    const double a = factor * x.low;
    const double b = factor * x.high;
    return {std::min(a, b), std::max(a, b)};
}

Interval product(Interval x, Interval y) {
    auto multiply = [](double a, double b) { return a == 0.0 || b == 0.0 ? 0.0 : a * b; };
    const double corner[] = {multiply(x.low, y.low), multiply(x.low, y.high),
                             multiply(x.high, y.low), multiply(x.high, y.high)};
    return {*std::min_element(corner, corner + 4), *std::max_element(corner, corner + 4)};
}

Interval square(Interval x) {
    Interval s = product(x, x);
    if (x.low <= 0.0 && x.high >= 0.0) s.low = 0.0;
    s.low = std::max(s.low, 0.0);
    return s;
}

// The work on one row.
class Recogniser {
  public:
    Recogniser(const QuadraticRow& row, std::span<const double> lower,
               std::span<const double> upper)
        : row_(row), lower_(lower), upper_(upper) {}

    ConvexRow run();

  private:
    Interval range(int local) const {
        const std::size_t j = at(out_.columns[at(local)]);
        return {is_finite_lower(lower_[j]) ? lower_[j] : -kInfinity,
                is_finite_upper(upper_[j]) ? upper_[j] : kInfinity};
    }
    bool is_constant(int column) const { return lower_[at(column)] == upper_[at(column)]; }
    void collect();
    Interval activity_range() const;
    bool orient(double lower, double upper);
    void classify();
    bool make_cone(std::span<const double> direction);
    bool find_apex();
    bool choose_nappe(std::span<const double> w, double mu);

    const QuadraticRow& row_;
    std::span<const double> lower_;
    std::span<const double> upper_;
    double constant_ = 0.0;
    ConvexRow out_;
};

// The row over the columns that can move.
void Recogniser::collect() {
    std::map<int, double> linear;
    std::vector<Triplet> moving;
    for (std::size_t k = 0; k < row_.columns.size(); ++k) {
        linear[row_.columns[k]] += row_.coefficients[k];
    }
    for (const Triplet& entry : row_.hessian) {
        const bool first = is_constant(entry.row);
        const bool second = is_constant(entry.column);
        const double half = entry.row == entry.column ? 0.5 : 1.0;
        if (first && second) {
            constant_ += half * entry.value * lower_[at(entry.row)] * lower_[at(entry.column)];
        } else if (first) {
            linear[entry.column] += entry.value * lower_[at(entry.row)];
        } else if (second) {
            linear[entry.row] += entry.value * lower_[at(entry.column)];
        } else {
            moving.push_back(entry);
            linear[entry.row] += 0.0;
            linear[entry.column] += 0.0;
        }
    }
    std::map<int, int> place;
    for (const auto& [column, coefficient] : linear) {
        if (is_constant(column)) {
            constant_ += coefficient * lower_[at(column)];
            continue;
        }
        place[column] = static_cast<int>(out_.columns.size());
        out_.columns.push_back(column);
        out_.linear.push_back(coefficient);
    }
    for (Triplet& entry : moving) {
        entry.row = place[entry.row];
        entry.column = place[entry.column];
    }
    out_.hessian = compress_symmetric(static_cast<int>(out_.columns.size()), moving);
}

Interval Recogniser::activity_range() const {
    Interval total;
    for (int j = 0; j < out_.hessian.columns; ++j) {
        total = total + times(out_.linear[at(j)], range(j));
        for (int k = out_.hessian.start[at(j)]; k < out_.hessian.start[at(j) + 1]; ++k) {
            const int i = out_.hessian.index[at(k)];
            const double q = out_.hessian.value[at(k)];
            total = total + (i == j ? times(0.5 * q, square(range(j)))
                                    : times(q, product(range(i), range(j))));
        }
    }
    return total;
}

// Drops sides that the bounds imply; turns the row so that an upper side remains.
// Returns false where both sides remain.
bool Recogniser::orient(double lower, double upper) {
    const Interval possible = activity_range();
    const bool below = is_finite_lower(lower) && !(possible.low >= lower - constant_);
    const bool above = is_finite_upper(upper) && !(possible.high <= upper - constant_);
    if (below && above) return false;
    out_.shape = below || above ? RowShape::kEllipsoid : RowShape::kFree;
    out_.sign = below ? -1.0 : 1.0;
    out_.upper = below ? constant_ - lower : upper - constant_;
    if (below) {
        for (double& q : out_.hessian.value) q = -q;
        for (double& a : out_.linear) a = -a;
    }
    return true;
}

// Solves Q apex = -a for the row's stationary point, in units in which squares count 1.
bool Recogniser::find_apex() {
    const int order = out_.hessian.columns;
    out_.apex.assign(at(order), 0.0);
    if (std::all_of(out_.linear.begin(), out_.linear.end(), [](double a) { return a == 0.0; }))
        return true;
    if (order > kLargestShiftedCone) return false;
    Eigen::MatrixXd q = Eigen::MatrixXd::Zero(order, order);
    for (int j = 0; j < order; ++j) {
        for (int k = out_.hessian.start[at(j)]; k < out_.hessian.start[at(j) + 1]; ++k) {
            const int i = out_.hessian.index[at(k)];
            q(i, j) = q(j, i) = out_.hessian.value[at(k)];
        }
    }
    Eigen::VectorXd unit = q.diagonal().cwiseAbs().cwiseSqrt().cwiseInverse();
    unit = unit.unaryExpr([](double size) { return std::isfinite(size) ? size : 1.0; });
    q = unit.asDiagonal() * q * unit.asDiagonal();
    const Eigen::VectorXd a =
        unit.cwiseProduct(Eigen::Map<const Eigen::VectorXd>(out_.linear.data(), order));
    const Eigen::VectorXd apex = q.completeOrthogonalDecomposition().solve(-a);
    Eigen::Map<Eigen::VectorXd>(out_.apex.data(), order) = unit.cwiseProduct(apex);
    return (q * apex + a).lpNorm<Eigen::Infinity>() <= kApexTolerance * a.lpNorm<Eigen::Infinity>();
}

// The column bounds must keep w'(x - apex) on one side of zero.
bool Recogniser::choose_nappe(std::span<const double> w, double mu) {
    Interval reach;
    double at_apex = 0.0;
    double size = 0.0;
    for (int j = 0; j < out_.hessian.columns; ++j) {
        reach = reach + times(w[at(j)], range(j));
        at_apex += w[at(j)] * out_.apex[at(j)];
        size += std::abs(w[at(j)] * out_.apex[at(j)]);
    }
    const double slack = kApexTolerance * size;
    const bool negative = reach.high <= at_apex + slack;
    if (!negative && !(reach.low >= at_apex - slack)) return false;
    const double factor = (negative ? -1.0 : 1.0) / std::sqrt(mu);
    out_.axis.resize(w.size());
    for (std::size_t j = 0; j < w.size(); ++j) out_.axis[j] = factor * w[j];
    if (!negative) {
        for (double& d : out_.inside) d = -d;
    }
    return true;
}

// With z'Qz = -mu < 0 and w = Qz, the matrix P = Q + ww'/mu vanishes along z; Q has exactly one
// negative eigenvalue where P is positive semidefinite.
bool Recogniser::make_cone(std::span<const double> direction) {
    const int order = out_.hessian.columns;
    const double mu = -quadratic_form(out_.hessian, direction);
    if (!(mu > 0.0)) return false;
    out_.inside.assign(direction.begin(), direction.end());
    std::vector<double> w(at(order), 0.0);
    add_symmetric_product(out_.hessian, 1.0, direction, w);
    std::vector<Triplet> entries;
    std::vector<int> support;
    for (int j = 0; j < order; ++j) {
        if (w[at(j)] != 0.0) support.push_back(j);
        for (int k = out_.hessian.start[at(j)]; k < out_.hessian.start[at(j) + 1]; ++k) {
            entries.push_back({out_.hessian.index[at(k)], j, out_.hessian.value[at(k)]});
        }
    }
    for (std::size_t a = 0; a < support.size(); ++a) {
        for (std::size_t b = a; b < support.size(); ++b) {
            entries.push_back({support[a], support[b], w[at(support[a])] * w[at(support[b])] / mu});
        }
    }
    out_.spread = compress_symmetric(order, entries);
    if (test_curvature(out_.spread).curvature != Curvature::kConvex) return false;
    if (!find_apex()) return false;
    double level = 0.0;  // the row's value at the apex
    double size = std::abs(out_.upper);
    for (int j = 0; j < order; ++j) {
        level += 0.5 * out_.linear[at(j)] * out_.apex[at(j)];
        size += std::abs(out_.linear[at(j)] * out_.apex[at(j)]);
    }
    if (level - out_.upper < -kApexTolerance * size) return false;
    out_.offset = std::max(2.0 * (level - out_.upper), 0.0);
    if (!choose_nappe(w, mu)) return false;
    out_.shape = RowShape::kCone;
    return true;
}

void Recogniser::classify() {
    const CurvatureVerdict verdict = test_curvature(out_.hessian);
    if (verdict.curvature == Curvature::kConvex) return;
    if (verdict.curvature == Curvature::kUndecided) {
        out_.shape = RowShape::kUndecided;
        return;
    }
    if (make_cone(verdict.direction)) return;
    out_.shape = RowShape::kNonconvex;
    out_.first_column = out_.columns[at(verdict.first_column)];
    out_.second_column = out_.columns[at(verdict.second_column)];
}

ConvexRow Recogniser::run() {
    collect();
    if (out_.hessian.entries() == 0) {
        out_.shape = RowShape::kLinear;
        out_.upper = constant_;  // the caller has both sides; this is what to take off them
        return std::move(out_);
    }
    if (!orient(row_.lower, row_.upper)) {
        out_.shape = RowShape::kNonconvex;
        const int column = out_.hessian.index.empty() ? 0 : out_.hessian.index.front();
        int last = 0;
        while (out_.hessian.start[at(last) + 1] == 0) ++last;
        out_.first_column = out_.columns[at(column)];
        out_.second_column = out_.columns[at(last)];
        return std::move(out_);
    }
    if (out_.shape != RowShape::kFree) classify();
    return std::move(out_);
}

}  // namespace

ConvexRow recognise(const QuadraticRow& row, std::span<const double> column_lower,
                    std::span<const double> column_upper) {
    return Recogniser(row, column_lower, column_upper).run();
}

}  // namespace qlx::quad

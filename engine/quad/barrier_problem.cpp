// Values and derivatives of convex quadratic programs for local solvers.
#include "engine/quad/barrier_problem.hpp"
#include "engine/base/index.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qlx::quad {

namespace {

std::vector<double> gather(const ConvexRow& row, std::span<const double> x) {
    std::vector<double> local(row.columns.size());
    for (std::size_t k = 0; k < local.size(); ++k) local[k] = x[at(row.columns[k])];
    return local;
}

// Places of columns that occur in the matrix.
std::vector<int> support_of(const SparseColumns& upper) {
    std::vector<bool> used(at(upper.columns), false);
    for (int j = 0; j < upper.columns; ++j) {
        for (int k = upper.start[at(j)]; k < upper.start[at(j) + 1]; ++k) {
            used[at(j)] = used[at(upper.index[at(k)])] = true;
        }
    }
    std::vector<int> support;
    for (int j = 0; j < upper.columns; ++j) {
        if (used[at(j)]) support.push_back(j);
    }
    return support;
}

}  // namespace

BarrierProblem::BarrierProblem(const ConeProgram& program, double smoothing)
    : program_(program), smoothing_(smoothing) {
    const QuadraticModel& model = program.model;
    bounds_ = {model.column_lower, model.column_upper, model.row_lower, model.row_upper};
    for (int j = 0; j < model.column_count(); ++j) {
        for (int k = model.rows.start[at(j)]; k < model.rows.start[at(j) + 1]; ++k) {
            jacobian_pattern_.rows.push_back(model.rows.index[at(k)]);
            jacobian_pattern_.columns.push_back(j);
        }
        for (int k = model.hessian.start[at(j)]; k < model.hessian.start[at(j) + 1]; ++k) {
            hessian_pattern_.rows.push_back(j);
            hessian_pattern_.columns.push_back(model.hessian.index[at(k)]);
        }
    }
    int position = model.row_count();
    for (const ConvexRow& row : program.rows) {
        bounds_.row_lower.push_back(-kInfinity);
        bounds_.row_upper.push_back(row_upper(row));
        add_pattern(row, position++);
    }
}

void BarrierProblem::add_pattern(const ConvexRow& row, int position) {
    for (int column : row.columns) {
        jacobian_pattern_.rows.push_back(position);
        jacobian_pattern_.columns.push_back(column);
    }
    auto add = [&](int a, int b) {
        const auto [low, high] = std::minmax(row.columns[at(a)], row.columns[at(b)]);
        hessian_pattern_.rows.push_back(high);
        hessian_pattern_.columns.push_back(low);
    };
    cone_support_.emplace_back();
    if (is_smoothed(row)) {
        cone_support_.back() = support_of(row.spread);
        for (int a : cone_support_.back()) {
            for (int b : cone_support_.back()) {
                if (b <= a) add(a, b);
            }
        }
        return;
    }
    for (int j = 0; j < row.hessian.columns; ++j) {
        for (int k = row.hessian.start[at(j)]; k < row.hessian.start[at(j) + 1]; ++k) {
            add(row.hessian.index[at(k)], j);
        }
    }
}

// The point of the bounds nearest to the origin, moved into the cones.
std::vector<double> BarrierProblem::start() const {
    const QuadraticModel& model = program_.model;
    std::vector<double> x(model.cost.size(), 0.0);
    for (const ConvexRow& row : program_.rows) {
        if (row.shape != RowShape::kCone) continue;
        for (std::size_t k = 0; k < row.columns.size(); ++k) {
            x[at(row.columns[k])] = row.apex[k] + row.inside[k];
        }
    }
    for (std::size_t j = 0; j < x.size(); ++j) {
        x[j] = std::min(std::max(x[j], model.column_lower[j]), model.column_upper[j]);
    }
    return x;
}

bool BarrierProblem::objective(std::span<const double> x, double& value) {
    const QuadraticModel& model = program_.model;
    value = model.constant + 0.5 * quadratic_form(model.hessian, x);
    for (std::size_t j = 0; j < x.size(); ++j) value += model.cost[j] * x[j];
    return true;
}

bool BarrierProblem::gradient(std::span<const double> x, std::span<double> out) {
    std::copy(program_.model.cost.begin(), program_.model.cost.end(), out.begin());
    add_symmetric_product(program_.model.hessian, 1.0, x, out);
    return true;
}

BarrierProblem::ConePoint BarrierProblem::cone_point(const ConvexRow& row,
                                                     std::span<const double> x) const {
    std::vector<double> d = gather(row, x);
    ConePoint point{std::vector<double>(d.size(), 0.0), 0.0, 0.0};
    for (std::size_t k = 0; k < d.size(); ++k) {
        d[k] -= row.apex[k];
        point.along += row.axis[k] * d[k];
    }
    add_symmetric_product(row.spread, 1.0, d, point.pulled);
    double square = row.offset + smoothing_ * smoothing_;
    for (std::size_t k = 0; k < d.size(); ++k) square += d[k] * point.pulled[k];
    point.length = std::sqrt(std::max(square, smoothing_ * smoothing_));
    return point;
}

double BarrierProblem::row_value(const ConvexRow& row, std::span<const double> x) const {
    if (is_smoothed(row)) {
        const ConePoint point = cone_point(row, x);
        return point.length - smoothing_ - point.along;
    }
    const std::vector<double> local = gather(row, x);
    double value = 0.5 * quadratic_form(row.hessian, local);
    for (std::size_t k = 0; k < local.size(); ++k) value += row.linear[k] * local[k];
    return value;
}

std::vector<double> BarrierProblem::row_gradient(const ConvexRow& row,
                                                 std::span<const double> x) const {
    if (is_smoothed(row)) {
        ConePoint point = cone_point(row, x);
        for (std::size_t k = 0; k < point.pulled.size(); ++k) {
            point.pulled[k] = point.pulled[k] / point.length - row.axis[k];
        }
        return std::move(point.pulled);
    }
    std::vector<double> gradient = row.linear;
    add_symmetric_product(row.hessian, 1.0, gather(row, x), gradient);
    return gradient;
}

bool BarrierProblem::rows(std::span<const double> x, std::span<double> out) {
    const std::size_t linear = program_.model.row_lower.size();
    std::fill(out.begin(), out.end(), 0.0);
    add_product(program_.model.rows, 1.0, x, out.first(linear));
    for (std::size_t k = 0; k < program_.rows.size(); ++k) {
        out[linear + k] = row_value(program_.rows[k], x);
    }
    return true;
}

bool BarrierProblem::jacobian(std::span<const double> x, std::span<double> out) {
    auto next =
        std::copy(program_.model.rows.value.begin(), program_.model.rows.value.end(), out.begin());
    for (const ConvexRow& row : program_.rows) {
        const std::vector<double> gradient = row_gradient(row, x);
        next = std::copy(gradient.begin(), gradient.end(), next);
    }
    return true;
}

bool BarrierProblem::hessian(std::span<const double> x, double objective_factor,
                             std::span<const double> multipliers, std::span<double> out) {
    auto next = out.begin();
    for (double q : program_.model.hessian.value) *next++ = objective_factor * q;
    const std::size_t linear = program_.model.row_lower.size();
    for (std::size_t r = 0; r < program_.rows.size(); ++r) {
        const ConvexRow& row = program_.rows[r];
        const double factor = multipliers[linear + r];
        if (!is_smoothed(row)) {
            for (double q : row.hessian.value) *next++ = factor * q;
            continue;
        }
        // P / length - (Pd)(Pd)' / length^3, its lower triangle row by row over the support.
        const ConePoint point = cone_point(row, x);
        const std::vector<int>& support = cone_support_[r];
        std::vector<int> place(row.columns.size(), -1);
        for (std::size_t a = 0; a < support.size(); ++a)
            place[at(support[a])] = static_cast<int>(a);
        const auto block = next;
        const double cube = point.length * point.length * point.length;
        for (std::size_t a = 0; a < support.size(); ++a) {
            for (std::size_t b = 0; b <= a; ++b) {
                *next++ =
                    -factor * point.pulled[at(support[a])] * point.pulled[at(support[b])] / cube;
            }
        }
        for (int j = 0; j < row.spread.columns; ++j) {
            for (int k = row.spread.start[at(j)]; k < row.spread.start[at(j) + 1]; ++k) {
                const int a = place[at(j)];
                const int b = place[at(row.spread.index[at(k)])];
                block[a * (a + 1) / 2 + b] += factor * row.spread.value[at(k)] / point.length;
            }
        }
    }
    return true;
}

}  // namespace qlx::quad

// Assembly, factorisation and refined solves of the method's linear systems.
#include "engine/quad/conic/kkt_system.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>

#include "engine/base/index.hpp"

namespace qlx::quad::conic {

namespace {

// Up to this size W^2 is stored whole.
constexpr int kSmallCone = 5;
// Refinement ends at this error relative to the right-hand side, or where it gains too little.
constexpr double kRefinedEnough = 1e-13;
constexpr double kLeastGain = 0.3;
constexpr int kMostRefinements = 8;
// Entries of the factor that are too many for the memory of most machines.
constexpr std::int64_t kMostFill = 500'000'000;
// Of the regularisation: what a pivot lost to rounding becomes.
constexpr double kSubstitute = 20.0;
// A solution with a larger error relative to it and to the right-hand side is refused, unless the
// error is that of rounding the products.
constexpr double kWorstError = 1e-6;
constexpr double kRounding = 1e-13;
// The regularisation grows with the matrix by this.
constexpr double kRelativeRegularization = 4e-16;

bool is_small(const Block& block) noexcept {
    return block.size <= kSmallCone;
}

double largest(std::span<const double> v) noexcept {
    double size = 0.0;
    for (const double entry : v) size = std::max(size, std::abs(entry));
    return size;
}

}  // namespace

KktSystem::KktSystem(const SparseColumns& hessian, const SparseColumns& rows,
                     const ConeProduct& cones)
    : cones_(cones), columns_(hessian.columns), extra_(cones.blocks().size(), -1) {
    build(hessian, rows);
    order_ = matrix_.columns;
    matrix_.rows = order_;
    shift_.assign(at(order_), 0.0);
    right_.assign(at(order_), 0.0);
    solution_.assign(at(order_), 0.0);
    residual_.assign(at(order_), 0.0);
    best_.assign(at(order_), 0.0);
    ready_ = factor_.analyze(matrix_, kMostFill);
}

void KktSystem::build(const SparseColumns& hessian, const SparseColumns& rows) {
    auto append = [this](int row, double value) {
        matrix_.index.push_back(row);
        matrix_.value.push_back(value);
    };
    auto close = [this](signed char sign) {
        matrix_.start.push_back(static_cast<int>(matrix_.index.size()));
        ++matrix_.columns;
        sign_.push_back(sign);
    };
    for (int j = 0; j < columns_; ++j) {
        for (int k = hessian.start[at(j)]; k < hessian.start[at(j) + 1]; ++k) {
            append(hessian.index[at(k)], hessian.value[at(k)]);
        }
        const bool has_diagonal = matrix_.start.back() < static_cast<int>(matrix_.index.size()) &&
                                  matrix_.index.back() == j;
        if (!has_diagonal) append(j, 0.0);
        close(1);
    }
    const SparseColumns by_row = transpose(rows);
    for (const Block& block : cones_.blocks()) {
        const bool whole = block.kind == ConeKind::kSecondOrder && is_small(block);
        for (int i = block.first; i < block.first + block.size; ++i) {
            for (int k = by_row.start[at(i)]; k < by_row.start[at(i) + 1]; ++k) {
                append(by_row.index[at(k)], by_row.value[at(k)]);
            }
            for (int r = whole ? block.first : i; r <= i; ++r) append(columns_ + r, 0.0);
            close(-1);
        }
    }
    for (std::size_t b = 0; b < cones_.blocks().size(); ++b) {
        const Block& block = cones_.blocks()[b];
        if (block.kind != ConeKind::kSecondOrder || is_small(block)) continue;
        extra_[b] = matrix_.columns;
        const int first = columns_ + block.first;
        for (int r = first + 1; r < first + block.size; ++r) append(r, 0.0);  // v_0 is 0
        append(matrix_.columns, 0.0);
        close(-1);
        for (int r = first; r < first + block.size; ++r) append(r, 0.0);
        append(matrix_.columns, 0.0);
        close(1);
    }
}

void KktSystem::write_cone(const Block& block, std::span<const double> w, double eta, int extra) {
    const double square = eta * eta;
    const std::size_t size = at(block.size);
    double* const value = matrix_.value.data();
    const int* const end = matrix_.start.data() + columns_ + block.first + 1;
    if (extra < 0) {
        for (std::size_t j = 0; j < size; ++j) {
            double* const column = value + end[j] - (j + 1);
            for (std::size_t i = 0; i <= j; ++i) column[i] = -2.0 * square * w[i] * w[j];
            column[j] += j == 0 ? square : -square;
        }
        return;
    }
    double norm = 0.0;
    for (std::size_t i = 0; i < size; ++i) norm += w[i] * w[i];
    const double inverse = 1.0 / norm;
    const double d = 0.5 * inverse;
    const double u0 = std::sqrt(norm - d);
    const double u = 2.0 * w[0] / u0;
    const double v = std::sqrt(2.0 * (2.0 + inverse) / (2.0 * norm - inverse));
    double* const column_v = value + matrix_.start[at(extra)];
    double* const column_u = value + matrix_.start[at(extra) + 1];
    value[end[0] - 1] = -square * d;
    column_u[0] = -square * u0;
    for (std::size_t i = 1; i < size; ++i) {
        value[end[i] - 1] = -square;
        column_v[i - 1] = -square * v * w[i];
        column_u[i] = -square * u * w[i];
    }
    column_v[size - 1] = -square;
    column_u[size] = square;
}

void KktSystem::factorize(const Scaling& scaling, double regularization) {
    const std::span<const double> factor = scaling.factor();
    for (std::size_t b = 0; b < cones_.blocks().size(); ++b) {
        const Block& block = cones_.blocks()[b];
        if (block.kind == ConeKind::kSecondOrder) {
            write_cone(block, factor.subspan(at(block.first), at(block.size)), scaling.eta(b),
                       extra_[b]);
        } else if (block.kind == ConeKind::kNonnegative) {
            for (int i = block.first; i < block.first + block.size; ++i) {
                matrix_.value[at(matrix_.start[at(columns_ + i) + 1] - 1)] =
                    -factor[at(i)] * factor[at(i)];
            }
        }
    }
    diagonal_ = 0.0;
    for (int j = 0; j < order_; ++j) {
        diagonal_ = std::max(diagonal_, std::abs(matrix_.value[at(matrix_.start[at(j) + 1] - 1)]));
    }
    const double shift =
        regularization + kRelativeRegularization * kRelativeRegularization * diagonal_;
    for (std::size_t j = 0; j < sign_.size(); ++j) shift_[j] = sign_[j] * shift;
    // In exact arithmetic every pivot of a quasidefinite matrix is at least its shift.
    factor_.factorize(matrix_, shift_, sign_, 0.5 * shift, kSubstitute * shift);
}

double KktSystem::residual() {
    std::copy(right_.begin(), right_.end(), residual_.begin());
    add_symmetric_product(matrix_, -1.0, solution_, residual_);
    return largest(residual_);
}

bool KktSystem::solve(std::span<double> x, std::span<double> z) {
    std::fill(std::copy(z.begin(), z.end(), std::copy(x.begin(), x.end(), right_.begin())),
              right_.end(), 0.0);
    std::copy(right_.begin(), right_.end(), solution_.begin());
    factor_.solve(solution_);
    const double enough = kRefinedEnough * (1.0 + largest(right_));
    double error = residual();
    for (int round = 0; round < kMostRefinements && error > enough; ++round) {
        best_.swap(solution_);
        factor_.solve(residual_);
        for (std::size_t i = 0; i < best_.size(); ++i) solution_[i] = best_[i] + residual_[i];
        const double next = residual();
        if (!(next < error)) {
            best_.swap(solution_);
            break;
        }
        const bool stalls = next > kLeastGain * error;
        error = next;
        if (stalls) break;
    }
    const auto middle = solution_.begin() + columns_;
    std::copy(solution_.begin(), middle, x.begin());
    std::copy_n(middle, z.size(), z.begin());
    const double sum = std::accumulate(solution_.begin(), solution_.end(), error);
    const double size = largest(solution_);
    const double accepted =
        kWorstError * (1.0 + largest(right_) + size) + kRounding * diagonal_ * size;
    return std::isfinite(sum) && error <= accepted;
}

}  // namespace qlx::quad::conic

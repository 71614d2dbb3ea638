// Updates of the factors of a dual active-set method.
#include "engine/nlp/slp/dual_factor.hpp"

#include <cmath>

namespace qlx::nlp::slp {

void DualFactor::start(const Matrix& lower) {
    const Eigen::Index n = lower.rows();
    count_ = 0;
    if (r_.rows() != n) {
        r_.resize(n, n);
        inverse_.resize(n, n);
        work_.resize(n);
    }
    // L^-T, column by column of L^-1.
    inverse_.setZero();
    for (Eigen::Index j = 0; j < n; ++j) {
        inverse_(j, j) = 1 / lower(j, j);
        for (Eigen::Index i = j + 1; i < n; ++i) {
            double sum = 0;
            for (Eigen::Index k = j; k < i; ++k) sum += lower(i, k) * inverse_(j, k);
            inverse_(j, i) = -sum / lower(i, i);
        }
    }
}

void DualFactor::solve(Vector& w) const {
    for (int i = count_ - 1; i >= 0; --i) {
        w[i] /= r_(i, i);
        for (int k = 0; k < i; ++k) w[k] -= r_(k, i) * w[i];
    }
}

void DualFactor::solve_transposed(Vector& w) const {
    for (int i = 0; i < count_; ++i) {
        for (int k = 0; k < i; ++k) w[i] -= r_(k, i) * w[k];
        w[i] /= r_(i, i);
    }
}

void DualFactor::add(Vector& w) {
    const Eigen::Index tail = order() - count_;
    auto u = w.tail(tail);
    const double length = u[0] > 0 ? -u.norm() : u.norm();
    u[0] -= length;
    const double squared = u.squaredNorm();
    if (squared > 0) {
        auto free = inverse_.rightCols(tail);
        work_.noalias() = free * u;
        work_ *= 2 / squared;
        free.noalias() -= work_ * u.transpose();
    }
    r_.col(count_).head(count_) = w.head(count_);
    r_(count_, count_) = length;
    ++count_;
}

void DualFactor::remove(int position) {
    --count_;
    for (int j = position; j < count_; ++j) {
        r_.col(j).head(j + 2) = r_.col(j + 1).head(j + 2);
        const double a = r_(j, j), b = r_(j + 1, j);
        const double length = std::hypot(a, b);
        if (length == 0) continue;
        const double c = a / length, s = b / length;
        r_(j, j) = length;
        for (int k = j + 1; k < count_; ++k) {
            const double upper = r_(j, k + 1), lower = r_(j + 1, k + 1);
            r_(j, k + 1) = c * upper + s * lower;
            r_(j + 1, k + 1) = c * lower - s * upper;
        }
        for (Eigen::Index i = 0; i < inverse_.rows(); ++i) {
            const double left = inverse_(i, j), right = inverse_(i, j + 1);
            inverse_(i, j) = c * left + s * right;
            inverse_(i, j + 1) = c * right - s * left;
        }
    }
}

}  // namespace qlx::nlp::slp

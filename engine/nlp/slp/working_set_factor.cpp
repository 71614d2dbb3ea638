// Householder factorisation of a working set, row by row.
#include "engine/nlp/slp/working_set_factor.hpp"

#include <cmath>

namespace qlx::nlp::slp {

namespace {

// Length of the part of a row that the rows before do not span, relative to the row.
constexpr double kDependent = 1e-9;

}  // namespace

void WorkingSetFactor::start(int size) {
    size_ = size;
    rank_ = 0;
    if (reflectors_.rows() >= size) return;
    reflectors_.resize(size, size);
    r_.resize(size, size);
    factor_.resize(size);
    work_.resize(size);
}

bool WorkingSetFactor::add(Eigen::Ref<Vector> row) {
    if (rank_ == size_) return false;
    const double whole = row.norm();
    rotate(row);
    auto u = row.segment(rank_, size_ - rank_);
    const double length = u.norm();
    if (!(length > kDependent * whole)) return false;
    const double target = u[0] > 0 ? -length : length;
    r_.col(rank_).head(rank_) = row.head(rank_);
    r_(rank_, rank_) = target;
    u[0] -= target;
    reflectors_.col(rank_).segment(rank_, size_ - rank_) = u;
    factor_[rank_] = 2 / u.squaredNorm();
    ++rank_;
    return true;
}

void WorkingSetFactor::rotate(Eigen::Ref<Vector> v) const {
    for (int k = 0; k < rank_; ++k) {
        const auto u = reflectors_.col(k).segment(k, size_ - k);
        auto tail = v.segment(k, size_ - k);
        tail -= (factor_[k] * u.dot(tail)) * u;
    }
}

void WorkingSetFactor::rotate_back(Eigen::Ref<Vector> v) const {
    for (int k = rank_ - 1; k >= 0; --k) {
        const auto u = reflectors_.col(k).segment(k, size_ - k);
        auto tail = v.segment(k, size_ - k);
        tail -= (factor_[k] * u.dot(tail)) * u;
    }
}

void WorkingSetFactor::solve(Eigen::Ref<Vector> v) const {
    for (int i = rank_ - 1; i >= 0; --i) {
        v[i] /= r_(i, i);
        for (int k = 0; k < i; ++k) v[k] -= r_(k, i) * v[i];
    }
}

void WorkingSetFactor::solve_transposed(Eigen::Ref<Vector> v) const {
    for (int i = 0; i < rank_; ++i) {
        for (int k = 0; k < i; ++k) v[i] -= r_(k, i) * v[k];
        v[i] /= r_(i, i);
    }
}

void WorkingSetFactor::reduce(Matrix& hessian, int from) const {
    for (int k = from; k < rank_; ++k) {
        const int order = size_ - k;
        const auto u = reflectors_.col(k).segment(k, order);
        auto corner = hessian.block(k, k, order, order);
        auto p = work_.head(order);
        p.noalias() = corner * u;
        p *= factor_[k];
        p -= (0.5 * factor_[k] * u.dot(p)) * u;
        corner.noalias() -= u * p.transpose();
        corner.noalias() -= p * u.transpose();
    }
}

}  // namespace qlx::nlp::slp

// Trust-region steps in a null space.
#include "engine/nlp/slp/reduced_step.hpp"

#include <algorithm>
#include <cmath>

namespace qlx::nlp::slp {

namespace {

constexpr double kDefinite = 1e-8;
// Below this share of the largest eigenvalue a negative one is followed.
constexpr double kNearlySemidefinite = 1e-2;
constexpr double kLeastShift = 1e-4;

}  // namespace

bool factor_definite(Eigen::Ref<Matrix> matrix, double floor) {
    const Eigen::Index n = matrix.rows();
    for (Eigen::Index j = 0; j < n; ++j) {
        for (Eigen::Index k = 0; k < j; ++k)
            matrix.col(j).tail(n - j) -= matrix(j, k) * matrix.col(k).tail(n - j);
        const double pivot = matrix(j, j);
        if (!(pivot > floor)) return false;
        matrix.col(j).tail(n - j) /= std::sqrt(pivot);
    }
    return true;
}

void solve_definite(const Eigen::Ref<const Matrix>& factor, Eigen::Ref<Vector> v) {
    factor.triangularView<Eigen::Lower>().solveInPlace(v);
    factor.triangularView<Eigen::Lower>().transpose().solveInPlace(v);
}

void ReducedStep::solve(const Eigen::Ref<const Matrix>& hessian, Eigen::Ref<Vector> gradient,
                        double radius) {
    factor_ = hessian;
    const double floor = std::max(kDefinite, 1e-14 * hessian.diagonal().lpNorm<Eigen::Infinity>());
    if (factor_definite(factor_, floor)) {
        solve_definite(factor_, gradient);
        gradient *= -std::min(1.0, radius / std::max(gradient.norm(), 1e-300));
        return;
    }
    eigen_.compute(hessian);
    const auto& w = eigen_.eigenvalues();
    slope_.noalias() = eigen_.eigenvectors().transpose() * gradient;
    if (w[0] > -kNearlySemidefinite * std::abs(w[w.size() - 1]))
        shifted(gradient, radius);
    else
        exact(gradient, radius);
}

double ReducedStep::least_eigenvalue(const Eigen::Ref<const Matrix>& matrix) {
    eigen_.compute(matrix, Eigen::EigenvaluesOnly);
    return eigen_.eigenvalues()[0];
}

// Newton's step of the matrix shifted to be definite, cut to the radius.
void ReducedStep::shifted(Eigen::Ref<Vector> gradient, double radius) {
    const auto& w = eigen_.eigenvalues();
    const double largest = std::abs(w[w.size() - 1]);
    const double shift = w[0] > std::max(kDefinite, 1e-14 * largest)
                             ? 0.0
                             : -w[0] + std::max(kLeastShift, 0.1 * std::abs(w[0]));
    step_ = -slope_.array() / (w.array() + shift);
    step_ *= std::min(1.0, radius / std::max(step_.norm(), 1e-300));
    gradient.noalias() = eigen_.eigenvectors() * step_;
}

// The secular equation by bisection, the hard case included (More, Sorensen 1983).
void ReducedStep::exact(Eigen::Ref<Vector> gradient, double radius) {
    const auto& w = eigen_.eigenvalues();
    const double scale = std::max(1.0, w.lpNorm<Eigen::Infinity>());
    const auto length = [&](double shift) {
        return (slope_.array() / (w.array() + shift)).matrix().norm();
    };
    const double least = std::max(0.0, -w[0]);
    double low = least + 1e-12 * scale;
    if (length(low) < radius) {
        // Filled up along the lowest eigenvector.
        step_.resize(w.size());
        for (Eigen::Index i = 0; i < w.size(); ++i) {
            const double shifted = w[i] + low;
            step_[i] = shifted > 1e-9 * scale ? -slope_[i] / shifted : 0.0;
        }
        if (w[0] < -1e-9 * scale) {
            const double rest = std::sqrt(std::max(radius * radius - step_.squaredNorm(), 0.0));
            step_[0] += slope_[0] > 0 ? -rest : rest;
        }
    } else {
        double high = least + slope_.norm() / radius + scale;
        for (int k = 0; k < 100 && high - low >= 1e-14 * high; ++k) {
            const double middle = 0.5 * (low + high);
            (length(middle) > radius ? low : high) = middle;
        }
        step_ = -slope_.array() / (w.array() + high);
    }
    gradient.noalias() = eigen_.eigenvectors() * step_;
}

}  // namespace qlx::nlp::slp

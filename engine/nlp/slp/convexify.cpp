// Definite matrices for quadratic models.
#include "engine/nlp/slp/convexify.hpp"

#include <algorithm>

#include "engine/nlp/slp/reduced_step.hpp"

namespace qlx::nlp::slp {

namespace {

// Relative to the largest entry: eigenvalues above this are definite, and none is left below that.
constexpr double kDefinite = 1e-6;
constexpr double kLeastEigenvalue = 1e-4;
// Of A'A in the matrix whose eigenvalues are raised.
constexpr double kMiddleWeight = 10;

}  // namespace

// Whether all eigenvalues are above the tolerance. Then factor_ is the matrix's factor.
bool Convexified::try_factor(const Matrix& matrix) {
    factor_ = matrix;
    factor_.diagonal().array() -= kDefinite * size_;
    if (!factor_definite(factor_, 0.0)) return false;
    factor_ = matrix;
    return factor_definite(factor_, 0.0);
}

bool Convexified::compute(const Matrix& hessian, const Matrix& normals) {
    size_ = std::max(1.0, hessian.lpNorm<Eigen::Infinity>());
    if (try_factor(hessian)) return true;
    trial_ = hessian;
    if (normals.cols() > 0) {
        product_.noalias() = normals * normals.transpose();
        for (const double weight : {1.0, 10.0, 100.0}) {
            trial_ = hessian + (weight * size_) * product_;
            if (try_factor(trial_)) return false;
        }
        trial_ = hessian + (kMiddleWeight * size_) * product_;
    }
    eigen_.compute(trial_);
    const Vector raised = eigen_.eigenvalues().cwiseAbs().cwiseMax(kLeastEigenvalue * size_);
    factor_.noalias() =
        eigen_.eigenvectors() * raised.asDiagonal() * eigen_.eigenvectors().transpose();
    factor_definite(factor_, 0.0);
    return false;
}

}  // namespace qlx::nlp::slp

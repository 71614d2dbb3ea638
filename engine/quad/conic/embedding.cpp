// Newton steps of the homogeneous embedding.
#include "engine/quad/conic/embedding.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "engine/base/index.hpp"

namespace qlx::quad::conic {

namespace {

double dot(std::span<const double> a, std::span<const double> b) noexcept {
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) sum += a[i] * b[i];
    return sum;
}

}  // namespace

void Residuals::evaluate(const Program& program, const Point& point) {
    std::fill(hessian_x.begin(), hessian_x.end(), 0.0);
    std::fill(transposed_z.begin(), transposed_z.end(), 0.0);
    std::fill(rows_x.begin(), rows_x.end(), 0.0);
    add_symmetric_product(program.hessian, 1.0, point.x, hessian_x);
    add_transposed_product(program.rows, 1.0, point.z, transposed_z);
    add_product(program.rows, 1.0, point.x, rows_x);
    for (std::size_t j = 0; j < dual.size(); ++j) {
        dual[j] = hessian_x[j] + transposed_z[j] + program.cost[j] * point.tau;
    }
    for (std::size_t i = 0; i < primal.size(); ++i) {
        primal[i] = rows_x[i] + point.s[i] - program.right[i] * point.tau;
    }
    curvature = dot(point.x, hessian_x);
    cost = dot(program.cost, point.x);
    right = dot(program.right, point.z);
    objective = point.kappa + curvature / point.tau + cost + right;
}

Directions::Directions(const Program& program, const ConeProduct& cones, KktSystem& system,
                       const Scaling& scaling)
    : program_(program),
      cones_(cones),
      system_(system),
      scaling_(scaling),
      constant_(program.cost.size(), program.right.size()),
      gradient_(program.cost.size()),
      right_(program.right.size()),
      scaled_s_(program.right.size()) {}

bool Directions::prepare(const Point& point) {
    for (std::size_t j = 0; j < gradient_.size(); ++j) constant_.x[j] = -program_.cost[j];
    std::copy(program_.right.begin(), program_.right.end(), constant_.z.begin());
    if (!system_.solve(constant_.x, constant_.z)) return false;
    std::fill(gradient_.begin(), gradient_.end(), 0.0);
    add_symmetric_product(program_.hessian, 1.0 / point.tau, point.x, gradient_);
    // kappa / tau + |x_c - x / tau|_P^2 - |x_c|_P^2 - q'x_c - b'z_c, x_c being the constant part
    tau_factor_ = point.kappa / point.tau + dot(gradient_, point.x) / point.tau -
                  2.0 * dot(gradient_, constant_.x) - dot(program_.cost, constant_.x) -
                  dot(program_.right, constant_.z);
    for (std::size_t j = 0; j < gradient_.size(); ++j) {
        gradient_[j] = 2.0 * gradient_[j] + program_.cost[j];
    }
    return true;
}

bool Directions::find_affine(const Point& point, const Residuals& residuals, Point& out) {
    std::copy(point.s.begin(), point.s.end(), right_.begin());
    return find(point, residuals, 1.0, point.tau * point.kappa, out);
}

bool Directions::find_centered(const Point& point, const Residuals& residuals, const Point* affine,
                               double share, double target, Point& out) {
    double kappa_right = point.tau * point.kappa - target;
    std::fill(right_.begin(), right_.end(), 0.0);
    if (affine != nullptr) {
        scaling_.apply_inverse(affine->s, scaled_s_);
        scaling_.apply(affine->z, right_);
        cones_.product(scaled_s_, right_, right_);
        kappa_right += affine->tau * affine->kappa;
    }
    cones_.add_unit(-target, right_);
    cones_.divide(scaling_.point(), right_, right_);
    scaling_.apply(right_, right_);
    for (std::size_t i = 0; i < right_.size(); ++i) right_[i] += point.s[i];
    return find(point, residuals, share, kappa_right, out);
}

// Takes right_, the step that s needs where z stays.
bool Directions::find(const Point& point, const Residuals& residuals, double share,
                      double kappa_right, Point& out) {
    for (std::size_t j = 0; j < out.x.size(); ++j) out.x[j] = -share * residuals.dual[j];
    for (std::size_t i = 0; i < out.z.size(); ++i) {
        out.z[i] = right_[i] - share * residuals.primal[i];
    }
    if (!system_.solve(out.x, out.z)) return false;
    const double numerator = share * residuals.objective - kappa_right / point.tau +
                             dot(gradient_, out.x) + dot(program_.right, out.z);
    out.tau = numerator / tau_factor_;
    for (std::size_t j = 0; j < out.x.size(); ++j) out.x[j] += out.tau * constant_.x[j];
    for (std::size_t i = 0; i < out.z.size(); ++i) out.z[i] += out.tau * constant_.z[i];
    scaling_.apply(out.z, out.s);
    scaling_.apply(out.s, out.s);
    for (std::size_t i = 0; i < out.s.size(); ++i) out.s[i] = -right_[i] - out.s[i];
    follow_rows(residuals, share, out);
    out.kappa = -(kappa_right + point.kappa * out.tau) / point.tau;
    return std::isfinite(out.tau);
}

// Where W is large, rounding in W^2 z would show as an error of the rows: s follows from them
// there.
void Directions::follow_rows(const Residuals& residuals, double share, Point& out) {
    std::fill(scaled_s_.begin(), scaled_s_.end(), 0.0);
    add_product(program_.rows, -1.0, out.x, scaled_s_);
    const std::span<const double> factor = scaling_.factor();
    for (std::size_t b = 0; b < cones_.blocks().size(); ++b) {
        const Block& block = cones_.blocks()[b];
        const bool whole = block.kind == ConeKind::kSecondOrder;
        for (std::size_t i = at(block.first); i < at(block.first + block.size); ++i) {
            const double size = whole ? scaling_.eta(b) * factor[at(block.first)] : factor[i];
            if (size <= 1.0) continue;
            out.s[i] = scaled_s_[i] + program_.right[i] * out.tau - share * residuals.primal[i];
        }
    }
}

}  // namespace qlx::quad::conic

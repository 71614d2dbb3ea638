// Residuals, objectives and proofs in the units of the program as it was stated.
#include "engine/quad/conic/termination.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "engine/base/index.hpp"

namespace qlx::quad::conic {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

double largest(std::initializer_list<double> values) noexcept {
    double size = 0.0;
    for (const double value : values) size = std::max(size, std::abs(value));
    return size;
}

double dot(std::span<const double> a, std::span<const double> b) noexcept {
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) sum += a[i] * b[i];
    return sum;
}

double largest_entry(std::span<const double> v) noexcept {
    double size = 0.0;
    for (const double entry : v) size = std::max(size, std::abs(entry));
    return size;
}

}  // namespace

double Progress::worst() const noexcept {
    return std::max({primal_residual, dual_residual, gap});
}

Progress Termination::measure(const Point& point, const Residuals& residuals) const {
    const Program& scaled = units_.program();
    const double c = units_.objective();
    const double tau = point.tau;
    Progress progress;
    for (std::size_t i = 0; i < residuals.primal.size(); ++i) {
        const double unit = units_.row()[i];
        const double size =
            largest({residuals.rows_x[i] / tau, point.s[i] / tau, scaled.right[i]}) / unit;
        const double error = std::abs(residuals.primal[i]) / (tau * unit * (1.0 + size));
        progress.primal_residual = std::max(progress.primal_residual, error);
    }
    for (std::size_t j = 0; j < residuals.dual.size(); ++j) {
        const double unit = units_.column()[j] * c;
        const double size = largest({residuals.hessian_x[j] / tau, residuals.transposed_z[j] / tau,
                                     scaled.cost[j]}) /
                            unit;
        const double error = std::abs(residuals.dual[j]) / (tau * unit * (1.0 + size));
        progress.dual_residual = std::max(progress.dual_residual, error);
    }
    const double half = 0.5 * residuals.curvature / (tau * tau);
    progress.primal_objective = (half + residuals.cost / tau) / c;
    progress.dual_objective = (-half - residuals.right / tau) / c;
    const double size =
        std::min(std::abs(progress.primal_objective), std::abs(progress.dual_objective));
    progress.gap = std::abs(progress.primal_objective - progress.dual_objective) / (1.0 + size);
    const double sum = progress.primal_residual + progress.dual_residual + progress.gap;
    if (!std::isfinite(sum)) progress.gap = kInfinity;
    return progress;
}

double Termination::farkas_error(const Residuals& residuals) const {
    if (!(residuals.right < 0.0)) return kInfinity;
    double error = 0.0;
    for (std::size_t j = 0; j < residuals.dual.size(); ++j) {
        error = std::max(error, std::abs(residuals.transposed_z[j]) / units_.column()[j]);
    }
    return error / -residuals.right;
}

double Termination::ray_error(const Point& point, const Residuals& residuals) const {
    if (!(residuals.cost < 0.0)) return kInfinity;
    double error = 0.0;
    for (std::size_t j = 0; j < residuals.dual.size(); ++j) {
        error = std::max(error, std::abs(residuals.hessian_x[j]) / units_.column()[j]);
    }
    // The gain is measured in the units' objective, and so is Px; rows have no objective in them.
    for (std::size_t i = 0; i < residuals.primal.size(); ++i) {
        const double off = std::abs(residuals.rows_x[i] + point.s[i]) / units_.row()[i];
        error = std::max(error, off * units_.objective());
    }
    return error / -residuals.cost;
}

void Termination::write_point(const Point& point, Answer& answer) const {
    const double inverse = 1.0 / point.tau;
    const double c = units_.objective();
    answer.x.resize(point.x.size());
    answer.s.resize(point.s.size());
    answer.z.resize(point.z.size());
    for (std::size_t j = 0; j < point.x.size(); ++j) {
        answer.x[j] = point.x[j] * inverse * units_.column()[j];
    }
    for (std::size_t i = 0; i < point.s.size(); ++i) {
        answer.s[i] = point.s[i] * inverse / units_.row()[i];
        answer.z[i] = point.z[i] * inverse * units_.row()[i] / c;
    }
}

bool Termination::write_farkas(const Point& point, double tolerance, Answer& answer) const {
    std::vector<double> z(point.z.size());
    for (std::size_t i = 0; i < z.size(); ++i) z[i] = point.z[i] * units_.row()[i];
    const double gain = -dot(program_.right, z);
    if (!(gain > 0.0)) return false;
    for (double& entry : z) entry /= gain;
    if (cones_.violation(z, true) > 0.0) return false;
    std::vector<double> sum(program_.cost.size(), 0.0);
    add_transposed_product(program_.rows, 1.0, z, sum);
    if (!(largest_entry(sum) <= tolerance)) return false;
    answer.z = std::move(z);
    answer.x.clear();
    answer.s.clear();
    return true;
}

bool Termination::write_ray(const Point& point, double tolerance, Answer& answer) const {
    std::vector<double> x(point.x.size());
    std::vector<double> s(point.s.size());
    for (std::size_t j = 0; j < x.size(); ++j) x[j] = point.x[j] * units_.column()[j];
    const double gain = -dot(program_.cost, x);
    if (!(gain > 0.0)) return false;
    for (double& entry : x) entry /= gain;
    for (std::size_t i = 0; i < s.size(); ++i) s[i] = point.s[i] / (units_.row()[i] * gain);
    if (cones_.violation(s, false) > 0.0) return false;
    std::vector<double> pulled(x.size(), 0.0);
    add_symmetric_product(program_.hessian, 1.0, x, pulled);
    std::vector<double> off = s;
    add_product(program_.rows, 1.0, x, off);
    if (!(std::max(largest_entry(pulled), largest_entry(off)) <= tolerance)) return false;
    answer.x = std::move(x);
    answer.s = std::move(s);
    answer.z.clear();
    return true;
}

}  // namespace qlx::quad::conic

// The scaling of Nesterov and Todd, in Vandenberghe's formulas (2010, sections 4 and 5).
#include "engine/quad/conic/scaling.hpp"

#include <cmath>
#include <cstddef>

#include "engine/base/index.hpp"

namespace qlx::quad::conic {

namespace {

// out = (factor * hyperbolic Householder matrix of w, its tail times `sign`) v.
void reflect(std::span<const double> w, double sign, double factor, std::span<const double> v,
             std::span<double> out) noexcept {
    double dot = 0.0;
    for (std::size_t i = 1; i < w.size(); ++i) dot += w[i] * v[i];
    dot *= sign;
    const double head = v[0];
    const double along = sign * (head + dot / (1.0 + w[0]));
    out[0] = factor * (w[0] * head + dot);
    for (std::size_t i = 1; i < w.size(); ++i) out[i] = factor * (v[i] + along * w[i]);
}

}  // namespace

Scaling::Scaling(const ConeProduct& cones)
    : cones_(cones),
      point_(at(cones.rows()), 0.0),
      factor_(at(cones.rows()), 0.0),
      eta_(cones.blocks().size(), 1.0) {}

bool Scaling::update_cone(std::size_t block, std::span<const double> s,
                          std::span<const double> z) noexcept {
    const double s_square = determinant(s);
    const double z_square = determinant(z);
    if (!(s_square > 0.0 && z_square > 0.0 && s[0] > 0.0 && z[0] > 0.0)) return false;
    const double s_size = std::sqrt(s_square);
    const double z_size = std::sqrt(z_square);
    double dot = 0.0;
    for (std::size_t i = 0; i < s.size(); ++i) dot += s[i] * z[i];
    const double gamma = std::sqrt(0.5 * (1.0 + dot / (s_size * z_size)));
    const std::size_t first = at(cones_.blocks()[block].first);
    double* const w = factor_.data() + first;
    double* const lambda = point_.data() + first;
    const double root = std::sqrt(s_size * z_size);
    const double s0 = s[0] / s_size;
    const double z0 = z[0] / z_size;
    const double weight = root / (s0 + z0 + 2.0 * gamma);
    double square = 0.0;
    for (std::size_t i = 1; i < s.size(); ++i) {
        const double si = s[i] / s_size;
        const double zi = z[i] / z_size;
        w[i] = (si - zi) / (2.0 * gamma);
        square += w[i] * w[i];
        lambda[i] = weight * ((gamma + z0) * si + (gamma + s0) * zi);
    }
    w[0] = std::sqrt(1.0 + square);  // exact, where the sum of both heads has rounding errors
    lambda[0] = root * gamma;
    eta_[block] = std::sqrt(s_size / z_size);
    return true;
}

bool Scaling::update(std::span<const double> s, std::span<const double> z) noexcept {
    for (std::size_t k = 0; k < cones_.blocks().size(); ++k) {
        const Block& block = cones_.blocks()[k];
        const std::size_t first = at(block.first);
        const std::size_t size = at(block.size);
        if (block.kind == ConeKind::kSecondOrder) {
            if (!update_cone(k, s.subspan(first, size), z.subspan(first, size))) return false;
        } else if (block.kind == ConeKind::kNonnegative) {
            for (std::size_t i = first; i < first + size; ++i) {
                if (!(s[i] > 0.0 && z[i] > 0.0)) return false;
                factor_[i] = std::sqrt(s[i] / z[i]);
                point_[i] = std::sqrt(s[i] * z[i]);
            }
        }
    }
    return true;
}

void Scaling::apply(std::span<const double> v, std::span<double> out) const noexcept {
    for (std::size_t k = 0; k < cones_.blocks().size(); ++k) {
        const Block& block = cones_.blocks()[k];
        const std::size_t first = at(block.first);
        const std::size_t size = at(block.size);
        if (block.kind == ConeKind::kSecondOrder) {
            reflect(std::span(factor_).subspan(first, size), 1.0, eta_[k], v.subspan(first, size),
                    out.subspan(first, size));
        } else {
            for (std::size_t i = first; i < first + size; ++i) out[i] = factor_[i] * v[i];
        }
    }
}

void Scaling::apply_inverse(std::span<const double> v, std::span<double> out) const noexcept {
    for (std::size_t k = 0; k < cones_.blocks().size(); ++k) {
        const Block& block = cones_.blocks()[k];
        const std::size_t first = at(block.first);
        const std::size_t size = at(block.size);
        if (block.kind == ConeKind::kSecondOrder) {
            reflect(std::span(factor_).subspan(first, size), -1.0, 1.0 / eta_[k],
                    v.subspan(first, size), out.subspan(first, size));
        } else {
            for (std::size_t i = first; i < first + size; ++i) {
                out[i] = block.kind == ConeKind::kZero ? 0.0 : v[i] / factor_[i];
            }
        }
    }
}

}  // namespace qlx::quad::conic

// Arithmetic in a product of cones (Alizadeh and Goldfarb 2003).
#include "engine/quad/conic/cones.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "engine/base/index.hpp"

namespace qlx::quad::conic {

namespace {

std::span<const double> part(std::span<const double> v, const Block& block) noexcept {
    return v.subspan(at(block.first), at(block.size));
}
std::span<double> part(std::span<double> v, const Block& block) noexcept {
    return v.subspan(at(block.first), at(block.size));
}

// The smallest eigenvalue of the block's part.
double margin(std::span<const double> v, ConeKind kind) noexcept {
    if (kind == ConeKind::kSecondOrder) return v[0] - tail_norm(v);
    return *std::min_element(v.begin(), v.end());
}

// In the frame in which v is the unit element, the direction's smallest eigenvalue tells the step
// (Vandenberghe 2010, section 8.3).
double step_in_cone(std::span<const double> v, std::span<const double> d) noexcept {
    const double size = std::sqrt(std::max(determinant(v), 1e-300));
    double along = v[0] * d[0];
    for (std::size_t i = 1; i < v.size(); ++i) along -= v[i] * d[i];
    along /= size;
    const double factor = (along + d[0]) / (v[0] + size);
    double square = 0.0;
    for (std::size_t i = 1; i < v.size(); ++i) {
        const double entry = d[i] - factor * v[i];
        square += entry * entry;
    }
    const double least = (along - std::sqrt(square)) / size;
    return least < 0.0 ? -1.0 / least : std::numeric_limits<double>::infinity();
}

void second_order_quotient(std::span<const double> u, std::span<const double> d,
                           std::span<double> out) noexcept {
    double dot = u[0] * d[0];
    for (std::size_t i = 1; i < u.size(); ++i) dot -= u[i] * d[i];
    const double head = dot / std::max(determinant(u), 1e-300);
    for (std::size_t i = 1; i < u.size(); ++i) out[i] = (d[i] - head * u[i]) / u[0];
    out[0] = head;
}

}  // namespace

double tail_norm(std::span<const double> v) noexcept {
    double sum = 0.0;
    for (std::size_t i = 1; i < v.size(); ++i) sum += v[i] * v[i];
    return std::sqrt(sum);
}

double determinant(std::span<const double> v) noexcept {
    const double norm = tail_norm(v);
    return (v[0] - norm) * (v[0] + norm);
}

ConeProduct::ConeProduct(std::span<const Cone> cones) {
    for (const Cone& cone : cones) {
        const ConeKind kind = cone.size == 1 && cone.kind == ConeKind::kSecondOrder
                                  ? ConeKind::kNonnegative
                                  : cone.kind;
        const bool grows =
            !blocks_.empty() && kind != ConeKind::kSecondOrder && blocks_.back().kind == kind;
        if (grows) {
            blocks_.back().size += cone.size;
        } else {
            blocks_.push_back({kind, rows_, cone.size});
        }
        rows_ += cone.size;
        if (kind == ConeKind::kNonnegative) degree_ += cone.size;
        if (kind == ConeKind::kSecondOrder) ++degree_;
    }
}

void ConeProduct::add_unit(double factor, std::span<double> v) const noexcept {
    for (const Block& block : blocks_) {
        if (block.kind == ConeKind::kSecondOrder) v[at(block.first)] += factor;
        if (block.kind != ConeKind::kNonnegative) continue;
        for (double& entry : part(v, block)) entry += factor;
    }
}

void ConeProduct::move_inside(std::span<double> v, bool dual) const noexcept {
    double least = std::numeric_limits<double>::infinity();
    double sum = 0.0;  // of the positive margins
    for (const Block& block : blocks_) {
        const std::span<double> own = part(v, block);
        if (block.kind == ConeKind::kZero) {
            if (!dual) std::fill(own.begin(), own.end(), 0.0);
            continue;
        }
        least = std::min(least, margin(own, block.kind));
        if (block.kind == ConeKind::kSecondOrder) {
            sum += std::max(margin(own, block.kind), 0.0);
        } else {
            for (const double entry : own) sum += std::max(entry, 0.0);
        }
    }
    const double wanted = std::max(1.0, 0.1 * sum / std::max(degree_, 1));
    if (least < wanted) add_unit(wanted - std::min(least, 0.0), v);
}

double ConeProduct::longest_step(std::span<const double> v, std::span<const double> direction,
                                 double limit) const noexcept {
    double step = limit;
    for (const Block& block : blocks_) {
        if (block.kind == ConeKind::kSecondOrder) {
            step = std::min(step, step_in_cone(part(v, block), part(direction, block)));
        } else if (block.kind == ConeKind::kNonnegative) {
            for (std::size_t i = at(block.first); i < at(block.first + block.size); ++i) {
                if (v[i] + step * direction[i] < 0.0) step = -v[i] / direction[i];
            }
        }
    }
    return step;
}

void ConeProduct::product(std::span<const double> u, std::span<const double> v,
                          std::span<double> out) const noexcept {
    for (const Block& block : blocks_) {
        const std::size_t first = at(block.first);
        const std::size_t end = first + at(block.size);
        if (block.kind == ConeKind::kSecondOrder) {
            const double u0 = u[first];
            const double v0 = v[first];
            double dot = u0 * v0;
            for (std::size_t i = first + 1; i < end; ++i) {
                dot += u[i] * v[i];
                out[i] = u0 * v[i] + v0 * u[i];
            }
            out[first] = dot;
        } else if (block.kind == ConeKind::kNonnegative) {
            for (std::size_t i = first; i < end; ++i) out[i] = u[i] * v[i];
        } else {
            std::fill(out.begin() + block.first, out.begin() + block.first + block.size, 0.0);
        }
    }
}

void ConeProduct::divide(std::span<const double> u, std::span<const double> d,
                         std::span<double> out) const noexcept {
    for (const Block& block : blocks_) {
        const std::span<double> own = part(out, block);
        if (block.kind == ConeKind::kSecondOrder) {
            second_order_quotient(part(u, block), part(d, block), own);
        } else if (block.kind == ConeKind::kNonnegative) {
            for (std::size_t i = 0; i < own.size(); ++i) {
                own[i] = d[at(block.first) + i] / u[at(block.first) + i];
            }
        } else {
            std::fill(own.begin(), own.end(), 0.0);
        }
    }
}

double ConeProduct::violation(std::span<const double> v, bool dual) const noexcept {
    double worst = 0.0;
    for (const Block& block : blocks_) {
        const std::span<const double> own = part(v, block);
        if (block.kind != ConeKind::kZero) {
            worst = std::max(worst, -margin(own, block.kind));
        } else if (!dual) {
            for (const double entry : own) worst = std::max(worst, std::abs(entry));
        }
    }
    return worst;
}

}  // namespace qlx::quad::conic

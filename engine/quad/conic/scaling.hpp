// The scaling of Nesterov and Todd: the W with W z = W^-1 s, for s and z inside the cones.
#pragma once

#include <span>
#include <vector>

#include "engine/quad/conic/cones.hpp"

namespace qlx::quad::conic {

// W is symmetric: the root of s/z on nonnegative rows, and  eta * (hyperbolic Householder matrix of
// w)  on a second-order cone, with w_0^2 - |tail of w|^2 = 1, so that W^2 = eta^2 (2ww' - J), J
// being diag(1, -1, ..., -1).
class Scaling {
  public:
    explicit Scaling(const ConeProduct& cones);

    // Returns false where s or z has left the cones.
    bool update(std::span<const double> s, std::span<const double> z) noexcept;

    // out = Wv and out = W^-1 v, 0 on zero cones; out may be v.
    void apply(std::span<const double> v, std::span<double> out) const noexcept;
    void apply_inverse(std::span<const double> v, std::span<double> out) const noexcept;

    // The scaled point W z.
    std::span<const double> point() const noexcept { return point_; }
    // Roots of s/z on nonnegative rows, w on second-order cones.
    std::span<const double> factor() const noexcept { return factor_; }
    // eta of a block.
    double eta(std::size_t block) const noexcept { return eta_[block]; }

  private:
    bool update_cone(std::size_t block, std::span<const double> s,
                     std::span<const double> z) noexcept;

    const ConeProduct& cones_;
    std::vector<double> point_;
    std::vector<double> factor_;
    std::vector<double> eta_;
};

}  // namespace qlx::quad::conic

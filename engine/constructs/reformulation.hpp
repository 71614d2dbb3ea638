// States what a kernel has no words for with binary columns and linear rows, as far as the
// coefficients that this takes are small enough; rounds fractional bounds of integer columns, with
// which HiGHS cuts off the best points.
#pragma once

#include <vector>

#include "engine/constructs/builder.hpp"
#include "engine/constructs/construct.hpp"

namespace qlx {

[[nodiscard]] bool needs_reformulation(const Model& model);

class Reformulation {
  public:
    // Bounds come from the columns, tightened by propagation. Throws Error where a construct is
    // ill-formed. The model must not change before take().
    Reformulation(Model& model, double largest_coefficient);

    // What would take larger coefficients than allowed, and has to be branched on.
    [[nodiscard]] const std::vector<ConstructItem>& branched() const noexcept { return branched_; }
    // The largest coefficient of those that are stated; at least 1.
    [[nodiscard]] double big_m() const noexcept { return big_m_; }
    // The model's own columns come first, so that a point of the result begins with a point of the
    // model. What has to be branched on is left out.
    [[nodiscard]] KernelModel take();

  private:
    Builder builder_;
    std::vector<ConstructItem> stated_;
    std::vector<ConstructItem> branched_;
    double big_m_ = 1;
};

}  // namespace qlx

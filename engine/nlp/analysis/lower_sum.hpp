// Sums of the lower ends of intervals.
#pragma once

#include <cmath>
#include <limits>

#include "engine/check/enclosed_sum.hpp"

namespace qlx::nlp {

// The lower ends of intervals added up; how many are infinite is counted apart, so that any one
// can be taken off again.
class LowerSum {
  public:
    void add(double lower) noexcept {
        if (std::isinf(lower)) {
            ++infinite_;
        } else {
            finite_.add(lower);
        }
    }
    [[nodiscard]] double below() const noexcept {
        return infinite_ > 0 ? kMinusInfinity : number(finite_.below());
    }
    [[nodiscard]] double below_without(double lower) const noexcept {
        if (infinite_ > (std::isinf(lower) ? 1 : 0)) return kMinusInfinity;
        if (std::isinf(lower)) return number(finite_.below());
        EnclosedSum rest = finite_;
        rest.add(-lower);
        return number(rest.below());
    }

  private:
    static constexpr double kMinusInfinity = -std::numeric_limits<double>::infinity();
    // An overflow leaves nothing known.
    static double number(double below) noexcept {
        return std::isnan(below) ? kMinusInfinity : below;
    }

    EnclosedSum finite_;
    int infinite_ = 0;
};

}  // namespace qlx::nlp

// Floats of values that repeat.
#pragma once

#include <array>
#include <bit>

#include "module/failure.hpp"

namespace quilex {

// Makes floats, one object for values that come again soon: in a solution most values are zeros,
// ones and bounds, and a new object takes longer than the look at an old one. A small table with
// one place per hash of the value's bits, so that -0.0 and 0.0 stay apart.
class RecentFloats {
  public:
    Ref make(double value) {
        const auto bits = std::bit_cast<uint64_t>(value);
        Ref& kept = kept_[(bits * kGolden) >> (64 - kBits)];
        if (!kept || std::bit_cast<uint64_t>(PyFloat_AS_DOUBLE(kept.get())) != bits) {
            kept = require(PyFloat_FromDouble(value));
        }
        return Ref::share(kept.get());
    }

  private:
    static constexpr int kBits = 5;
    static constexpr uint64_t kGolden = 0x9E3779B97F4A7C15;  // multiplicative hashing

    std::array<Ref, size_t{1} << kBits> kept_;
};

}  // namespace quilex

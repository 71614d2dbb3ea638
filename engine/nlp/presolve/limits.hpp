// What counts as an infinite bound or side.
#pragma once

#include "engine/base/infinity.hpp"

namespace qlx::nlp {

[[nodiscard]] constexpr bool is_minus_infinite(double bound) noexcept {
    return bound <= -kInfinity;
}
[[nodiscard]] constexpr bool is_plus_infinite(double bound) noexcept {
    return bound >= kInfinity;
}

}  // namespace qlx::nlp

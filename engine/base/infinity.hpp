// What counts as infinite in models.
#pragma once

namespace qlx {

// Bounds, sides and right-hand sides of this size and beyond are none.
inline constexpr double kInfinity = 1e20;

}  // namespace qlx

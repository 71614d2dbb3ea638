// Indices of the interface, which are signed, as positions in our arrays.
#pragma once

#include <concepts>
#include <cstddef>

namespace qlx {

[[nodiscard]] constexpr std::size_t at(std::integral auto index) noexcept {
    return static_cast<std::size_t>(index);
}

}  // namespace qlx

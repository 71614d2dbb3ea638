// How the store's arrays grow.
#pragma once

#include <cstddef>
#include <vector>

namespace qlx {

// Makes room for `more` elements behind the last. Room that is never written costs addresses but no
// memory, while each move costs fresh pages and a copy: so arrays grow faster than std::vector
// makes them, the more so the smaller they are.
template <class T>
void make_room(std::vector<T>& array, std::size_t more) {
    constexpr std::size_t kMiB = std::size_t{1} << 20;
    const std::size_t needed = array.size() + more;
    if (needed <= array.capacity()) return;
    const std::size_t bytes = needed * sizeof(T);
    array.reserve(needed * (bytes <= kMiB ? 8 : bytes <= 16 * kMiB ? 4 : 2));
}

}  // namespace qlx

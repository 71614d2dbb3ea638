// How the store's arrays grow.
#pragma once

#include <cstddef>
#include <vector>

namespace qlx {

// Makes room for `more` elements behind the last. Room that is never written costs addresses but no
// memory, while each move costs fresh pages and a copy: so arrays grow faster than std::vector
// makes them. Small ones double, as their room would be written by others anyway.
template <class T>
void make_room(std::vector<T>& array, std::size_t more) {
    constexpr std::size_t kKiB = 1024;
    const std::size_t needed = array.size() + more;
    if (needed <= array.capacity()) return;
    const std::size_t bytes = needed * sizeof(T);
    array.reserve(needed * (bytes <= 8 * kKiB       ? 2
                            : bytes <= 64 * kKiB    ? 32
                            : bytes <= 4096 * kKiB  ? 8
                            : bytes <= 16384 * kKiB ? 4
                                                    : 2));
}

}  // namespace qlx

// Marks on indices that are cleared all at once, in no time.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace qlx {

class IndexStamps {
  public:
    // Clears all marks and makes room for the indices below `limit`.
    void begin(int limit) {
        const auto size = static_cast<std::size_t>(limit);
        // Growing by more than asked for keeps a loop that adds column after column linear.
        if (stamps_.size() < size) stamps_.resize(std::max(size, 2 * stamps_.size()), 0);
        ++current_;
    }
    // Marks an index; false when it is marked already.
    [[nodiscard]] bool mark(int index) noexcept {
        std::uint64_t& stamp = stamps_[static_cast<std::size_t>(index)];
        return std::exchange(stamp, current_) != current_;
    }

  private:
    std::vector<std::uint64_t> stamps_;
    std::uint64_t current_ = 0;
};

}  // namespace qlx

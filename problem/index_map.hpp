// Serial number of a modelling object -> its index in the library. Serial numbers of a problem's
// objects lie close together, so this is a vector over serial numbers with a hash map for outliers.
#pragma once

#include <unordered_map>

#include "module/python.hpp"

namespace quilex {

class IndexMap {
  public:
    static constexpr int kMissing = -1;

    // The index of a serial number, or kMissing.
    int find(uint64_t serial) const noexcept {
        const uint64_t offset = serial - base_;
        if (offset < near_.size()) return near_[offset];
        if (far_.empty()) return kMissing;
        const auto found = far_.find(serial);
        return found == far_.end() ? kMissing : found->second;
    }

    // Enters or replaces an index. Throws std::bad_alloc.
    void insert(uint64_t serial, int index);
    void clear() noexcept;
    size_t size() const noexcept { return size_; }

    // Takes out the deleted indices (ascending) and closes the gaps that they leave.
    void erase_indices(std::span<const int> deleted);

  private:
    uint64_t base_ = 0;       // serial number of near_[0]
    std::vector<int> near_;   // kMissing where no object
    std::unordered_map<uint64_t, int> far_;
    size_t size_ = 0;
};

}  // namespace quilex

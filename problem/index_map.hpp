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
    void insert(uint64_t serial, int index) {
        const uint64_t offset = serial - base_;
        if (offset < near_.size()) {
            if (near_[offset] == kMissing) ++size_;
            near_[offset] = index;
        } else if (offset - near_.size() <= 1 && offset > 1 && far_.empty()) {
            // A variable's constructor takes two serial numbers: every other one is missing.
            constexpr size_t kGrowth = 4;  // room that is not written yet costs addresses only
            if (near_.capacity() < offset + 1) near_.reserve(kGrowth * (offset + 1));
            if (offset != near_.size()) near_.push_back(kMissing);
            near_.push_back(index);
            ++size_;
        } else {
            insert_outside(serial, index);
        }
    }
    void clear() noexcept;
    size_t size() const noexcept { return size_; }

    // Takes out the deleted indices (ascending) and closes the gaps that they leave. Throws
    // std::bad_alloc, and then nothing has changed.
    void erase_indices(std::span<const int> deleted);
    // Takes out one entry; the other indices stay.
    void erase_serial(uint64_t serial) noexcept;

  private:
    void insert_outside(uint64_t serial, int index);
    bool grow_to_hold(uint64_t serial);
    void take_from_far(uint64_t first, uint64_t last) noexcept;

    uint64_t base_ = 0;      // serial number of near_[0]
    std::vector<int> near_;  // kMissing where no object
    std::unordered_map<uint64_t, int> far_;
    size_t size_ = 0;
};

}  // namespace quilex

// Serial number of a modelling object -> its index in the library.
#include "problem/index_map.hpp"

#include <algorithm>

namespace quilex {

namespace {

// The vector may be this many times longer than the number of objects in it (and a constant more).
constexpr uint64_t kSparsity = 16;
constexpr uint64_t kSlack = 1024;

}  // namespace

void IndexMap::clear() noexcept {
    near_.clear();
    far_.clear();
    size_ = 0;
}

// Extends the vector to the serial number where that keeps it reasonably dense.
bool IndexMap::grow_to_hold(uint64_t serial) {
    const uint64_t limit = kSparsity * size_ + kSlack;
    if (near_.empty()) {
        base_ = serial;
        near_.push_back(kMissing);
        return true;
    }
    if (serial >= base_) {
        const uint64_t offset = serial - base_;
        if (offset >= limit) return false;
        near_.resize(offset + 1, kMissing);
        return true;
    }
    // Room in front is doubled, so that objects added in descending order cost no more.
    const uint64_t needed = base_ - serial;
    if (needed + near_.size() > limit) return false;
    const uint64_t room = std::min(base_, std::max<uint64_t>(needed, near_.size()));
    near_.insert(near_.begin(), room, kMissing);
    base_ -= room;
    return true;
}

// Moves the entries of serial numbers that the vector now covers, first .. last - 1, into it.
void IndexMap::take_from_far(uint64_t first, uint64_t last) noexcept {
    for (uint64_t serial = first; serial < last; ++serial) {
        const auto found = far_.find(serial);
        if (found == far_.end()) continue;
        near_[serial - base_] = found->second;
        far_.erase(found);
    }
}

void IndexMap::insert_outside(uint64_t serial, int index) {
    if (!far_.empty()) {
        const auto found = far_.find(serial);
        if (found != far_.end()) {
            found->second = index;
            return;
        }
    }
    const uint64_t old_base = base_;
    const uint64_t old_length = near_.size();
    if (grow_to_hold(serial)) {
        if (!far_.empty() && old_length > 0) {
            take_from_far(base_, old_base);
            take_from_far(old_base + old_length, base_ + near_.size());
        }
        near_[serial - base_] = index;
    } else {
        far_.emplace(serial, index);
    }
    ++size_;
}

void IndexMap::erase_serial(uint64_t serial) noexcept {
    const uint64_t offset = serial - base_;
    if (offset < near_.size()) {
        if (near_[offset] != kMissing) --size_;
        near_[offset] = kMissing;
    } else if (far_.erase(serial) != 0) {
        --size_;
    }
}

void IndexMap::erase_indices(std::span<const int> deleted) {
    if (deleted.empty()) return;
    // new_index[i] for every index up to the last deleted one; beyond it all shift alike.
    std::vector<int> new_index(static_cast<size_t>(deleted.back()) + 1);
    int below = 0;
    for (int i = 0; i <= deleted.back(); ++i) {
        const bool is_deleted = deleted[static_cast<size_t>(below)] == i;
        new_index[static_cast<size_t>(i)] = is_deleted ? kMissing : i - below;
        if (is_deleted) ++below;
    }
    const auto renumber = [&](int index) {
        if (index == kMissing) return kMissing;
        return index <= deleted.back() ? new_index[static_cast<size_t>(index)] : index - below;
    };
    size_ = 0;
    for (int& index : near_) {
        index = renumber(index);
        if (index != kMissing) ++size_;
    }
    for (auto entry = far_.begin(); entry != far_.end();) {
        entry->second = renumber(entry->second);
        entry = entry->second == kMissing ? far_.erase(entry) : std::next(entry);
    }
    size_ += far_.size();
}

}  // namespace quilex

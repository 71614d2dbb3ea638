// Slabs: memory for the objects that exist by the million.
#include "module/slabs.hpp"

#include <new>

#include "module/pages.hpp"

namespace quilex {

// Goes on with what is left of the current slab, with one that has room, or with a new one. A full
// slab is found again through its blocks.
void Slabs::make_room() {
    if (current_ == nullptr || current_->ready == current_->end()) {
        if (with_room_ == nullptr) {
            current_ = map_slab();
        } else {
            current_ = with_room_;
            unlist(current_);
        }
    }
    if (current_->has_room(block_bytes_)) return;
    fetch_pages(current_->ready, kStepBytes);
    current_->ready += kStepBytes;
}

void Slabs::keep_or_unmap(Slab* slab) noexcept {
    if (slab->live > 0) {
        if (!slab->is_listed) list(slab);
        return;
    }
    if (slab->is_listed) unlist(slab);
    unmap_pages(slab, kSlabBytes);
}

void Slabs::list(Slab* slab) noexcept {
    slab->previous = nullptr;
    slab->next = with_room_;
    if (with_room_ != nullptr) with_room_->previous = slab;
    with_room_ = slab;
    slab->is_listed = true;
}

void Slabs::unlist(Slab* slab) noexcept {
    (slab->previous == nullptr ? with_room_ : slab->previous->next) = slab->next;
    if (slab->next != nullptr) slab->next->previous = slab->previous;
    slab->is_listed = false;
}

// Maps twice the size and gives back what lies beside the aligned part.
Slabs::Slab* Slabs::map_slab() {
    auto* const first = static_cast<char*>(map_pages(2 * kSlabBytes));
    if (first == nullptr) throw std::bad_alloc();
    const size_t before = (0 - reinterpret_cast<uintptr_t>(first)) & (kSlabBytes - 1);
    if (before > 0) unmap_pages(first, before);
    unmap_pages(first + before + kSlabBytes, kSlabBytes - before);
    auto* const slab = new (first + before) Slab{};
    slab->fresh = reinterpret_cast<char*>(slab + 1);
    slab->ready = first + before + kStepBytes;
    return slab;
}

}  // namespace quilex

// The blocks of memory that append logs share: free lists for short ones, pages for long ones.
#pragma once

#include <algorithm>
#include <cstring>

#include "module/free_list.hpp"
#include "module/live_counts.hpp"
#include "module/pages.hpp"

namespace quilex {

// The heap part of a log. Every entry below `used` owns references to its variables.
template <class Entry>
struct LogBuffer {
    size_t owners;
    size_t capacity;
    size_t used;

    Entry* entries() noexcept { return reinterpret_cast<Entry*>(this + 1); }
    static LogBuffer* of(Entry* entries) noexcept {
        return reinterpret_cast<LogBuffer*>(entries) - 1;
    }

    static LogBuffer* allocate(size_t needed) {
        const int size_class = class_of(needed);
        const size_t capacity = size_class < kClasses ? kSmallest << size_class : needed;
        LogBuffer* buffer = size_class < kClasses ? unused_[size_class].pop() : nullptr;
        if (buffer == nullptr) buffer = obtain(capacity);
        buffer->owners = 1;
        buffer->used = 0;
        count_created(Counted::kEntryLog);
        return buffer;
    }

    static void free(LogBuffer* buffer) noexcept {
        count_destroyed(Counted::kEntryLog);
        const int size_class = class_of(buffer->capacity);
        if (size_class < kClasses && buffer->capacity == kSmallest << size_class &&
            unused_[size_class].push(buffer)) {
            return;
        }
        give_back(buffer);
    }

    // The same entries in a larger block; only for a buffer with one owner.
    static LogBuffer* grow(LogBuffer* buffer, size_t needed) {
        const size_t old = buffer->capacity;
        // Large logs grow by a sixteenth, so that a kept expression wastes at most a byte a term.
        const size_t capacity = std::max(needed, old + (is_mapped(old) ? old / 16 : old));
        if (!is_mapped(old) && is_mapped(capacity)) return move_to_pages(buffer, capacity);
        auto* const grown =
            static_cast<LogBuffer*>(is_mapped(old) ? grow_pages(buffer, bytes(old), bytes(capacity))
                                                   : PyMem_Realloc(buffer, bytes(capacity)));
        if (grown == nullptr) throw std::bad_alloc();
        if (is_mapped(old)) {
            fetch_pages(grown->entries() + old, (capacity - old) * sizeof(Entry));
        }
        grown->capacity = capacity;
        return grown;
    }

    static void clear_unused() noexcept {
        for (auto& list : unused_) {
            while (LogBuffer* buffer = list.pop()) give_back(buffer);
        }
    }

  private:
    static constexpr size_t kSmallest = 8;
    static constexpr int kClasses = 3;

    // Large buffers have pages of their own: they grow often, and copying them would take as long
    // as filling them.
    static bool is_mapped(size_t capacity) noexcept { return capacity >= size_t{1} << 16; }
    static LogBuffer* obtain(size_t capacity) {
        void* const memory =
            is_mapped(capacity) ? map_pages(bytes(capacity)) : PyMem_Malloc(bytes(capacity));
        if (memory == nullptr) throw std::bad_alloc();
        if (is_mapped(capacity)) fetch_pages(memory, bytes(capacity));
        auto* const buffer = static_cast<LogBuffer*>(memory);
        buffer->capacity = capacity;
        return buffer;
    }
    static void give_back(LogBuffer* buffer) noexcept {
        if (is_mapped(buffer->capacity)) {
            unmap_pages(buffer, bytes(buffer->capacity));
        } else {
            PyMem_Free(buffer);
        }
    }
    static LogBuffer* move_to_pages(LogBuffer* buffer, size_t capacity) {
        LogBuffer* const moved = obtain(capacity);
        std::memcpy(static_cast<void*>(moved), buffer, bytes(buffer->used));
        moved->capacity = capacity;
        give_back(buffer);
        return moved;
    }

    static size_t bytes(size_t capacity) {
        if (capacity > (size_t{1} << 56) / sizeof(Entry)) throw std::bad_alloc();
        return sizeof(LogBuffer) + capacity * sizeof(Entry);
    }
    static int class_of(size_t capacity) noexcept {
        if (capacity <= kSmallest) return 0;
        if (capacity <= kSmallest << 1) return 1;
        return capacity <= kSmallest << 2 ? 2 : kClasses;
    }

    static inline FreeList<LogBuffer, 64> unused_[kClasses];
};

}  // namespace quilex

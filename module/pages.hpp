// Pages of large blocks of memory.
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>

namespace quilex {

// Has the system back the whole pages within a block that will be written soon: in one call they
// cost half of what they cost when they are touched one by one. Systems that do not know the call
// give them when they are touched.
inline void fetch_pages(void* block, size_t bytes) noexcept {
#ifdef MADV_POPULATE_WRITE
    constexpr uintptr_t kPage = 4096;  // a multiple of it where pages are larger is not needed
    const uintptr_t first = (reinterpret_cast<uintptr_t>(block) + kPage - 1) & ~(kPage - 1);
    const uintptr_t end = (reinterpret_cast<uintptr_t>(block) + bytes) & ~(kPage - 1);
    if (first < end) madvise(reinterpret_cast<void*>(first), end - first, MADV_POPULATE_WRITE);
#else
    static_cast<void>(block), static_cast<void>(bytes);
#endif
}

}  // namespace quilex

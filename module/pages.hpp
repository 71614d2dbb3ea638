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
    // A few pages are not worth the call, and may be there.
    constexpr uintptr_t kLeast = 16 * kPage;
    if (first + kLeast <= end)
        madvise(reinterpret_cast<void*>(first), end - first, MADV_POPULATE_WRITE);
#else
    static_cast<void>(block), static_cast<void>(bytes);
#endif
}

// Memory of its own pages, which grows without being copied. Null where there is none.
inline void* map_pages(size_t bytes) noexcept {
    void* const block =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return block == MAP_FAILED ? nullptr : block;
}
inline void* grow_pages(void* block, size_t old_bytes, size_t bytes) noexcept {
    void* const grown = mremap(block, old_bytes, bytes, MREMAP_MAYMOVE);
    return grown == MAP_FAILED ? nullptr : grown;
}
inline void unmap_pages(void* block, size_t bytes) noexcept {
    munmap(block, bytes);
}

}  // namespace quilex

// The default operations of the module allocator: the process heap, counted in debug builds.
#include "module/allocator.hpp"

#include <cstdlib>

#include "module/live_counts.hpp"

namespace {

int heap_allocate(void*, size_t size, void** block) noexcept {
    *block = std::malloc(size);
    if (*block != nullptr) quilex::count_created(quilex::Counted::kBlock);
    return size != 0 && *block == nullptr ? -1 : 0;
}

int heap_free(void*, void** block) noexcept {
    if (*block != nullptr) quilex::count_destroyed(quilex::Counted::kBlock);
    std::free(*block);
    *block = nullptr;
    return 0;
}

int heap_reallocate(void* context, void** block, size_t size) noexcept {
    if (*block == nullptr) return heap_allocate(context, size, block);
    if (size == 0) return heap_free(context, block);
    void* const moved = std::realloc(*block, size);
    if (moved == nullptr) return -1;
    *block = moved;
    return 0;
}

int heap_is_thread_safe(void*) noexcept {
    return 1;
}

constexpr qo_MemoryAllocator_Operations kHeapOperations = {heap_allocate, heap_reallocate,
                                                           heap_free, heap_is_thread_safe, 1};

}  // namespace

qo_MemoryAllocator qo_MemoryAllocator_DefaultHeap = {&kHeapOperations, nullptr};

int qo_MemoryAllocator_Alloc_Untyped(qo_MemoryAllocator* allocator, size_t size,
                                     void** block) noexcept {
    return allocator->operations->allocate(allocator->context, size, block);
}

int qo_MemoryAllocator_Realloc_Untyped(qo_MemoryAllocator* allocator, void** block,
                                       size_t size) noexcept {
    return allocator->operations->reallocate(allocator->context, block, size);
}

int qo_MemoryAllocator_Free_Untyped(qo_MemoryAllocator* allocator, void** block) noexcept {
    if (*block == nullptr) return 0;
    return allocator->operations->free(allocator->context, block);
}

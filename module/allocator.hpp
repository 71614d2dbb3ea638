// The process-wide allocator of every temporary array that crosses to the library.
#pragma once

#include "module/python.hpp"

// The names are part of the module's binary interface.
struct qo_MemoryAllocator_Operations {
    // Stores a block of `size` bytes or null; -1 only when `size` is not zero and there is no
    // block.
    int (*allocate)(void* context, size_t size, void** block);
    // Replaces the block; -1 with the old block in place when `size` is not zero and there is none.
    int (*reallocate)(void* context, void** block, size_t size);
    // Frees the block and sets the pointer to null.
    int (*free)(void* context, void** block);
    int (*is_thread_safe)(void* context);  // always 1
    int64_t version;                       // 1
};

struct qo_MemoryAllocator {
    const qo_MemoryAllocator_Operations* operations;
    void* context;  // null for the process heap
};

extern qo_MemoryAllocator qo_MemoryAllocator_DefaultHeap;

// Return 0, or -1 without a Python exception.
int qo_MemoryAllocator_Alloc_Untyped(qo_MemoryAllocator* allocator, size_t size,
                                     void** block) noexcept;
int qo_MemoryAllocator_Realloc_Untyped(qo_MemoryAllocator* allocator, void** block,
                                       size_t size) noexcept;
// Does nothing for a null block.
int qo_MemoryAllocator_Free_Untyped(qo_MemoryAllocator* allocator, void** block) noexcept;

namespace quilex {

// An array of T in a block of the default heap, freed with the object.
template <class T>
class Block {
  public:
    constexpr Block() noexcept = default;
    // Throws std::bad_alloc. The elements are not initialised.
    explicit Block(size_t count) {
        if (count > SIZE_MAX / sizeof(T)) throw std::bad_alloc();
        if (qo_MemoryAllocator_Alloc_Untyped(&qo_MemoryAllocator_DefaultHeap, count * sizeof(T),
                                             &block_) != 0) {
            throw std::bad_alloc();
        }
    }
    Block(Block&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
    Block& operator=(Block&& other) noexcept {
        std::swap(block_, other.block_);
        return *this;
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() { qo_MemoryAllocator_Free_Untyped(&qo_MemoryAllocator_DefaultHeap, &block_); }

    // Takes over a block of the default heap (null allowed).
    static Block adopt(T* pointer) noexcept {
        Block result;
        result.block_ = const_cast<std::remove_const_t<T>*>(pointer);
        return result;
    }
    // Changes the size, keeping the elements. Throws std::bad_alloc.
    void resize(size_t count) {
        if (count > SIZE_MAX / sizeof(T) ||
            qo_MemoryAllocator_Realloc_Untyped(&qo_MemoryAllocator_DefaultHeap, &block_,
                                               count * sizeof(T)) != 0) {
            throw std::bad_alloc();
        }
    }

    T* get() const noexcept { return static_cast<T*>(block_); }
    T& operator[](size_t i) const noexcept { return get()[i]; }
    explicit operator bool() const noexcept { return block_ != nullptr; }
    T* release() noexcept { return static_cast<T*>(std::exchange(block_, nullptr)); }

  private:
    void* block_ = nullptr;
};

}  // namespace quilex

// Slabs: memory for the objects that exist by the million.
#pragma once

#include "module/free_list.hpp"

namespace quilex {

// Blocks of one size, cut from slabs of 2 MiB: neighbours in time are neighbours in memory, and
// blocks of 64 bytes lie on cache lines. A slab of which no block is in use any more goes back to
// the system. Guarded by the interpreter lock.
class Slabs {
  public:
    explicit Slabs(size_t block_bytes) noexcept : block_bytes_(block_bytes) {}

    // A block of memory. Throws std::bad_alloc.
    void* take() {
        if (current_ == nullptr || !current_->has_room(block_bytes_)) [[unlikely]]
            make_room();
        ++current_->live;
        if (FreeBlock* block = current_->unused) {
            current_->unused = block->next;
            return block;
        }
        return std::exchange(current_->fresh, current_->fresh + block_bytes_);
    }

    void give(void* memory) noexcept {
        Slab* const slab = slab_of(memory);
        auto* const block = static_cast<FreeBlock*>(memory);
        block->next = std::exchange(slab->unused, block);
        --slab->live;
        if (slab != current_) [[unlikely]]
            keep_or_unmap(slab);
    }

  private:
    static constexpr size_t kSlabBytes = size_t{1} << 21;
    static constexpr size_t kStepBytes = size_t{1} << 17;

    struct FreeBlock {
        FreeBlock* next;
    };
    struct alignas(64) Slab {
        char* fresh;  // what lies from here on was never given out
        char* ready;  // up to here its pages are there already
        FreeBlock* unused;
        size_t live;
        // Neighbours among the slabs that have room and are not current.
        Slab* previous;
        Slab* next;
        bool is_listed;

        char* end() noexcept { return reinterpret_cast<char*>(this) + kSlabBytes; }
        bool has_room(size_t bytes) noexcept {
            return unused != nullptr || static_cast<size_t>(ready - fresh) >= bytes;
        }
    };

    static Slab* slab_of(void* block) noexcept {
        return reinterpret_cast<Slab*>(reinterpret_cast<uintptr_t>(block) & ~(kSlabBytes - 1));
    }

    void make_room();
    void keep_or_unmap(Slab* slab) noexcept;
    void list(Slab* slab) noexcept;
    void unlist(Slab* slab) noexcept;
    static Slab* map_slab();

    size_t block_bytes_;
    Slab* current_ = nullptr;
    Slab* with_room_ = nullptr;
};

// The collector's header in front of an object is two words, zero while the object is untracked.
// Interpreters that may differ get their memory from Python.
#if defined(Py_GIL_DISABLED) || PY_VERSION_HEX >= 0x030F0000
inline constexpr bool kSlabsEnabled = false;
#else
inline constexpr bool kSlabsEnabled = kFreeListsEnabled;
#endif

// Memory for the instances of one static type that takes part in garbage collection and may exist
// by the million. An instance comes out untracked, and without having brought the next collection
// nearer: the collector has nothing to do with what it does not track.
template <class T>
class SlabPool {
  public:
    // A new reference; the fields behind the object header are not set.
    T* take(PyTypeObject* type) {
        if constexpr (kSlabsEnabled) {
            auto* const header = static_cast<CollectorHeader*>(slabs_.take());
            *header = {};
            return reinterpret_cast<T*>(
                PyObject_Init(reinterpret_cast<PyObject*>(header + 1), type));
        } else {
            T* const object = PyObject_GC_New(T, type);
            if (object != nullptr) return object;
            PyErr_Clear();
            throw std::bad_alloc();
        }
    }

    // Takes back an instance that is not tracked and owns nothing any more.
    void give(T* object) noexcept {
        if constexpr (kSlabsEnabled) {
            slabs_.give(reinterpret_cast<CollectorHeader*>(object) - 1);
        } else {
            PyObject_GC_Del(object);
        }
    }

  private:
    struct CollectorHeader {
        uintptr_t next, previous;
    };
    static constexpr size_t kBlockBytes =
        (sizeof(CollectorHeader) + sizeof(T) + alignof(std::max_align_t) - 1) &
        ~(alignof(std::max_align_t) - 1);

    Slabs slabs_{kBlockBytes};
};

}  // namespace quilex

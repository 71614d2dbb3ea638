// A stack whose first elements cost no memory of their own.
#pragma once

#include <cstddef>
#include <new>
#include <utility>
#include <vector>

namespace quilex {

// The first `Room` elements live in the stack itself, the others in a vector; adding one of those
// may move them.
template <class T, size_t Room>
class SmallStack {
  public:
    SmallStack() = default;
    SmallStack(const SmallStack&) = delete;
    SmallStack& operator=(const SmallStack&) = delete;
    ~SmallStack() {
        while (!empty()) pop_back();
    }

    bool empty() const noexcept { return size_ == 0; }
    size_t size() const noexcept { return size_; }
    T& back() noexcept { return size_ > Room ? rest_.back() : *place(size_ - 1); }
    // Throws std::bad_alloc, and then nothing has changed.
    T& push_back(T element) {
        T& added = size_ < Room ? *new (own_ + size_ * sizeof(T)) T(std::move(element))
                                : rest_.emplace_back(std::move(element));
        ++size_;
        return added;
    }
    void pop_back() noexcept {
        if (size_-- > Room) return rest_.pop_back();
        place(size_)->~T();
    }

  private:
    T* place(size_t i) noexcept { return std::launder(reinterpret_cast<T*>(own_ + i * sizeof(T))); }

    alignas(T) std::byte own_[Room * sizeof(T)];  // of which the first size_ elements exist
    std::vector<T> rest_;
    size_t size_ = 0;
};

}  // namespace quilex

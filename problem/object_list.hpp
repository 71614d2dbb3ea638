// A problem's modelling objects of one kind; their positions are the library's indices.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// An item is an object, or only the serial number of a dormant one, which somebody else can make
// again. Guarded by the interpreter lock.
class ObjectList {
  public:
    ObjectList() = default;
    ObjectList(const ObjectList&) = delete;
    ObjectList& operator=(const ObjectList&) = delete;
    ~ObjectList() { clear(); }

    int size() const noexcept { return static_cast<int>(items_.size()); }
    bool is_dormant(int index) const noexcept { return (item(index) & kDormant) != 0; }
    // Of an item that is not dormant; borrowed.
    PyObject* operator[](int index) const noexcept {
        assert(!is_dormant(index));
        return reinterpret_cast<PyObject*>(item(index));
    }
    uint64_t dormant_serial(int index) const noexcept { return item(index) >> 1; }

    // Sees to it that the next append cannot fail. Throws std::bad_alloc.
    void make_room() {
        constexpr size_t kGrowth = 4;  // room that is not written yet costs addresses only
        if (items_.size() == items_.capacity()) items_.reserve(kGrowth * items_.size() + 8);
    }
    // Throws std::bad_alloc.
    void append(PyObject* object) {
        make_room();
        items_.push_back(reinterpret_cast<uintptr_t>(object));
        Py_INCREF(object);
    }
    // Lets go of an object of which the serial number is enough.
    void put_to_sleep(int index, uint64_t serial) noexcept;
    void wake(int index, Ref object) noexcept;

    // Keeps the first `count` items.
    void truncate(int count) noexcept;
    // Takes out the items at the given positions (ascending, each once). Throws std::bad_alloc.
    void remove(std::span<const int> positions);
    void clear() noexcept { truncate(0); }
    int traverse(visitproc visit, void* arg) const;

  private:
    static constexpr uintptr_t kDormant = 1;  // objects have even addresses

    uintptr_t item(int index) const noexcept { return items_[static_cast<size_t>(index)]; }

    std::vector<uintptr_t> items_;
};

// The positions first .. first + count - 1.
std::vector<int> index_range(int first, int count);

}  // namespace quilex

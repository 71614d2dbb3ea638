// A problem's modelling objects of one kind.
#include "problem/object_list.hpp"

#include <numeric>

namespace quilex {

void ObjectList::put_to_sleep(int index, uint64_t serial) noexcept {
    PyObject* const object = (*this)[index];
    items_[static_cast<size_t>(index)] = (static_cast<uintptr_t>(serial) << 1) | kDormant;
    Py_DECREF(object);
}

void ObjectList::wake(int index, Ref object) noexcept {
    assert(is_dormant(index));
    items_[static_cast<size_t>(index)] = reinterpret_cast<uintptr_t>(object.release());
}

void ObjectList::truncate(int count) noexcept {
    // The end of an object may run any code, which may append: the list is shortened before each,
    // and by as many as there were.
    for (int excess = size() - count; excess > 0 && size() > 0; --excess) {
        const uintptr_t last = items_.back();
        items_.pop_back();
        if ((last & kDormant) == 0) Py_DECREF(reinterpret_cast<PyObject*>(last));
    }
}

void ObjectList::remove(std::span<const int> positions) {
    if (positions.empty()) return;
    // The kept items move to the front in order; the others, at the end, are then cut off.
    std::vector<uintptr_t> removed;
    removed.reserve(positions.size());
    auto kept = static_cast<size_t>(positions.front());
    for (size_t i = kept; i < items_.size(); ++i) {
        if (removed.size() < positions.size() && positions[removed.size()] == static_cast<int>(i)) {
            removed.push_back(items_[i]);
        } else {
            items_[kept++] = items_[i];
        }
    }
    std::copy(removed.begin(), removed.end(), items_.begin() + static_cast<ptrdiff_t>(kept));
    truncate(static_cast<int>(kept));
}

int ObjectList::traverse(visitproc visit, void* arg) const {
    for (const uintptr_t item : items_) {
        if ((item & kDormant) == 0) Py_VISIT(reinterpret_cast<PyObject*>(item));
    }
    return 0;
}

std::vector<int> index_range(int first, int count) {
    std::vector<int> result(static_cast<size_t>(count));
    std::iota(result.begin(), result.end(), first);
    return result;
}

}  // namespace quilex

// A problem's lists of modelling objects.
#include "problem/object_list.hpp"

#include <algorithm>
#include <numeric>

namespace quilex {

Ref new_object_list() {
    Ref list = require(PyList_New(0));
    PyObject_GC_UnTrack(list.get());
    return list;
}

void remove_objects(PyObject* list, std::span<const int> positions) {
    if (positions.empty()) return;
    // The kept items move to the front in order; the others, at the end, are then cut off at once.
    PyObject** const items = reinterpret_cast<PyListObject*>(list)->ob_item;
    const Py_ssize_t count = PyList_GET_SIZE(list);
    std::vector<PyObject*> removed;
    removed.reserve(positions.size());
    Py_ssize_t kept = positions.front();
    for (Py_ssize_t i = kept; i < count; ++i) {
        if (removed.size() < positions.size() && positions[removed.size()] == i) {
            removed.push_back(items[i]);
        } else {
            items[kept++] = items[i];
        }
    }
    std::copy(removed.begin(), removed.end(), items + kept);
    require_status(PyList_SetSlice(list, kept, count, nullptr));
}

std::vector<int> index_range(int first, int count) {
    std::vector<int> result(static_cast<size_t>(count));
    std::iota(result.begin(), result.end(), first);
    return result;
}

}  // namespace quilex

// A problem's lists of modelling objects, whose positions are the library's indices.
#pragma once

#include "problem/problem.hpp"

namespace quilex {

// A list that the collector does not see: the problem shows its items to the collector itself, so
// that the list is never emptied behind the problem's back.
Ref new_object_list();

inline int object_count(PyObject* list) noexcept {
    return static_cast<int>(PyList_GET_SIZE(list));
}

inline void append_object(PyObject* list, PyObject* object) {
    require_status(PyList_Append(list, object));
}

// Takes out the items at the given positions (ascending, each once).
void remove_objects(PyObject* list, std::span<const int> positions);

// The positions first .. first + count - 1.
std::vector<int> index_range(int first, int count);

}  // namespace quilex

// The beginning of a static type object; the slots are assigned afterwards by name.
#pragma once

#include "module/references.hpp"

namespace quilex {

inline PyTypeObject static_type(const char* name, size_t size, const char* doc) noexcept {
    PyTypeObject type{};
    Py_SET_REFCNT(as_object(&type), 1);
    type.tp_name = name;
    type.tp_basicsize = static_cast<Py_ssize_t>(size);
    type.tp_doc = doc;
    type.tp_flags = Py_TPFLAGS_DEFAULT;
    return type;
}

}  // namespace quilex

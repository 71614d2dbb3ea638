// The start of every static type object and number protocol, so that files state only what differs.
#pragma once

#include "module/python.hpp"

namespace quilex {

inline PyTypeObject blank_type(const char* name, size_t size) noexcept {
    PyTypeObject type{};
    Py_SET_REFCNT(reinterpret_cast<PyObject*>(&type), 1);
    type.tp_name = name;
    type.tp_basicsize = static_cast<Py_ssize_t>(size);
    type.tp_flags = Py_TPFLAGS_DEFAULT;
    return type;
}

}  // namespace quilex

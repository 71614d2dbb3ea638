// Conversion of Python strings to the library's NUL-terminated ASCII strings.
#include "module/text.hpp"

#include <cstring>

#include "module/allocator.hpp"
#include "module/references.hpp"

namespace quilex {

namespace {

// The bytes of a str (ASCII) or bytes object; empty with or without an exception set otherwise.
Ref ascii_bytes(PyObject* object) noexcept {
    if (PyUnicode_Check(object)) return Ref::steal(PyUnicode_AsASCIIString(object));
    if (PyBytes_Check(object)) return Ref::share(object);
    return Ref();
}

}  // namespace

char* pyStrToStr(PyObject* object) noexcept {
    const Ref bytes = ascii_bytes(object);
    if (!bytes) return nullptr;
    const auto length = static_cast<size_t>(PyBytes_GET_SIZE(bytes.get()));
    void* copy = nullptr;
    if (qo_MemoryAllocator_Alloc_Untyped(&qo_MemoryAllocator_DefaultHeap, length + 1, &copy) != 0) {
        return nullptr;
    }
    std::memcpy(copy, PyBytes_AS_STRING(bytes.get()), length);
    static_cast<char*>(copy)[length] = '\0';
    return static_cast<char*>(copy);
}

int64_t pyStrLen(PyObject* object) noexcept {
    const Ref bytes = ascii_bytes(object);
    if (bytes) return PyBytes_GET_SIZE(bytes.get());
    return PyErr_Occurred() ? -1 : 0;
}

}  // namespace quilex

// Conversion of Python strings to the library's NUL-terminated ASCII strings.
#pragma once

#include "module/python.hpp"

namespace quilex {

// A str (ASCII) or bytes object as a new NUL-terminated string, to be freed with the module
// allocator. Null with a Python exception set for a str that is not ASCII, null without one for
// any other object.
char* pyStrToStr(PyObject* object) noexcept;

// The length of a str (ASCII) or bytes object; 0 for any other object; -1 with an exception set.
int64_t pyStrLen(PyObject* object) noexcept;

}  // namespace quilex

// The Python values that count as integers, and their conversion with a check of the range.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// int and its subclasses, and numpy's intc and int_ scalars; sets no error.
bool is_integer(PyObject* object) noexcept;

// The same, or any other of numpy's integer scalars: what stands for an index.
bool is_index(PyObject* object) noexcept;

// The value of such an integer or index. RuntimeError where it does not fit.
int int32_value(PyObject* object);
int64_t int64_value(PyObject* object);

// The value of anything that Python's int conversion accepts, within 8 bits.
signed char int8_value(PyObject* object);

}  // namespace quilex

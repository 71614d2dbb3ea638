// Python numbers as C's, with errors that say which number it was.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// The value of anything with Python's float conversion. RuntimeError, beginning with `noun`, for an
// int beyond the range of floats; other exceptions are the conversion's own.
double double_value(PyObject* object, const char* noun);

// The value of anything with Python's index conversion, within 32 bits. RuntimeError, beginning
// with `noun`, beyond them.
int int_value(PyObject* object, const char* noun);

}  // namespace quilex

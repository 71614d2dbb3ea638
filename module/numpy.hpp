// numpy's C interface: built against numpy 2's headers, run under numpy 1 and 2.
// The one translation unit that defines QUILEX_IMPORT_NUMPY holds the interface pointers.
#pragma once

#include "module/python.hpp"

#define NPY_NO_DEPRECATED_API NPY_1_23_API_VERSION
#define PY_ARRAY_UNIQUE_SYMBOL QUILEX_OPT_ARRAY_API
#define PY_UFUNC_UNIQUE_SYMBOL QUILEX_OPT_UFUNC_API
#ifndef QUILEX_IMPORT_NUMPY
#define NO_IMPORT_ARRAY
#define NO_IMPORT_UFUNC
#endif
// numpy's headers are not clean under -Wconversion.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#include <numpy/arrayobject.h>
#include <numpy/arrayscalars.h>
#include <numpy/ufuncobject.h>
#pragma GCC diagnostic pop

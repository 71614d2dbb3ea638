// Owned references move and are never copied; a failure without a Python exception is a fault.
// REFUSED COPY: use of deleted function
// REFUSED FROM_RAW: conversion from
// DIES NO_EXCEPTION: PyErr_Occurred
#include "module/failure.hpp"

#include <utility>

quilex::Ref pass(quilex::Ref given, PyObject* raw) {
    quilex::Ref moved = std::move(given);
#ifdef COPY
    quilex::Ref copy = moved;
#endif
#ifdef FROM_RAW
    quilex::Ref taken = raw;
#endif
    static_cast<void>(raw);
    return moved;
}

#ifdef NO_EXCEPTION
// In the interpreter's place, with no exception set.
PyObject* PyErr_Occurred() {
    return nullptr;
}
void _Py_Dealloc(PyObject*) {}

int main() {
    quilex::require(nullptr);
}
#endif

// quilex.poolcut, quilex.qlxobject and quilex.generic: objects that only carry a library pointer
// between a callback and a method.
#pragma once

#include "module/failure.hpp"

namespace quilex {

struct Handle {
    PyObject_HEAD
    void* pointer;  // null when made from Python; owns nothing
};

extern PyTypeObject poolcut_type;
extern PyTypeObject qlxobject_type;
extern PyTypeObject generic_type;

Ref poolcut_create(void* cut);
Ref qlxobject_create(void* object);
Ref voidstar_create(void* pointer);

// The carried pointer. Throws RuntimeError for an object of any other type.
void* poolcut_getcut(PyObject* object);
void* qlxobject_getobject(PyObject* object);

}  // namespace quilex

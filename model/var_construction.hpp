// How variables come and go: what the type's slots call.
#pragma once

#include "model/var.hpp"

namespace quilex {

PyObject* var_new(PyTypeObject* type, PyObject* arguments, PyObject* keywords) noexcept;
int var_init(PyObject* self, PyObject* arguments, PyObject* keywords);
// The whole constructor as the interpreter calls it.
PyObject* var_vectorcall(PyObject* type, PyObject* const* arguments, size_t flagged_count,
                         PyObject* keywords) noexcept;
void var_dealloc(PyObject* self) noexcept;

// Keeps any object as the name; null for the default name.
void set_variable_name(Variable* variable, PyObject* name);

}  // namespace quilex

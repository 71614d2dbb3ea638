// Removal of registered callables from a list of registrations: one walk for the callbacks of
// problems and for the module-wide message handlers.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// How one kind of registration is laid out and unregistered.
struct RegistrationKind {
    Py_ssize_t callable_position;  // in the registration, a list
    Py_ssize_t data_position;
    // Takes the registration out of the library and cuts its links. Returns 0 or the library's
    // status.
    int (*unregister)(PyObject* registration, void* context);
    void* context;
};

// Unregisters and drops every registration whose callable and data are the very objects given; null
// or None matches any. `slot` holds the list of registrations, or null; it is emptied with the last
// one. Returns 0 or the library's status; throws where nothing matches.
int remove_registrations(PyObject** slot, PyObject* callable, PyObject* data,
                         const RegistrationKind& kind);

}  // namespace quilex

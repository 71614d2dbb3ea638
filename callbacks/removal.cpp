// Removal of registered callables from a list of registrations.
#include "callbacks/removal.hpp"

namespace quilex {

namespace {

bool matches(PyObject* wanted, PyObject* found) noexcept {
    return wanted == nullptr || wanted == Py_None || wanted == found;
}

// The registration at a position of the list, with its callable and data checked.
Ref registration_at(PyObject* list, Py_ssize_t position, const RegistrationKind& kind) {
    Ref registration = share(PyList_GET_ITEM(list, position));
    if (!registration || !PyList_Check(registration.get())) {
        raise_runtime_error("Incorrect data stored in callback list");
    }
    const Py_ssize_t last = std::max(kind.callable_position, kind.data_position);
    if (PyList_GET_SIZE(registration.get()) <= last) {
        raise_runtime_error("Incorrect data stored in callback");
    }
    return registration;
}

}  // namespace

int remove_registrations(PyObject** slot, PyObject* callable, PyObject* data,
                         const RegistrationKind& kind) {
    const bool any_callable = callable == nullptr || callable == Py_None;
    const bool any_data = data == nullptr || data == Py_None;
    if (*slot == nullptr || PyList_GET_SIZE(*slot) == 0) {
        if (any_callable) return 0;
        raise_runtime_error("Cannot remove callback from an empty set");
    }
    const Ref list = share(*slot);
    bool found = false;
    for (Py_ssize_t i = PyList_GET_SIZE(list.get()) - 1; i >= 0; --i) {
        // Dropping a registration may run any code, which may have shortened the list.
        if (i >= PyList_GET_SIZE(list.get())) continue;
        const Ref registration = registration_at(list.get(), i, kind);
        if (!matches(callable, PyList_GET_ITEM(registration.get(), kind.callable_position)) ||
            !matches(data, PyList_GET_ITEM(registration.get(), kind.data_position))) {
            continue;
        }
        found = true;
        if (const int status = kind.unregister(registration.get(), kind.context); status != 0) {
            return status;
        }
        require_status(PyList_SetSlice(list.get(), i, i + 1, nullptr));
    }
    const bool emptied = PyList_GET_SIZE(list.get()) == 0;
    if (*slot == list.get() && ((any_callable && any_data) || emptied)) Py_CLEAR(*slot);
    if (!found) raise_runtime_error("Callback not found");
    return 0;
}

}  // namespace quilex

// The single path from a failed library call to a Python exception.
#include "module/library_error.hpp"

#include <qlx/qlx.h>
#include <qlx/qslp.h>

#include <array>
#include <cstring>

#include "module/environment.hpp"
#include "module/pending_exception.hpp"

namespace quilex {

namespace {

using ErrorText = std::array<char, 512>;

// Raises the text, decoded leniently: it may quote a name that is not ASCII. False when empty.
bool raise_text(const ErrorText& text) noexcept {
    const size_t length = strnlen(text.data(), text.size());
    if (length == 0) return false;
    const Ref message = Ref::steal(
        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(length), "backslashreplace"));
    if (message) PyErr_SetObject(PyExc_RuntimeError, message.get());
    return true;
}

bool raise_error_of_problem(QLXprob prob) noexcept {
    ErrorText text{};
    return prob != nullptr && QLXgetlasterror(prob, text.data()) == 0 && raise_text(text);
}

bool raise_error_of_nonlinear_problem(QSLPprob prob) noexcept {
    ErrorText text{};
    int code = 0;
    return qlx_py_env.nonlinear_state != 0 && prob != nullptr &&
           QSLPgetlasterror(prob, &code, text.data()) == 0 && raise_text(text);
}

bool raise_error_of_branch_object(QLXbranchobject handle) noexcept {
    ErrorText text{};
    int length = 0;
    return handle != nullptr &&
           QLX_bo_getlasterror(handle, nullptr, text.data(), static_cast<int>(text.size()),
                               &length) == 0 &&
           raise_text(text);
}

void raise_global_error(const char* message_of_failed_query) noexcept {
    ErrorText text{};
    if (QLX_ge_getlasterror(nullptr, text.data(), static_cast<int>(text.size()), nullptr) != 0) {
        PyErr_SetString(PyExc_RuntimeError, message_of_failed_query);
    } else if (!raise_text(text)) {
        PyErr_SetString(PyExc_RuntimeError, "Unable to terminate API call");
    }
}

// The library's handle of the problem that `object` is or belongs to; null for the environment.
const void* library_handle(PyObject* object) noexcept {
    return object == nullptr ? nullptr : qlx_py_env.handles_of(object).prob;
}

}  // namespace

bool callback_failed(PyObject* object) noexcept {
    if (PyErr_Occurred()) return true;
    Ref exception = qlx_py_env.deferred_exceptions.take(library_handle(object));
    if (!exception) return false;
    set_exception(std::move(exception));
    return true;
}

void defer_pending_exception(const void* handle) noexcept {
    qlx_py_env.deferred_exceptions.keep(handle, take_exception());
}

void set_library_error(PyObject* object) noexcept {
    if (callback_failed(object)) return;
    if (object == nullptr) return raise_global_error("Problem accessing Quilex environment");
    const LibraryHandles handles = qlx_py_env.handles_of(object);
    if (raise_error_of_branch_object(handles.branch_object)) return;
    if (raise_error_of_problem(handles.prob)) return;
    if (raise_error_of_nonlinear_problem(handles.nonlinear_prob)) return;
    raise_global_error("Problem in Quilex API reporting");
}

PyObject* setQlxErrIfNull(PyObject* object, PyObject* result) noexcept {
    if (result == nullptr) {
        set_library_error(object);
    } else if (callback_failed(object)) {
        Py_DECREF(result);
        return nullptr;
    }
    return result;
}

}  // namespace quilex

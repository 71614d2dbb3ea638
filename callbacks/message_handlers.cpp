// Module-wide handlers of the library's messages.
#include "callbacks/message_handlers.hpp"

#include <qlx/qlx.h>

#include "callbacks/handles.hpp"
#include "callbacks/removal.hpp"
#include "module/boundary.hpp"
#include "module/environment.hpp"
#include "module/interpreter_lock.hpp"
#include "module/library_error.hpp"

namespace quilex {

namespace {

// Positions in a registration, the list that the library hands back with every message.
constexpr Py_ssize_t kCallable = 0;
constexpr Py_ssize_t kData = 1;

bool is_registered(const void* registration) noexcept {
    PyObject* const list = qlx_py_env.msghandlers;
    if (list == nullptr) return false;
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(list); ++i) {
        if (PyList_GET_ITEM(list, i) == registration) return true;
    }
    return false;
}

// The registration that the library handed back. Throws where it is not [callable, data].
Ref checked_registration(void* data) {
    auto* const registration = static_cast<PyObject*>(data);
    if (registration == nullptr || !PyList_Check(registration) ||
        PyList_GET_SIZE(registration) <= kData) {
        raise_runtime_error("Incorrect general environment message handler detected");
    }
    return share(registration);
}

void call_handler(PyObject* registration, void* object, void* thread, const char* text, int type,
                  int number) {
    const Ref callable = share(PyList_GET_ITEM(registration, kCallable));
    const Ref data = share(PyList_GET_ITEM(registration, kData));
    const Ref sender = qlxobject_create(object);
    const Ref sending_thread = voidstar_create(thread);
    const Ref message = text == nullptr
                            ? none()
                            : require(PyUnicode_DecodeUTF8(
                                  text, static_cast<Py_ssize_t>(strlen(text)), "backslashreplace"));
    require(PyObject_CallFunction(callable.get(), "(OOOOll)", sender.get(), data.get(),
                                  sending_thread.get(), message.get(), static_cast<long>(type),
                                  static_cast<long>(number)));
}

// Called by the library, on any thread. An exception stays pending and keeps further messages from
// Python until it is handled.
int wrapper_msghandler(QLXobject object, void* data, void* thread, const char* text, int type,
                       int number) noexcept {
    if (!Py_IsInitialized()) return 0;
    const CallbackLock lock(object);
    if (lock.exception_pending()) return 0;
    // A message may have waited for the lock while its handler was removed.
    if (data != nullptr && !is_registered(data)) return 0;
    Ref registration;
    if (!guarded([&] { registration = checked_registration(data); })) return -3;
    // What the handler raises stays pending; a solve stops when it next looks for interrupts.
    guarded([&] { call_handler(registration.get(), object, thread, text, type, number); });
    return 0;
}

Ref quilexmod_addcbmsghandler(PyObject*, PyObject* arguments, PyObject* keywords) {
    static const char* keyword_list[] = {"msghandler", "data", "priority", nullptr};
    PyObject* handler = nullptr;
    PyObject* data = nullptr;
    long priority = 0;
    if (!PyArg_ParseTupleAndKeywords(arguments, keywords, "OOl:addcbmsghandler",
                                     const_cast<char**>(keyword_list), &handler, &data,
                                     &priority) ||
        priority != static_cast<int>(priority)) {
        raise_runtime_error(
            "Incorrect arguments in addcbmsghandler. Must provide correct list of three arguments");
    }
    const Ref registration = Ref::steal(Py_BuildValue("[OO]", handler, data));
    if (!registration) raise_runtime_error("Could not create a global message handler callback");
    if (qlx_py_env.msghandlers == nullptr) {
        qlx_py_env.msghandlers = require(PyList_New(0)).release();
    }
    require_status(PyList_Append(qlx_py_env.msghandlers, registration.get()));
    require_library_on();
    require_library(nullptr, QLX_ge_addcbmsghandler(wrapper_msghandler, registration.get(),
                                                    static_cast<int>(priority)));
    return none();
}

// Registrations outlive quilex.free(), so that the library may have to be switched on for this.
int unregister(PyObject* registration, void*) {
    require_library_on();
    return QLX_ge_removecbmsghandler(wrapper_msghandler, registration);
}

Ref quilexmod_removecbmsghandler(PyObject*, PyObject* arguments, PyObject* keywords) {
    static const char* keyword_list[] = {"msghandler", "data", nullptr};
    PyObject* handler = nullptr;
    PyObject* data = nullptr;
    if (!PyArg_ParseTupleAndKeywords(arguments, keywords, "OO:removecbmsghandler",
                                     const_cast<char**>(keyword_list), &handler, &data)) {
        raise_runtime_error(
            "Incorrect arguments in removecbmsghandler. Must provide correct list of two "
            "arguments");
    }
    const RegistrationKind kind = {kCallable, kData, unregister, nullptr};
    require_library(nullptr, remove_registrations(&qlx_py_env.msghandlers, handler, data, kind));
    return none();
}

}  // namespace

PyMethodDef message_handler_methods[] = {
    {"addcbmsghandler", method<quilexmod_addcbmsghandler>, METH_VARARGS | METH_KEYWORDS,
     "addcbmsghandler(msghandler, data, priority)\n--\n\n"
     "Have msghandler(object, data, thread, message, type, number) called with every message of "
     "the\n"
     "library, from whatever thread sends it; handlers of higher priority first. type is 1\n"
     "(information), 3 (warning) or 4 (error), and negative on the first call, whose message is\n"
     "None. The result is ignored. An exception is raised by the call that was running."},
    {"removecbmsghandler", method<quilexmod_removecbmsghandler>, METH_VARARGS | METH_KEYWORDS,
     "removecbmsghandler(msghandler, data)\n--\n\n"
     "Remove every registration of this very handler and data; None stands for any. RuntimeError\n"
     "where there is none."},
    {nullptr, nullptr, 0, nullptr},
};

}  // namespace quilex

// Module functions that read or change library-wide settings.
#include "module/settings.hpp"

#include <qlx/qlx.h>

#include <array>

#include "module/boundary.hpp"
#include "module/environment.hpp"
#include "module/library_error.hpp"
#include "module/live_counts.hpp"

namespace quilex {

namespace {

// The text up to its NUL; names in messages need not be ASCII.
template <size_t N>
Ref text_of(const std::array<char, N>& buffer) {
    const auto length = static_cast<Py_ssize_t>(strnlen(buffer.data(), N));
    return require(PyUnicode_DecodeUTF8(buffer.data(), length, "backslashreplace"));
}

Ref quilexmod_getlasterror(PyObject*, PyObject*) {
    require_library_on();
    std::array<char, 1024> text{};
    int code = 0;
    QLX_ge_getlasterror(&code, text.data(), static_cast<int>(text.size()), nullptr);
    const Ref message = text_of(text);
    return require(Py_BuildValue("(iO)", code, message.get()));
}

Ref quilexmod_getversion(PyObject*, PyObject*) {
    require_library_on();
    std::array<char, 32> version{};
    require_library(nullptr, QLXgetversion(version.data()));
    return text_of(version);
}

Ref quilexmod_getbanner(PyObject*, PyObject*, PyObject*) {
    require_library_on();
    std::array<char, 536> banner{};
    require_library(nullptr, QLXgetbanner(banner.data()));
    return text_of(banner);
}

Ref quilexmod_getcheckedmode(PyObject*, PyObject*) {
    require_library_on();
    int checked = 0;
    require_library(nullptr, QLXgetcheckedmode(&checked));
    return require(PyBool_FromLong(checked));
}

Ref quilexmod_setcheckedmode(PyObject*, PyObject* arguments, PyObject* keywords) {
    static const char* keyword_list[] = {"checked_mode", nullptr};
    PyObject* checked_mode = nullptr;
    if (!PyArg_ParseTupleAndKeywords(arguments, keywords, "O:setcheckedmode",
                                     const_cast<char**>(keyword_list), &checked_mode)) {
        throw PythonFailure();
    }
    require_library_on();
    // True itself switches checking on; anything else, 1 included, switches it off.
    require_library(nullptr, QLXsetcheckedmode(checked_mode == Py_True ? 1 : 0));
    return none();
}

Ref quilexmod_setdefaultcontrol(PyObject*, PyObject* arguments, PyObject* keywords) {
    static const char* keyword_list[] = {"ipar", nullptr};
    PyObject* name = nullptr;
    if (!PyArg_ParseTupleAndKeywords(arguments, keywords, "O:setdefaultcontrol",
                                     const_cast<char**>(keyword_list), &name)) {
        throw PythonFailure();
    }
    require_environment();
    require_status(PyDict_DelItem(qlx_py_env.default_controls, name));
    return none();
}

Ref quilexmod_setdefaults(PyObject*, PyObject*) {
    require_environment();
    PyDict_Clear(qlx_py_env.default_controls);
    return none();
}

Ref quilexmod_live_counts(PyObject*, PyObject*) {
    Ref counts = live_counts_as_dict();
    if (PyDict_GET_SIZE(counts.get()) == 0) return counts;
    int64_t problems = 0;
    int64_t branching_objects = 0;
    int64_t blocks = 0;
    require_library(nullptr, QLX_ge_getlivecounts(&problems, &branching_objects, &blocks));
    const std::pair<const char*, int64_t> library_counts[] = {
        {"library problem", problems},
        {"library branching object", branching_objects},
        {"library block", blocks},
    };
    for (const auto& [name, value] : library_counts) {
        const Ref count = require(PyLong_FromLongLong(value));
        require_status(PyDict_SetItemString(counts.get(), name, count.get()));
    }
    return counts;
}

}  // namespace

PyMethodDef setting_methods[] = {
    {"getlasterror", method<quilexmod_getlasterror>, METH_NOARGS,
     "getlasterror()\n--\n\n"
     "The last error of the library's global environment as a tuple (code, text)."},
    {"getversion", method<quilexmod_getversion>, METH_NOARGS,
     "getversion()\n--\n\nThe library's version as a string."},
    {"getbanner", method<quilexmod_getbanner>, METH_VARARGS | METH_KEYWORDS,
     "getbanner(*arguments, **keywords)\n--\n\nThe library's banner as a string. Arguments are "
     "ignored."},
    {"getcheckedmode", method<quilexmod_getcheckedmode>, METH_NOARGS,
     "getcheckedmode()\n--\n\nWhether the library checks its arguments; see setcheckedmode."},
    {"setcheckedmode", method<quilexmod_setcheckedmode>, METH_VARARGS | METH_KEYWORDS,
     "setcheckedmode(checked_mode)\n--\n\n"
     "Switch the library's checks of arguments on, with True itself, or off, with anything else\n"
     "(1 included). Checked mode, the default, checks every array argument for NaN, the bounds of\n"
     "indices, and order. Without it these checks are skipped, and what a wrong array does is\n"
     "undefined: the process may crash."},
    {"setdefaultcontrol", method<quilexmod_setdefaultcontrol>, METH_VARARGS | METH_KEYWORDS,
     "setdefaultcontrol(ipar)\n--\n\n"
     "Drop the value that was assigned to quilex.controls under the name ipar, so that problems\n"
     "created afterwards keep the library's default. KeyError where none was assigned."},
    {"setdefaults", method<quilexmod_setdefaults>, METH_NOARGS,
     "setdefaults()\n--\n\n"
     "Drop all values that were assigned to quilex.controls. Existing problems are not touched."},
    {"_live_counts", method<quilexmod_live_counts>, METH_NOARGS,
     "_live_counts()\n--\n\n"
     "How many objects of each kind exist, by name; an empty dict in builds that do not count."},
    {nullptr, nullptr, 0, nullptr},
};

}  // namespace quilex

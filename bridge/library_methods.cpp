// All tables of the library's methods.
#include "bridge/library_methods.hpp"

#include "module/boundary.hpp"

namespace quilex {

namespace {

constexpr std::array kTables = {&change_methods, &reading_methods, &solution_methods,
                                &library_setting_methods};

#ifdef QUILEX_COUNT_OBJECTS

// _library_methods(): a list of (title of the table, name, docstring, line of the stub).
Ref list_library_methods(PyObject*, PyObject*) {
    Ref rows = require(PyList_New(0));
    for (const LibraryMethodTable* table : kTables) {
        for (size_t i = 0; table->methods[i].ml_name != nullptr; ++i) {
            const PyMethodDef& method = table->methods[i];
            const Ref row = require(Py_BuildValue("(ssss)", table->title, method.ml_name,
                                                  method.ml_doc, table->stubs[i]));
            require_status(PyList_Append(rows.get(), row.get()));
        }
    }
    return rows;
}

#endif

}  // namespace

std::span<const LibraryMethodTable* const> library_method_tables() noexcept {
    return kTables;
}

PyMethodDef library_method_list[] = {
#ifdef QUILEX_COUNT_OBJECTS
    {"_library_methods", method<list_library_methods>, METH_NOARGS,
     "_library_methods()\n--\n\nWhat the library's methods are documented with."},
#endif
    {nullptr, nullptr, 0, nullptr}};

}  // namespace quilex

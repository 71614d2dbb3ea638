// The problem's methods that stand for one library function each, under the function's name: the
// tables of all themes.
#pragma once

#include <span>

#include "module/python.hpp"

namespace quilex {

struct LibraryMethodTable {
    const char* title;
    PyMethodDef* methods;      // ends with an empty one
    const char* const* stubs;  // lines of the type stub, in the methods' order
};

extern const LibraryMethodTable change_methods;           // chgrhs, chgbounds, addrows ...
extern const LibraryMethodTable reading_methods;          // getrhs, getrows ...
extern const LibraryMethodTable solution_methods;         // getlpsol, calcslacks ...
extern const LibraryMethodTable library_setting_methods;  // getcontrolinfo, setmessagestatus ...

std::span<const LibraryMethodTable* const> library_method_tables() noexcept;

// In debug builds: _library_methods(), from which script/generate writes the documentation.
extern PyMethodDef library_method_list[];

}  // namespace quilex

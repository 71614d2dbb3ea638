// Rows of the library's methods as a method table of the interpreter.
#pragma once

#include "bridge/library_methods.hpp"
#include "bridge/method_call.hpp"
#include "bridge/method_text.hpp"

namespace quilex {

// The rows ascend by name. Everything is made by the compiler; nothing runs at start-up.
template <const auto&... Rows>
class MethodTable {
    static constexpr bool ascends() {
        const std::string_view names[] = {Rows.texts.name...};
        for (size_t i = 1; i < sizeof...(Rows); ++i) {
            if (names[i - 1] >= names[i]) return false;
        }
        return true;
    }
    static_assert(ascends(), "the methods of a table ascend by name, each once");

    static inline PyMethodDef methods_[] = {{Rows.texts.name, method<library_method<Rows>>,
                                             METH_VARARGS | METH_KEYWORDS, kDocstring<Rows>}...,
                                            {nullptr, nullptr, 0, nullptr}};
    static constexpr const char* stubs_[] = {kStubLine<Rows>...};

  public:
    static constexpr LibraryMethodTable named(const char* title) {
        return {title, methods_, stubs_};
    }
};

}  // namespace quilex

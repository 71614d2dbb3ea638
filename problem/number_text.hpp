// Numbers in messages, written as Python writes them.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// The shortest text that reads back as the same double.
inline std::string number_text(double value) {
    char* const text = PyOS_double_to_string(value, 'r', 0, Py_DTSF_ADD_DOT_0, nullptr);
    if (text == nullptr) throw PythonFailure();
    const std::unique_ptr<char, void (*)(void*)> owner(text, PyMem_Free);
    return text;
}

}  // namespace quilex

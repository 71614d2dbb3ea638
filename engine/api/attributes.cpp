// Entry points: attributes.
#include <qlx/qlx_controls.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"
#include "engine/core/attributes.hpp"

using namespace qlx;

namespace {

template <class Reader>
const AttributeRow& typed_row(int id, Reader AttributeRow::*reader, const char* type) {
    const AttributeRow* row = find_attribute(id);
    if (row == nullptr) fail(QLX_ERROR_ARGUMENT, "there is no attribute with id ", id);
    if (row->*reader == nullptr)
        fail(QLX_ERROR_ARGUMENT, "attribute ", row->name, " (", id, ") is not ", type);
    return *row;
}

}  // namespace

extern "C" {

int QLXgetintattrib(QLXprob prob, int id, int* value) {
    return read(prob, "QLXgetintattrib", [&](Problem& p) {
        require_array(value, 1, "value");
        const std::int64_t full = typed_row(id, &AttributeRow::integer, "an integer").integer(p);
        *value = static_cast<int>(std::min<std::int64_t>(full, std::numeric_limits<int>::max()));
    });
}

int QLXgetintattrib64(QLXprob prob, int id, int64_t* value) {
    return read(prob, "QLXgetintattrib64", [&](Problem& p) {
        require_array(value, 1, "value");
        *value = typed_row(id, &AttributeRow::integer, "an integer").integer(p);
    });
}

int QLXgetdblattrib(QLXprob prob, int id, double* value) {
    return read(prob, "QLXgetdblattrib", [&](Problem& p) {
        require_array(value, 1, "value");
        *value = typed_row(id, &AttributeRow::real, "a double").real(p);
    });
}

int QLXgetstringattrib(QLXprob prob, int id, char* value, int size, int* length) {
    return read(prob, "QLXgetstringattrib", [&](Problem& p) {
        const std::string text = typed_row(id, &AttributeRow::text, "a string").text(p);
        if (length != nullptr) *length = static_cast<int>(text.size()) + 1;
        if (value == nullptr || size <= 0) return;
        const std::size_t kept = std::min(text.size(), static_cast<std::size_t>(size) - 1);
        std::memcpy(value, text.data(), kept);
        value[kept] = '\0';
    });
}

}  // extern "C"

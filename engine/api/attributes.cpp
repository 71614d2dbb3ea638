// Entry points: attributes.
#include <qlx/qlx_controls.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"
#include "engine/core/attributes.hpp"

using namespace qlx;

extern "C" {

int QLXgetintattrib(QLXprob prob, int id, int* value) {
    return read(prob, "QLXgetintattrib", [&](Problem& p) {
        require_array(value, 1, "value");
        const std::int64_t full = integer_attribute(p, Handle::kProblem, id);
        *value = static_cast<int>(std::min<std::int64_t>(full, std::numeric_limits<int>::max()));
    });
}

int QLXgetintattrib64(QLXprob prob, int id, int64_t* value) {
    return read(prob, "QLXgetintattrib64", [&](Problem& p) {
        require_array(value, 1, "value");
        *value = integer_attribute(p, Handle::kProblem, id);
    });
}

int QLXgetdblattrib(QLXprob prob, int id, double* value) {
    return read(prob, "QLXgetdblattrib", [&](Problem& p) {
        require_array(value, 1, "value");
        *value = real_attribute(p, Handle::kProblem, id);
    });
}

int QLXgetstringattrib(QLXprob prob, int id, char* value, int size, int* length) {
    return read(prob, "QLXgetstringattrib", [&](Problem& p) {
        const std::string text = text_attribute(p, Handle::kProblem, id);
        if (length != nullptr) *length = static_cast<int>(text.size()) + 1;
        if (value == nullptr || size <= 0) return;
        const std::size_t kept = std::min(text.size(), static_cast<std::size_t>(size) - 1);
        std::memcpy(value, text.data(), kept);
        value[kept] = '\0';
    });
}

}  // extern "C"

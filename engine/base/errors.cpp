// Keeps and hands out last errors.
#include "engine/base/errors.hpp"

#include <algorithm>
#include <cstring>

#include "engine/core/nonlinear_problem.hpp"
#include "engine/core/problem.hpp"

namespace qlx {

void LastError::set(int code, const char* text) noexcept {
    const std::lock_guard lock(mutex_);
    code_ = code;
    const std::size_t length = std::min(std::strlen(text), kTextSize - 1);
    std::memmove(text_, text, length);
    text_[length] = '\0';
}

int LastError::read(int* code, char* text, int size) const noexcept {
    const std::lock_guard lock(mutex_);
    const std::size_t length = std::strlen(text_);
    if (code != nullptr) *code = code_;
    if (text != nullptr && size > 0) {
        const std::size_t kept = std::min(length, static_cast<std::size_t>(size) - 1);
        std::memcpy(text, text_, kept);
        text[kept] = '\0';
    }
    return static_cast<int>(length);
}

LastError& environment_error() noexcept {
    static LastError error;
    return error;
}

int report(std::nullptr_t, int code, const char* text) noexcept {
    environment_error().set(code, text);
    return code;
}

int report(QLXprob prob, int code, const char* text) noexcept {
    if (prob != nullptr) prob->error.set(code, text);
    return report(nullptr, code, text);
}

int report(QSLPprob prob, int code, const char* text) noexcept {
    if (prob == nullptr) return report(nullptr, code, text);
    prob->error.set(code, text);
    // Whoever asks the problem below for its last error must not get an older one.
    return report(&prob->linear, code, text);
}

int report(QLXbranchobject, int code, const char* text) noexcept {
    return report(nullptr, code, text);
}

}  // namespace qlx

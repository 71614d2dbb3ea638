// Failures inside the library, and the last error that every handle keeps of them.
#pragma once

#include <qlx/qlx_types.h>

#include <cstddef>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string>

namespace qlx {

// A failure on its way to the interface, where it becomes a code and a last error.
class Error : public std::runtime_error {
  public:
    Error(int code, const std::string& text) : std::runtime_error(text), code_(code) {}
    [[nodiscard]] int code() const noexcept { return code_; }

  private:
    int code_;
};

// Texts and numbers joined into one text; doubles with 12 significant digits.
template <class... Parts>
[[nodiscard]] std::string join(const Parts&... parts) {
    std::ostringstream stream;
    stream.precision(12);
    (stream << ... << parts);
    return stream.str();
}

template <class... Parts>
[[noreturn]] void fail(int code, const Parts&... parts) {
    throw Error(code, join(parts...));
}

// Code and text of the last refused call; any thread may read it at any time.
class LastError {
  public:
    static constexpr std::size_t kTextSize = 512;

    void set(int code, const char* text) noexcept;
    void clear() noexcept { set(0, ""); }
    // The first size - 1 characters and NUL; returns the length of the whole text.
    int read(int* code, char* text, int size) const noexcept;

  private:
    mutable std::mutex mutex_;
    int code_ = 0;
    char text_[kTextSize] = {};
};

// The environment's last error.
[[nodiscard]] LastError& environment_error() noexcept;

// Notes a failure in the environment's last error and, when there is one, the handle's; returns
// code.
int report(std::nullptr_t, int code, const char* text) noexcept;
int report(QLXprob prob, int code, const char* text) noexcept;
int report(QSLPprob prob, int code, const char* text) noexcept;
int report(QLXbranchobject object, int code, const char* text) noexcept;

template <class Handle>
int report_not_available(Handle handle, const char* name) noexcept {
    char text[128] = "not available yet: ";
    std::size_t length = 19;
    while (*name != '\0' && length + 1 < sizeof text) text[length++] = *name++;
    return report(handle, QLX_ERROR_NOT_AVAILABLE, text);
}

}  // namespace qlx

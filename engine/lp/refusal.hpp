// Failures of HiGHS as errors of ours, for sources that cannot name std::string.
#pragma once

namespace qlx {

// Throws Error: the solver refused this value of its option.
[[noreturn]] void fail_option(const char* option, const char* value);
[[noreturn]] void fail_option(const char* option, double value);

}  // namespace qlx

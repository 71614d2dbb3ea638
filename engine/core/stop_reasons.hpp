// Names of the reasons for which a solve ends early.
#pragma once

namespace qlx {

// For lines of the log: "time limit", ...; null for QLX_STOP_NONE and numbers without a meaning.
[[nodiscard]] const char* stop_reason_name(int reason) noexcept;

}  // namespace qlx

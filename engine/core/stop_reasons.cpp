// The reasons' names.
#include "engine/core/stop_reasons.hpp"

#include <qlx/codes.h>

namespace qlx {

const char* stop_reason_name(int reason) noexcept {
    switch (reason) {
        case QLX_STOP_TIMELIMIT:
            return "time limit";
        case QLX_STOP_CTRLC:
            return "interrupt from the keyboard";
        case QLX_STOP_NODELIMIT:
            return "node limit";
        case QLX_STOP_ITERLIMIT:
            return "iteration limit";
        case QLX_STOP_MIPGAP:
            return "gap";
        case QLX_STOP_SOLLIMIT:
            return "solution limit";
        case QLX_STOP_USER:
            return "user";
        case QLX_STOP_CUTOFF:
            return "cutoff";
        case QLX_STOP_NUMERICS:
            return "numerics";
        default:
            return nullptr;
    }
}

}  // namespace qlx

// The texts of HiGHS' refusals.
#include "engine/lp/refusal.hpp"

#include "engine/base/errors.hpp"

namespace qlx {

void fail_option(const char* option, const char* value) {
    fail(QLX_ERROR_SOLVER, "the solver refused \"", value, "\" for its option ", option);
}

void fail_option(const char* option, double value) {
    fail(QLX_ERROR_SOLVER, "the solver refused ", value, " for its option ", option);
}

}  // namespace qlx

// Counts of live objects by name.
#include "module/live_counts.hpp"

#include "module/failure.hpp"

namespace quilex {

#ifdef QUILEX_COUNT_OBJECTS

int64_t live_counts[static_cast<int>(Counted::kEnd)] = {};

namespace {
constexpr const char* kCountNames[] = {
    "var",       "linterm", "quadterm",  "expression", "nonlinear", "constraint",
    "SOS",       "control", "attribute", "problem",    "branchobj", "poolcut",
    "qlxobject", "generic", "entry log", "block",
};
static_assert(std::size(kCountNames) == static_cast<size_t>(Counted::kEnd));
}  // namespace

Ref live_counts_as_dict() {
    Ref counts = require(PyDict_New());
    for (size_t i = 0; i < std::size(kCountNames); ++i) {
        const Ref count = require(PyLong_FromLongLong(live_counts[i]));
        require_status(PyDict_SetItemString(counts.get(), kCountNames[i], count.get()));
    }
    return counts;
}

#else

Ref live_counts_as_dict() {
    return require(PyDict_New());
}

#endif

}  // namespace quilex

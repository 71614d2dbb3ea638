// Counts of live objects, kept in builds with QUILEX_COUNT_OBJECTS; the tests assert that all are
// back at zero at the end.
#pragma once

#include "module/references.hpp"

namespace quilex {

enum class Counted : int {
    kVariable,
    kLinearTerm,
    kQuadraticTerm,
    kExpression,
    kNonlinear,
    kConstraint,
    kSos,
    kControl,
    kAttribute,
    kProblem,
    kBranchObject,
    kPoolCut,
    kLibraryObject,
    kGeneric,
    kEntryLog,
    kBlock,  // of the module allocator
    kEnd
};

#ifdef QUILEX_COUNT_OBJECTS
extern int64_t live_counts[static_cast<int>(Counted::kEnd)];
inline void count_created(Counted what) noexcept {
    ++live_counts[static_cast<int>(what)];
}
inline void count_destroyed(Counted what) noexcept {
    --live_counts[static_cast<int>(what)];
}
#else
inline void count_created(Counted) noexcept {}
inline void count_destroyed(Counted) noexcept {}
#endif

// A dict of every count by name, the library's own handles and blocks included; an empty dict in
// builds that do not count. Published as quilexlib._live_counts().
Ref live_counts_as_dict();

}  // namespace quilex

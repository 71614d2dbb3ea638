// What holds a problem cannot be copied, and parameter tables cannot have two rows of one id.
// REFUSED COPY_USE: use of deleted function
// REFUSED COPY_LENT: use of deleted function
// REFUSED SAME_ID: static assertion failed
// REFUSED SAME_NAME: static assertion failed
#include "engine/core/ownership.hpp"
#include "engine/core/event_table.hpp"
#include "engine/core/parameter_names.hpp"

void hold(qlx::Ownership& ownership) {
    const qlx::Use use(ownership, qlx::Access::kRead);
    const qlx::Lent lent(ownership, qlx::event_row(qlx::Event::message));
#ifdef COPY_USE
    const qlx::Use other(use);
#endif
#ifdef COPY_LENT
    const qlx::Lent other(lent);
#endif
}

struct Row {
    qlx::Handle handle;
    int id;
    const char* name;
};

// The two handles may use one name, and ids are unique over both.
constexpr Row kRows[] = {
    {qlx::Handle::kProblem, 1, "rows"},
    {qlx::Handle::kNonlinearProblem, 2, "rows"},
#ifdef SAME_ID
    {qlx::Handle::kNonlinearProblem, 1, "cols"},
#endif
#ifdef SAME_NAME
    {qlx::Handle::kProblem, 3, "rows"},
#endif
};
static_assert(qlx::rows_differ(std::span<const Row>(kRows)));

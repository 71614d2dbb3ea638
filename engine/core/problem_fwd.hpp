// Names the handle types for files that only pass them on.
#pragma once

struct qlx_problem;
struct qslp_problem;

namespace qlx {
using Problem = ::qlx_problem;
using NonlinearProblem = ::qslp_problem;
}  // namespace qlx

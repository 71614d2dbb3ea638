// quilex.problem: creation, release and the type object.
#include "problem/problem.hpp"

namespace quilex {

PyTypeObject problem_type = {PyVarObject_HEAD_INIT(nullptr, 0)};

void collect_problem_methods() noexcept {}

}  // namespace quilex

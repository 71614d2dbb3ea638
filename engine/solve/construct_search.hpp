// Branch and bound over constructs that no binary is to state.
#pragma once

#include <vector>

#include "engine/constructs/construct.hpp"
#include "engine/core/problem_fwd.hpp"

namespace qlx {

class SolveScope;

// Solves a mixed-integer program by branching on these constructs. Its integer solution, bound and
// counts are in the problem's results; returns its status as a mixed-integer program.
[[nodiscard]] int search_constructs(Problem& problem, const SolveScope& scope, const char* flags,
                                    const std::vector<ConstructItem>& items);

}  // namespace qlx

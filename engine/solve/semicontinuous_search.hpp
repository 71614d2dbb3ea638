// Branch and bound over semi-continuous columns that no binary can switch.
#pragma once

#include <vector>

#include "engine/constructs/reformulation.hpp"
#include "engine/core/problem_fwd.hpp"

namespace qlx {

class SolveScope;

// Solves a mixed-integer program with such columns. Its integer solution, bound and counts are in
// the problem's results; returns its status as a mixed-integer program.
[[nodiscard]] int search_semicontinuous(Problem& problem, const SolveScope& scope,
                                        const char* flags,
                                        const std::vector<SemicontinuousColumn>& columns);

}  // namespace qlx

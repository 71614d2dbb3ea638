// Branch and bound over semi-continuous columns that no binary can switch.
#pragma once

#include <vector>

#include "engine/constructs/reformulation.hpp"

namespace qlx {

class SolveSession;

// Solves a mixed-integer program with such columns. Its integer solution, bound and counts are in
// the session's results; returns its status as a mixed-integer program.
[[nodiscard]] int search_semicontinuous(SolveSession& session, const char* flags,
                                        const std::vector<SemicontinuousColumn>& columns);

}  // namespace qlx

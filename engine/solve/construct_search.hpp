// Branch and bound over constructs that no binary is to state.
#pragma once

#include <vector>

#include "engine/constructs/construct.hpp"

namespace qlx {

class SolveSession;

// Solves a mixed-integer program by branching on these constructs. Its integer solution, bound and
// counts are in the session's results; returns its status as a mixed-integer program.
[[nodiscard]] int search_constructs(SolveSession& session, const char* flags,
                                    const std::vector<ConstructItem>& items);

}  // namespace qlx

// Branch and bound over constructs that no binary is to state, and over integers where no kernel's
// tree search is to be trusted.
#pragma once

#include <limits>
#include <vector>

#include "engine/constructs/construct.hpp"

namespace qlx {

class SolveSession;

// Solves a mixed-integer program by branching on these constructs. Its integer solution, bound and
// counts are in the session's results; returns its status as a mixed-integer program.
[[nodiscard]] int search_constructs(SolveSession& session, const char* flags,
                                    const std::vector<ConstructItem>& items);

// What a search may take before it finds anything.
struct SearchEffort {
    int nodes = std::numeric_limits<int>::max();
    double seconds = std::numeric_limits<double>::infinity();
    // Of rows and bounds of a solution, beside the one that is stated.
    double tolerance = 1;
};

inline constexpr int kGaveUp = -2;

// The same by linear programs alone, whose answers are proved one by one: all constructs and all
// integer columns are branched on. Starts from the session's incumbents. kGaveUp where the effort
// is spent and no solution was added; results then are none.
[[nodiscard]] int search_by_linear_programs(SolveSession& session, const char* flags,
                                            const SearchEffort& effort);

}  // namespace qlx

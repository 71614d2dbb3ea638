// The doubt of a tree search's result, and the search that settles it.
#pragma once

namespace qlx {

class SolveSession;

// Whether the search ended without saying anything, and no limit is the reason.
[[nodiscard]] bool is_open(SolveSession& session, int status);

// Whether a status is claimed of a model with numbers that a kernel's tolerances are too coarse or
// too fine for: with them, presolve and search have made claims that were wrong.
[[nodiscard]] bool is_doubtful(SolveSession& session, int status);

// The status after a search by linear programs, of bounded effort unless it finds the claim wrong.
// Where that says nothing, status, bound and reason are as they were.
[[nodiscard]] int second_look(SolveSession& session, const char* flags, int status);

}  // namespace qlx

// The one gate for what happens to rows. Constraints sleep as rows and bodies are made again from
// rows: whoever changes or deletes rows, or is about to make them unreadable, calls settle_rows
// first, and nothing else has to remember it.
#pragma once

#include "problem/problem.hpp"

namespace quilex {

// What is about to happen, and to which indices.
enum class RowChange {
    kSides,           // types, right-hand sides or ranges of rows
    kCoefficients,    // entries of rows
    kDeletion,        // rows go
    kColumnDeletion,  // columns go, and their entries with them
    kSolve,           // no other thread can read rows until the solve has ended; no indices
    kEnd,             // the problem goes; no indices
};

// Makes the constraints of these rows independent of them, so that they keep what they were made
// with. Constraints that nobody but the problem holds are left as they are where they go with their
// rows. Indices out of range are left to the library. May run Python code.
void settle_rows(Problem* problem, RowChange change, std::span<const int> indices = {});

}  // namespace quilex

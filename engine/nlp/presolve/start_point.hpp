// Where local solvers start.
#pragma once

#include <string>
#include <vector>

#include "engine/nlp/local_solver.hpp"
#include "engine/nlp/statement/statement.hpp"

namespace qlx::nlp {

struct StartPoint {
    std::vector<double> x;  // of the moving columns
    bool is_defined = true;
    bool is_repaired = false;  // functions were undefined where the rule or the user had it
    std::string complaint;     // where not defined: row, function and argument
};

// A column starts where the statement's start has it, clipped into its bounds. Where that knows
// nothing, the rule is, within the range that propagation over all rows leaves of the column:
//   - the middle of a finite range of at most 10;
//   - else 0, or the end of the range that is nearest to it;
//   - one from that end, or half the range if that is less, where the end is also that of the
//     domain of a function of the column: log has no value there, and sqrt no slope.
// Where a function or a first derivative is undefined at the start, it is moved within the bounds:
// first into the inside of the propagated ranges, then by random steps, the same in every run, of
// lengths growing from 1e-3 to 32 relative to columns beyond 1, at most 30 of them.
//
// `program` evaluates the statement.
[[nodiscard]] StartPoint find_start(const Statement& statement, LocalProblem& program);

}  // namespace qlx::nlp

// The vectors of the last solve: values, slacks, duals and reduced costs.
#pragma once

#include "module/recent_floats.hpp"
#include "problem/problem.hpp"

namespace quilex {

enum class ResultKind : int { kSolution = 0, kSlack = 1, kDual = 2, kReducedCost = 3 };
inline constexpr int kResultKinds = 4;

// Values by column, not by row.
constexpr bool is_by_column(ResultKind kind) noexcept {
    return kind == ResultKind::kSolution || kind == ResultKind::kReducedCost;
}

// The vectors that were asked for since the last change of the problem.
struct Results {
    std::span<const double> values[kResultKinds];  // the library's own, or the copies
    std::vector<double> copies[kResultKinds];      // of the nonlinear solver's, which has no views
    bool valid[kResultKinds] = {};
    RecentFloats floats;

    void drop() noexcept {
        for (bool& flag : valid) flag = false;
    }
};

// Whether the model has integer columns, sets or indicators, so that its solves are tree searches.
bool is_integer_problem(Problem* problem);

// The vector of a kind, valid until the problem changes. Throws when there is no solution.
std::span<const double> result_vector(Problem* problem, ResultKind kind);

extern PyMethodDef result_methods[];
extern PyMethodDef result_array_methods[];

}  // namespace quilex

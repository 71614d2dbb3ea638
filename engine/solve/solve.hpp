// Solving a problem: the entry points, and the dispatch by class of problem.
#pragma once

#include "engine/core/problem_fwd.hpp"

namespace qlx {

// The outcome is in the problem's results; Error is thrown for what cannot be solved.
void solve_without_integrality(Problem& problem, const char* flags);
void solve_with_integrality(Problem& problem, const char* flags);

// Throws Error when the problem has nonlinear coefficients: its linear part alone is another
// problem.
void refuse_nonlinear(const Problem& problem);

// By class; the caller has checked it.
class SolveScope;
void solve_lp(Problem& problem, const SolveScope& scope, const char* flags);
void solve_quadratic(Problem& problem, const SolveScope& scope);
void solve_mip(Problem& problem, const SolveScope& scope, const char* flags);

// Keeps a point of all columns as the integer solution if it is better than the one held. False
// when it does not stand the check.
bool take_integer_point(Problem& problem, const double* x);

}  // namespace qlx

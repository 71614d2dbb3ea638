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

// Local solvers, or what the problem's class has, where it has no nonlinear coefficients.
void solve_nonlinear(NonlinearProblem& problem, const char* flags);

class SolveSession;

// Solves the problem of a nested session, integrality included.
void solve_part(SolveSession& session, const char* flags);

// Solves the linear relaxation of that problem, and gives it as if it were the whole.
void solve_relaxation(SolveSession& session, const char* flags);

// By class; the caller has checked it.
void solve_lp(SolveSession& session, const char* flags);
void solve_quadratic(SolveSession& session);
void solve_mip(SolveSession& session, const char* flags);

}  // namespace qlx

/* Solving, and reading solutions. */
#ifndef QLX_SOLVE_H
#define QLX_SOLVE_H

#include "qlx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Signs. With the objective's sense as stated (minimise or maximise alike):
 *   slack  = right-hand side - activity of the row, so it is at least 0 for 'L' and at most 0 for
 * 'G' dual   = change of the optimal objective value per unit of right-hand side dj     = objective
 * coefficient - sum over the rows of dual * coefficient When minimising, a column at its lower
 * bound has dj >= 0 and an 'L' row has a dual <= 0; when maximising, both signs are the other way
 * round. For quadratic models the gradient at the solution takes the place of the objective and row
 * coefficients. */

/* Solves the model, integer types and sets ignored. flags, null for none: 'p' primal simplex, 'd'
 * dual simplex, 'b' interior point, 'n' first-order method, else control lpmethod. The outcome is
 * in attributes lpstatus and stopstatus; a solve that ends infeasible, unbounded or at a limit is
 * no error. Refused for a model without rows and columns. */
QLX_API int QLXlpoptimize(QLXprob prob, const char* flags);
/* Solves the model with its integer types, sets and indicators; flags as above for the root. The
 * outcome is in attributes mipstatus and stopstatus. */
QLX_API int QLXmipoptimize(QLXprob prob, const char* flags);
/* Fixes every integer, semi-continuous and set column at its value in the last integer solution
 * (ifround nonzero: rounded), so that QLXlpoptimize gives duals of the rest. */
QLX_API int QLXfixglobals(QLXprob prob, int ifround);
/* Drops the state of an interrupted solve, so that the model can be changed again. */
QLX_API int QLXpostsolve(QLXprob prob);

/* The last LP solution: x and dj of attribute cols entries, slack and dual of attribute rows.
 * Columns added since hold 0 cut to their bounds, rows added since their slack and dual 0. Refused
 * when there is none. */
QLX_API int QLXgetlpsol(QLXprob prob, double* x, double* slack, double* dual, double* dj);
/* The best integer solution, inside intsol and preintsol the one that the event is about. */
QLX_API int QLXgetmipsol(QLXprob prob, double* x, double* slack);
/* The same values without a copy. mip zero: of the LP solution, else of the integer one (vectors x
 * and slack only). vector is QLX_VECTOR_...; *values stays valid until the next call that changes,
 * solves or destroys the problem. */
QLX_API int QLXviewsol(QLXprob prob, int mip, int vector, const double** values, int* count);
/* The solution of the presolved model. */
QLX_API int QLXgetpresolvesol(QLXprob prob, double* x, double* slack, double* dual, double* dj);
/* Loads a starting point; *status: 0 loaded, 1 cannot be used. Any vector may be null. */
QLX_API int QLXloadlpsol(QLXprob prob, const double* x, const double* slack, const double* dual,
                         const double* dj, int* status);
/* Loads an integer solution before the tree search; *status: 0 accepted, 1 infeasible, 2 the cutoff
 * refuses it, 3 the solution is not integer. */
QLX_API int QLXloadmipsol(QLXprob prob, const double* x, int* status);
/* Gives a start solution for the next or running tree search: values of ncols columns (cols null:
 * of the first ncols). name may be null. */
QLX_API int QLXaddmipsol(QLXprob prob, int ncols, const double* values, const int* cols,
                         const char* name);
/* Makes a point more accurate by fixing its integer columns and solving the rest to the tightest
 * tolerances. options reserved, 0. refined has attribute cols entries. *status: 0 refined, 1 not.
 */
QLX_API int QLXrefinemipsol(QLXprob prob, int options, const char* flags, const double* solution,
                            double* refined, int* status);
/* The objective value of a point (attribute cols entries), its constant included. */
QLX_API int QLXcalcobjective(QLXprob prob, const double* solution, double* value);
/* The slacks of a point, quadratic terms included. */
QLX_API int QLXcalcslacks(QLXprob prob, const double* solution, double* slacks);
/* Reduced costs of given duals; solution is needed (else null) when there are quadratic terms. */
QLX_API int QLXcalcreducedcosts(QLXprob prob, const double* duals, const double* solution,
                                double* djs);
/* A property QLX_SOLINFO_... of a point and, for the dual ones, of its duals. */
QLX_API int QLXcalcsolinfo(QLXprob prob, const double* solution, const double* duals, int property,
                           double* value);
/* Columns and rows whose value, slack, dual or reduced cost in the last LP solve violates its
 * tolerance; each count is filled, each array where not null. */
QLX_API int QLXgetinfeas(QLXprob prob, int* nx, int* nslack, int* ndual, int* ndj, int* x,
                         int* slack, int* dual, int* dj);
/* The column (0 ..) or row (attribute cols + row) along which the last LP was unbounded. */
QLX_API int QLXgetunbvec(QLXprob prob, int* index);
/* Rays that prove infeasibility (attribute rows entries) or unboundedness (attribute cols entries);
 * *hasray tells whether there is one. */
QLX_API int QLXgetdualray(QLXprob prob, double* ray, int* hasray);
QLX_API int QLXgetprimalray(QLXprob prob, double* ray, int* hasray);

#ifdef __cplusplus
}
#endif

#endif

/* Infeasibility analysis, repair, and presolve of single rows. */
#ifndef QLX_ANALYSIS_H
#define QLX_ANALYSIS_H

#include "qlx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Irreducible infeasible sets (IIS). Number 0 is the whole set of violated parts of the first
 * approximation, 1 .. the sets found. */
QLX_API int QLXiisall(QLXprob prob);
QLX_API int QLXiisclear(QLXprob prob);
/* mode 1: quick, 2: smallest found; *status: 0 found, 1 the model is feasible, 2 stopped early. */
QLX_API int QLXiisfirst(QLXprob prob, int mode, int* status);
QLX_API int QLXiisnext(QLXprob prob, int* status);
/* *count is the number of sets plus the approximation; the arrays have count entries. */
QLX_API int QLXiisstatus(QLXprob prob, int* count, int* rowsizes, int* colsizes, double* suminfeas,
                         int* numinfeas);
QLX_API int QLXiisisolations(QLXprob prob, int number);
/* Members of one set: rows and columns with the side that matters (contype 'L', 'G' or 'E', bndtype
 * 'L' or 'U'), duals, reduced costs, isolation flags (1 isolating, 0 not, -1 not known). */
QLX_API int QLXgetiisdata(QLXprob prob, int number, int* nrows, int* ncols, int* rows, int* cols,
                          char* contype, char* bndtype, double* duals, double* djs,
                          signed char* isolationrows, signed char* isolationcols);
/* Writes a set: type 0 as a model in LP form, 1 as a table. */
QLX_API int QLXiiswrite(QLXprob prob, int number, const char* filename, int type,
                        const char* flags);
/* Smallest relaxation that makes the model feasible; *status: 0 relaxed optimum found, 1 the first
 * phase is infeasible, 2 the second phase is infeasible, 3 stopped in the first, 4 in the second.
 * penalty 'a' absolute or 'r' relative; phase2 'o' optimise or 'n' none; groups 'x' none or 'g'.
 * The four weights: 'L' rows, 'G' rows, lower bounds, upper bounds. */
QLX_API int QLXrepairinfeas(QLXprob prob, int* status, char penalty, char phase2, char groups,
                            double lrp, double grp, double lbp, double ubp, double delta);
/* The same with one weight per row and column; null arrays forbid their relaxation. */
QLX_API int QLXrepairweightedinfeas(QLXprob prob, int* status, const double* lrp, const double* grp,
                                    const double* lbp, const double* ubp, char phase2, double delta,
                                    const char* flags);
/* The same with one limit per relaxation: lrb, grb per row, lbb, ubb per column. */
QLX_API int QLXrepairweightedinfeasbounds(QLXprob prob, int* status, const double* lrp,
                                          const double* grp, const double* lbp, const double* ubp,
                                          const double* lrb, const double* grb, const double* lbb,
                                          const double* ubb, char phase2, double delta,
                                          const char* flags);

/* For rows and columns of the presolved model the index in the stated one. */
QLX_API int QLXgetpresolvemap(QLXprob prob, int* rowmap, int* colmap);
/* States a row of the model in presolved columns: at most maxcoeffs entries. *status: 0 done, 1 it
 * cannot be stated, 2 too many entries. */
QLX_API int QLXpresolverow(QLXprob prob, char rowtype, int ncoeffs, const int* cols,
                           const double* values, double rhs, int maxcoeffs, int* npresolved,
                           int* presolvedcols, double* presolvedvalues, double* presolvedrhs,
                           int* status);

#ifdef __cplusplus
}
#endif

#endif

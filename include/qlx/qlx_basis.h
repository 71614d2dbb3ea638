/* Bases, factor solves, sensitivity and branching directives. */
#ifndef QLX_BASIS_H
#define QLX_BASIS_H

#include "qlx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Basis statuses QLX_BASIS_... of rows and columns; null where not wanted. The presolve ones are of
 * the presolved model. */
QLX_API int QLXgetbasis(QLXprob prob, int* rowstatus, int* colstatus);
QLX_API int QLXgetpresolvebasis(QLXprob prob, int* rowstatus, int* colstatus);
QLX_API int QLXloadbasis(QLXprob prob, const int* rowstatus, const int* colstatus);
QLX_API int QLXloadpresolvebasis(QLXprob prob, const int* rowstatus, const int* colstatus);
/* Basis files; a null filename means the problem's name. */
QLX_API int QLXreadbasis(QLXprob prob, const char* filename, const char* flags);
QLX_API int QLXwritebasis(QLXprob prob, const char* filename, const char* flags);

/* Solves with the transposed basis matrix or the basis matrix, in place; attribute rows entries. */
QLX_API int QLXbtran(QLXprob prob, double* vec);
QLX_API int QLXftran(QLXprob prob, double* vec);
/* The basic variables in order of the basis matrix, attribute rows entries: a row index, or
 * attribute rows + a column index. */
QLX_API int QLXgetpivotorder(QLXprob prob, int* order);
/* What could leave the basis if `in` (numbered as above) entered: at most maxpiv variables, the
 * point after the pivot, its objective value and the number of candidates. */
QLX_API int QLXgetpivots(QLXprob prob, int in, int* outlist, double* x, double* objective,
                         int* npivots, int maxpiv);
/* Stability of the basis. type 0: condition number estimate, 1: of the inverse's norm, 2: largest
 * pivot ratio; norm 0: 1-norm, 1: infinity norm; ifscaled nonzero: of the scaled matrix. */
QLX_API int QLXbasisstability(QLXprob prob, int type, int norm, int ifscaled, double* value);
/* Ranges of objective coefficients and right-hand sides within which the basis stays optimal. */
QLX_API int QLXobjsa(QLXprob prob, int ncols, const int* cols, double* lower, double* upper);
QLX_API int QLXrhssa(QLXprob prob, int nrows, const int* rows, double* lower, double* upper);
/* Tries nbounds bound changes, each for at most itrlimit dual simplex iterations; objective values
 * and LP statuses of each. The callback form calls back after each. */
QLX_API int QLXstrongbranch(QLXprob prob, int nbounds, const int* cols, const char* bndtype,
                            const double* bndval, int itrlimit, double* objval, int* status);
QLX_API int QLXstrongbranchcb(QLXprob prob, int nbounds, const int* cols, const char* bndtype,
                              const double* bndval, int itrlimit, double* objval, int* status,
                              QLXsbsolvecb callback, void* data);
/* Lower and upper estimates of the duals of rows over the optimal dual solutions. */
QLX_API int QLXestimaterowdualranges(QLXprob prob, int nrows, const int* rows, int itrlimit,
                                     double* mindual, double* maxdual);
/* Scales rows and columns by powers of two for the next solve; null: by the library's choice. */
QLX_API int QLXscale(QLXprob prob, const int* rowscale, const int* colscale);

/* Branching directives of the tree search: priority (0 .. 1000, lower first, 500 usual), direction
 * 'U', 'D' or 'N', and pseudo costs up and down. Null arrays when not given. *ndirs gets the
 * number. */
QLX_API int QLXgetdirs(QLXprob prob, int* ndirs, int* cols, int* priority, char* direction,
                       double* upcost, double* downcost);
QLX_API int QLXloaddirs(QLXprob prob, int ndirs, const int* cols, const int* priority,
                        const char* direction, const double* upcost, const double* downcost);
QLX_API int QLXloadpresolvedirs(QLXprob prob, int ndirs, const int* cols, const int* priority,
                                const char* direction, const double* upcost,
                                const double* downcost);
/* Branch on these columns even at integer values: branch 1 yes, 0 no; null: yes. */
QLX_API int QLXloadbranchdirs(QLXprob prob, int ncols, const int* cols, const int* branch);
QLX_API int QLXreaddirs(QLXprob prob, const char* filename);
QLX_API int QLXwritedirs(QLXprob prob, const char* filename);

#ifdef __cplusplus
}
#endif

#endif

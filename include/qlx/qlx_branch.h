/* Branching objects: branches made of bounds, rows and cuts, offered to the branch and cut. */
#ifndef QLX_BRANCH_H
#define QLX_BRANCH_H

#include "qlx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Creates a branching object without branches. isoriginal nonzero: columns are those of the model
 * as stated; zero: those of the presolved one. */
QLX_API int QLX_bo_create(QLXbranchobject* object, QLXprob prob, int isoriginal);
/* Destroys it; null is allowed. */
QLX_API int QLX_bo_destroy(QLXbranchobject object);
/* Adds nbranches empty branches. */
QLX_API int QLX_bo_addbranches(QLXbranchobject object, int nbranches);
/* Adds nbounds bounds to a branch; bndtype 'L', 'U' or 'B' (both). */
QLX_API int QLX_bo_addbounds(QLXbranchobject object, int branch, int nbounds, const char* bndtype,
                             const int* bndcol, const double* bndval);
/* Adds nrows rows (types 'L', 'G', 'E') with nelems entries to a branch; start has nrows + 1
 * entries. */
QLX_API int QLX_bo_addrows(QLXbranchobject object, int branch, int nrows, int nelems,
                           const char* rowtype, const double* rhs, const int* start,
                           const int* colind, const double* values);
/* Adds cuts of the pool to a branch. */
QLX_API int QLX_bo_addcuts(QLXbranchobject object, int branch, int ncuts, const QLXcut* cuts);
/* nbounds gets the branch's number of bounds; the arrays get the first size of them. */
QLX_API int QLX_bo_getbounds(QLXbranchobject object, int branch, int* nbounds, int size,
                             char* bndtype, int* bndcol, double* bndval);
QLX_API int QLX_bo_getbranches(QLXbranchobject object, int* nbranches);
/* A number that no other branching object of the solve has; 0 before it is stored. */
QLX_API int QLX_bo_getid(QLXbranchobject object, int* id);
/* As QLX_ge_getlasterror, for this object. */
QLX_API int QLX_bo_getlasterror(QLXbranchobject object, int* code, char* text, int size,
                                int* length);
/* nrows and nelems get the branch's sizes; the arrays get what fits. start has rowsize + 1 entries.
 */
QLX_API int QLX_bo_getrows(QLXbranchobject object, int branch, int* nrows, int rowsize, int* nelems,
                           int elemsize, char* rowtype, double* rhs, int* start, int* colind,
                           double* values);
/* Which branch is explored first; -1 leaves the choice. */
QLX_API int QLX_bo_setpreferredbranch(QLXbranchobject object, int branch);
/* Priority 0 .. 1000 against other candidates; lower comes first, 500 is usual. */
QLX_API int QLX_bo_setpriority(QLXbranchobject object, int priority);
/* Hands the object's contents to the current node of the running solve as a branching candidate;
 * the caller still destroys the handle. *status: 0 stored, 1 infeasible node, 2 refused. */
QLX_API int QLX_bo_store(QLXbranchobject object, int* status);
/* Checks the object without storing it; *status as above. */
QLX_API int QLX_bo_validate(QLXbranchobject object, int* status);

#ifdef __cplusplus
}
#endif

#endif

/* Cuts and bounds of tree nodes; for callbacks of the branch and cut. */
#ifndef QLX_CUTS_H
#define QLX_CUTS_H

#include "qlx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Cuts in columns of the presolved model, start of ncuts + 1 entries. type is a number of the
 * caller's by which cuts are picked later. */
QLX_API int QLXaddcuts64(QLXprob prob, int ncuts, const int* type, const char* rowtype,
                         const double* rhs, const int64_t* start, const int* colind,
                         const double* values);
/* Puts cuts into the pool without using them; nodupl 1 looks for equal cuts, 2 also by type. cuts
 * gets ncuts handles. */
QLX_API int QLXstorecuts64(QLXprob prob, int ncuts, int nodupl, const int* type,
                           const char* rowtype, const double* rhs, const int64_t* start,
                           QLXcut* cuts, const int* colind, const double* values);
/* Picking: interp -1 all types, 1 cuts of exactly this type, 2 cuts with any of the type's bits, 3
 * with all of them; ncuts -1 all that match, else those listed. */
QLX_API int QLXloadcuts(QLXprob prob, int type, int interp, int ncuts, const QLXcut* cuts);
/* Takes cuts out of the current node; ibasis nonzero only those whose slack is basic, delta the
 * least slack. */
QLX_API int QLXdelcuts(QLXprob prob, int ibasis, int type, int interp, double delta, int ncuts,
                       const QLXcut* cuts);
/* Removes cuts from the pool. */
QLX_API int QLXdelcpcuts(QLXprob prob, int type, int interp, int ncuts, const QLXcut* cuts);
/* The cuts of the current node; *ncuts gets the number, cuts the first size. */
QLX_API int QLXgetcutlist(QLXprob prob, int type, int interp, int* ncuts, int size, QLXcut* cuts);
/* The cuts of the pool that the current point violates by more than delta, with violations. */
QLX_API int QLXgetcpcutlist(QLXprob prob, int type, int interp, double delta, int* ncuts, int size,
                            QLXcut* cuts, double* violation);
/* The cuts themselves, up to size entries. */
QLX_API int QLXgetcpcuts64(QLXprob prob, const QLXcut* cuts, int ncuts, int64_t size, int* type,
                           char* rowtype, int64_t* start, int* colind, double* values, double* rhs);
/* Per cut the row of the node's relaxation that it is, -1 none. */
QLX_API int QLXgetcutmap(QLXprob prob, int ncuts, const QLXcut* cuts, int* map);
QLX_API int QLXgetcutslack(QLXprob prob, QLXcut cut, double* slack);

/* Stores a set of bounds to branch on, or branches on it or on cuts. */
QLX_API int QLXstorebounds(QLXprob prob, int nbounds, const int* cols, const char* bndtype,
                           const double* bndval, void** bounds);
QLX_API int QLXsetbranchbounds(QLXprob prob, void* bounds);
QLX_API int QLXsetbranchcuts(QLXprob prob, int ncuts, const QLXcut* cuts);

#ifdef __cplusplus
}
#endif

#endif

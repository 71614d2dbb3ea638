/* Reading a model back. Items first .. last, both included; an empty or wrong range is refused. */
#ifndef QLX_QUERY_H
#define QLX_QUERY_H

#include "qlx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Entries by column or row. *nelems gets their number; start (last - first + 2 entries, from 0) and
 * the first size entries are filled where not null. */
QLX_API int QLXgetcols64(QLXprob prob, int64_t* start, int* rowind, double* values, int64_t size,
                         int64_t* nelems, int first, int last);
QLX_API int QLXgetrows64(QLXprob prob, int64_t* start, int* colind, double* values, int64_t size,
                         int64_t* nelems, int first, int last);
QLX_API int QLXgetcoef(QLXprob prob, int row, int col, double* value);
QLX_API int QLXgetobj(QLXprob prob, double* obj, int first, int last);
QLX_API int QLXgetlb(QLXprob prob, double* lb, int first, int last);
QLX_API int QLXgetub(QLXprob prob, double* ub, int first, int last);
QLX_API int QLXgetcoltype(QLXprob prob, char* coltype, int first, int last);
QLX_API int QLXgetrhs(QLXprob prob, double* rhs, int first, int last);
/* The ranges; 0 for rows that are not 'R'. */
QLX_API int QLXgetrhsrange(QLXprob prob, double* range, int first, int last);
QLX_API int QLXgetrowtype(QLXprob prob, char* rowtype, int first, int last);
/* Names in slots of 8 * attribute 1028 + 1 bytes each, closed with NUL. Items without a name get
 * "R%d", "C%d" or "sos%d" of their index + 1. */
QLX_API int QLXgetnames(QLXprob prob, int type, char* names, int first, int last);
/* The index of a name; refused when no item has it. */
QLX_API int QLXgetindex(QLXprob prob, int type, const char* name, int* index);
/* Quadratic objective by column of its upper triangle: pair (j, colind[k]) with j <= colind[k] for
 * the entries k of column j. Sizes as in QLXgetcols64. */
QLX_API int QLXgetmqobj(QLXprob prob, int* start, int* colind, double* values, int size,
                        int* nelems, int first, int last);
QLX_API int QLXgetmqobj64(QLXprob prob, int64_t* start, int* colind, double* values, int64_t size,
                          int64_t* nelems, int first, int last);
QLX_API int QLXgetqobj(QLXprob prob, int col1, int col2, double* value);
QLX_API int QLXgetqrowcoeff(QLXprob prob, int row, int col1, int col2, double* value);
/* Quadratic terms of a row, as QLXgetmqobj. */
QLX_API int QLXgetqrowqmatrix(QLXprob prob, int row, int* start, int* colind, double* values,
                              int size, int* nelems, int first, int last);
/* The same as triplets with qcol1 <= qcol2; *nquads gets their number. */
QLX_API int QLXgetqrowqmatrixtriplets(QLXprob prob, int row, int* nquads, int* qcol1, int* qcol2,
                                      double* values);
/* The rows with quadratic terms; *nrows gets their number. */
QLX_API int QLXgetqrows(QLXprob prob, int* nrows, int* rows);
/* Columns that are not continuous, and sets. *nents and *nsets get the numbers; setstart has nsets
 * + 1 entries, and its last one is the size of setcol and refval (attribute setmembers). */
QLX_API int QLXgetglobal64(QLXprob prob, int* nents, int* nsets, char* enttype, int* entcol,
                           double* limit, char* settype, int64_t* setstart, int* setcol,
                           double* refval);
/* Per row its indicator column and complement flag; -1 and 0 for ordinary rows. */
QLX_API int QLXgetindicators(QLXprob prob, int* cols, int* complements, int first, int last);

#ifdef __cplusplus
}
#endif

#endif

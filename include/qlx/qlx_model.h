/* Stating and changing a model. */
#ifndef QLX_MODEL_H
#define QLX_MODEL_H

#include "qlx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Loading replaces the whole model (directives included) and drops results; controls and callbacks
 * stay. Shared arguments:
 *   name     the problem's name, null or empty for none
 *   rowtype  nrows letters 'L', 'G', 'E', 'R', 'N'; rhs nrows values
 *   range    nrows values, read for 'R' rows only, null allowed when there are none; its absolute
 *            value counts
 *   obj      ncols coefficients
 *   start    column starts; with count, ncols of them and column j has the entries start[j] ..
 *            start[j]+count[j]-1; without, ncols + 1. Null is allowed for a matrix without entries.
 *   lb, ub   ncols bounds
 *   nquads, qcol1, qcol2, qvalues   quadratic objective, by pairs
 *   nqrows, qrows, qrowquads, qrowcol1, qrowcol2, qrowvalues   quadratic rows: row qrows[k] has the
 *            next qrowquads[k] pairs
 *   nents, enttype, entcol, limit   columns that are not continuous, with their limits ('S', 'R',
 *            'P' only; null when there are none)
 *   nsets, settype, setstart, setcol, refval   special ordered sets, setstart of nsets + 1 entries
 */
QLX_API int QLXloadlp(QLXprob prob, const char* name, int ncols, int nrows, const char* rowtype,
                      const double* rhs, const double* range, const double* obj, const int* start,
                      const int* count, const int* rowind, const double* values, const double* lb,
                      const double* ub);
QLX_API int QLXloadlp64(QLXprob prob, const char* name, int ncols, int nrows, const char* rowtype,
                        const double* rhs, const double* range, const double* obj,
                        const int64_t* start, const int* count, const int* rowind,
                        const double* values, const double* lb, const double* ub);
QLX_API int QLXloadqp64(QLXprob prob, const char* name, int ncols, int nrows, const char* rowtype,
                        const double* rhs, const double* range, const double* obj,
                        const int64_t* start, const int* count, const int* rowind,
                        const double* values, const double* lb, const double* ub, int64_t nquads,
                        const int* qcol1, const int* qcol2, const double* qvalues);
QLX_API int QLXloadqcqp64(QLXprob prob, const char* name, int ncols, int nrows, const char* rowtype,
                          const double* rhs, const double* range, const double* obj,
                          const int64_t* start, const int* count, const int* rowind,
                          const double* values, const double* lb, const double* ub, int64_t nquads,
                          const int* qcol1, const int* qcol2, const double* qvalues, int nqrows,
                          const int* qrows, const int64_t* qrowquads, const int* qrowcol1,
                          const int* qrowcol2, const double* qrowvalues);
QLX_API int QLXloadglobal64(QLXprob prob, const char* name, int ncols, int nrows,
                            const char* rowtype, const double* rhs, const double* range,
                            const double* obj, const int64_t* start, const int* count,
                            const int* rowind, const double* values, const double* lb,
                            const double* ub, int nents, int nsets, const char* enttype,
                            const int* entcol, const double* limit, const char* settype,
                            const int64_t* setstart, const int* setcol, const double* refval);
QLX_API int QLXloadqglobal64(QLXprob prob, const char* name, int ncols, int nrows,
                             const char* rowtype, const double* rhs, const double* range,
                             const double* obj, const int64_t* start, const int* count,
                             const int* rowind, const double* values, const double* lb,
                             const double* ub, int64_t nquads, const int* qcol1, const int* qcol2,
                             const double* qvalues, int nents, int nsets, const char* enttype,
                             const int* entcol, const double* limit, const char* settype,
                             const int64_t* setstart, const int* setcol, const double* refval);
QLX_API int QLXloadqcqpglobal64(
    QLXprob prob, const char* name, int ncols, int nrows, const char* rowtype, const double* rhs,
    const double* range, const double* obj, const int64_t* start, const int* count,
    const int* rowind, const double* values, const double* lb, const double* ub, int64_t nquads,
    const int* qcol1, const int* qcol2, const double* qvalues, int nqrows, const int* qrows,
    const int64_t* qrowquads, const int* qrowcol1, const int* qrowcol2, const double* qrowvalues,
    int nents, int nsets, const char* enttype, const int* entcol, const double* limit,
    const char* settype, const int64_t* setstart, const int* setcol, const double* refval);

/* Adds ncols continuous columns with nelems entries in existing rows. obj null: zeros. start may be
 * null when nelems is 0. A lower bound above its upper bound is refused. */
QLX_API int QLXaddcols64(QLXprob prob, int ncols, int64_t nelems, const double* obj,
                         const int64_t* start, const int* rowind, const double* values,
                         const double* lb, const double* ub);
/* Adds nrows rows with nelems entries in existing columns. range as for loading. */
QLX_API int QLXaddrows(QLXprob prob, int nrows, int nelems, const char* rowtype, const double* rhs,
                       const double* range, const int* start, const int* colind,
                       const double* values);
QLX_API int QLXaddrows64(QLXprob prob, int nrows, int64_t nelems, const char* rowtype,
                         const double* rhs, const double* range, const int64_t* start,
                         const int* colind, const double* values);
/* Adds special ordered sets; within a set the members' order is that of their reference values,
 * which must differ. */
QLX_API int QLXaddsets64(QLXprob prob, int nsets, int64_t nelems, const char* settype,
                         const int64_t* start, const int* colind, const double* refval);
/* Adds nquads quadratic terms to a row, to those that it has. */
QLX_API int QLXaddqmatrix64(QLXprob prob, int row, int64_t nquads, const int* qcol1,
                            const int* qcol2, const double* values);
/* Removes the quadratic terms of a row; row -1 those of the objective. */
QLX_API int QLXdelqmatrix(QLXprob prob, int row);
/* Deletes rows, columns or sets by index, in any order, each at most once; the rest close up.
 * Deleting a row deletes its indicator; deleting a column takes it out of rows, quadratic terms and
 * sets, and is refused for the column of an indicator. */
QLX_API int QLXdelrows(QLXprob prob, int nrows, const int* rows);
QLX_API int QLXdelcols(QLXprob prob, int ncols, const int* cols);
QLX_API int QLXdelsets(QLXprob prob, int nsets, const int* sets);

/* Names rows, columns or sets (type QLX_NAMES_...) first .. last; names holds them one after the
 * other, each closed with NUL. */
QLX_API int QLXaddnames(QLXprob prob, int type, const char* names, int first, int last);
/* Names the same items by number: "R%d", "C%d" or "sos%d" of numbers[k] (or of number + k where
 * numbers is null). The text is made only when it is asked for. */
QLX_API int QLXaddnumberednames(QLXprob prob, int type, const int64_t* numbers, int64_t number,
                                int first, int last);

/* Sets coefficients of the matrix; 0 removes an entry. */
QLX_API int QLXchgcoef(QLXprob prob, int row, int col, double value);
QLX_API int QLXchgmcoef(QLXprob prob, int ncoefs, const int* rows, const int* cols,
                        const double* values);
/* Sets linear objective coefficients; column -1 sets the objective's constant. */
QLX_API int QLXchgobj(QLXprob prob, int ncols, const int* cols, const double* obj);
/* Sets coefficients of the quadratic objective; 0 removes a pair. */
QLX_API int QLXchgqobj(QLXprob prob, int col1, int col2, double value);
QLX_API int QLXchgmqobj(QLXprob prob, int nquads, const int* qcol1, const int* qcol2,
                        const double* values);
QLX_API int QLXchgmqobj64(QLXprob prob, int64_t nquads, const int* qcol1, const int* qcol2,
                          const double* values);
/* Sets one coefficient of a row's quadratic terms; 0 removes the pair. */
QLX_API int QLXchgqrowcoeff(QLXprob prob, int row, int col1, int col2, double value);
QLX_API int QLXchgrhs(QLXprob prob, int nrows, const int* rows, const double* rhs);
/* Sets ranges of rows: an 'E', 'L' or 'R' row becomes an 'R' row with the same right-hand side and
 * that range; a 'G' row becomes an 'R' row whose right-hand side grows by it. Refused for 'N'. */
QLX_API int QLXchgrhsrange(QLXprob prob, int nrows, const int* rows, const double* range);
/* Sets row types; an 'R' row keeps its right-hand side, a row that becomes 'R' has range 0. */
QLX_API int QLXchgrowtype(QLXprob prob, int nrows, const int* rows, const char* rowtype);
/* Sets bounds, type 'L', 'U' or 'B'; applied in order, refused as a whole when a column ends with
 * its lower bound above its upper bound. */
QLX_API int QLXchgbounds(QLXprob prob, int nbounds, const int* cols, const char* bndtype,
                         const double* values);
/* Sets column types. 'B' cuts the bounds to [0, 1] and is refused when nothing is left; 'S', 'R'
 * and 'P' get a limit equal to the lower bound (0 when that is infinite) until QLXchgglblimit. */
QLX_API int QLXchgcoltype(QLXprob prob, int ncols, const int* cols, const char* coltype);
/* Sets the limits of 'S', 'R' and 'P' columns. */
QLX_API int QLXchgglblimit(QLXprob prob, int ncols, const int* cols, const double* limit);
/* 1 minimises, -1 maximises. */
QLX_API int QLXchgobjsense(QLXprob prob, int sense);
/* Makes rows indicator rows: row rows[k] must hold only when binary column cols[k] is 1 (complement
 * 1) or 0 (complement -1); complement 0 makes it an ordinary row again. A column's bounds need not
 * be [0, 1] yet, but it must be integer or binary when the model is solved. */
QLX_API int QLXsetindicators(QLXprob prob, int nrows, const int* rows, const int* cols,
                             const int* complements);
/* Marks rows as delayed (used by the branch and cut only once violated), as model cuts (may be
 * dropped without changing the set of integer solutions). */
QLX_API int QLXloaddelayedrows(QLXprob prob, int nrows, const int* rows);
QLX_API int QLXloadmodelcuts(QLXprob prob, int nrows, const int* rows);
/* Marks rows and columns that presolve must keep. */
QLX_API int QLXloadsecurevecs(QLXprob prob, int nrows, int ncols, const int* rows, const int* cols);

#ifdef __cplusplus
}
#endif

#endif

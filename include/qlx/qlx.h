/* The optimizer library's interface.
 *
 * Conventions
 * - Every function returns 0 or an error code of codes.h; the text is in the handle's last error
 * and names the argument, the index and the value that were wrong. A refused call changes nothing.
 * - Arrays are pointer and count. A null output pointer means not wanted; where a size is unknown,
 *   a first call with null arrays reports it. Functions ending in 64 take 64-bit starts.
 * - Sparse input: item k has the entries start[k] .. start[k+1]-1; start has one entry more than
 *   there are items. An entry given twice for one row and column is refused.
 * - 1e20 and beyond is infinite. NaN is refused everywhere.
 * - Quadratic terms: the value of the pair (i, j) is the coefficient of the product x_i * x_j, in
 * the objective and in rows alike, with no factor of one half; (i, j) and (j, i) name the same
 * pair, and pairs given twice in one call are added up.
 * - A problem belongs to one thread at a time: a second concurrent call is refused with an error.
 *   Callbacks may call, on the handle they are given, every function that reads, QLXinterrupt, and
 *   what the event's own description allows.
 * - All functions but QLXinit, QLXfree, QLX_ge_getlasterror and QLX_ge_getlivecounts need the
 *   environment to be initialised.
 */
#ifndef QLX_H
#define QLX_H

#include "codes.h"
#include "qlx_analysis.h"
#include "qlx_basis.h"
#include "qlx_branch.h"
#include "qlx_callbacks.h"
#include "qlx_controls.h"
#include "qlx_cuts.h"
#include "qlx_environment.h"
#include "qlx_files.h"
#include "qlx_global.h"
#include "qlx_model.h"
#include "qlx_query.h"
#include "qlx_solve.h"
#include "qlx_types.h"

#endif

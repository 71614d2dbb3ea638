/* The environment and the life of problems. */
#ifndef QLX_ENVIRONMENT_H
#define QLX_ENVIRONMENT_H

#include "qlx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Initialises the library; calls are counted. path is reserved and may be null. */
QLX_API int QLXinit(const char* path);
/* Undoes one QLXinit; the last one switches the library off. Problems stay destroyable. Refused
 * when the library is not initialised. */
QLX_API int QLXfree(void);
/* Version as "33.01.00", at most 31 characters and NUL. */
QLX_API int QLXgetversion(char* version);
/* One or more lines about the library, at most 535 characters and NUL. */
QLX_API int QLXgetbanner(char* banner);
/* Checked mode: nonzero (the default) checks every array argument for NaN, bounds of indices and
 * order; zero skips these checks on arrays, so that wrong arrays are undefined behaviour. */
QLX_API int QLXgetcheckedmode(int* checked_mode);
QLX_API int QLXsetcheckedmode(int checked_mode);
/* Nonzero lets messages reach handlers, callbacks, log files and the console; zero stops all. */
QLX_API int QLXenablemessages(int enabled);

/* Creates an empty problem. */
QLX_API int QLXcreateprob(QLXprob* prob);
/* Destroys a problem; null is allowed. Refused while it is being solved or while a nonlinear
 * problem is built on it. Its branching objects become invalid but may still be destroyed. */
QLX_API int QLXdestroyprob(QLXprob prob);
/* Makes dest a copy of src's model, names, directives and name (src's name when name is empty).
 * Controls, callbacks and results are not copied. */
QLX_API int QLXcopyprob(QLXprob dest, QLXprob src, const char* name);
/* The last error's text of this problem, empty when there was none; at most 511 characters and NUL.
 */
QLX_API int QLXgetlasterror(QLXprob prob, char* text);
/* The problem's name; the buffer holds attribute 1158 bytes. */
QLX_API int QLXgetprobname(QLXprob prob, char* name);
QLX_API int QLXsetprobname(QLXprob prob, const char* name);
/* Asks the running solve of this problem to stop with a stop reason 1 .. 9. Only sets a flag, so it
 * may be called from any thread, from callbacks and from signal handlers. Without a running solve
 * it does nothing. */
QLX_API int QLXinterrupt(QLXprob prob, int reason);
/* Lets every solve of this problem call check(prob, data) on the thread that called the solve,
 * about every given number of milliseconds (1 ..) while the solver runs; a result other than 0
 * stops the solve as QLXinterrupt with that reason does. A null check ends it. One per problem; it
 * is not copied with the problem. */
QLX_API int QLXsetinterruptcheck(QLXprob prob, int (*check)(QLXprob prob, void* data), void* data,
                                 int milliseconds);

#ifdef __cplusplus
}
#endif

#endif

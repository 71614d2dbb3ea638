/* The environment's error, message handlers and counts of live objects. */
#ifndef QLX_GLOBAL_H
#define QLX_GLOBAL_H

#include "qlx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The environment's last error: the last one of any call that had no handle, or no valid one.
 * code, text (size bytes, cut to fit and closed with NUL) and length may be null. */
QLX_API int QLX_ge_getlasterror(int* code, char* text, int size, int* length);
/* Registers a handler for the messages of every problem and of the environment. Handlers of higher
 * priority are called first, equal ones in order of registration; calls come from any thread and
 * may overlap, with no lock of the library held. The handler is called once at registration with a
 * null text and a negative type. */
QLX_API int QLX_ge_addcbmsghandler(QLXmsghandler handler, void* data, int priority);
/* Unregisters: a null handler matches all handlers, a null data all data. */
QLX_API int QLX_ge_removecbmsghandler(QLXmsghandler handler, void* data);
/* How many problems (nonlinear ones included), branching objects and blocks (live solver objects
 * and cuts) exist now; for leak tests. */
QLX_API int QLX_ge_getlivecounts(int64_t* problems, int64_t* branching_objects, int64_t* blocks);

#ifdef __cplusplus
}
#endif

#endif

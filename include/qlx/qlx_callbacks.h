/* Registration of a problem's callbacks. Several may be registered per event; higher priorities are
 * called first, equal ones in order of registration; what a callback registers or removes counts
 * from the next event on. Removing: a null callback matches all, a null data all data; refused when
 * nothing matches. An event that no part of the library raises yet is refused at registration.
 *
 * While its callback runs, the problem belongs to the calling thread. From every callback
 * QLXinterrupt may be called; the event tells what else: nothing, reading only, setting controls
 * too, or stating cuts and branches too. Other calls are refused by a text that names the event. A
 * caller that holds a lock which its callbacks take must release it before it calls a solve. */
#ifndef QLX_CALLBACKS_H
#define QLX_CALLBACKS_H

#include "qlx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

QLX_API int QLXaddcbbariteration(QLXprob prob, QLXbariterationcb callback, void* data,
                                 int priority);
QLX_API int QLXremovecbbariteration(QLXprob prob, QLXbariterationcb callback, void* data);
QLX_API int QLXaddcbbarlog(QLXprob prob, QLXbarlogcb callback, void* data, int priority);
QLX_API int QLXremovecbbarlog(QLXprob prob, QLXbarlogcb callback, void* data);
QLX_API int QLXaddcbchgbranchobject(QLXprob prob, QLXchgbranchobjectcb callback, void* data,
                                    int priority);
QLX_API int QLXremovecbchgbranchobject(QLXprob prob, QLXchgbranchobjectcb callback, void* data);
QLX_API int QLXaddcbcutlog(QLXprob prob, QLXcutlogcb callback, void* data, int priority);
QLX_API int QLXremovecbcutlog(QLXprob prob, QLXcutlogcb callback, void* data);
QLX_API int QLXaddcbdestroymt(QLXprob prob, QLXdestroymtcb callback, void* data, int priority);
QLX_API int QLXremovecbdestroymt(QLXprob prob, QLXdestroymtcb callback, void* data);
QLX_API int QLXaddcbgapnotify(QLXprob prob, QLXgapnotifycb callback, void* data, int priority);
QLX_API int QLXremovecbgapnotify(QLXprob prob, QLXgapnotifycb callback, void* data);
QLX_API int QLXaddcbgloballog(QLXprob prob, QLXgloballogcb callback, void* data, int priority);
QLX_API int QLXremovecbgloballog(QLXprob prob, QLXgloballogcb callback, void* data);
QLX_API int QLXaddcbinfnode(QLXprob prob, QLXinfnodecb callback, void* data, int priority);
QLX_API int QLXremovecbinfnode(QLXprob prob, QLXinfnodecb callback, void* data);
QLX_API int QLXaddcbintsol(QLXprob prob, QLXintsolcb callback, void* data, int priority);
QLX_API int QLXremovecbintsol(QLXprob prob, QLXintsolcb callback, void* data);
QLX_API int QLXaddcblplog(QLXprob prob, QLXlplogcb callback, void* data, int priority);
QLX_API int QLXremovecblplog(QLXprob prob, QLXlplogcb callback, void* data);
QLX_API int QLXaddcbmessage(QLXprob prob, QLXmessagecb callback, void* data, int priority);
QLX_API int QLXremovecbmessage(QLXprob prob, QLXmessagecb callback, void* data);
QLX_API int QLXaddcbmipthread(QLXprob prob, QLXmipthreadcb callback, void* data, int priority);
QLX_API int QLXremovecbmipthread(QLXprob prob, QLXmipthreadcb callback, void* data);
QLX_API int QLXaddcbnewnode(QLXprob prob, QLXnewnodecb callback, void* data, int priority);
QLX_API int QLXremovecbnewnode(QLXprob prob, QLXnewnodecb callback, void* data);
QLX_API int QLXaddcbnodecutoff(QLXprob prob, QLXnodecutoffcb callback, void* data, int priority);
QLX_API int QLXremovecbnodecutoff(QLXprob prob, QLXnodecutoffcb callback, void* data);
QLX_API int QLXaddcboptnode(QLXprob prob, QLXoptnodecb callback, void* data, int priority);
QLX_API int QLXremovecboptnode(QLXprob prob, QLXoptnodecb callback, void* data);
QLX_API int QLXaddcbpreintsol(QLXprob prob, QLXpreintsolcb callback, void* data, int priority);
QLX_API int QLXremovecbpreintsol(QLXprob prob, QLXpreintsolcb callback, void* data);
QLX_API int QLXaddcbprenode(QLXprob prob, QLXprenodecb callback, void* data, int priority);
QLX_API int QLXremovecbprenode(QLXprob prob, QLXprenodecb callback, void* data);
QLX_API int QLXaddcbusersolnotify(QLXprob prob, QLXusersolnotifycb callback, void* data,
                                  int priority);
QLX_API int QLXremovecbusersolnotify(QLXprob prob, QLXusersolnotifycb callback, void* data);

#ifdef __cplusplus
}
#endif

#endif

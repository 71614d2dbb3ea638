/* Handles, the export macro and the callback prototypes of the library interface. */
#ifndef QLX_TYPES_H
#define QLX_TYPES_H

#include <stdint.h>

#include "codes.h"

#if defined(__GNUC__)
#define QLX_API __attribute__((visibility("default")))
#else
#define QLX_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* A problem: one model with its controls, attributes, callbacks and last solve. */
typedef struct qlx_problem* QLXprob;
/* A nonlinear problem, built on a problem. */
typedef struct qslp_problem* QSLPprob;
/* A set of branches offered to the branch and cut. */
typedef struct qlx_branch_object* QLXbranchobject;
/* A cut in the cut pool. */
typedef struct qlx_cut* QLXcut;
/* Any object of the library, as message handlers get it: a problem, or null for the environment. */
typedef void* QLXobject;

/* Callbacks of a problem take the handle of the worker that calls, the pointer given at
 * registration, and the event's own arguments. Calls for one problem never overlap, and none is
 * made after an interrupt was asked for. */

/* Interior point iteration; *action nonzero stops the solve. */
typedef void (*QLXbariterationcb)(QLXprob prob, void* data, int* action);
/* A log line of the interior point method is due; a nonzero result stops the solve. */
typedef int (*QLXbarlogcb)(QLXprob prob, void* data);
/* A branching object was chosen; the callback may put another into *chosen. */
typedef void (*QLXchgbranchobjectcb)(QLXprob prob, void* data, QLXbranchobject proposed,
                                     QLXbranchobject* chosen);
/* A round of cuts ended; a nonzero result stops the solve. */
typedef int (*QLXcutlogcb)(QLXprob prob, void* data);
/* A worker's problem is about to be destroyed. */
typedef void (*QLXdestroymtcb)(QLXprob prob, void* data);
/* A gap target was reached. The callback sets the next targets: relative gap, absolute gap, and
 * best objective value; a target left alone is not watched again. */
typedef void (*QLXgapnotifycb)(QLXprob prob, void* data, double* relative_gap, double* absolute_gap,
                               double* objective);
/* A log line of the tree search is due; a nonzero result stops the solve. */
typedef int (*QLXgloballogcb)(QLXprob prob, void* data);
/* The current node is infeasible. */
typedef void (*QLXinfnodecb)(QLXprob prob, void* data);
/* An integer solution was accepted. */
typedef void (*QLXintsolcb)(QLXprob prob, void* data);
/* A log line of the simplex method is due; a nonzero result stops the solve. */
typedef int (*QLXlplogcb)(QLXprob prob, void* data);
/* One line of text of the given length, without a newline; type is QLX_MSG_..., negative when the
 * text is empty and the receiver should flush what it holds. */
typedef void (*QLXmessagecb)(QLXprob prob, void* data, const char* text, int length, int type);
/* A worker started on worker_prob. */
typedef void (*QLXmipthreadcb)(QLXprob prob, void* data, QLXprob worker_prob);
/* Node `node` was made as branch number `branch` of node `parent`. */
typedef void (*QLXnewnodecb)(QLXprob prob, void* data, int parent, int node, int branch);
/* A node was cut off by the incumbent. */
typedef void (*QLXnodecutoffcb)(QLXprob prob, void* data, int node);
/* The relaxation of the current node is optimal; *infeasible nonzero discards the node. */
typedef void (*QLXoptnodecb)(QLXprob prob, void* data, int* infeasible);
/* An integer solution was found and not yet accepted. solution_type: 0 from a node's relaxation,
 * 1 from a heuristic, 2 given by the user. *reject nonzero refuses it, *cutoff is the cutoff that
 * its acceptance sets. */
typedef void (*QLXpreintsolcb)(QLXprob prob, void* data, int solution_type, int* reject,
                               double* cutoff);
/* The current node's relaxation is about to be solved; *infeasible nonzero discards the node. */
typedef void (*QLXprenodecb)(QLXprob prob, void* data, int* infeasible);
/* A solution given with QLXaddmipsol was tried. status: 0 an error, 1 accepted as it is, 2 accepted
 * after its missing columns were found, 3 no solution found from it, 4 dropped. */
typedef void (*QLXusersolnotifycb)(QLXprob prob, void* data, const char* name, int status);
/* One bound of QLXstrongbranchcb was tried; a nonzero result stops. */
typedef int (*QLXsbsolvecb)(QLXprob prob, void* data, int branch);

/* A message handler of the environment. object is the sender, thread identifies the sending thread,
 * text is null or empty on the call that announces the registration (type negative). A nonzero
 * result stops the solve that sent the message. */
typedef int (*QLXmsghandler)(QLXobject object, void* data, void* thread, const char* text, int type,
                             int number);

#ifdef __cplusplus
}
#endif

#endif

/* The nonlinear solver's interface: nonlinear problems on top of problems.
 *
 * A nonlinear problem adds to the rows of its problem coefficients of the form
 *     factor * column * formula
 * where the formula is a list of tokens (type, value) in reverse Polish order, ended by type
 * QSLP_TOKEN_END, and column -1 stands for the constant 1. Values and markers live on one stack: an
 * internal function of one argument takes one value and the marker right under it; max and min take
 * two values, or all down to a marker, and that marker; a user function with a marker of its own
 * takes everything down to it, one without takes one value. Markers left over at the end are
 * dropped, values left over are multiplied. Formulas are parsed once, when they are loaded; one
 * that cannot be parsed is refused with the position of the first bad token. `parsed` nonzero means
 * reverse Polish; zero means infix order of the same tokens. Other conventions are those of qlx.h.
 */
#ifndef QSLP_H
#define QSLP_H

#include "qlx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Events. A nonzero result stops the solve unless said otherwise. */
typedef int (*QSLPplaincb)(QSLPprob prob, void* data);
/* Events about one column. */
typedef int (*QSLPcolumncb)(QSLPprob prob, void* data, int col);
/* A coefficient could not be evaluated. */
typedef int (*QSLPcoefevalerrorcb)(QSLPprob prob, void* data, int row, int col);
/* A multistart job starts or ends: *status nonzero skips the job, or ends the multistart. */
typedef int (*QSLPmsjobcb)(QSLPprob prob, void* data, void* job, const char* description,
                           int* status);
/* The best job was chosen. */
typedef int (*QSLPmswinnercb)(QSLPprob prob, void* data, void* job, const char* description);
/* A determined column is about to be set to value; bounds are its bounds. *chosen is what it is set
 * to. */
typedef int (*QSLPdrcolcb)(QSLPprob prob, void* data, int col, double value, double lb, double ub,
                           double* chosen);
/* A formula was evaluated to value; *result replaces it. */
typedef int (*QSLPformulacb)(QSLPprob prob, void* data, double value, double* result);

/* A user function. context names the call (QSLPgetfuncinfo, QSLPgetfuncobject). results has one
 * place more than there are inputs, all not a number before the call. The value goes into
 * results[0], the partial derivative by input i into results[i + 1] where deltas[i], the step of a
 * difference, is not 0. Derivatives left out come by differences. A call has failed where
 * results[0] is left alone or not a number; returning -3.0 besides says so. May be called from any
 * thread, and from several at once. */
typedef double (*QSLPuserfunction)(const double* input, void* context, const double* deltas,
                                   double* results);

/* Initialises the nonlinear solver; counted. Refused before QLXinit. */
QLX_API int QSLPinit(void);
QLX_API int QSLPfree(void);
/* Builds a nonlinear problem on a problem, which must outlive it. One per problem. */
QLX_API int QSLPcreateprob(QSLPprob* prob, QLXprob linear);
/* Destroys it, not the problem below, whose model keeps the coefficients; null is allowed. */
QLX_API int QSLPdestroyprob(QSLPprob prob);
/* Copies coefficients, formulas, user functions, columns' and rows' settings. The problem below has
 * been copied before (QLXcopyprob), which copies the coefficients already; refused when it has
 * other numbers of rows, columns or coefficients. */
QLX_API int QSLPcopyprob(QSLPprob dest, QSLPprob src, const char* name);
/* code may be null; text at most 511 characters and NUL. */
QLX_API int QSLPgetlasterror(QSLPprob prob, int* code, char* text);

/* Controls and attributes, as for problems. */
QLX_API int QSLPgetintcontrol(QSLPprob prob, int id, int* value);
QLX_API int QSLPgetdblcontrol(QSLPprob prob, int id, double* value);
QLX_API int QSLPgetstrcontrol(QSLPprob prob, int id, char* value);
QLX_API int QSLPsetintcontrol(QSLPprob prob, int id, int value);
QLX_API int QSLPsetdblcontrol(QSLPprob prob, int id, double value);
QLX_API int QSLPsetstrcontrol(QSLPprob prob, int id, const char* value);
QLX_API int QSLPgetintattrib(QSLPprob prob, int id, int* value);
QLX_API int QSLPgetdblattrib(QSLPprob prob, int id, double* value);
QLX_API int QSLPgetstrattrib(QSLPprob prob, int id, char* value);
/* Pointer attribute QSLP_POINTER_USEROBJECT is the caller's own; unset it is null. */
QLX_API int QSLPgetptrattrib(QSLPprob prob, int id, void** value);
QLX_API int QSLPsetptrattrib(QSLPprob prob, int id, void* value);
QLX_API int QSLPcopycontrols(QSLPprob dest, QSLPprob src);
/* Parallel arrays as QLXgetcalist_c, with bits QSLP_PARAM_...; the list ends at an empty name. */
QLX_API int QSLPgetcalist(QSLPprob prob, const char* const** names, const int** ids,
                          const int** flags);
/* The name (at most 127 characters and NUL) and descriptor bits of an id; refused when unknown. */
QLX_API int QSLPcontrolname(QSLPprob prob, int id, char* name, int* flags);

/* Coefficients: rows, columns, factors (null: 1.0), formula starts of ncoefs + 1 entries. Adding
 * appends to what a row and column have, loading first drops all coefficients, changing replaces.
 */
QLX_API int QSLPaddcoefs(QSLPprob prob, int ncoefs, const int* rows, const int* cols,
                         const double* factors, const int* start, int parsed, const int* type,
                         const double* value);
QLX_API int QSLPloadcoefs(QSLPprob prob, int ncoefs, const int* rows, const int* cols,
                          const double* factors, const int* start, int parsed, const int* type,
                          const double* value);
QLX_API int QSLPchgcoef(QSLPprob prob, int row, int col, const double* factor, int parsed,
                        const int* type, const double* value);
/* The same with the formula as text; null removes it. */
QLX_API int QSLPchgccoef(QSLPprob prob, int row, int col, const double* factor,
                         const char* formula);
QLX_API int QSLPdelcoefs(QSLPprob prob, int ncoefs, const int* rows, const int* cols);
/* *ncoefs gets the number of coefficients; the arrays, where not null, their rows and columns. */
QLX_API int QSLPgetcoefs(QSLPprob prob, int* ncoefs, int* rows, int* cols);
QLX_API int QSLPgetccoef(QSLPprob prob, int row, int col, double* factor, char* formula, int size);
/* Up to size tokens; *ntokens gets the number. */
QLX_API int QSLPgetcoefformula(QSLPprob prob, int row, int col, double* factor, int parsed,
                               int size, int* ntokens, int* type, double* value);
QLX_API int QSLPevaluatecoef(QSLPprob prob, int row, int col, double* value);
QLX_API int QSLPevaluateformula(QSLPprob prob, int parsed, const int* type, const double* value,
                                double* result);

/* Distribution factors of determined columns. */
QLX_API int QSLPadddfs(QSLPprob prob, int ndfs, const int* cols, const int* rows,
                       const double* values);
QLX_API int QSLPloaddfs(QSLPprob prob, int ndfs, const int* cols, const int* rows,
                        const double* values);
QLX_API int QSLPchgdf(QSLPprob prob, int col, int row, const double* value);
QLX_API int QSLPgetdf(QSLPprob prob, int col, int row, double* value);

/* Tolerance sets, 9 values each: closure, absolute and relative delta, coefficient, impact, slack
 * (absolute and relative pairs). status bit k tells whether value k counts. */
QLX_API int QSLPaddtolsets(QSLPprob prob, int nsets, const double* tols);
QLX_API int QSLPloadtolsets(QSLPprob prob, int nsets, const double* tols);
QLX_API int QSLPchgtolset(QSLPprob prob, int set, const int* status, const double* tols);
QLX_API int QSLPgettolset(QSLPprob prob, int set, int* status, double* tols);
QLX_API int QSLPdeltolsets(QSLPprob prob, int nsets, const int* sets);

/* Settings of columns: vartype bits, determining row (-1 none), sequence number of cascading,
 * tolerance set, initial value, step bound. Null arrays leave their setting alone. */
QLX_API int QSLPaddvars(QSLPprob prob, int nvars, const int* cols, const int* vartype,
                        const int* detrow, const int* seqnum, const int* tolset,
                        const double* initvalue, const double* stepbound);
QLX_API int QSLPloadvars(QSLPprob prob, int nvars, const int* cols, const int* vartype,
                         const int* detrow, const int* seqnum, const int* tolset,
                         const double* initvalue, const double* stepbound);
QLX_API int QSLPchgvar(QSLPprob prob, int col, const int* detrow, const double* initstepbound,
                       const double* stepbound, const double* penalty, const double* damp,
                       const double* initvalue, const double* value, const int* tolset,
                       const int* history, const int* converged, const int* vartype);
QLX_API int QSLPgetvar(QSLPprob prob, int col, int* detrow, double* initstepbound,
                       double* stepbound, double* penalty, double* damp, double* initvalue,
                       double* value, int* tolset, int* history, int* converged, int* vartype,
                       int* deltacol, int* penaltycol, int* updaterow, double* oldvalue);
QLX_API int QSLPdelvars(QSLPprob prob, int nvars, const int* cols);
QLX_API int QSLPchgdeltatype(QSLPprob prob, int nvars, const int* cols, const int* deltatypes,
                             const double* values);
QLX_API int QSLPchgcascadenlimit(QSLPprob prob, int col, int limit);
/* Settings of rows: status bits and penalty weight. */
QLX_API int QSLPchgrowstatus(QSLPprob prob, int row, const int* status);
QLX_API int QSLPgetrowstatus(QSLPprob prob, int row, int* status);
QLX_API int QSLPchgrowwt(QSLPprob prob, int row, const double* value);
QLX_API int QSLPgetrowwt(QSLPprob prob, int row, double* value);
/* Information QSLP_COLINFO_... and QSLP_ROWINFO_... about the last iteration, as a double. */
QLX_API int QSLPgetcolinfo(QSLPprob prob, int code, int col, double* value);
QLX_API int QSLPgetrowinfo(QSLPprob prob, int code, int row, double* value);

/* User functions. A definition is a token list that ends with type 0: a text (type 5, the name), 87
 * with value 1, 86 with value 19, and the text DirectC. QSLPsetstring keeps a text and gives its
 * index, from 1. nfuncs definitions follow one another. Function numbers count from 1. */
QLX_API int QSLPsetstring(QSLPprob prob, int* index, const char* text);
QLX_API int QSLPadduserfuncs(QSLPprob prob, int nfuncs, const int* type, const double* value);
/* Names of functions first .. last (type QSLP_NAMES_USERFUNCTION), each ended by NUL; several may
 * have the same. */
QLX_API int QSLPaddnames(QSLPprob prob, int type, const char* names, int first, int last);
QLX_API int QSLPchguserfuncaddress(QSLPprob prob, int function, QSLPuserfunction address);
/* How many inputs formulas give it, -1 (as at first): any number. Where the number is stated a
 * formula can be read in one way only; it counts for formulas that are added afterwards. */
QLX_API int QSLPchguserfuncinputs(QSLPprob prob, int function, int ninputs);
/* The object is the caller's, and must live as long as the function may be called with it; null:
 * none. QSLPcopyprob gives the copy the same objects, which whoever copies then owns once more. */
QLX_API int QSLPsetuserfuncobject(QSLPprob prob, int function, void* object);
QLX_API int QSLPgetuserfuncobject(QSLPprob prob, int function, void** object);
/* Inside a user function: the object with a code (QSLP_POINTER_PROBLEM, or
 * QSLP_POINTER_USEROBJECT), and what is wanted. *wantsvalue is 1, or 2 in a call for a difference,
 * which may fail without harm. */
QLX_API int QSLPgetfuncobject(void* context, int code, void** object);
QLX_API int QSLPgetfuncinfo(void* context, int* ninputs, int* wantsvalue, int* wantsderivatives,
                            int* function);

/* Formulas as text and tokens. *ntokens gets the number of tokens; arrays null: only counted. */
QLX_API int QSLPparsecformula(QSLPprob prob, const char* formula, int* ntokens, int* type,
                              double* value);
QLX_API int QSLPparseformula(QSLPprob prob, const int* intype, const double* invalue, int* ntokens,
                             int* type, double* value);
/* Splits a text into tokens without resolving names. */
QLX_API int QSLPpreparseformula(QSLPprob prob, const char* formula, int* ntokens, int* type,
                                double* value);
/* *ntokens gets the position of the first bad token, or -1; name the unknown name, if any. */
QLX_API int QSLPvalidformula(QSLPprob prob, const int* type, const double* value, int* ntokens,
                             char* name, int size);
/* Tokens up to the end token, which counts. */
QLX_API int QSLPtokencount(QSLPprob prob, const int* type, int* ntokens);

/* Solving. flags as QLXlpoptimize. */
QLX_API int QSLPnlpoptimize(QSLPprob prob, const char* flags);
QLX_API int QSLPglobalsol(QSLPprob prob);
/* As QLXinterrupt. */
QLX_API int QSLPinterrupt(QSLPprob prob, int reason);
/* The last point: x and dj of attribute 12000 entries, slack and dual of attribute 11999. */
QLX_API int QSLPgetslpsol(QSLPprob prob, double* x, double* slack, double* dual, double* dj);
/* Steps of a solve, for callers that drive it themselves. QSLPunconstruct and QSLPpostsolve bring
 * the problem back to what was stated, so that it can be changed; nothing happens where attribute
 * QSLP_ATTRIB_PRESOLVESTATE says that it is. It always is after QSLPnlpoptimize. */
QLX_API int QSLPconstruct(QSLPprob prob);
QLX_API int QSLPunconstruct(QSLPprob prob);
QLX_API int QSLPpresolve(QSLPprob prob);
QLX_API int QSLPpostsolve(QSLPprob prob);
QLX_API int QSLPreinitialize(QSLPprob prob);
QLX_API int QSLPcascade(QSLPprob prob);
QLX_API int QSLPcascadeorder(QSLPprob prob);
QLX_API int QSLPscaling(QSLPprob prob);
QLX_API int QSLPsetcurrentiv(QSLPprob prob);
QLX_API int QSLPupdatelinearization(QSLPprob prob);
/* *status gets the LP status of the solve with penalty columns fixed. */
QLX_API int QSLPfixpenalties(QSLPprob prob, int* status);
/* Makes names of added rows and columns unique. */
QLX_API int QSLPsetuniqueprefix(QSLPprob prob);
/* Seconds since the solve started. */
QLX_API int QSLPgetdtime(QSLPprob prob, double* seconds);
/* Checks of a point against the original model. */
QLX_API int QSLPvalidate(QSLPprob prob);
QLX_API int QSLPvalidaterow(QSLPprob prob, int row);
QLX_API int QSLPvalidatevector(QSLPprob prob, const double* vector, double* suminfeas,
                               double* sumscaledinfeas, double* objective);
QLX_API int QSLPvalidatekkt(QSLPprob prob, int mode, int respectbasis, int updatemultipliers,
                            double target);

/* Multistart jobs and sets of jobs; job_object is handed to the events. */
QLX_API int QSLPmsaddjob(QSLPprob prob, const char* description, int nivs, const int* ivcols,
                         const double* ivvalues, void* control, void* job_object);
QLX_API int QSLPmsaddpreset(QSLPprob prob, const char* description, int preset, int count,
                            void* job_object);
QLX_API int QSLPmsaddcustompreset(QSLPprob prob, const char* description, int preset, int count,
                                  int nivs, const int* ivcols, const double* ivvalues,
                                  void* control, void* job_object);
QLX_API int QSLPmsclear(QSLPprob prob);

/* Files and messages. */
QLX_API int QSLPreadprob(QSLPprob prob, const char* filename, const char* options);
QLX_API int QSLPwriteprob(QSLPprob prob, const char* filename, const char* options);
QLX_API int QSLPfilesol(QSLPprob prob, const char* filename);
QLX_API int QSLPgetmessagetype(QSLPprob prob, int code, int* type);
QLX_API int QSLPprintmsg(QSLPprob prob, int type, const char* message);
QLX_API int QSLPprintmemory(QSLPprob prob);
QLX_API int QSLPprintevalinfo(QSLPprob prob);

/* One callback per event; null removes it. What qlx_callbacks.h says holds here too. */
QLX_API int QSLPsetcbcascadeend(QSLPprob prob, QSLPplaincb callback, void* data);
QLX_API int QSLPsetcbcascadestart(QSLPprob prob, QSLPplaincb callback, void* data);
QLX_API int QSLPsetcbcascadevar(QSLPprob prob, QSLPcolumncb callback, void* data);
QLX_API int QSLPsetcbcascadevarfail(QSLPprob prob, QSLPcolumncb callback, void* data);
QLX_API int QSLPsetcbcoefevalerror(QSLPprob prob, QSLPcoefevalerrorcb callback, void* data);
QLX_API int QSLPsetcbconstruct(QSLPprob prob, QSLPplaincb callback, void* data);
QLX_API int QSLPsetcbdestroy(QSLPprob prob, QSLPplaincb callback, void* data);
QLX_API int QSLPsetcbdrcol(QSLPprob prob, QSLPdrcolcb callback, void* data);
QLX_API int QSLPsetcbformula(QSLPprob prob, QSLPformulacb callback, void* data);
QLX_API int QSLPsetcbiterend(QSLPprob prob, QSLPplaincb callback, void* data);
QLX_API int QSLPsetcbiterstart(QSLPprob prob, QSLPplaincb callback, void* data);
QLX_API int QSLPsetcbitervar(QSLPprob prob, QSLPcolumncb callback, void* data);
QLX_API int QSLPsetcbmsjobend(QSLPprob prob, QSLPmsjobcb callback, void* data);
QLX_API int QSLPsetcbmsjobstart(QSLPprob prob, QSLPmsjobcb callback, void* data);
QLX_API int QSLPsetcbmswinner(QSLPprob prob, QSLPmswinnercb callback, void* data);
QLX_API int QSLPsetcbslpend(QSLPprob prob, QSLPplaincb callback, void* data);
QLX_API int QSLPsetcbslpnode(QSLPprob prob, QSLPplaincb callback, void* data);
QLX_API int QSLPsetcbslpstart(QSLPprob prob, QSLPplaincb callback, void* data);

#ifdef __cplusplus
}
#endif

#endif

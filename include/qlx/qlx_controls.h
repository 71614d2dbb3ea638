/* Controls, attributes, messages and logs. */
#ifndef QLX_CONTROLS_H
#define QLX_CONTROLS_H

#include "qlx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Refused: an unknown id, another type than the control's, a value outside its range (the text
 * names control, value and range). */
QLX_API int QLXgetintcontrol(QLXprob prob, int id, int* value);
QLX_API int QLXgetdblcontrol(QLXprob prob, int id, double* value);
/* At most 511 characters and NUL. */
QLX_API int QLXgetstrcontrol(QLXprob prob, int id, char* value);
/* The first size - 1 characters and NUL; *length gets the bytes of the whole value with NUL. */
QLX_API int QLXgetstringcontrol(QLXprob prob, int id, char* value, int size, int* length);
QLX_API int QLXsetintcontrol(QLXprob prob, int id, int value);
QLX_API int QLXsetdblcontrol(QLXprob prob, int id, double value);
QLX_API int QLXsetstrcontrol(QLXprob prob, int id, const char* value);

/* Integer attributes beyond 32 bits are cut to the largest int by the 32-bit getter. */
QLX_API int QLXgetintattrib(QLXprob prob, int id, int* value);
QLX_API int QLXgetintattrib64(QLXprob prob, int id, int64_t* value);
QLX_API int QLXgetdblattrib(QLXprob prob, int id, double* value);
QLX_API int QLXgetstringattrib(QLXprob prob, int id, char* value, int size, int* length);

/* All controls and attributes as parallel arrays (names, ids, descriptor bits QLX_PARAM_...), owned
 * by the library; the list ends at id 0. prob may be null. */
QLX_API int QLXgetcalist_c(QLXprob prob, const char* const** names, const int** ids,
                           const int** flags);
/* Id and type (QLX_TYPE_...) of a control or attribute, by name in any case; refused when there is
 * none. */
QLX_API int QLXgetcontrolinfo(QLXprob prob, const char* name, int* id, int* type);
QLX_API int QLXgetattribinfo(QLXprob prob, const char* name, int* id, int* type);
/* One line about a control or attribute of either solver, its range "min .. max" and default as
 * texts; at most 255, 127 and 63 characters and NUL. control nonzero: a control, zero: an
 * attribute. */
QLX_API int QLXgetparamdoc(int control, int id, char* description, char* range, char* initial);

/* Sets dest's controls to src's. */
QLX_API int QLXcopycontrols(QLXprob dest, QLXprob src);
/* Sends every control that is not at its default as a message. */
QLX_API int QLXdumpcontrols(QLXprob prob);
QLX_API int QLXsetdefaultcontrol(QLXprob prob, int id);
QLX_API int QLXsetdefaults(QLXprob prob);

/* Appends messages to a file from now on; null or empty ends it. */
QLX_API int QLXsetlogfile(QLXprob prob, const char* filename);
/* Whether messages with a number are sent: nonzero yes. */
QLX_API int QLXgetmessagestatus(QLXprob prob, int number, int* status);
QLX_API int QLXsetmessagestatus(QLXprob prob, int number, int status);

#ifdef __cplusplus
}
#endif

#endif

/* Problem, solution and save files, and the tuner. Files ending in .gz are compressed. */
#ifndef QLX_FILES_H
#define QLX_FILES_H

#include "qlx_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Replaces the model by a file's, MPS or LP by contents; the extensions .mps, .lp, .mps.gz and
 * .lp.gz may be left out. On failure the model is unchanged. */
QLX_API int QLXreadprob(QLXprob prob, const char* filename, const char* options);
/* Writes the model; options 'l' LP form, else MPS, 'x' full precision. */
QLX_API int QLXwriteprob(QLXprob prob, const char* filename, const char* options);

/* Solutions: binary, name-value text, and readable tables. A null filename means the problem's name
 * with the usual extension. */
QLX_API int QLXreadbinsol(QLXprob prob, const char* filename, const char* flags);
QLX_API int QLXwritebinsol(QLXprob prob, const char* filename, const char* flags);
QLX_API int QLXreadslxsol(QLXprob prob, const char* filename, const char* flags);
QLX_API int QLXwriteslxsol(QLXprob prob, const char* filename, const char* flags);
QLX_API int QLXwritesol(QLXprob prob, const char* filename, const char* flags);
QLX_API int QLXwriteprtsol(QLXprob prob, const char* filename, const char* flags);

/* Saves model, controls and last solve into a file named after the problem; restores them. */
QLX_API int QLXsave(QLXprob prob);
QLX_API int QLXrestore(QLXprob prob, const char* probname, const char* flags);

/* Searches for better controls on this model; methods (sets of controls to try) as files. */
QLX_API int QLXtune(QLXprob prob, const char* flags);
QLX_API int QLXtunerwritemethod(QLXprob prob, const char* filename);
QLX_API int QLXtunerreadmethod(QLXprob prob, const char* filename);

#ifdef __cplusplus
}
#endif

#endif

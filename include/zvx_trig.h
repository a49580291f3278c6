/* Sine, cosine and staggered cosine transforms of one real vector, in place.
 *
 * A transform is described by three things the caller owns: an integer array `ipar` of
 * ZVX_TT_IPAR_SIZE entries, a floating array `dpar` (`spar` in single precision) of at least
 * ZVX_TT_DPAR_SIZE(n) entries, and a DFT descriptor handle slot. The data vector `f` holds n + 1
 * values, f[0] to f[n]; n must be positive and even.
 *
 * Call init, optionally adjust ipar and dpar[0], commit, then any number of forward and backward
 * transforms, then free. Every argument is by reference. Each routine also exists with a leading
 * underscore and the same behaviour.
 *
 *   type 0, sine:      F[k] = sum_{j=1}^{n-1} f[j] sin(pi j k / n),                 k = 1..n-1
 *   type 1, cosine:    F[k] = f[0]/2 + sum_{j=1}^{n-1} f[j] cos(pi j k / n)
 *                             + (-1)^k f[n]/2,                                       k = 0..n
 *   type 2, staggered: backward F[k] = sum_{j=0}^{n-1} f[j] cos(pi k (2j+1) / (2n)), k = 0..n-1
 *                      forward  F[k] = f[0]/2 + sum_{j=1}^{n-1} f[j] cos(pi j (2k+1) / (2n))
 * The backward transform is unscaled; the forward one is multiplied by 2/n, so forward then
 * backward returns the input (for the sine type with f[0] = f[n] = 0).
 *
 * The status is returned in `stat` and kept in ipar[6]; a routine other than init refuses to work
 * while ipar[6] is not 0 (a warning at commit blocks later calls until the caller clears it). */
#ifndef ZVX_TRIG_H
#define ZVX_TRIG_H

#include "zvx_common.h"
#include "zvx_dft.h"

ZVX_EXTERN_C_BEGIN

/* Entries of ipar (C indices). */
enum {
  ZVX_TT_IPAR_SIZE_OF_TRANSFORM = 0, /* n */
  ZVX_TT_IPAR_ERROR_MESSAGES = 1,    /* 0 silent, > 0 console, < 0 log file */
  ZVX_TT_IPAR_WARNING_MESSAGES = 2,  /* the same, for warnings */
  ZVX_TT_IPAR_TYPE = 5,              /* ZVX_TT_SINE, ZVX_TT_COSINE, ZVX_TT_STAGGERED_COSINE */
  ZVX_TT_IPAR_STATUS = 6,            /* status of the last routine */
  ZVX_TT_IPAR_BUILD = 7,             /* non-zero: commit fills the tables and the descriptor */
  ZVX_TT_IPAR_C_MESSAGES = 8,        /* non-zero: messages with C indices, else one-based */
  ZVX_TT_IPAR_USER_THREADS = 9       /* threads that call the transform on this descriptor */
};
/* The entries of ipar this layer reads; ipar[3] and ipar[4] are never touched. */
#define ZVX_TT_IPAR_SIZE 10

/* Transform types. */
enum { ZVX_TT_SINE = 0, ZVX_TT_COSINE = 1, ZVX_TT_STAGGERED_COSINE = 2 };

/* dpar[0] is the tolerance of the boundary checks, dpar[1] is not touched, the tables start at
 * dpar[2]. An array of 3n/2 + 2 entries is enough for every type. */
#define ZVX_TT_DPAR_SIZE(n) (3 * (n) / 2 + 2)

/* Status values. */
enum {
  ZVX_TT_OK = 0,
  ZVX_TT_TOLERANCE_EXCEEDED = 1,     /* commit: a boundary value of f exceeded dpar[0] */
  ZVX_TT_DEFAULT_USED = 10,          /* commit: a parameter was replaced by its default */
  ZVX_TT_TOLERANCE_AND_DEFAULT = 11, /* both */
  ZVX_TT_BAD_PARAMETER = -100,       /* bad size or bad type */
  ZVX_TT_DIVISION_BY_ZERO = -200,    /* forward staggered cosine: damaged table */
  ZVX_TT_DFT_ERROR = -1000,          /* the DFT layer failed */
  ZVX_TT_BLOCKED = -10000,           /* ipar[6] was not 0 on entry, or ipar[0] was 0 */
  ZVX_TT_FREEING = -99999            /* transient value of free */
};

/* Log file of the messages when a switch is negative (opened in the working directory). */
#define ZVX_TT_LOG_FILE "ZVX_Trig_Transforms_Log.txt"

ZVX_API void d_init_trig_transform(const int* n, const int* tt_type, int* ipar, double* dpar,
                                   int* stat);
ZVX_API void d_commit_trig_transform(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                     double* dpar, int* stat);
ZVX_API void d_forward_trig_transform(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                      double* dpar, int* stat);
ZVX_API void d_backward_trig_transform(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                       double* dpar, int* stat);

ZVX_API void s_init_trig_transform(const int* n, const int* tt_type, int* ipar, float* spar,
                                   int* stat);
ZVX_API void s_commit_trig_transform(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                     float* spar, int* stat);
ZVX_API void s_forward_trig_transform(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                      float* spar, int* stat);
ZVX_API void s_backward_trig_transform(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                       float* spar, int* stat);

ZVX_API void free_trig_transform(DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, int* stat);

/* The same routines under their second spelling. */
ZVX_API void _d_init_trig_transform(const int* n, const int* tt_type, int* ipar, double* dpar,
                                    int* stat);
ZVX_API void _d_commit_trig_transform(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                      double* dpar, int* stat);
ZVX_API void _d_forward_trig_transform(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                       double* dpar, int* stat);
ZVX_API void _d_backward_trig_transform(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                        double* dpar, int* stat);
ZVX_API void _s_init_trig_transform(const int* n, const int* tt_type, int* ipar, float* spar,
                                    int* stat);
ZVX_API void _s_commit_trig_transform(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                      float* spar, int* stat);
ZVX_API void _s_forward_trig_transform(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                       float* spar, int* stat);
ZVX_API void _s_backward_trig_transform(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                        float* spar, int* stat);
ZVX_API void _free_trig_transform(DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, int* stat);

ZVX_EXTERN_C_END

#endif

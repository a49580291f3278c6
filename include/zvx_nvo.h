/* Vector math and random bits through the companion library, and the vector threaders.
 *
 * The functions below are served by a companion file chosen for the processor and loaded at the
 * first call that needs it (see docs/nvo.md for its names, the configuration file zvx.cfg and the
 * variables that steer the choice). A missing companion file, a missing entry in it, or a file
 * made for a newer processor ends the process with exit code 1 after a message on standard error.
 *
 * Accuracy: in the default (high-accuracy) mode the sine and cosine are within 1 ulp of the exact
 * value for every finite argument; in the faster mode within 3.5 ulp.
 * Long vectors are split over two OpenMP threads when threading is asked for through
 * OMP_NUM_THREADS and the vector is long enough to pay for it. */
#ifndef ZVX_NVO_H
#define ZVX_NVO_H

#include "zvx_common.h"

ZVX_EXTERN_C_BEGIN

/* r[i] = cos(a[i]) or sin(a[i]) for i < n. The count is by value; a negative count is reported
 * as parameter 1, a null array as parameter 2 or 3, through the library's error reporter. */
ZVX_API void vdCos(int n, const double* a, double* r);
ZVX_API void vdSin(int n, const double* a, double* r);
ZVX_API void vsCos(int n, const float* a, float* r);
ZVX_API void vsSin(int n, const float* a, float* r);
/* The same sines with the count by reference, in the library's frame calling style. */
ZVX_API void vdsin(const int* n, const double* a, double* r);
ZVX_API void vssin(const int* n, const float* a, float* r);

/* Random-bit streams. A stream is a handle made by sgxNewStream and released by sgxDeleteStream.
 * The basic generator ZVX_SGX_BRNG_UNIFORM_BITS gives 32 uniformly random bits in every word.
 * Results: 0 on success; ZVX_SGX_STATUS_* below on failure. Only method 0 exists. */
typedef void* zvx_sgx_stream;
#define ZVX_SGX_BRNG_UNIFORM_BITS 0x100000
#define ZVX_SGX_STATUS_BAD_ARGUMENT (-3)
#define ZVX_SGX_STATUS_NULL_STREAM (-5)
#define ZVX_SGX_STATUS_BAD_BRNG (-1000)
#define ZVX_SGX_STATUS_NO_MEMORY (-1001)
#define ZVX_SGX_STATUS_BAD_STREAM (-1006)
ZVX_API int sgxNewStream(zvx_sgx_stream* stream, int brng, unsigned int seed);
ZVX_API int sgxDeleteStream(zvx_sgx_stream* stream);
ZVX_API int viRngUniformBits(int method, zvx_sgx_stream stream, int n, unsigned int* r);

/* The threaders: call function(count, a + k, r + k) over consecutive pieces of the vector, on
 * up to two threads when the vector is at least as long as the cost table of `number` (110
 * cosine, 115 its faster form, 120 sine, 125 its faster form) asks for on this machine, and
 * otherwise once over the whole vector on the calling thread. */
typedef void (*zvx_nvo_vector_d)(int n, const double* a, double* r);
typedef void (*zvx_nvo_vector_s)(int n, const float* a, float* r);
ZVX_API void _zvx_nvo_service_threader_d_1i_1o(zvx_nvo_vector_d function, int n, const double* a,
                                               double* r, int number);
ZVX_API void _zvx_nvo_service_threader_s_1i_1o(zvx_nvo_vector_s function, int n, const float* a,
                                               float* r, int number);

ZVX_EXTERN_C_END

#endif

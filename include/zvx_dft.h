/* Discrete Fourier transforms behind a descriptor.
 *
 * A caller creates a descriptor for a domain, a precision, a rank and its lengths, refines it with
 * the set operations, commits it, runs any number of transforms and frees it. The forward
 * transform uses the roots exp(-2 pi i jk/n), the backward one exp(+2 pi i jk/n); neither is
 * normalised unless a scale is set. Every entry takes its arguments by reference (the handle as
 * the address of the variable that holds it), except the data of a compute call, which is the
 * data's own address. Every entry but dfti_error_class_external returns a status below. */
#ifndef ZVX_DFT_H
#define ZVX_DFT_H

#include "zvx_common.h"

ZVX_EXTERN_C_BEGIN

/* A descriptor: the address of its first dimension record. */
typedef struct DftiDimensionRecord DftiDimensionRecord;
typedef DftiDimensionRecord* DFTI_DESCRIPTOR_HANDLE;

/* Parameter numbers. */
enum {
  DFTI_FORWARD_DOMAIN = 0,
  DFTI_DIMENSION = 1,
  DFTI_LENGTHS = 2,
  DFTI_PRECISION = 3,
  DFTI_FORWARD_SCALE = 4,
  DFTI_BACKWARD_SCALE = 5,
  DFTI_NUMBER_OF_TRANSFORMS = 7,
  DFTI_COMPLEX_STORAGE = 8,
  DFTI_REAL_STORAGE = 9,
  DFTI_CONJUGATE_EVEN_STORAGE = 10,
  DFTI_PLACEMENT = 11,
  DFTI_INPUT_STRIDES = 12,
  DFTI_OUTPUT_STRIDES = 13,
  DFTI_INPUT_DISTANCE = 14,
  DFTI_OUTPUT_DISTANCE = 15,
  DFTI_ORDERING = 18,
  DFTI_TRANSPOSE = 19,
  DFTI_DESCRIPTOR_NAME = 20,
  DFTI_PACKED_FORMAT = 21,
  DFTI_COMMIT_STATUS = 22,
  DFTI_VERSION = 23,
  DFTI_NUMBER_OF_USER_THREADS = 26
};

/* Values of the parameters. */
enum {
  DFTI_COMMITTED = 30,
  DFTI_UNCOMMITTED = 31,
  DFTI_COMPLEX = 32,
  DFTI_REAL = 33,
  DFTI_SINGLE = 35,
  DFTI_DOUBLE = 36,
  DFTI_COMPLEX_COMPLEX = 39,
  DFTI_COMPLEX_REAL = 40,
  DFTI_REAL_REAL = 42,
  DFTI_INPLACE = 43,
  DFTI_NOT_INPLACE = 44,
  DFTI_ORDERED = 48,
  DFTI_BACKWARD_SCRAMBLED = 49,
  DFTI_NONE = 53,
  DFTI_CCS_FORMAT = 54,
  DFTI_PACK_FORMAT = 55,
  DFTI_PERM_FORMAT = 56,
  DFTI_CCE_FORMAT = 57
};

/* Status codes; dfti_error_message_external gives their texts. */
enum {
  DFTI_NO_ERROR = 0,
  DFTI_MEMORY_ERROR = 1,
  DFTI_INVALID_CONFIGURATION = 2,
  DFTI_INCONSISTENT_CONFIGURATION = 3,
  DFTI_MULTITHREADED_ERROR = 4,
  DFTI_BAD_DESCRIPTOR = 5,
  DFTI_UNIMPLEMENTED = 6,
  DFTI_ZVX_INTERNAL_ERROR = 7,
  DFTI_NUMBER_OF_THREADS_ERROR = 8
};

/* Bytes that dfti_error_message_external writes, and that a buffer for DFTI_VERSION must hold. */
#define DFTI_MESSAGE_BYTES 40
#define DFTI_VERSION_BYTES 198
/* Bytes of DFTI_DESCRIPTOR_NAME, without a terminator. */
#define DFTI_NAME_BYTES 10

/* Descriptor life cycle. The lengths array of the high-dimension create holds `dimension` items,
 * the first dimension being the contiguous one. */
ZVX_API int dfti_create_descriptor_1d(DFTI_DESCRIPTOR_HANDLE* handle, const int* precision,
                                      const int* domain, const int* dimension, const int* length);
ZVX_API int dfti_create_descriptor_highd(DFTI_DESCRIPTOR_HANDLE* handle, const int* precision,
                                         const int* domain, const int* dimension,
                                         const int* lengths);
ZVX_API int dfti_commit_descriptor_external(DFTI_DESCRIPTOR_HANDLE* handle);
ZVX_API int dfti_free_descriptor_external(DFTI_DESCRIPTOR_HANDLE* handle);

/* Configuration. Strides vectors hold rank + 1 items: the offset, then one stride per
 * dimension. */
ZVX_API int dfti_set_value_intval(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                  const int* value);
ZVX_API int dfti_set_value_sglval(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                  const float* value);
ZVX_API int dfti_set_value_dblval(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                  const double* value);
ZVX_API int dfti_set_value_intvec(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                  const int* values);
ZVX_API int dfti_set_value_chars(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                 const char* chars);
ZVX_API int dfti_get_value_intval(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                  int* value);
ZVX_API int dfti_get_value_sglval(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                  float* value);
ZVX_API int dfti_get_value_dblval(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                  double* value);
ZVX_API int dfti_get_value_intvec(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                  int* values);
ZVX_API int dfti_get_value_chars(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                 char* chars);

/* Writes exactly 40 bytes (the text, then blanks; no terminator) and returns the text's length.
 * The length argument is not read. */
ZVX_API int dfti_error_message_external(char* buffer, const int* length, const int* status);
/* 1 when the two values are equal, else 0. */
ZVX_API int dfti_error_class_external(const int* status, const int* status_class);

/* Complex transforms, in place (one array) and out of place (_out). */
ZVX_API int dfti_compute_forward_c(DFTI_DESCRIPTOR_HANDLE* handle, zvx_complex8* data);
ZVX_API int dfti_compute_backward_c(DFTI_DESCRIPTOR_HANDLE* handle, zvx_complex8* data);
ZVX_API int dfti_compute_forward_c_out(DFTI_DESCRIPTOR_HANDLE* handle, const zvx_complex8* in,
                                       zvx_complex8* out);
ZVX_API int dfti_compute_backward_c_out(DFTI_DESCRIPTOR_HANDLE* handle, const zvx_complex8* in,
                                        zvx_complex8* out);
ZVX_API int dfti_compute_forward_z(DFTI_DESCRIPTOR_HANDLE* handle, zvx_complex16* data);
ZVX_API int dfti_compute_backward_z(DFTI_DESCRIPTOR_HANDLE* handle, zvx_complex16* data);
ZVX_API int dfti_compute_forward_z_out(DFTI_DESCRIPTOR_HANDLE* handle, const zvx_complex16* in,
                                       zvx_complex16* out);
ZVX_API int dfti_compute_backward_z_out(DFTI_DESCRIPTOR_HANDLE* handle, const zvx_complex16* in,
                                        zvx_complex16* out);

/* Real transforms with packed results in real storage (layout by DFTI_PACKED_FORMAT), in place
 * and out of place. A descriptor with DFTI_CONJUGATE_EVEN_STORAGE = DFTI_COMPLEX_COMPLEX hands
 * these over to the conjugate-even entries below. */
ZVX_API int dfti_compute_forward_s(DFTI_DESCRIPTOR_HANDLE* handle, float* data);
ZVX_API int dfti_compute_backward_s(DFTI_DESCRIPTOR_HANDLE* handle, float* data);
ZVX_API int dfti_compute_forward_s_out(DFTI_DESCRIPTOR_HANDLE* handle, const float* in, float* out);
ZVX_API int dfti_compute_backward_s_out(DFTI_DESCRIPTOR_HANDLE* handle, const float* in,
                                        float* out);
ZVX_API int dfti_compute_forward_d(DFTI_DESCRIPTOR_HANDLE* handle, double* data);
ZVX_API int dfti_compute_backward_d(DFTI_DESCRIPTOR_HANDLE* handle, double* data);
ZVX_API int dfti_compute_forward_d_out(DFTI_DESCRIPTOR_HANDLE* handle, const double* in,
                                       double* out);
ZVX_API int dfti_compute_backward_d_out(DFTI_DESCRIPTOR_HANDLE* handle, const double* in,
                                        double* out);

/* Real to conjugate-even complex values (n1 / 2 + 1 along the first dimension) and back. In place
 * the one array is addressed with the input strides and offset on the input side and the output
 * ones on the output side, each counting its own elements (reals or complex values). */
ZVX_API int dfti_compute_forward_sc(DFTI_DESCRIPTOR_HANDLE* handle, void* data);
ZVX_API int dfti_compute_forward_sc_out(DFTI_DESCRIPTOR_HANDLE* handle, const float* in,
                                        zvx_complex8* out);
ZVX_API int dfti_compute_backward_cs(DFTI_DESCRIPTOR_HANDLE* handle, void* data);
ZVX_API int dfti_compute_backward_cs_out(DFTI_DESCRIPTOR_HANDLE* handle, const zvx_complex8* in,
                                         float* out);
ZVX_API int dfti_compute_forward_dz(DFTI_DESCRIPTOR_HANDLE* handle, void* data);
ZVX_API int dfti_compute_forward_dz_out(DFTI_DESCRIPTOR_HANDLE* handle, const double* in,
                                        zvx_complex16* out);
ZVX_API int dfti_compute_backward_zd(DFTI_DESCRIPTOR_HANDLE* handle, void* data);
ZVX_API int dfti_compute_backward_zd_out(DFTI_DESCRIPTOR_HANDLE* handle, const zvx_complex16* in,
                                         double* out);

/* The threaded frames under the compute entries, callable on their own: they take the data
 * before the offsets are applied, and decide on threads as the entries do once they have chosen
 * a parallel path. */
ZVX_API int compute_forward_c_par(DFTI_DESCRIPTOR_HANDLE* handle, zvx_complex8* data);
ZVX_API int compute_backward_c_par(DFTI_DESCRIPTOR_HANDLE* handle, zvx_complex8* data);
ZVX_API int compute_forward_c_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const zvx_complex8* in,
                                      zvx_complex8* out);
ZVX_API int compute_backward_c_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const zvx_complex8* in,
                                       zvx_complex8* out);
ZVX_API int compute_forward_z_par(DFTI_DESCRIPTOR_HANDLE* handle, zvx_complex16* data);
ZVX_API int compute_backward_z_par(DFTI_DESCRIPTOR_HANDLE* handle, zvx_complex16* data);
ZVX_API int compute_forward_z_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const zvx_complex16* in,
                                      zvx_complex16* out);
ZVX_API int compute_backward_z_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const zvx_complex16* in,
                                       zvx_complex16* out);
ZVX_API int compute_forward_s_par(DFTI_DESCRIPTOR_HANDLE* handle, float* data);
ZVX_API int compute_backward_s_par(DFTI_DESCRIPTOR_HANDLE* handle, float* data);
ZVX_API int compute_forward_s_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const float* in, float* out);
ZVX_API int compute_backward_s_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const float* in, float* out);
ZVX_API int compute_forward_d_par(DFTI_DESCRIPTOR_HANDLE* handle, double* data);
ZVX_API int compute_backward_d_par(DFTI_DESCRIPTOR_HANDLE* handle, double* data);
ZVX_API int compute_forward_d_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const double* in,
                                      double* out);
ZVX_API int compute_backward_d_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const double* in,
                                       double* out);
ZVX_API int _zvx_dft_compute_forward_sc_par(DFTI_DESCRIPTOR_HANDLE* handle, void* data);
ZVX_API int compute_forward_sc_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const float* in,
                                       zvx_complex8* out);
ZVX_API int _zvx_dft_compute_backward_cs_par(DFTI_DESCRIPTOR_HANDLE* handle, void* data);
ZVX_API int compute_backward_cs_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const zvx_complex8* in,
                                        float* out);
ZVX_API int _zvx_dft_compute_forward_dz_par(DFTI_DESCRIPTOR_HANDLE* handle, void* data);
ZVX_API int compute_forward_dz_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const double* in,
                                       zvx_complex16* out);
ZVX_API int _zvx_dft_compute_backward_zd_par(DFTI_DESCRIPTOR_HANDLE* handle, void* data);
ZVX_API int compute_backward_zd_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const zvx_complex16* in,
                                        double* out);

ZVX_EXTERN_C_END

#endif

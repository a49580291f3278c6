// The line engine of the DFT: transforms one contiguous line of any length. It knows nothing of
// strides, batches, threads, descriptors or scaling policy; the descriptor layer calls it with flag
// 8 (no scaling) and scales on its own. It has its own contexts, its own allocator and its own
// negative status codes, which the descriptor layer maps (0 -> 0, -9 -> 1, anything else -> 7).
//
// Everything a line needs that depends on its length (roots of unity, factor lists, permutations,
// chirp spectra) is built by create; the compute entries do no trigonometry and, given scratch of
// the queried size, no allocation.
#pragma once
#include <cstddef>

#include "zvx_common.h"

namespace zvx::dft {

// Status values of the engine.
enum engine_status : int {
  engine_ok = 0,
  engine_bad_length = -6,   // length below 1
  engine_null = -8,         // null context or data pointer
  engine_no_memory = -9,
  engine_bad_order = -15,   // power-of-two order outside 0..30
  engine_bad_flag = -16,    // scaling flag not 1, 2, 4 or 8
  engine_bad_type = -17,    // context of another type than the entry serves
};

// Context types: the first word of every context. An entry refuses a context of another type.
enum context_type : int {
  context_complex_single = 13,
  context_complex_single_scrambled = 0x434D414A,
  context_complex_double = 16,
  context_complex_double_scrambled = 0x434D414B,
  context_real_single = 15,
  context_real_double = 18,
};

// Scaling flags at creation: 8 none, 1 forward by 1/n, 2 inverse by 1/n, 4 both by 1/sqrt(n).
enum scale_flag : int {
  scale_forward_by_n = 1,
  scale_inverse_by_n = 2,
  scale_both_by_sqrt_n = 4,
  scale_none = 8,
};

// A context of any type; its layout belongs to the engine. The first member is the type.
struct PrimitiveDftContext;

// Creates a context of `type` for lines of `length` elements. On failure *context is left as it
// was and everything built so far is released.
int primitive_dft_create(PrimitiveDftContext** context, int type, int length, int flag, int hint);
// Scratch bytes a compute call on this context needs (0: none). The entries align the caller's
// scratch up to 64 bytes within what a caller gives, which is `bytes` + 32.
int primitive_dft_buffer_size(const PrimitiveDftContext* context, int* bytes);
// Releases a context; null is accepted.
int primitive_dft_free(PrimitiveDftContext* context);
// The context's type, or 0 for null.
int primitive_dft_type(const PrimitiveDftContext* context);

// Complex entries, one pair per context type: forward is exp(-2 pi i jk/n), inverse exp(+...),
// unscaled unless the context's flag says otherwise. `in` and `out` may be the same address.
// Scratch null: allocated for the call (status -9 when that fails). A scrambled context of a length
// on the mixed-radix route above the reorder limit leaves the forward output in digit-reversed order
// and its inverse entry takes that order; every other context works in natural order.
int primitive_dft_forward_c(const zvx_complex8* in, zvx_complex8* out, PrimitiveDftContext* context,
                            void* scratch);
int primitive_dft_inverse_c(const zvx_complex8* in, zvx_complex8* out, PrimitiveDftContext* context,
                            void* scratch);
int primitive_dft_forward_c_scrambled(const zvx_complex8* in, zvx_complex8* out,
                                      PrimitiveDftContext* context, void* scratch);
int primitive_dft_inverse_c_scrambled(const zvx_complex8* in, zvx_complex8* out,
                                      PrimitiveDftContext* context, void* scratch);
int primitive_dft_forward_z(const zvx_complex16* in, zvx_complex16* out,
                            PrimitiveDftContext* context, void* scratch);
int primitive_dft_inverse_z(const zvx_complex16* in, zvx_complex16* out,
                            PrimitiveDftContext* context, void* scratch);
int primitive_dft_forward_z_scrambled(const zvx_complex16* in, zvx_complex16* out,
                                      PrimitiveDftContext* context, void* scratch);
int primitive_dft_inverse_z_scrambled(const zvx_complex16* in, zvx_complex16* out,
                                      PrimitiveDftContext* context, void* scratch);

// Several lines of one context at once: `count` lines, element k of line l read at
// in[k * in_stride + l * in_distance] and written at out[k * out_stride + l * out_distance]
// (strides and distances in elements, of any sign). Each line is transformed as the single-line
// entry of the context's type transforms it, scaling included; the lines of a grouped context
// (primitive_dft_lines_grouped) are moved in groups into a buffer, element by element
// across the lines, so that every radix pass runs its vectors over neighbouring lines. A line's
// result does not depend on `count`, on the line's place among them, or on the strides.
// `in` and `out` are either the same array with the same strides and distances, or do not
// overlap. Scratch: the bytes primitive_dft_lines_buffer_size reports, aligned by the entries as
// for the single-line entries (null: allocated for the call). count 0 does nothing; a negative
// count gives engine_bad_length.
int primitive_dft_lines_buffer_size(const PrimitiveDftContext* context, int* bytes);
// 1 when the multi-line entry moves this context's lines in groups (a length above the fixed
// kernels and off the chirp route, in natural order, whose group buffers fit the tuning limit), 0 when it takes
// them one at a time or the context is null.
int primitive_dft_lines_grouped(const PrimitiveDftContext* context);
int primitive_dft_forward_c_lines(const zvx_complex8* in, long in_stride, long in_distance,
                                  zvx_complex8* out, long out_stride, long out_distance,
                                  long count, PrimitiveDftContext* context, void* scratch);
int primitive_dft_inverse_c_lines(const zvx_complex8* in, long in_stride, long in_distance,
                                  zvx_complex8* out, long out_stride, long out_distance,
                                  long count, PrimitiveDftContext* context, void* scratch);
int primitive_dft_forward_z_lines(const zvx_complex16* in, long in_stride, long in_distance,
                                  zvx_complex16* out, long out_stride, long out_distance,
                                  long count, PrimitiveDftContext* context, void* scratch);
int primitive_dft_inverse_z_lines(const zvx_complex16* in, long in_stride, long in_distance,
                                  zvx_complex16* out, long out_stride, long out_distance,
                                  long count, PrimitiveDftContext* context, void* scratch);

// Real contexts (context_real_single, context_real_double): one line of `length` reals and its
// packed half spectrum, R(k) and I(k) for k up to length / 2. The forward entries read `length`
// reals and write the layout of their format; the inverse entries read their format and write
// `length` reals (the unnormalised inverse: forward then inverse gives length times the input).
// Layouts, for N = length (n/2 is integer division):
//   perm: R(0), R(N/2), R(1), I(1), ..., R(N/2-1), I(N/2-1)           N even, N reals
//         R(0), R(1), I(1), ..., R((N-1)/2), I((N-1)/2)                 N odd,  N reals
//   pack: R(0), R(1), I(1), ..., R(N/2-1), I(N/2-1), R(N/2)             N even, N reals
//         as perm                                                       N odd
//   ccs:  R(0), 0, R(1), I(1), ..., R(N/2), 0                           N even, N + 2 reals
//         R(0), 0, R(1), I(1), ..., R((N-1)/2), I((N-1)/2)              N odd,  N + 1 reals
// `in` and `out` may be the same array (which then holds the larger of the two sizes). The inverse
// entries leave their input as it was when it is not the output (the descriptor layer runs them
// straight from the caller's array). Scratch as for the complex entries.
int primitive_dft_forward_s_perm(const float* in, float* out, PrimitiveDftContext* context,
                                 void* scratch);
int primitive_dft_forward_s_pack(const float* in, float* out, PrimitiveDftContext* context,
                                 void* scratch);
int primitive_dft_forward_s_ccs(const float* in, float* out, PrimitiveDftContext* context,
                                void* scratch);
int primitive_dft_inverse_s_perm(const float* in, float* out, PrimitiveDftContext* context,
                                 void* scratch);
int primitive_dft_inverse_s_pack(const float* in, float* out, PrimitiveDftContext* context,
                                 void* scratch);
int primitive_dft_inverse_s_ccs(const float* in, float* out, PrimitiveDftContext* context,
                                void* scratch);
int primitive_dft_forward_d_perm(const double* in, double* out, PrimitiveDftContext* context,
                                 void* scratch);
int primitive_dft_forward_d_pack(const double* in, double* out, PrimitiveDftContext* context,
                                 void* scratch);
int primitive_dft_forward_d_ccs(const double* in, double* out, PrimitiveDftContext* context,
                                void* scratch);
int primitive_dft_inverse_d_perm(const double* in, double* out, PrimitiveDftContext* context,
                                 void* scratch);
int primitive_dft_inverse_d_pack(const double* in, double* out, PrimitiveDftContext* context,
                                 void* scratch);
int primitive_dft_inverse_d_ccs(const double* in, double* out, PrimitiveDftContext* context,
                                void* scratch);

// Straight-line real transforms for the lengths 2, 4, 8, 16, 32 and 64: no context, no tables,
// unscaled. `format` is the packed format whose layout the spectrum takes (54 CCS, 55 Pack,
// 56 Perm, 57 CCE laid out as CCS): the forward kernel writes it, the inverse kernel reads it.
// `in` and `out` may be the same array. The lookups give null for any other length.
using real_small_s_fn = void (*)(const float* in, float* out, int format);
using real_small_d_fn = void (*)(const double* in, double* out, int format);
real_small_s_fn real_small_forward_s(int length);
real_small_s_fn real_small_inverse_s(int length);
real_small_d_fn real_small_forward_d(int length);
real_small_d_fn real_small_inverse_d(int length);

// The engine's allocator: 64-byte aligned, zero-filled blocks; a size below 1 gives null; free
// accepts null.
void* engine_allocate(long bytes);
void engine_free(void* block);

}  // namespace zvx::dft

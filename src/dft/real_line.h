// One real line of the descriptor layer: the packed layouts, the engine entry of each format, the
// straight-line kernels of the short powers of two, and the line slots commit stores in the real
// records. The multi-dimensional drivers call real_line with an explicit format, since the rows
// they hand over are not always in the record's own format.
#pragma once
#include <cstring>

#include "blas/level12/kernels.h"
#include "dft/descriptor.h"
#include "dft/engine_tuning.h"

namespace zvx::dft {

template <class R> struct complex_of;
template <> struct complex_of<float> { using type = complex8; };
template <> struct complex_of<double> { using type = complex16; };
template <class R> using complex_t = typename complex_of<R>::type;

// Conjugate-even storage as complex values is laid out as CCS; the records of such a descriptor
// carry format 57, which the lines treat as CCS.
inline bool is_ccs(int fmt) { return fmt == DFTI_CCS_FORMAT || fmt == DFTI_CCE_FORMAT; }

// Reals of a packed line of n: CCS holds n / 2 + 1 pairs, Pack and Perm n reals.
inline long packed_reals(int fmt, long n) { return is_ccs(fmt) ? 2 * (n / 2 + 1) : n; }

// Index of R(k) (k from 0 to n / 2) in a packed line of n, and of I(k), or -1 where the layout
// has no imaginary part for k (Pack and Perm drop the zero imaginary parts of R(0) and R(n / 2)).
inline long re_index(int fmt, long n, long k) {
  if (is_ccs(fmt)) return 2 * k;
  if (k == 0) return 0;
  const bool nyquist = n % 2 == 0 && 2 * k == n;
  if (fmt == DFTI_PACK_FORMAT) return nyquist ? n - 1 : 2 * k - 1;
  if (nyquist) return 1;
  return n % 2 == 0 ? 2 * k : 2 * k - 1;
}
inline long im_index(int fmt, long n, long k) {
  if (is_ccs(fmt)) return 2 * k + 1;
  if (k == 0 || (n % 2 == 0 && 2 * k == n)) return -1;
  return re_index(fmt, n, k) + 1;
}

// The format a record's lines use: conjugate-even storage as complex values always runs CCS.
inline int line_format(const DftiDimensionRecord* r) {
  return r->conjugate_even_storage == DFTI_COMPLEX_COMPLEX ? DFTI_CCS_FORMAT : r->packed_format;
}

template <class R>
inline R scale_of(const DftiDimensionRecord* r, bool forward) {
  if constexpr (sizeof(R) == sizeof(float))
    return forward ? r->forward_scale_single : r->backward_scale_single;
  else
    return forward ? r->forward_scale_double : r->backward_scale_double;
}

template <class R>
inline void scale_reals(long n, R alpha, R* x) {
  if constexpr (sizeof(R) == sizeof(float))
    blas12::kernels().s.scal(n, alpha, x);
  else
    blas12::kernels().d.scal(n, alpha, x);
}

template <class R>
using small_fn = void (*)(const R*, R*, int);

// The straight-line kernel of a length, or null. Above the engine's straight-line limit the
// half-length passes and the vector recombination are faster than the unrolled scalar code (see
// the tuning header), so the lines there take the engine entry like any longer line.
template <class R>
inline small_fn<R> small_kernel(long n, bool forward) {
  if (n < 2 || n > tuning::real_straight_line_limit) return nullptr;
  const int len = static_cast<int>(n);
  if constexpr (sizeof(R) == sizeof(float))
    return forward ? real_small_forward_s(len) : real_small_inverse_s(len);
  else
    return forward ? real_small_forward_d(len) : real_small_inverse_d(len);
}

// The engine entry of one direction and format.
template <class R>
inline int engine_line(const DftiDimensionRecord* r, bool forward, int fmt, const R* in, R* out,
                       void* scratch) {
  if constexpr (sizeof(R) == sizeof(float)) {
    PrimitiveDftContext* ctx = r->context_s;
    if (forward)
      return is_ccs(fmt)                ? primitive_dft_forward_s_ccs(in, out, ctx, scratch)
             : fmt == DFTI_PACK_FORMAT ? primitive_dft_forward_s_pack(in, out, ctx, scratch)
                                       : primitive_dft_forward_s_perm(in, out, ctx, scratch);
    return is_ccs(fmt)                ? primitive_dft_inverse_s_ccs(in, out, ctx, scratch)
           : fmt == DFTI_PACK_FORMAT ? primitive_dft_inverse_s_pack(in, out, ctx, scratch)
                                     : primitive_dft_inverse_s_perm(in, out, ctx, scratch);
  } else {
    PrimitiveDftContext* ctx = r->context_d;
    if (forward)
      return is_ccs(fmt)                ? primitive_dft_forward_d_ccs(in, out, ctx, scratch)
             : fmt == DFTI_PACK_FORMAT ? primitive_dft_forward_d_pack(in, out, ctx, scratch)
                                       : primitive_dft_forward_d_perm(in, out, ctx, scratch);
    return is_ccs(fmt)                ? primitive_dft_inverse_d_ccs(in, out, ctx, scratch)
           : fmt == DFTI_PACK_FORMAT ? primitive_dft_inverse_d_pack(in, out, ctx, scratch)
                                     : primitive_dft_inverse_d_perm(in, out, ctx, scratch);
  }
}

// One real line in the given format, scaled by the record's scale of the direction. The engine's
// inverse entries read their input and write the output without touching the input (the tests of
// every out-of-place path check that the caller's input stays as it was).
template <class R>
inline int real_line(const DftiDimensionRecord* r, bool forward, int fmt, const R* in, R* out,
                     void* scratch) {
  const long n = r->length;
  const R scale = scale_of<R>(r, forward);
  if (scale == R(1)) {
    if (small_fn<R> k = small_kernel<R>(n, forward)) {
      k(in, out, fmt);
      return DFTI_NO_ERROR;
    }
  }
  const int status = engine_line(r, forward, fmt, in, out, scratch);
  if (status != engine_ok) return map_engine_status(status);
  // The forward count covers R(n / 2) of an even CCS line; the last real there is a zero.
  if (scale != R(1)) scale_reals<R>(forward && is_ccs(fmt) ? n + 1 : n, scale, out);
  return DFTI_NO_ERROR;
}

// The line slots of a real record. The wrappers call the engine entry commit chose by format and
// scale afterwards; a backward in-place CCS line leaves 0 at index n, where R(n / 2) stood.
template <class R>
int real_forward_slot(const R* in, R* out, const DftiDimensionRecord* r, void* scratch) {
  const int status = (sizeof(R) == sizeof(float) ? r->real_forward_s : r->real_forward_d)(
      in, out, sizeof(R) == sizeof(float) ? r->context_s : r->context_d, scratch);
  if (status != engine_ok) return map_engine_status(status);
  const R scale = scale_of<R>(r, true);
  if (scale != R(1)) scale_reals<R>(is_ccs(line_format(r)) ? r->length + 1 : r->length, scale, out);
  return DFTI_NO_ERROR;
}

template <class R>
int real_backward_slot(const R* in, R* out, const DftiDimensionRecord* r, void* scratch) {
  const long n = r->length;
  const int fmt = line_format(r);
  // The multi-dimensional out-of-place drivers hand over rows they have already made Perm.
  const bool perm_rows = r->rank >= 2 && r->placement == DFTI_NOT_INPLACE && is_ccs(fmt);
  int status;
  if (perm_rows) {
    status = engine_line(r, false, DFTI_PERM_FORMAT, in, out, scratch);
  } else {
    status = (sizeof(R) == sizeof(float) ? r->real_backward_s : r->real_backward_d)(
        in, out, sizeof(R) == sizeof(float) ? r->context_s : r->context_d, scratch);
  }
  if (status != engine_ok) return map_engine_status(status);
  if (in == out && r->packed_format == DFTI_CCS_FORMAT && r->placement == DFTI_INPLACE)
    out[n] = R(0);
  const R scale = scale_of<R>(r, false);
  if (scale != R(1)) scale_reals<R>(n, scale, out);
  return DFTI_NO_ERROR;
}

// Straight-line kernels as slots: they read the record's format themselves, and Perm on the
// backward side when commit set perm_input.
template <class R>
int small_forward_slot(const R* in, R* out, const DftiDimensionRecord* r, void*) {
  small_kernel<R>(r->length, true)(in, out, line_format(r));
  return DFTI_NO_ERROR;
}
template <class R>
int small_backward_slot(const R* in, R* out, const DftiDimensionRecord* r, void*) {
  small_kernel<R>(r->length, false)(in, out, r->perm_input == 1 ? DFTI_PERM_FORMAT : line_format(r));
  return DFTI_NO_ERROR;
}

}  // namespace zvx::dft

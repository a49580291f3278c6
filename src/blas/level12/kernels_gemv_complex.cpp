// Complex matrix-vector kernels, unit increments: not transposed (the strips and the rows after
// them) and transposed (groups of columns walked down all strips, or down whole columns).
#include "blas/level12/kernels_isa.h"

namespace zvx::blas12::ZVX_ISA_NS {

// y(0:m) += A * (alpha * x), one column a pass across a chunk of columns; each column asks for its
// lines a page ahead once a block, as the real kernel does, or, with `stream` (matrices beyond the
// second-level cache), for each of the block's lines cgemv_n_stream_ahead_bytes ahead. The
// products with the real and the imaginary part of each multiplier go to sums of their own,
// combined with y once a chunk: the loop takes two FMAs per vector and no shuffle, where forming
// each complex product in place put an exchange of the pairs of every vector on the port the FMAs
// share.
template <class R, int B, bool stream = false>
inline void cgemv_n_block(long n, const complex_t<R>* t, const complex_t<R>* a, long lda, R* y) {
  constexpr int w = W<R>;
  V<R> p[B] = {}, q[B] = {};
  for (long j = 0; j < n; ++j) {
    const V<R> tr = bc(t[j].real), ti = bc(t[j].imag);
    const R* col = &a[j * lda].real;
    if constexpr (stream) {
#pragma GCC unroll 16
      for (long l = 0; l < B * w * (long)sizeof(R); l += 64)
        __builtin_prefetch(reinterpret_cast<const char*>(col) + cgemv_n_stream_ahead_bytes + l, 0, 0);
    } else if constexpr (B > 1) {
      __builtin_prefetch(col + gemv_prefetch_rows<R>, 0, 0);
    }
    for (int b = 0; b < B; ++b) {
      V<R> v = ld(col + b * w);
      in_register(v);
      p[b] = vfma(tr, v, p[b]);
      q[b] = vfma(ti, v, q[b]);
    }
  }
  // p holds (ar tr, ai tr) and q (ar ti, ai ti) per element: re = ar tr - ai ti, im = ai tr + ar ti.
  const V<R> sign = alternating_sign<R>();
  for (int b = 0; b < B; ++b) st(y + b * w, vfma(swap_pairs<R>(q[b]), sign, ld(y + b * w) + p[b]));
}

template <class R>
void cgemv_n(long m, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x, complex_t<R>* y,
             bool stream_hint) {
  constexpr int w = W<R>;
  constexpr int B = cgemv_n_register_vectors<R>(vector_bytes);
  constexpr long chunk = cgemv_n_column_chunk<R>;
  const long len = 2 * m;
  R* yr = &y->real;
  complex_t<R> t[chunk];
  const bool stream = stream_hint || (double)m * n * sizeof(complex_t<R>) > (double)cgemv_n_stream_bytes;
  for (long jc = 0; jc < n; jc += chunk) {
    const long jn = std::min(chunk, n - jc);
    for (long j = 0; j < jn; ++j) t[j] = alpha * x[jc + j];
    const complex_t<R>* ac = a + jc * lda;
    long i = 0;
    if (stream)
      for (; i + B * w <= len; i += B * w) cgemv_n_block<R, B, true>(jn, t, ac + i / 2, lda, yr + i);
    for (; i + B * w <= len; i += B * w) cgemv_n_block<R, B>(jn, t, ac + i / 2, lda, yr + i);
    for (; i + w <= len; i += w) cgemv_n_block<R, 1>(jn, t, ac + i / 2, lda, yr + i);
    for (long k = i / 2; k < m; ++k) {
      complex_t<R> s = y[k];
      for (long j = 0; j < jn; ++j) s += ac[k + j * lda] * t[j];
      y[k] = s;
    }
  }
}

// Rows after the strips, not transposed: sums over the columns of A(i, j) x(j) for up to eight
// vectors of rows, the last one partial, then y(i) += alpha * sum.
template <class R, int NV>
inline void cgemv_rest_block(long len, long n, complex_t<R> alpha, const R* a, long lda, const complex_t<R>* x, R* y) {
  constexpr int w = W<R>;
  const long last = len - (NV - 1) * w;
  const V<R> sign = alternating_sign<R>();
  V<R> s[NV];
  set_zero<R>(s);
  for (long j = 0; j < n; ++j) {
    const V<R> tr = bc(x[j].real), ti = bc(x[j].imag) * sign;
    const R* col = a + 2 * j * lda;
    for (int v = 0; v < NV; ++v) {
      V<R> c = v < NV - 1 ? ld(col + v * w) : ld_part(col + v * w, last);
      in_register(c);
      s[v] = vfma(ti, swap_pairs<R>(c), vfma(tr, c, s[v]));
    }
  }
  const V<R> ar = bc(alpha.real), ai = bc(alpha.imag) * sign;
  for (int v = 0; v < NV; ++v) {
    const long cnt = v < NV - 1 ? w : last;
    const V<R> yv = ld_part(y + v * w, cnt);
    st_part(y + v * w, vfma(ai, swap_pairs<R>(s[v]), vfma(ar, s[v], yv)), cnt);
  }
}

template <class R>
void cgemv_rest_n(long m, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x, complex_t<R>* y) {
  constexpr int w = W<R>;
  const long len = 2 * m;
  for (long i = 0; i < len; i += 8 * w) {
    const long part = std::min<long>(8 * w, len - i);
    const R* ai = &a->real + i;
    R* yi = &y->real + i;
    switch ((part + w - 1) / w) {
      case 1: cgemv_rest_block<R, 1>(part, n, alpha, ai, lda, x, yi); break;
      case 2: cgemv_rest_block<R, 2>(part, n, alpha, ai, lda, x, yi); break;
      case 3: cgemv_rest_block<R, 3>(part, n, alpha, ai, lda, x, yi); break;
      case 4: cgemv_rest_block<R, 4>(part, n, alpha, ai, lda, x, yi); break;
      case 5: cgemv_rest_block<R, 5>(part, n, alpha, ai, lda, x, yi); break;
      case 6: cgemv_rest_block<R, 6>(part, n, alpha, ai, lda, x, yi); break;
      case 7: cgemv_rest_block<R, 7>(part, n, alpha, ai, lda, x, yi); break;
      default: cgemv_rest_block<R, 8>(part, n, alpha, ai, lda, x, yi); break;
    }
  }
}

// The signs the products with x and with x's parts exchanged take (see cgemv_t_strip_sums).
template <class R> inline std::array<V<R>, 2> cgemv_t_signs(bool conjugate_a) {
  const V<R> plus_minus = -alternating_sign<R>();  // (+1, -1, ...)
  return {conjugate_a ? bc(R(1)) : plus_minus, conjugate_a ? plus_minus : bc(R(1))};
}
// One vector of rows of C columns: the products of each column's vector, column(k), with x
// (sign-folded, see below) and with x's parts exchanged, added into the column's two sums.
template <class R, int C, class Column>
__attribute__((always_inline)) inline void cgemv_t_products(V<R> xv, V<R> p_sign, V<R> q_sign, Column column,
                                                           V<R>* acc) {
  in_register(xv);
  V<R> xp = xv * p_sign, xq = swap_pairs<R>(xv) * q_sign;
  in_register(xp);
  in_register(xq);
#pragma GCC unroll 16
  for (int k = 0; k < C; ++k) {
    V<R> av = column(k);
    in_register(av);
    acc[2 * k] = vfma(av, xp, acc[2 * k]);
    acc[2 * k + 1] = vfma(av, xq, acc[2 * k + 1]);
  }
}
// Reals [i, end) of C columns at col[k] (one vector of rows at a time, the last partial) into acc;
// with `stream`, each step asks for every column's line column_stream_ahead_bytes ahead.
template <class R, int C, bool stream = false>
__attribute__((always_inline)) inline void cgemv_t_rows(const R* const* col, const R* x, long i, long end, V<R> p_sign,
                                                       V<R> q_sign, V<R>* acc) {
  constexpr int w = W<R>;
  for (; i + w <= end; i += w) {
    if constexpr (stream)
      if (w * sizeof(R) >= 64 || i * sizeof(R) % 64 == 0)
#pragma GCC unroll 16
        for (int k = 0; k < C; ++k)
          __builtin_prefetch(reinterpret_cast<const char*>(col[k] + i) + column_stream_ahead_bytes, 0, 0);
    cgemv_t_products<R, C>(ld(x + i), p_sign, q_sign, [&](int k) { return ld(col[k] + i); }, acc);
  }
  if (i < end) {
    const long count = end - i;
    cgemv_t_products<R, C>(ld_part(x + i, count), p_sign, q_sign, [&](int k) { return ld_part(col[k] + i, count); },
                           acc);
  }
}

// The dots of C complex columns over one strip of `rows` rows (rows <= strip_rows; a compile-time
// full strip unless `short_strip`), as G = ceil(2C / W) vectors of interleaved sums: lanes 2k and
// 2k + 1 of vector g are the real and imaginary part of column g * W/2 + k. Per column two sums:
// A times x with the sign of the products of the imaginary parts folded into x (p), and A times
// x with its parts exchanged, signed the same way (q); the signs are exact, so p reduces to the
// real part and q to the imaginary part. Column k is at base[k / 4] + (k % 4) * lda, four columns
// per base register, and every x vector serves all C columns.
// The products are added into acc (2C vectors), which cgemv_t_reduce turns into the sums.
template <class R, int C, bool short_strip>
__attribute__((always_inline)) inline void cgemv_t_strip_sums(const char* const* base_in, long ld1, long ld3,
                                                             const R* x, long rows, bool conjugate_a, V<R>* acc) {
  constexpr int w = W<R>;
  constexpr int nv = 2 * strip_rows / w;
  constexpr int bases = (C + 3) / 4;
  const long len = 2 * rows;
  const char* base[bases];
  for (int b = 0; b < bases; ++b) base[b] = base_in[b];
  // Unconjugated: re = ar xr - ai xi, im = ar xi + ai xr; conjugated: re = ar xr + ai xi,
  // im = ar xi - ai xr.
  const auto [p_sign, q_sign] = cgemv_t_signs<R>(conjugate_a);
#pragma GCC unroll 64
  for (int v = 0; v < nv; ++v) {
    if (short_strip && v * w >= len) continue;
    const long count = short_strip ? len - v * w : w;
    // Opaque bases: otherwise the compiler keeps one pointer per column alive across the strip.
    for (int b = 0; b < bases; ++b) __asm__("" : "+r"(base[b]));
    auto column = [&](int k) {
      const char* p = base[k / 4] + v * w * (long)sizeof(R);
      switch (k % 4) {
        case 0: return reinterpret_cast<const R*>(p);
        case 1: return reinterpret_cast<const R*>(p + ld1);
        case 2: return reinterpret_cast<const R*>(p + 2 * ld1);
        default: return reinterpret_cast<const R*>(p + ld3);
      }
    };
    const bool full = !short_strip || count >= w;
    cgemv_t_products<R, C>(full ? ld(x + v * w) : ld_part(x + v * w, count), p_sign, q_sign,
                           [&](int k) { return full ? ld(column(k)) : ld_part(column(k), count); }, acc);
  }
}

template <class R, size_t... G>
__attribute__((always_inline)) inline std::array<V<R>, sizeof...(G)> cgemv_t_reduce(V<R>* acc, std::index_sequence<G...>) {
  return {reduce_lanes<R>(acc + G * W<R>)...};
}


// The sums of C whole columns (rows 0 to m) streamed from beyond the second-level cache, one
// vector of rows of every column a step, each accumulator taking its products in the order of
// the strips' sums (cgemv_t_strip_sums), so to the bit what the strips give; the last vector
// partial. Every step asks for each column's line column_stream_ahead_bytes ahead. One pointer a
// column and a rolled loop: the strips' fully unrolled code with its line requests spent its issue
// slots on address arithmetic and spilled addresses at eight columns. ztrmv and ztrsv transposed
// at orders 400 to 2,000, both builds and the peer alternating in one process: 0.68-0.86 of the
// peer's time against 0.79-1.03 (order 700: 0.80-0.87 against 0.97-1.03). In the second-level
// cache, without requests, the strips stay: this loop measured 5-10% slower at order 250.
template <class R, int C, bool stream>
__attribute__((always_inline)) inline void cgemv_t_whole_sums(long m, const complex_t<R>* a, long lda, const R* x,
                                                             bool conjugate_a, V<R>* acc) {
  const auto [p_sign, q_sign] = cgemv_t_signs<R>(conjugate_a);
  const R* col[C];
  for (int k = 0; k < C; ++k) col[k] = &a[k * lda].real;
  cgemv_t_rows<R, C, stream>(col, x, 0, 2 * m, p_sign, q_sign, acc);
}

// y(j:j+C) += alpha * op(A)(j:j+C, 0:m) * x for C columns, walked down all strips (C sequential
// streams). Each strip's C sums are multiplied by alpha and added to y before the next strip, in
// the order of the strips, the rows after the last full strip being a last, short strip; y stays
// in registers across the strips.
// With `whole`, the columns' sums run over all strips and are reduced and added to y once, for
// callers that don't need the strips' rounding (the panels of the triangular multiply and solve).
template <class R, int C, bool whole = false, bool stream = false>
__attribute__((noinline)) void cgemv_t_columns(long m, complex_t<R> alpha, const complex_t<R>* a, long lda,
                                               const complex_t<R>* x, complex_t<R>* y, bool conjugate_a) {
  constexpr int w = W<R>;
  constexpr int bases = (C + 3) / 4;
  constexpr int groups = (2 * C + w - 1) / w;
  constexpr int last_lanes = 2 * C - (groups - 1) * w;  // lanes of y in the last vector
  using seq = std::make_index_sequence<groups>;
  const V<R> ar = bc(alpha.real), ai = bc(alpha.imag) * alternating_sign<R>();
  R* yr = &y->real;
  V<R> yv[groups];
  for (int g = 0; g < groups; ++g) yv[g] = g + 1 < groups || last_lanes == w ? ld(yr + g * w) : ld_part(yr + g * w, last_lanes);
  const R* xr = &x->real;
  auto add = [&](const std::array<V<R>, groups>& s) {
    for (int g = 0; g < groups; ++g) {
      const V<R> product = vfma(ai, swap_pairs<R>(s[g]), ar * s[g]);
      yv[g] += product;
    }
  };
  if constexpr (!whole) {
    // Each strip's sums start from zero and go to y before the next strip; the rows after the
    // last full strip are a last, short strip. A rolled loop with a pointer a column: at orders
    // 400 and 1,000 (last-level cache) zgemv T took 0.98 and 0.77-0.85 of the peer's time against
    // 1.08-1.10 and 0.79-0.86 with the strips unrolled, cgemv T at 400 0.93 against 0.99, the
    // smaller orders the same within 3%. From matrices beyond column_stream_bytes (`stream`) the
    // lines of the columns are requested ahead instead of a page ahead once a strip: zgemv T 700
    // and 1,000 0.86 and 0.67-0.69 against 0.94-0.96 and 0.81-0.83, cgemv T 1,000 0.94-0.98
    // against 1.13-1.14.
    const auto [p_sign, q_sign] = cgemv_t_signs<R>(conjugate_a);
    const R* col[C];
    for (int k = 0; k < C; ++k) col[k] = &a[k * lda].real;
    for (long i0 = 0; i0 < m; i0 += strip_rows) {
      if (!stream && m - i0 > gemv_prefetch_rows<complex_t<R>>) {
#pragma GCC unroll 16
        for (int k = 0; k < C; ++k)
          __builtin_prefetch(reinterpret_cast<const char*>(col[k] + 2 * i0) + gemv_prefetch_bytes, 0, 0);
      }
      V<R> sums[groups * w];
      set_zero<R>(sums);
      cgemv_t_rows<R, C, stream>(col, xr, 2 * i0, 2 * std::min<long>(m, i0 + strip_rows), p_sign, q_sign, sums);
      add(cgemv_t_reduce<R>(sums, seq{}));
    }
  } else if constexpr (stream) {
    V<R> acc[groups * w] = {};
    cgemv_t_whole_sums<R, C, stream>(m, a, lda, xr, conjugate_a, acc);
    add(cgemv_t_reduce<R>(acc, seq{}));
  } else {
    // Whole columns in the second-level cache: the unrolled strips, the sums kept across them.
    const long ld1 = lda * (long)sizeof(complex_t<R>), ld3 = 3 * ld1;
    const char* base[bases];
    for (int b = 0; b < bases; ++b) base[b] = reinterpret_cast<const char*>(a + 4 * b * lda);
    V<R> acc[groups * w] = {};
    long i0 = 0;
    for (; i0 + strip_rows <= m; i0 += strip_rows) {
      if (m - i0 > gemv_prefetch_rows<complex_t<R>>) {
#pragma GCC unroll 16
        for (int k = 0; k < C; ++k)
          __builtin_prefetch(base[k / 4] + (k % 4) * ld1 + gemv_prefetch_bytes, 0, 0);
      }
      cgemv_t_strip_sums<R, C, false>(base, ld1, ld3, xr + 2 * i0, strip_rows, conjugate_a, acc);
      for (int b = 0; b < bases; ++b) base[b] += strip_rows * (long)sizeof(complex_t<R>);
    }
    if (i0 < m) cgemv_t_strip_sums<R, C, true>(base, ld1, ld3, xr + 2 * i0, m - i0, conjugate_a, acc);
    add(cgemv_t_reduce<R>(acc, seq{}));
  }
  for (int g = 0; g < groups; ++g)
    if (g + 1 < groups || last_lanes == w) st(yr + g * w, yv[g]);
    else st_part(yr + g * w, yv[g], last_lanes);
}

// Columns left after the full passes: groups of half as many, a quarter, ..., 1 as they fit.
template <class R, int C, bool whole = false, bool stream = false>
inline void cgemv_t_tail(long m, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x, complex_t<R>* y,
                         bool conjugate_a) {
  if constexpr (C >= 1) {
    if (n >= C) {
      cgemv_t_columns<R, C, whole, stream>(m, alpha, a, lda, x, y, conjugate_a);
      a += C * lda;
      y += C;
      n -= C;
    }
    cgemv_t_tail<R, C / 2, whole, stream>(m, n, alpha, a, lda, x, y, conjugate_a);
  }
}

template <class R>
void cgemv_t(long m, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x, complex_t<R>* y,
             bool conjugate_a) {
  constexpr int cols = cgemv_t_columns_per_pass(vector_bytes);
  auto walk = [&]<bool S>() {
    long j = 0;
    for (; j + cols <= n; j += cols) cgemv_t_columns<R, cols, false, S>(m, alpha, a + j * lda, lda, x, y + j, conjugate_a);
    cgemv_t_tail<R, cols / 2, false, S>(m, n - j, alpha, a + j * lda, lda, x, y + j, conjugate_a);
  };
  if ((double)m * n * sizeof(complex_t<R>) > (double)column_stream_bytes) walk.template operator()<true>();
  else walk.template operator()<false>();
}

template <class R>
void ccolumn_dots(long m, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x,
                  complex_t<R>* y, bool conjugate_a, bool stream) {
  constexpr int cols = cgemv_t_columns_per_pass(vector_bytes);
  auto walk = [&]<bool S>() {
    long j = 0;
    for (; j + cols <= n; j += cols) cgemv_t_columns<R, cols, true, S>(m, alpha, a + j * lda, lda, x, y + j, conjugate_a);
    cgemv_t_tail<R, cols / 2, true, S>(m, n - j, alpha, a + j * lda, lda, x, y + j, conjugate_a);
  };
  if (stream) walk.template operator()<true>();
  else walk.template operator()<false>();
}

#define ZVX_CGEMV(R)                                                                               \
  template void cgemv_n<R>(long, long, complex_t<R>, const complex_t<R>*, long, const complex_t<R>*, \
                           complex_t<R>*, bool);                                                   \
  template void cgemv_rest_n<R>(long, long, complex_t<R>, const complex_t<R>*, long,               \
                                const complex_t<R>*, complex_t<R>*);                               \
  template void cgemv_t<R>(long, long, complex_t<R>, const complex_t<R>*, long, const complex_t<R>*, \
                           complex_t<R>*, bool);                                                   \
  template void ccolumn_dots<R>(long, long, complex_t<R>, const complex_t<R>*, long, const complex_t<R>*, \
                                complex_t<R>*, bool, bool);
ZVX_CGEMV(float)
ZVX_CGEMV(double)
#undef ZVX_CGEMV

}  // namespace zvx::blas12::ZVX_ISA_NS

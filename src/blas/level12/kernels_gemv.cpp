// Real matrix-vector kernels, not transposed and transposed, unit increments: the strips, column
// groups and walks under gemv, and the rows after the strips (the complex ones are in
// kernels_gemv_complex.cpp).
#include "blas/level12/kernels_isa.h"

namespace zvx::blas12::ZVX_ISA_NS {

// y(0:m) += A * (alpha * x) for one block of rows: y is kept in R registers while the columns
// stream past, two columns a pass, as y = a1 * t1 + y + a2 * t2. With `lines`, every line of the
// block's columns is requested gemv_n_stream_ahead_bytes ahead. With 64-byte vectors the pass
// stays a loop rather than being unrolled over the chunk: the short loop measured faster from the
// last-level cache than the straight-line chunk (with narrower vectors it measured slower).
template <class T, int R, bool lines = false>
inline void gemv_n_block(long n, T alpha, const T* a, long lda, const T* x, T* y, bool prefetch) {
  constexpr int w = W<T>;
  V<T> acc[R];
  for (int r = 0; r < R; ++r) acc[r] = ld(y + r * w);
  long j = 0;
  auto pair = [&](long j) __attribute__((always_inline)) {
    const T* a1 = a + j * lda;
    const T* a2 = a1 + lda;
    if constexpr (lines) {
#pragma GCC unroll 16
      for (long l = 0; l < R * w * (long)sizeof(T); l += 64) {
        __builtin_prefetch(reinterpret_cast<const char*>(a1) + gemv_n_stream_ahead_bytes + l, 0, 0);
        __builtin_prefetch(reinterpret_cast<const char*>(a2) + gemv_n_stream_ahead_bytes + l, 0, 0);
      }
    } else if (prefetch) {
      __builtin_prefetch(a1 + gemv_prefetch_rows<T>, 0, 0);
      __builtin_prefetch(a2 + gemv_prefetch_rows<T>, 0, 0);
    }
    const V<T> t1 = bc(x[j] * alpha), t2 = bc(x[j + 1] * alpha);
    for (int r = 0; r < R; ++r) acc[r] = vfma(ld(a2 + r * w), t2, vfma(ld(a1 + r * w), t1, acc[r]));
  };
  if constexpr (vector_bytes == 64) {
#pragma GCC unroll 1
    for (; j + 2 <= n; j += 2) pair(j);
  } else {
    for (; j + 2 <= n; j += 2) pair(j);
  }
  if (j < n) {
    const T* a1 = a + j * lda;
    const V<T> t1 = bc(x[j] * alpha);
    for (int r = 0; r < R; ++r) acc[r] = vfma(ld(a1 + r * w), t1, acc[r]);
  }
  for (int r = 0; r < R; ++r) st(y + r * w, acc[r]);
}

template <class T> void rest_sums(long m, long n, const T* a, long lda, const T* x, T* sum);
template <class T> void rest_finish(long m, T alpha, const T* sum, T* y);

// The not transposed strips: rows are independent, so the kernel takes all strips of the call
// at once and walks them chunk of columns by chunk of columns, in blocks of R vectors of rows.
template <class T, int R>
void gemv_n_walk(long m, long rest, long n, T alpha, const T* a, long lda, const T* x, T* y, bool prefetch) {
  constexpr int w = W<T>;
  constexpr long chunk = gemv_column_chunk_of<T>;
  static_assert(chunk % 2 == 0, "column pairs must not straddle chunks");
  // Sums of the rest rows (fewer than a strip), sized for the widest block rest_sums may touch.
  alignas(64) T sum[std::max<long>(strip_rows, 8 * w)] = {};
  for (long jc = 0; jc < n; jc += chunk) {
    const long jn = std::min(chunk, n - jc);
    const T* ac = a + jc * lda;
    const T* xc = x + jc;
    long i = 0;
    // Prefetch only where the column goes on beyond the distance.
    if (prefetch && (double)m * n * sizeof(T) > (double)column_stream_bytes)
      for (; i + R * w <= m; i += R * w) gemv_n_block<T, R, true>(jn, alpha, ac + i, lda, xc, y + i, true);
    for (; i + R * w <= m; i += R * w)
      gemv_n_block<T, R>(jn, alpha, ac + i, lda, xc, y + i, prefetch && m - i > gemv_prefetch_rows<T>);
    for (; i + 4 * w <= m; i += 4 * w)
      gemv_n_block<T, 4>(jn, alpha, ac + i, lda, xc, y + i, prefetch && m - i > gemv_prefetch_rows<T>);
    for (; i + w <= m; i += w) gemv_n_block<T, 1>(jn, alpha, ac + i, lda, xc, y + i, false);
    for (; i < m; ++i) {
      T s = y[i];
      long j = 0;
      for (; j + 2 <= jn; j += 2)
        s = sfma(ac[i + (j + 1) * lda], xc[j + 1] * alpha, sfma(ac[i + j * lda], xc[j] * alpha, s));
      if (j < jn) s = sfma(ac[i + j * lda], xc[j] * alpha, s);
      y[i] = s;
    }
    if (rest > 0) rest_sums<T>(rest, jn, ac + m, lda, xc, sum);
  }
  if (rest > 0) rest_finish<T>(rest, alpha, sum, y + m);
}

// G columns j .. j + G - 1 of the single-precision walk, over all strip rows. Each element of y
// takes the columns' updates one after another, as a plain walk would.
template <class T, int G>
inline void sgemv_n_group_walk(long m, T alpha, const T* a, long lda, const T* x, T* y, bool prefetch) {
  constexpr int w = W<T>;
  constexpr int S = std::max<int>(1, (int)(sgemv_n_step_bytes / vector_bytes));
  constexpr long ahead = sgemv_n_prefetch_bytes / (long)sizeof(T);
  const T* col[G];
  V<T> t[G];
  for (int k = 0; k < G; ++k) {
    col[k] = a + k * lda;
    t[k] = bc(x[k] * alpha);
  }
  // The strip rows are a multiple of 64, so whole steps cover them.
  static_assert(strip_rows % (S * w) == 0, "a step must divide the strip");
  auto walk = [&](auto with_requests) __attribute__((always_inline)) {
    for (long i = 0; i < m; i += S * w) {
      V<T> acc[S];
      for (int s = 0; s < S; ++s) acc[s] = ld(y + i + s * w);
      // Within `ahead` of the columns' ends the requests go to the same rows of the next group's
      // columns, which the next walk starts on (orders 700 to 1,024: 3-7% less time).
      const long next = i + ahead >= m ? G * lda - m : 0;
      for (int k = 0; k < G; ++k) {
        if constexpr (decltype(with_requests)::value)
          for (long b = 0; b < S * w; b += 64 / (long)sizeof(T))
            _mm_prefetch((const char*)(col[k] + next + i + ahead + b), _MM_HINT_NTA);
        for (int s = 0; s < S; ++s) acc[s] = vfma(ld(col[k] + i + s * w), t[k], acc[s]);
      }
      for (int s = 0; s < S; ++s) st(y + i + s * w, acc[s]);
    }
  };
  if (prefetch) walk(std::true_type{});
  else walk(std::false_type{});
}

// The rest rows (fewer than a strip) take their sums block by block of columns, right after the
// block's groups have streamed the lines around them.
template <class T>
void sgemv_n_columns(long m, long rest, long n, T alpha, const T* a, long lda, const T* x, T* y) {
  constexpr int G = sgemv_n_group;
  constexpr long block = sgemv_n_rest_block;
  static_assert(block % G == 0, "groups must not straddle blocks");
  alignas(64) T sum[std::max<long>(strip_rows, 8 * W<T>)] = {};
  const bool prefetch = (double)(m + rest) * (double)n * sizeof(T) > (double)sgemv_n_prefetch_from_bytes;
  for (long jb = 0; jb < n; jb += block) {
    const long jn = std::min(block, n - jb);
    const T* ab = a + jb * lda;
    const T* xb = x + jb;
    long j = 0;
    for (; j + G <= jn; j += G) sgemv_n_group_walk<T, G>(m, alpha, ab + j * lda, lda, xb + j, y, prefetch);
    switch (jn - j) {
      case 3: sgemv_n_group_walk<T, 3>(m, alpha, ab + j * lda, lda, xb + j, y, prefetch); break;
      case 2: sgemv_n_group_walk<T, 2>(m, alpha, ab + j * lda, lda, xb + j, y, prefetch); break;
      case 1: sgemv_n_group_walk<T, 1>(m, alpha, ab + j * lda, lda, xb + j, y, prefetch); break;
      default: break;
    }
    if (rest > 0) rest_sums<T>(rest, jn, ab + m, lda, xb, sum);
  }
  if (rest > 0) rest_finish<T>(rest, alpha, sum, y + m);
}

// Single precision: tall matrices that fit the last-level cache keep the chunk walk with its
// prefetch a page ahead (order 2,000: 0.87 of the group walk's time, with or without the group
// walk's requests); the rest take the group walk.
template <class T>
void gemv_n(long m, long rest, long n, T alpha, const T* a, long lda, const T* x, T* y, bool prefetch) {
  if constexpr (sizeof(T) == 4) {
    const bool in_cache = (double)(m + rest) * (double)n * sizeof(T) <= (double)sgemv_n_memory_bytes;
    if (!(prefetch && in_cache && m > gemv_prefetch_rows<T>)) {
      sgemv_n_columns<T>(m, rest, n, alpha, a, lda, x, y);
      return;
    }
  }
  gemv_n_walk<T, gemv_n_register_vectors>(m, rest, n, alpha, a, lda, x, y, prefetch);
}



// The dots of C <= W columns over one strip of `rows` rows (rows <= strip_rows; a compile-time
// full strip unless `short_strip`), reduced together: lane k of the result is the dot of column k.
// Column k is at base[k / 4] + (k % 4) * lda, four columns per base register, so that the addresses
// of up to sixteen columns fit in the general registers; every x vector serves all C columns.
// With fewer columns than lanes the spare accumulators take the odd vectors of the strip, so that
// the additions of one column don't wait on each other.
template <class T, int C> constexpr int gemv_t_chains = 2 * C <= W<T> ? 2 : 1;

// The products of one strip added into the accumulators acc (W vectors, see gemv_t_chains).
template <class T, int C, bool short_strip>
__attribute__((always_inline)) inline void gemv_t_strip_sums(const char* const* base_in, long ld1, long ld3, const T* x,
                                                            long rows, V<T>* acc) {
  constexpr int w = W<T>;
  constexpr int nv = strip_rows / w;
  constexpr int bases = (C + 3) / 4;
  constexpr int chains = gemv_t_chains<T, C>;
  const char* base[bases];
  for (int b = 0; b < bases; ++b) base[b] = base_in[b];
#pragma GCC unroll 32
  for (int v = 0; v < nv; ++v) {
    if (short_strip && v * w >= rows) continue;
    const long count = short_strip ? rows - v * w : w;
    // Opaque bases: otherwise the compiler keeps one pointer per column alive across the strip
    // and, short of registers, loads each address back from the stack.
    for (int b = 0; b < bases; ++b) __asm__("" : "+r"(base[b]));
    auto column = [&](int k) {
      const char* p = base[k / 4] + v * w * (long)sizeof(T);
      switch (k % 4) {
        case 0: return reinterpret_cast<const T*>(p);
        case 1: return reinterpret_cast<const T*>(p + ld1);
        case 2: return reinterpret_cast<const T*>(p + 2 * ld1);
        default: return reinterpret_cast<const T*>(p + ld3);
      }
    };
    const int set = chains == 2 ? (v & 1) * C : 0;
    if (!short_strip || count >= w) {
      const V<T> xv = ld(x + v * w);
#pragma GCC unroll 16
      for (int k = 0; k < C; ++k) acc[set + k] = vfma(ld(column(k)), xv, acc[set + k]);
    } else {
      const V<T> xv = ld_part(x + v * w, count);
#pragma GCC unroll 16
      for (int k = 0; k < C; ++k) acc[set + k] = vfma(ld_part(column(k), count), xv, acc[set + k]);
    }
  }
}

// The accumulators' sums, lane k the dot of column k.
template <class T, int C> __attribute__((always_inline)) inline V<T> gemv_t_finish(V<T>* acc) {
  if constexpr (gemv_t_chains<T, C> == 2)
#pragma GCC unroll 16
    for (int k = 0; k < C; ++k) acc[k] += acc[C + k], acc[C + k] = V<T>{};
  return reduce_lanes<T>(acc);
}

template <class T, int C, bool short_strip>
__attribute__((always_inline)) inline V<T> gemv_t_strip(const char* const* base, long ld1, long ld3, const T* x,
                                                       long rows) {
  V<T> acc[W<T>] = {};
  gemv_t_strip_sums<T, C, short_strip>(base, ld1, ld3, x, rows, acc);
  return gemv_t_finish<T, C>(acc);
}

// y(j:j+C) += alpha * A(0:m, j:j+C)' * x for C <= W columns, walked down all strips (C
// sequential streams). Each strip's C dots are added to y before the next strip, in the order of
// the strips, the rows after the last full strip being a last, short strip; y stays in a register
// across the strips.
// With `whole`, the columns' dots run over all strips and are reduced and added to y once, for
// callers that don't need the strips' rounding (the panels of the triangular multiply and solve).
// `stream` asks for every line of the columns column_stream_ahead_bytes ahead instead
// (non-temporal hint). A template argument, so that the kernel without it is the code it was. The function starts on a line: the same instructions starting 48 bytes past
// one took 1-2% longer at order 1,000 (both builds alternating in one process).
template <class T, int C, bool whole = false, bool stream = false>
__attribute__((noinline, aligned(64))) void gemv_t_columns(long m, T alpha, const T* a, long lda, const T* x, T* y,
                                              bool prefetch) {
  constexpr int w = W<T>;
  constexpr int bases = (C + 3) / 4;
  const V<T> va = bc(alpha);
  V<T> yv = C == w ? ld(y) : ld_part(y, C);
  const long ld1 = lda * (long)sizeof(T), ld3 = 3 * ld1;
  const char* base[bases];
  for (int b = 0; b < bases; ++b) base[b] = reinterpret_cast<const char*>(a + 4 * b * lda);
  long i0 = 0;
  V<T> acc[w] = {};
  for (; i0 + strip_rows <= m; i0 += strip_rows) {
    if constexpr (stream) {
      if ((m - i0) * (long)sizeof(T) > column_stream_ahead_bytes)
#pragma GCC unroll 16
        for (int k = 0; k < C; ++k)
#pragma GCC unroll 16
          for (long l = 0; l < strip_rows * (long)sizeof(T); l += 64)
            __builtin_prefetch(base[k / 4] + (k % 4) * ld1 + column_stream_ahead_bytes + l, 0, 0);
    } else if (prefetch && m - i0 > gemv_prefetch_rows<T>) {
#pragma GCC unroll 16
      for (int k = 0; k < C; ++k)
        __builtin_prefetch(base[k / 4] + (k % 4) * ld1 + gemv_prefetch_bytes, 0, 0);
    }
    if constexpr (whole) gemv_t_strip_sums<T, C, false>(base, ld1, ld3, x + i0, strip_rows, acc);
    else yv = vfma(va, gemv_t_strip<T, C, false>(base, ld1, ld3, x + i0, strip_rows), yv);
    for (int b = 0; b < bases; ++b) base[b] += strip_rows * (long)sizeof(T);
  }
  if constexpr (whole) {
    if (i0 < m) gemv_t_strip_sums<T, C, true>(base, ld1, ld3, x + i0, m - i0, acc);
    yv = vfma(va, gemv_t_finish<T, C>(acc), yv);
  } else {
    if (i0 < m) yv = vfma(va, gemv_t_strip<T, C, true>(base, ld1, ld3, x + i0, m - i0), yv);
  }
  if constexpr (C == w) st(y, yv);
  else st_part(y, yv, C);
}

// Columns left after the groups of W: groups of W/2, W/4, ..., 1 as they fit.
template <class T, int C, bool whole = false, bool stream = false>
inline void gemv_t_tail(long m, long n, T alpha, const T* a, long lda, const T* x, T* y, bool prefetch) {
  if constexpr (C >= 1) {
    if (n >= C) {
      gemv_t_columns<T, C, whole, stream>(m, alpha, a, lda, x, y, prefetch);
      a += C * lda;
      y += C;
      n -= C;
    }
    gemv_t_tail<T, C / 2, whole, stream>(m, n, alpha, a, lda, x, y, prefetch);
  }
}

template <class T>
void gemv_t(long m, long n, T alpha, const T* a, long lda, const T* x, T* y, bool prefetch) {
  constexpr int w = W<T>;
  auto walk = [&]<bool S>() {
    long j = 0;
    for (; j + w <= n; j += w) gemv_t_columns<T, w, false, S>(m, alpha, a + j * lda, lda, x, y + j, prefetch);
    gemv_t_tail<T, w / 2, false, S>(m, n - j, alpha, a + j * lda, lda, x, y + j, prefetch);
  };
  if (prefetch && (double)m * n * sizeof(T) > (double)gemv_t_stream_bytes<T>) walk.template operator()<true>();
  else walk.template operator()<false>();
}

template <class T>
void column_dots(long m, long n, T alpha, const T* a, long lda, const T* x, T* y, bool stream) {
  constexpr int w = W<T>;
  const bool prefetch = m > gemv_prefetch_rows<T>;
  auto walk = [&]<bool S>() {
    long j = 0;
    for (; j + w <= n; j += w) gemv_t_columns<T, w, true, S>(m, alpha, a + j * lda, lda, x, y + j, prefetch);
    gemv_t_tail<T, w / 2, true, S>(m, n - j, alpha, a + j * lda, lda, x, y + j, prefetch);
  };
  if (stream) walk.template operator()<true>();
  else walk.template operator()<false>();
}

// Rows left after the strips (fewer than 64): sums over the columns, kept in a buffer so that the
// not transposed kernel can carry them along its chunks of columns, and alpha applied to each
// finished sum. Up to eight vectors of rows at once, the last one partial; with few vectors the
// even and odd columns go to separate sums, so that the additions don't wait on each other.
template <class T, int NV>
inline void rest_accumulate(long rows, long n, const T* a, long lda, const T* x, T* sum) {
  constexpr int w = W<T>;
  constexpr int sets = NV <= 4 ? 2 : 1;
  const long last = rows - (NV - 1) * w;
  V<T> s[sets][NV];
  for (int c = 0; c < sets; ++c) set_zero<T>(s[c]);
  for (int v = 0; v < NV - 1; ++v) s[0][v] = ld(sum + v * w);
  s[0][NV - 1] = ld_part(sum + (NV - 1) * w, last);
  long j = 0;
  for (; j + sets <= n; j += sets)
    for (int c = 0; c < sets; ++c) {
      const V<T> xv = bc(x[j + c]);
      const T* col = a + (j + c) * lda;
      for (int v = 0; v < NV - 1; ++v) s[c][v] = vfma(ld(col + v * w), xv, s[c][v]);
      s[c][NV - 1] = vfma(ld_part(col + (NV - 1) * w, last), xv, s[c][NV - 1]);
    }
  for (; j < n; ++j) {
    const V<T> xv = bc(x[j]);
    const T* col = a + j * lda;
    for (int v = 0; v < NV - 1; ++v) s[0][v] = vfma(ld(col + v * w), xv, s[0][v]);
    s[0][NV - 1] = vfma(ld_part(col + (NV - 1) * w, last), xv, s[0][NV - 1]);
  }
  if constexpr (sets == 2)
    for (int v = 0; v < NV; ++v) s[0][v] += s[1][v];
  for (int v = 0; v < NV - 1; ++v) st(sum + v * w, s[0][v]);
  st_part(sum + (NV - 1) * w, s[0][NV - 1], last);
}

template <class T> void rest_sums(long m, long n, const T* a, long lda, const T* x, T* sum) {
  constexpr int w = W<T>;
  for (long i = 0; i < m; i += 8 * w) {
    const long rows = std::min<long>(8 * w, m - i);
    const T* ai = a + i;
    T* si = sum + i;
    switch ((rows + w - 1) / w) {
      case 1: rest_accumulate<T, 1>(rows, n, ai, lda, x, si); break;
      case 2: rest_accumulate<T, 2>(rows, n, ai, lda, x, si); break;
      case 3: rest_accumulate<T, 3>(rows, n, ai, lda, x, si); break;
      case 4: rest_accumulate<T, 4>(rows, n, ai, lda, x, si); break;
      case 5: rest_accumulate<T, 5>(rows, n, ai, lda, x, si); break;
      case 6: rest_accumulate<T, 6>(rows, n, ai, lda, x, si); break;
      case 7: rest_accumulate<T, 7>(rows, n, ai, lda, x, si); break;
      default: rest_accumulate<T, 8>(rows, n, ai, lda, x, si); break;
    }
  }
}

template <class T> void rest_finish(long m, T alpha, const T* sum, T* y) {
  for (long i = 0; i < m; ++i) y[i] = sfma(alpha, sum[i], y[i]);
}

// Dots of `cols` columns of one length whose x slides down by one element a column, as the
// columns of a band do: out(c) = sum over i < len of a(c * lda + i) * x(c + i). A band's columns
// are too short (a few vectors) for a dot each to pay its call, loop set-up and lane reduction;
// W of them at once keep W independent sums in flight and share one transposing reduction.
template <class T, bool full>
__attribute__((always_inline)) inline void band_dot_group(long cc, long len, const T* a, long lda, const T* x,
                                                          T* out) {
  constexpr int w = W<T>;
  V<T> acc[w] = {};
  const long body = len - len % w;
#pragma GCC unroll 16
  for (int c = 0; c < (full ? w : (int)cc); ++c) {
    const T* col = a + c * lda;
    const T* xc = x + c;
    V<T> s0{}, s1{};
    long i = 0;
    for (; i + 2 * w <= body; i += 2 * w) {
      s0 = vfma(ld(col + i), ld(xc + i), s0);
      s1 = vfma(ld(col + i + w), ld(xc + i + w), s1);
    }
    if (i < body) s0 = vfma(ld(col + i), ld(xc + i), s0);
    if (body < len) s1 = vfma(ld_part(col + body, len - body), ld_part(xc + body, len - body), s1);
    acc[c] = s0 + s1;
  }
  const V<T> r = reduce_lanes<T>(acc);
  if constexpr (full) st(out, r);
  else st_part(out, r, cc);
}

template <class T> void band_dots(long cols, long len, const T* a, long lda, const T* x, T* out) {
  constexpr int w = W<T>;
  long c = 0;
  for (; c + w <= cols; c += w) band_dot_group<T, true>(w, len, a + c * lda, lda, x + c, out + c);
  if (c < cols) band_dot_group<T, false>(cols - c, len, a + c * lda, lda, x + c, out + c);
}

template void gemv_n<float>(long, long, long, float, const float*, long, const float*, float*, bool);
template void gemv_n<double>(long, long, long, double, const double*, long, const double*, double*, bool);
template void gemv_t<float>(long, long, float, const float*, long, const float*, float*, bool);
template void gemv_t<double>(long, long, double, const double*, long, const double*, double*, bool);
template void column_dots<float>(long, long, float, const float*, long, const float*, float*, bool);
template void column_dots<double>(long, long, double, const double*, long, const double*, double*, bool);
template void band_dots<float>(long, long, const float*, long, const float*, float*);
template void band_dots<double>(long, long, const double*, long, const double*, double*);

}  // namespace zvx::blas12::ZVX_ISA_NS

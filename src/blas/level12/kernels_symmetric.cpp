// Symmetric and Hermitian multiply sweeps with unit increments: groups of four columns walk the
// rows together, each element off the diagonal read once and serving twice.
#include "blas/level12/kernels_isa.h"

namespace zvx::blas12::ZVX_ISA_NS {

// Symmetric multiply, G groups of four columns j .. j + 4G - 1 in one walk over the rows. Every
// column takes its stored rows, the diagonal included, into y (y(i) += a(i, c) * t(c)), and its
// rows off the diagonal into its dot; the walk's dots, reduced, reach y(j ..) at its end
// (y(c) += alpha * dot(c)). Each row of y thus takes all its products first, one column after
// another, and its column's dot last: in the lower triangle the columns from the left, the walks
// running left to right; in the upper one from the right, the walks running right to left. No
// walk touches a row after the walk of the row's own column, whatever the number of groups, and
// the dots take their rows vector by vector from row 0 in every walk, so walks of one group or of
// several give the same bits. Vectors where the triangle's edge passes, and the last partial
// one, keep each column's products in its own lanes by selection (masked loads and FMAs): one
// load and store of y a vector for all columns, and no read of an unstored element. With
// `Ahead`, each column's line symv_prefetch_bytes down is requested as the walk reads a vector.
template <class T, int G, bool Ahead>
__attribute__((aligned(64))) void symv_groups(bool upper, long j, long n, T alpha, const T* a, long lda, const T* x, T* y) {
  constexpr int w = W<T>;
  constexpr int C = 4 * G;
  V<T> vt[C], vs[C];
  const T* col[C];
  // Unrolled: as a loop, the zeroing of the sums became a string store of C vectors on the stack
  // (rep stos) at the start of every walk, about 30 cycles of start-up each; order 100 took 0.59 us
  // (lower) and 0.53 us (upper) with it, 0.46 and 0.41 without.
#pragma GCC unroll 16
  for (int c = 0; c < C; ++c) {
    vt[c] = bc(alpha * x[j + c]);
    vs[c] = V<T>{};
    col[c] = a + (j + c) * lda;
  }
  // Column c (in the walk's order) over one vector of rows at i.
  auto column_step = [&](int c, V<T>& yv, V<T> xv, long i) __attribute__((always_inline)) {
    if constexpr (Ahead) __builtin_prefetch(reinterpret_cast<const char*>(col[c] + i) + symv_prefetch_bytes, 0, 0);
    V<T> ac = ld(col[c] + i);
    in_register(ac);
    yv = vfma(ac, vt[c], yv);
    vs[c] = vfma(ac, xv, vs[c]);
  };
  // Whole vectors of rows [i, end) that every column takes in full.
  auto joint_rows = [&](long i, long end) {
    for (; i + w <= end; i += w) {
      const V<T> xv = ld(x + i);
      V<T> yv = ld(y + i);
      if (upper) {
#pragma GCC unroll 16
        for (int c = C - 1; c >= 0; --c) column_step(c, yv, xv, i);
      } else {
#pragma GCC unroll 16
        for (int c = 0; c < C; ++c) column_step(c, yv, xv, i);
      }
      st(y + i, yv);
    }
    return i;
  };
  // A vector of rows at i that some column takes only in part: lanes at or beyond the column's
  // diagonal (lower) or up to it (upper) take the products, and the same without the diagonal the
  // dot, all below `count`; the masks come from one comparison per column.
  VI<T> lane;
  for (int k = 0; k < w; ++k) lane[k] = k;
  auto ragged = [&](long i) {
    const long count = std::min<long>(w, n - i);
    const bool whole = count == w;
    const V<T> xv = whole ? ld(x + i) : ld_part(x + i, count);
    V<T> yv = whole ? ld(y + i) : ld_part(y + i, count);
    const VI<T> valid = lane < (int)count;
    const VI<T> rel = lane + (int)(i - j);  // each lane's row less j: compared with the column
    auto step = [&](int c) __attribute__((always_inline)) {
      const VI<T> in = (upper ? rel <= c : rel >= c) & valid;
      const VI<T> in_dot = (upper ? rel < c : rel > c) & valid;
      V<T> ac = ld_where(col[c] + i, in);
      in_register(ac);
      yv = in ? vfma(ac, vt[c], yv) : yv;
      vs[c] = in_dot ? vfma(ac, xv, vs[c]) : vs[c];
    };
    if (upper) {
#pragma GCC unroll 16
      for (int c = C - 1; c >= 0; --c) step(c);
    } else {
#pragma GCC unroll 16
      for (int c = 0; c < C; ++c) step(c);
    }
    if (whole) st(y + i, yv);
    else st_part(y + i, yv, count);
  };
  // The last, partial vector of the lower triangle's rows, which every column takes in full. It
  // costs as much as a whole vector (order 100 takes the time of 104), and its masked store is
  // read back by the next walk's masked load; a whole vector kept for it across the walks instead
  // measured no faster (orders 100 to 700), nor did unrolling the joint rows by two.
  auto tail = [&](long i) {
    const long count = n - i;
    const V<T> xv = ld_part(x + i, count);
    V<T> yv = ld_part(y + i, count);
    const VI<T> valid = lane < (int)count;
#pragma GCC unroll 16
    for (int c = 0; c < C; ++c) {
      V<T> ac = ld_part(col[c] + i, count);
      in_register(ac);
      yv = vfma(ac, vt[c], yv);
      vs[c] = valid ? vfma(ac, xv, vs[c]) : vs[c];
    }
    st_part(y + i, yv, count);
  };
  const long first = j - j % w;  // the vector of the walk's first diagonal element
  if (upper) {
    long i = joint_rows(0, first);
    for (; i < j + C; i += w) ragged(i);
  } else {
    long i = first;
    for (; i < j + C && i < n; i += w) ragged(i);
    i = joint_rows(i, n);
    if (i < n) tail(i);
  }
  // The dots reduced, as many columns a reduction as its lanes take (one costs the same for one
  // vector as for W, and each vector's lanes are summed in the same order wherever it stands),
  // then added to y.
  if constexpr (w >= 4) {
    constexpr int per = std::min(w, C);
    for (int c0 = 0; c0 < C; c0 += per) {
      V<T> all[w];
      for (int c = 0; c < w; ++c) all[c] = c < per ? vs[c0 + c] : V<T>{};
      const V<T> r = reduce_lanes<T>(all);
      T* yc = y + j + c0;
      if constexpr (per == w) st(yc, vfma(bc(alpha), r, ld(yc)));
      else st_part(yc, vfma(bc(alpha), r, ld_part(yc, per)), per);
    }
  } else {
    for (int c = 0; c < C; ++c) y[j + c] = sfma(alpha, T{} + hsum<T>(vs[c]), y[j + c]);
  }
}

// Groups of four columns a symmetric multiply walk may take for a leading dimension: columns
// whose distance is a multiple of the first-level cache's set span put their lines into few sets,
// and a walk that streams more than symv_columns_per_set columns through one set loses the lines
// the hardware fetched ahead before it reaches them (order 1,024, lda 8 KiB: 16 columns took 2.2
// times the peer's time, 4 or 8 columns 1.05-1.1, as at order 1,000).
int walk_groups_for(long column_bytes, int most) {
  const long stride = column_bytes % l1_set_span_bytes;
  const long sets = stride == 0 ? 1 : l1_set_span_bytes / std::gcd(stride, l1_set_span_bytes);
  int groups = most;
  while (groups > 1 && 4 * groups > symv_columns_per_set * sets) groups /= 2;
  return groups;
}
template <class T> int symv_groups_for(long n, long lda) {
  const int most = n * (long)sizeof(T) >= symv_wide_walk_bytes ? symv_groups_per_walk : symv_groups_per_short_walk;
  return walk_groups_for(lda * (long)sizeof(T), most);
}

// One of the columns after the groups of four, by the rule of symv_groups.
template <class T>
void symv_column(bool upper, long j, long n, T alpha, const T* a, long lda, const T* x, T* y) {
  const T t = alpha * x[j];
  const T* col = a + j * lda;
  T s{};
  for (long r = upper ? 0 : j + 1, end = upper ? j : n; r < end; ++r) {
    y[r] = sfma(col[r], t, y[r]);
    s = sfma(col[r], x[r], s);
  }
  y[j] = sfma(alpha, s, sfma(col[j], t, y[j]));
}

// Symmetric multiply: groups of four columns walk the rows (symv_groups), each element outside
// the diagonal read once and serving twice, for the update of y and for the column's dot.
template <class T, bool Ahead>
void symv_walks(bool upper, long n, T alpha, const T* a, long lda, const T* x, T* y) {
  // Whole groups of four columns in walks of as many groups as the order and the leading
  // dimension allow, then the groups left over one a walk, and the last n mod 4 columns alone:
  // from the left in the lower triangle, from the right in the upper one.
  const long n4 = n & ~3L;
  const int groups = symv_groups_for<T>(n, lda);
  if (upper) {
    for (long j = n - 1; j >= n4; --j) symv_column<T>(true, j, n, alpha, a, lda, x, y);
    long j = n4;
    auto walks = [&]<int G>() {
      for (; j - 4 * G >= 0; j -= 4 * G) symv_groups<T, G, Ahead>(true, j - 4 * G, n, alpha, a, lda, x, y);
    };
    // Single groups first down to a multiple of the walk, so that the wide walks start on it.
    if (groups == 4) {
      for (; j % 16 != 0; j -= 4) symv_groups<T, 1, Ahead>(true, j - 4, n, alpha, a, lda, x, y);
      walks.template operator()<4>();
    } else if (groups == 2) {
      for (; j % 8 != 0; j -= 4) symv_groups<T, 1, Ahead>(true, j - 4, n, alpha, a, lda, x, y);
      walks.template operator()<2>();
    }
    walks.template operator()<1>();
  } else {
    long j = 0;
    auto walks = [&]<int G>() {
      for (; j + 4 * G <= n4; j += 4 * G) symv_groups<T, G, Ahead>(false, j, n, alpha, a, lda, x, y);
    };
    switch (groups) {
      case 4: walks.template operator()<4>(); break;
      case 2: walks.template operator()<2>(); break;
      default: break;
    }
    walks.template operator()<1>();
    for (; j < n; ++j) symv_column<T>(false, j, n, alpha, a, lda, x, y);
  }
}

// The walks request lines ahead one vector at a time, which is one request a line with 64-byte
// vectors only (the builds with narrower vectors keep the walks without).
template <class T>
void symv(bool upper, long n, T alpha, const T* a, long lda, const T* x, T* y) {
  if constexpr (vector_bytes == 64)
    if ((double)n * n * sizeof(T) / 2 > symv_prefetch_from_bytes) return symv_walks<T, true>(upper, n, alpha, a, lda, x, y);
  symv_walks<T, false>(upper, n, alpha, a, lda, x, y);
}

// c + a * b with explicit FMAs. The scalar complex operators leave the compiler free to vectorize
// them, and it does so differently in different instantiations (once with fused multiply-subtract,
// once without), which would make the walks of one or more groups differ in the last bit.
template <class R> inline complex_t<R> cmadd(complex_t<R> a, complex_t<R> b, complex_t<R> c) {
  return {sfma(a.real, b.real, sfma(-a.imag, b.imag, c.real)), sfma(a.real, b.imag, sfma(a.imag, b.real, c.imag))};
}

// One diagonal block, for group g's multipliers tg, into out[0 .. 3]: `block` is the element at
// the block's top left, lda apart columns.
template <class R>
inline void hermitian_block_scalar(bool upper, const complex_t<R>* block, long lda, const complex_t<R>* tg,
                                   complex_t<R>* out) {
  for (int c = 0; c < 4; ++c) {
    const R diagonal = block[c + c * lda].real;
    complex_t<R> sum = {tg[c].real * diagonal, tg[c].imag * diagonal};
    for (int r = 0; r < 4; ++r) {
      if (r == c) continue;
      // A(c, r): stored at (c, r) on the triangle's side, else the conjugate of (r, c).
      const bool stored = upper ? c < r : c > r;
      complex_t<R> acr = stored ? block[c + r * lda] : block[r + c * lda];
      if (!stored) acr.imag = -acr.imag;
      sum = cmadd<R>(acr, tg[r], sum);
    }
    out[c] = sum;
  }
}
#if ZVX_ISA_LEVEL == 2
// The stored elements of column r of a 4 x 4 diagonal block without the diagonal, as a mask of the
// real and imaginary parts: rows above r (upper), below it (lower).
inline __mmask8 stored_pairs(bool upper, int r) {
  return upper ? static_cast<__mmask8>((1u << (2 * r)) - 1) : static_cast<__mmask8>((0xFFu << (2 * r + 2)) & 0xFFu);
}
inline void hermitian_block(bool upper, const complex_t<double>* block, long lda, const complex_t<double>* tg,
                            complex_t<double>* out) {
  // One vector a column of the block (four elements): the stored part S without the diagonal
  // gives S t by columns and S^H t by the columns of its transpose (128-bit lanes exchanged),
  // conjugated; the diagonal adds d t. The masked forms of the exchanges, all lanes set: the
  // plain ones pass an undefined vector that this compiler warns about.
  const double* base = &block->real;
  __m512d col[4];
  for (int r = 0; r < 4; ++r) col[r] = _mm512_maskz_loadu_pd(stored_pairs(upper, r), base + 2 * r * lda);
  const __m512d t01 = _mm512_maskz_shuffle_f64x2(0xFF, col[0], col[1], 0x44), t23 = _mm512_maskz_shuffle_f64x2(0xFF, col[2], col[3], 0x44);
  const __m512d u01 = _mm512_maskz_shuffle_f64x2(0xFF, col[0], col[1], 0xEE), u23 = _mm512_maskz_shuffle_f64x2(0xFF, col[2], col[3], 0xEE);
  const __m512d row[4] = {_mm512_maskz_shuffle_f64x2(0xFF, t01, t23, 0x88), _mm512_maskz_shuffle_f64x2(0xFF, t01, t23, 0xDD),
                          _mm512_maskz_shuffle_f64x2(0xFF, u01, u23, 0x88), _mm512_maskz_shuffle_f64x2(0xFF, u01, u23, 0xDD)};
  const __m512d imag_sign = _mm512_set_pd(-0.0, 0.0, -0.0, 0.0, -0.0, 0.0, -0.0, 0.0);
  __m512d p = _mm512_setzero_pd(), q = _mm512_setzero_pd();
  for (int r = 0; r < 4; ++r) {
    const __m512d tr = _mm512_set1_pd(tg[r].real), ti = _mm512_set1_pd(tg[r].imag);
    p = _mm512_fmadd_pd(col[r], tr, p);
    q = _mm512_fmadd_pd(col[r], ti, q);
    const __m512d mirrored = _mm512_xor_pd(row[r], imag_sign);
    p = _mm512_fmadd_pd(mirrored, tr, p);
    q = _mm512_fmadd_pd(mirrored, ti, q);
  }
  const __m512d d = _mm512_set_pd(block[3 * (lda + 1)].real, block[3 * (lda + 1)].real, block[2 * (lda + 1)].real,
                                  block[2 * (lda + 1)].real, block[lda + 1].real, block[lda + 1].real,
                                  block[0].real, block[0].real);
  const __m512d sign = _mm512_set_pd(1, -1, 1, -1, 1, -1, 1, -1);
  __m512d product = _mm512_fmadd_pd(_mm512_maskz_permute_pd(0xFF, q, 0x55), sign, p);
  product = _mm512_fmadd_pd(d, _mm512_loadu_pd(&tg->real), product);
  _mm512_storeu_pd(&out->real, product);
}
inline void hermitian_block(bool upper, const complex_t<float>* block, long lda, const complex_t<float>* tg,
                            complex_t<float>* out) {
  // Single precision: a column of the block is half a vector; the transpose exchanges whole
  // elements (64 bits) within and across the two 128-bit lanes.
  const float* base = &block->real;
  __m256d col[4];
  for (int r = 0; r < 4; ++r) col[r] = _mm256_castps_pd(_mm256_maskz_loadu_ps(stored_pairs(upper, r), base + 2 * r * lda));
  const __m256d t0 = _mm256_unpacklo_pd(col[0], col[1]), t1 = _mm256_unpackhi_pd(col[0], col[1]);
  const __m256d t2 = _mm256_unpacklo_pd(col[2], col[3]), t3 = _mm256_unpackhi_pd(col[2], col[3]);
  const __m256 row[4] = {_mm256_castpd_ps(_mm256_permute2f128_pd(t0, t2, 0x20)),
                         _mm256_castpd_ps(_mm256_permute2f128_pd(t1, t3, 0x20)),
                         _mm256_castpd_ps(_mm256_permute2f128_pd(t0, t2, 0x31)),
                         _mm256_castpd_ps(_mm256_permute2f128_pd(t1, t3, 0x31))};
  const __m256 imag_sign = _mm256_set_ps(-0.0f, 0.0f, -0.0f, 0.0f, -0.0f, 0.0f, -0.0f, 0.0f);
  __m256 p = _mm256_setzero_ps(), q = _mm256_setzero_ps();
  for (int r = 0; r < 4; ++r) {
    const __m256 tr = _mm256_set1_ps(tg[r].real), ti = _mm256_set1_ps(tg[r].imag);
    const __m256 c = _mm256_castpd_ps(col[r]);
    p = _mm256_fmadd_ps(c, tr, p);
    q = _mm256_fmadd_ps(c, ti, q);
    const __m256 mirrored = _mm256_xor_ps(row[r], imag_sign);
    p = _mm256_fmadd_ps(mirrored, tr, p);
    q = _mm256_fmadd_ps(mirrored, ti, q);
  }
  const float d0 = block[0].real, d1 = block[lda + 1].real, d2 = block[2 * (lda + 1)].real,
              d3 = block[3 * (lda + 1)].real;
  const __m256 sign = _mm256_set_ps(1, -1, 1, -1, 1, -1, 1, -1);
  __m256 product = _mm256_fmadd_ps(_mm256_permute_ps(q, 0xB1), sign, p);
  product = _mm256_fmadd_ps(_mm256_set_ps(d3, d3, d2, d2, d1, d1, d0, d0), _mm256_loadu_ps(&tg->real), product);
  _mm256_storeu_ps(&out->real, product);
}
#elif ZVX_ISA_LEVEL == 1
inline void hermitian_block(bool upper, const complex_t<double>* block, long lda, const complex_t<double>* tg,
                            complex_t<double>* out) {
  // The same in two vectors a column (rows 0-1 and 2-3); the transpose's rows come from one
  // 128-bit lane of each of two columns.
  const double* base = &block->real;
  __m256d col[4][2];
  for (int r = 0; r < 4; ++r)
    for (int h = 0; h < 2; ++h) {
      const long long in[2] = {(upper ? 2 * h < r : 2 * h > r) ? -1LL : 0LL,
                               (upper ? 2 * h + 1 < r : 2 * h + 1 > r) ? -1LL : 0LL};
      const __m256i stored = _mm256_set_epi64x(in[1], in[1], in[0], in[0]);
      col[r][h] = _mm256_maskload_pd(base + 2 * r * lda + 4 * h, stored);
    }
  const __m256d imag_sign = _mm256_set_pd(-0.0, 0.0, -0.0, 0.0);
  __m256d p[2] = {_mm256_setzero_pd(), _mm256_setzero_pd()}, q[2] = {p[0], p[1]};
  for (int r = 0; r < 4; ++r) {
    const __m256d tr = _mm256_set1_pd(tg[r].real), ti = _mm256_set1_pd(tg[r].imag);
    // Row r of the stored part, columns 0-1 and 2-3, conjugated: column r of S^H.
    const int h = r / 2;
    __m256d mirrored[2];
    if (r % 2 == 0) {
      mirrored[0] = _mm256_permute2f128_pd(col[0][h], col[1][h], 0x20);
      mirrored[1] = _mm256_permute2f128_pd(col[2][h], col[3][h], 0x20);
    } else {
      mirrored[0] = _mm256_permute2f128_pd(col[0][h], col[1][h], 0x31);
      mirrored[1] = _mm256_permute2f128_pd(col[2][h], col[3][h], 0x31);
    }
    for (int k = 0; k < 2; ++k) {
      p[k] = _mm256_fmadd_pd(col[r][k], tr, p[k]);
      q[k] = _mm256_fmadd_pd(col[r][k], ti, q[k]);
      const __m256d m = _mm256_xor_pd(mirrored[k], imag_sign);
      p[k] = _mm256_fmadd_pd(m, tr, p[k]);
      q[k] = _mm256_fmadd_pd(m, ti, q[k]);
    }
  }
  const __m256d sign = _mm256_set_pd(1, -1, 1, -1);
  for (int k = 0; k < 2; ++k) {
    const double d0 = block[2 * k * (lda + 1)].real, d1 = block[(2 * k + 1) * (lda + 1)].real;
    __m256d product = _mm256_fmadd_pd(_mm256_permute_pd(q[k], 0x5), sign, p[k]);
    product = _mm256_fmadd_pd(_mm256_set_pd(d1, d1, d0, d0), _mm256_loadu_pd(&tg[2 * k].real), product);
    _mm256_storeu_pd(&out[2 * k].real, product);
  }
}
#endif

// The diagonal blocks of a Hermitian walk's groups: for group g, the 4 x 4 block of the matrix
// at (j + 4g, j + 4g) times the group's multipliers t, into acc[4g ..]: the stored triangle, the
// mirrored elements conjugated, the diagonal's real part. Done before the walk, in a call of its
// own: formed in vectors inside the walk, the same blocks made the lower walks half as slow again
// at orders 250 to 700 (the walk's sums and multipliers already fill the vector registers). The
// vector forms (AVX-512 double and single, AVX2 double) measured 0.64-1.0 of the scalar blocks'
// time at orders 32 to 1,000, both builds alternating in one process.
template <class R>
__attribute__((noinline)) void hemv_diagonal_blocks(bool upper, int groups, const complex_t<R>* a, long lda,
                                                    const complex_t<R>* t, complex_t<R>* acc) {
  for (int g = 0; g < groups; ++g) {
    const complex_t<R>* block = a + 4 * g * (lda + 1);
#if ZVX_ISA_LEVEL == 2
    hermitian_block(upper, block, lda, t + 4 * g, acc + 4 * g);
#elif ZVX_ISA_LEVEL == 1
    if constexpr (sizeof(R) == sizeof(double)) hermitian_block(upper, block, lda, t + 4 * g, acc + 4 * g);
    else hermitian_block_scalar<R>(upper, block, lda, t + 4 * g, acc + 4 * g);
#else
    hermitian_block_scalar<R>(upper, block, lda, t + 4 * g, acc + 4 * g);
#endif
  }
}

// Hermitian multiply, G groups of four columns j .. j + 4G - 1 in one walk over the rows, each
// group over exactly the rows it would take alone: rows [j + 4g + 4, n) of group g in the lower
// triangle, [0, j + 4g) in the upper. Every row's update of y takes the groups in order, and each
// group's diagonal block and dots reach y where the groups before it have updated those rows and
// the groups after it have not (lower: after the walk; upper: before the later groups take the
// rows between j and their diagonal), so that every walk gives the bits of the groups taken one
// after another. Vectors hold h = W/2
// complex elements as interleaved pairs and start at multiples of h from row 0. Per column and
// vector of rows four FMAs and no exchange: y takes A times re(t) in one sum and A times im(t) in
// another, whose parts are exchanged and signed once per group; the column's dot takes A times x
// (p) and A times x with its parts exchanged (q), once per vector of rows. Conjugated A, the dot is
// re = sum p(even) + p(odd), im = sum q(even) - q(odd).
template <class R, int G>
void hemv_groups(bool upper, long j, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x,
                 complex_t<R>* y) {
  constexpr int w = W<R>;
  constexpr int h = w / 2;
  constexpr int C = 4 * G;
  const V<R> sign = alternating_sign<R>();  // (-1, +1, ...)
  V<R> tr[C], ti[C], p[C], q[C];
  complex_t<R> t[C];
  const R* col[C];
  const R* xr = &x->real;
  R* yr = &y->real;
  for (int c = 0; c < C; ++c) t[c] = cmadd<R>(alpha, x[j + c], {});
  complex_t<R> blocks[C];
  hemv_diagonal_blocks<R>(upper, G, a + j * (lda + 1), lda, t, blocks);
  for (int c = 0; c < C; ++c) {
    tr[c] = bc(t[c].real);
    ti[c] = bc(t[c].imag);
    p[c] = q[c] = V<R>{};
    col[c] = &a[(j + c) * lda].real;
  }
  // Group g's part of the vector of rows at i, elements [from, to), with its own load and store
  // of y.
  auto group_rows = [&](int g, long i, long from, long to) {
    const bool whole = from == 0 && to == h;
    const V<R> xv = whole ? ld(xr + 2 * i) : ld_range(xr + 2 * i, 2 * from, 2 * to);
    const V<R> xs = swap_pairs<R>(xv);
    V<R> yv = whole ? ld(yr + 2 * i) : ld_range(yr + 2 * i, 2 * from, 2 * to);
    V<R> yi = {};
    for (int c = 4 * g; c < 4 * g + 4; ++c) {
      V<R> av = whole ? ld(col[c] + 2 * i) : ld_range(col[c] + 2 * i, 2 * from, 2 * to);
      in_register(av);
      yv = vfma(av, tr[c], yv);
      yi = vfma(av, ti[c], yi);
      p[c] = vfma(av, xv, p[c]);
      q[c] = vfma(av, xs, q[c]);
    }
    yv = vfma(swap_pairs<R>(yi), sign, yv);
    if (whole) st(yr + 2 * i, yv);
    else st_range(yr + 2 * i, yv, 2 * from, 2 * to);
  };
  // Whole vectors of rows [i, end) that all groups take: one load and store of y for all.
  auto joint_rows = [&](long i, long end) {
    for (; i + h <= end; i += h) {
      V<R> xv = ld(xr + 2 * i);
      in_register(xv);
      const V<R> xs = swap_pairs<R>(xv);
      V<R> yv = ld(yr + 2 * i);
#pragma GCC unroll 4
      for (int g = 0; g < G; ++g) {
        V<R> yi = {};
#pragma GCC unroll 4
        for (int c = 4 * g; c < 4 * g + 4; ++c) {
          V<R> av = ld(col[c] + 2 * i);
          in_register(av);
          yv = vfma(av, tr[c], yv);
          yi = vfma(av, ti[c], yi);
          p[c] = vfma(av, xv, p[c]);
          q[c] = vfma(av, xs, q[c]);
        }
        yv = vfma(swap_pairs<R>(yi), sign, yv);
      }
      st(yr + 2 * i, yv);
    }
    return i;
  };
  // The dots reduced, then with the diagonal block's product into y(j + 4g ..).
  auto finish = [&](int g) {
    const V<R> q_sign = -sign;  // (+1, -1, ...): the imaginary part is q(even) - q(odd)
    V<R> sums[8];
    for (int c = 0; c < 4; ++c) {
      sums[2 * c] = p[4 * g + c];
      sums[2 * c + 1] = q[4 * g + c] * q_sign;
    }
    R parts[8];
    if constexpr (w >= 8) {
      V<R> all[w] = {};
      for (int k = 0; k < 8; ++k) all[k] = sums[k];
      const V<R> r = reduce_lanes<R>(all);
      for (int k = 0; k < 8; ++k) parts[k] = r[k];
    } else {
      for (int k = 0; k < 8; k += w) {
        const V<R> r = reduce_lanes<R>(sums + k);
        for (int l = 0; l < w; ++l) parts[k + l] = r[l];
      }
    }
    const long jg = j + 4 * g;
    for (int c = 0; c < 4; ++c)
      y[jg + c] = y[jg + c] + cmadd<R>(alpha, {parts[2 * c], parts[2 * c + 1]}, blocks[4 * g + c]);
  };
  if (upper) {
    // Rows above the first group's diagonal together; then, group by group, the rows from there
    // to the group's diagonal, and the group's block.
    const long i = joint_rows(0, j);
    for (int g = 0; g < G; ++g) {
      const long hi = j + 4 * g;
      for (long v = i; v < hi; v += h) group_rows(g, v, 0, std::min<long>(h, hi - v));
      finish(g);
    }
  } else {
    // Vectors where some group starts, or where the rows end, take the groups one by one.
    auto ragged = [&](long i) {
      for (int g = 0; g < G; ++g) {
        const long from = std::max(j + 4 * g + 4, i) - i, to = std::min<long>(h, n - i);
        if (from < to) group_rows(g, i, from, to);
      }
    };
    const long first = j + 4, last = j + 4 * G;  // the first rows of group 0 and of group G - 1
    long i = first - first % h;
    for (; i < last && i < n; i += h) ragged(i);
    i = joint_rows(i, n);
    if (i < n) ragged(i);
    for (int g = 0; g < G; ++g) finish(g);
  }
}

// Groups of four columns a Hermitian multiply walk may take for a leading dimension, by the rule
// of symv_groups_for, with at most hemv_groups_per_walk.
template <class R> int hemv_groups_for(long lda) {
  return walk_groups_for(lda * (long)sizeof(complex_t<R>), hemv_groups_per_walk);
}

// One column of a Hermitian multiply on its own (the columns after the groups of four): the rows
// outside the diagonal in whole vectors from the first, then a partial one.
template <class R>
void hemv_column(bool upper, long j, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x,
                 complex_t<R>* y) {
  constexpr int w = W<R>;
  const V<R> sign = alternating_sign<R>();
  const complex_t<R> t = cmadd<R>(alpha, x[j], {});
  const V<R> tr = bc(t.real), ti = bc(t.imag);
  const long lo = upper ? 0 : j + 1, len = 2 * ((upper ? j : n) - lo);
  const R* col = &a[lo + j * lda].real;
  const R* xr = &x[lo].real;
  R* yr = &y[lo].real;
  V<R> p = {}, q = {};
  auto step = [&](long i, long count) {
    const bool whole = count == w;
    const V<R> xv = whole ? ld(xr + i) : ld_part(xr + i, count);
    V<R> av = whole ? ld(col + i) : ld_part(col + i, count);
    in_register(av);
    const V<R> yv = vfma(av, tr, whole ? ld(yr + i) : ld_part(yr + i, count));
    const V<R> out = vfma(swap_pairs<R>(av * ti), sign, yv);
    if (whole) st(yr + i, out);
    else st_part(yr + i, out, count);
    p = vfma(av, xv, p);
    q = vfma(av, swap_pairs<R>(xv), q);
  };
  long i = 0;
  for (; i + w <= len; i += w) step(i, w);
  if (i < len) step(i, len - i);
  const auto [p0, p1] = pair_sums<R>(p);
  const auto [q0, q1] = pair_sums<R>(q);
  const R diagonal = a[j + j * lda].real;
  y[j] = y[j] + cmadd<R>(alpha, {p0 + p1, q0 - q1}, {t.real * diagonal, t.imag * diagonal});
}

// Hermitian multiply: groups of four columns walk the rows (hemv_groups), each element outside the
// diagonal blocks read once and serving twice, for the update of y and for the column's dot.
template <class R>
void hemv(bool upper, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x, complex_t<R>* y) {
  const long n4 = n & ~3L;
  long j = 0;
  auto walks = [&]<int G>() {
    for (; j + 4 * G <= n4; j += 4 * G) hemv_groups<R, G>(upper, j, n, alpha, a, lda, x, y);
  };
  switch (hemv_groups_for<R>(lda)) {
    case 4: if constexpr (hemv_groups_per_walk >= 4) walks.template operator()<4>(); break;
    case 2: if constexpr (hemv_groups_per_walk >= 2) walks.template operator()<2>(); break;
    default: break;
  }
  walks.template operator()<1>();
  for (; j < n; ++j) hemv_column<R>(upper, j, n, alpha, a, lda, x, y);
}

template void symv<float>(bool, long, float, const float*, long, const float*, float*);
template void symv<double>(bool, long, double, const double*, long, const double*, double*);
template void hemv<float>(bool, long, complex_t<float>, const complex_t<float>*, long, const complex_t<float>*,
                          complex_t<float>*);
template void hemv<double>(bool, long, complex_t<double>, const complex_t<double>*, long,
                           const complex_t<double>*, complex_t<double>*);

}  // namespace zvx::blas12::ZVX_ISA_NS

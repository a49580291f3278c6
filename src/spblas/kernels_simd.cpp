// Inner loops of the sparse kernels, compiled once per instruction set: the row dots of CSR (the
// product that carries most sparse work), the unit-stride diagonal updates of DIA, BSR blocks and
// the lower triangular solve; the COO product is in kernels_coo.cpp. Multiply-adds
// are explicit FMAs where the processor has them; the portable build multiplies and adds.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "spblas/band_simd.h"

namespace zvx::spblas::simd::ZVX_ISA_NS {
namespace {

double row_dot(long len, const double* val, const int* indx, int base, const double* x) {
  return dot(len, val, indx, x - base);
}


// Where the eight row sums of a band go: stored into `sums` (`keep`), or straight into y(0 .. 7) as
// alpha * sum added to y (`add`), as alpha * sum (`scale`), or as alpha * sum + 0 (`fresh`, which
// are the bits of a sum added to a cleared y); each as the scalar rows round it. The CSR rows use
// `add` and `scale` alone; the four-way form stays: with two ways (as a test, a switch or a template
// parameter) the compiler arranges the rows loop differently and the Laplacian product measured
// 5 to 8 % slower, same run, same inputs.
enum class band_put { keep, add, scale, fresh };
struct band_out {
  band_put how;
  double alpha;
  double* y;
  double* sums;
};

#if ZVX_ISA_LEVEL == 2
inline void put_block(__m512d s, const band_out& o) {
  const __m512d a = _mm512_set1_pd(o.alpha);
  switch (o.how) {
    case band_put::keep: _mm512_storeu_pd(o.sums, s); break;
    case band_put::add: _mm512_storeu_pd(o.y, _mm512_fmadd_pd(a, s, _mm512_loadu_pd(o.y))); break;
    case band_put::scale: _mm512_storeu_pd(o.y, _mm512_mul_pd(a, s)); break;
    case band_put::fresh: _mm512_storeu_pd(o.y, _mm512_fmadd_pd(a, s, _mm512_setzero_pd())); break;
  }
}

// When rows i .. i + 7 form a band of L entries a row: the eight entries k of the rows in w[k] and
// the first row's columns at *cols, true; false otherwise, before any load that the check doesn't
// cover.
template <int L>
bool band_load(const double* val, const int* indx, const int* pntrb, const int* pntre, long origin,
               long i, __m512d* w, const int** cols) {
  const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pntrb + i));
  const __m256i e = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pntre + i));
  const __m256i steps = _mm256_setr_epi32(0, L, 2 * L, 3 * L, 4 * L, 5 * L, 6 * L, 7 * L);
  const int b0 = pntrb[i];
  const __mmask8 ok = _mm256_cmpeq_epi32_mask(_mm256_sub_epi32(e, b), _mm256_set1_epi32(L)) &
                      _mm256_cmpeq_epi32_mask(_mm256_sub_epi32(b, _mm256_set1_epi32(b0)), steps);
  if (ok != 0xff) return false;
  const long s0 = static_cast<long>(b0) - origin;
  if (!band_entries<L>(val + s0, indx + s0, w)) return false;
  *cols = indx + s0;
  return true;
}

// Row sums of a band: entry k into one of two sums, from the last entry down, as the scalar row.
template <int L>
bool band_rows(const double* val, const int* indx, const int* pntrb, const int* pntre, long origin,
               const double* xs, long i, const band_out& out) {
  __m512d w[L];
  const int* cols;
  if (!band_load<L>(val, indx, pntrb, pntre, origin, i, w, &cols)) return false;
  __m512d s = _mm512_setzero_pd(), u = _mm512_setzero_pd();
  for (int k = L - 1; k >= 0; --k) {
    const __m512d xk = _mm512_loadu_pd(xs + cols[k]);
    if (k % 2 == 0) s = _mm512_fmadd_pd(w[k], xk, s);
    else u = _mm512_fmadd_pd(w[k], xk, u);
  }
  put_block(_mm512_add_pd(s, u), out);
  return true;
}

// c(i .. i + 7, j) for the n columns of b: one sum a column, entries in order, as the scalar rows.
// The band's permuted val serves every column. One column a step, with one base pointer and the
// L offsets of the band: the columns' chains of multiply-adds are independent, so the core
// overlaps consecutive steps by itself. Written as eight columns a step, the compiler formed all
// 8 L addresses up front and spilled them, every block: on the Laplacian of ten thousand rows,
// in cache, 7.5 ns a row against 6.0 for this. The far row of b (the last entry of the band) is
// requested four blocks ahead in each column; without the request the product of a million rows
// took 10.6 ms instead of 8.4 eight blocks ahead, and medians of 40 alternating calls gave 8.0 ms
// four blocks ahead, 8.3 three or six, 8.5 eight (one thread, same run; one or two blocks ahead,
// 256 entries ahead or into the second-level cache alone were slower).
template <int L>
inline void band_columns(const __m512d* w, const long* at, const double* bs, long ldb, long n, double alpha,
                         double* c, long ldc, bool accumulate, bool stream) {
  const __m512d a = _mm512_set1_pd(alpha);
  auto sum = [&](const double* bj) {
    __builtin_prefetch(bj + at[L - 1] + 32);
    __m512d s = _mm512_setzero_pd();
#pragma GCC unroll 8
    for (int k = 0; k < L; ++k) s = _mm512_fmadd_pd(w[k], _mm512_loadu_pd(bj + at[k]), s);
    return s;
  };
  if (stream) {
    for (long j = 0; j < n; ++j, bs += ldb, c += ldc) _mm512_stream_pd(c, _mm512_mul_pd(a, sum(bs)));
  } else if (accumulate) {
    for (long j = 0; j < n; ++j, bs += ldb, c += ldc) _mm512_storeu_pd(c, _mm512_fmadd_pd(a, sum(bs), _mm512_loadu_pd(c)));
  } else {
    for (long j = 0; j < n; ++j, bs += ldb, c += ldc) _mm512_storeu_pd(c, _mm512_mul_pd(a, sum(bs)));
  }
}

template <int L>
bool band_rows_mm(const double* val, const int* indx, const int* pntrb, const int* pntre, long origin,
                  const double* bs, long ldb, long n, double alpha, double* c, long ldc, long i,
                  bool accumulate, bool stream) {
  __m512d w[L];
  const int* cols;
  if (!band_load<L>(val, indx, pntrb, pntre, origin, i, w, &cols)) return false;
  long at[L];
  for (int k = 0; k < L; ++k) at[k] = cols[k];
  band_columns<L>(w, at, bs, ldb, n, alpha, c + i, ldc, accumulate, stream);
  return true;
}

bool band_block(long len, const double* val, const int* indx, const int* pntrb, const int* pntre,
                long origin, const double* xs, long i, const band_out& out) {
  switch (len) {
    case 2: return band_rows<2>(val, indx, pntrb, pntre, origin, xs, i, out);
    case 3: return band_rows<3>(val, indx, pntrb, pntre, origin, xs, i, out);
    case 4: return band_rows<4>(val, indx, pntrb, pntre, origin, xs, i, out);
    case 5: return band_rows<5>(val, indx, pntrb, pntre, origin, xs, i, out);
    case 6: return band_rows<6>(val, indx, pntrb, pntre, origin, xs, i, out);
    case 7: return band_rows<7>(val, indx, pntrb, pntre, origin, xs, i, out);
    case 8: return band_rows<8>(val, indx, pntrb, pntre, origin, xs, i, out);
    default: return false;
  }
}

bool band_block_mm(long len, const double* val, const int* indx, const int* pntrb, const int* pntre,
                   long origin, const double* bs, long ldb, long n, double alpha, double* c, long ldc,
                   long i, bool accumulate, bool stream) {
  switch (len) {
    case 2: return band_rows_mm<2>(val, indx, pntrb, pntre, origin, bs, ldb, n, alpha, c, ldc, i, accumulate, stream);
    case 3: return band_rows_mm<3>(val, indx, pntrb, pntre, origin, bs, ldb, n, alpha, c, ldc, i, accumulate, stream);
    case 4: return band_rows_mm<4>(val, indx, pntrb, pntre, origin, bs, ldb, n, alpha, c, ldc, i, accumulate, stream);
    case 5: return band_rows_mm<5>(val, indx, pntrb, pntre, origin, bs, ldb, n, alpha, c, ldc, i, accumulate, stream);
    case 6: return band_rows_mm<6>(val, indx, pntrb, pntre, origin, bs, ldb, n, alpha, c, ldc, i, accumulate, stream);
    case 7: return band_rows_mm<7>(val, indx, pntrb, pntre, origin, bs, ldb, n, alpha, c, ldc, i, accumulate, stream);
    case 8: return band_rows_mm<8>(val, indx, pntrb, pntre, origin, bs, ldb, n, alpha, c, ldc, i, accumulate, stream);
    default: return false;
  }
}
#else
bool band_block(long, const double*, const int*, const int*, const int*, long, const double*, long,
                const band_out&) {
  return false;
}
bool band_block_mm(long, const double*, const int*, const int*, const int*, long, const double*, long,
                   long, double, double*, long, long, bool, bool) {
  return false;
}
#endif

// Requests of the val and indx entries of [s, e) csr_stream_ahead entries early, not past `stop`.
inline void request_streams(const double* val, const int* indx, long s, long e, long stop) {
  for (long p = s + csr_stream_ahead; p < e + csr_stream_ahead && p < stop; p += 8)
    __builtin_prefetch(val + p);
  for (long p = s + csr_stream_ahead; p < e + csr_stream_ahead && p < stop; p += 16)
    __builtin_prefetch(indx + p);
}

// Rows of a few entries, eight at a time: the block's share of val and indx is requested
// csr_stream_ahead entries early (with the per-row work this light, the hardware's own
// prefetching of the two streams falls behind), then the block goes as a band or row by row.
void short_rows(long r0, long r1, const double* val, const int* indx, const int* pntrb,
                const int* pntre, long origin, const double* xs, double alpha, double* y,
                bool accumulate) {
  const long stop = pntre[r1 - 1] - origin;  // requests stay inside the entries of the range
  long i = r0;
  for (; i + band_block_rows <= r1; i += band_block_rows) {
    const long s = pntrb[i] - origin, e = pntre[i + band_block_rows - 1] - origin;
    request_streams(val, indx, s, e, stop);
    const band_out out{accumulate ? band_put::add : band_put::scale, alpha, y + i, nullptr};
    if (band_block(pntre[i] - pntrb[i], val, indx, pntrb, pntre, origin, xs, i, out)) continue;
    for (long r = 0; r < band_block_rows; ++r) {
      const long rs = pntrb[i + r] - origin, re = pntre[i + r] - origin;
      const double sum = dot(re - rs, val + rs, indx + rs, xs);
      y[i + r] = accumulate ? madd(alpha, sum, y[i + r]) : alpha * sum;
    }
  }
  for (; i < r1; ++i) {
    const long s = pntrb[i] - origin, e = pntre[i] - origin;
    const double sum = dot(e - s, val + s, indx + s, xs);
    y[i] = accumulate ? madd(alpha, sum, y[i]) : alpha * sum;
  }
}

void csr_rows(long r0, long r1, const double* val, const int* indx, const int* pntrb,
              const int* pntre, int base, const double* x, double alpha, double* y,
              bool accumulate) {
  if (r1 <= r0) return;
  const long origin = pntrb[0];
  const double* xs = x - base;
  const long total = pntre[r1 - 1] - pntrb[r0];
  if (total < x_prefetch_rows_min * (r1 - r0)) {
    short_rows(r0, r1, val, indx, pntrb, pntre, origin, xs, alpha, y, accumulate);
    return;
  }
  // Requests ahead stay inside the entries of this range of rows.
  const long limit = pntre[r1 - 1] - origin - x_prefetch_distance;
  for (long i = r0; i < r1; ++i) {
    const long s = pntrb[i] - origin, e = pntre[i] - origin;
    for (long p = s; p < e && p < limit; p += x_prefetch_step) __builtin_prefetch(xs + indx[p + x_prefetch_distance]);
    const double sum = dot(e - s, val + s, indx + s, xs);
    y[i] = accumulate ? madd(alpha, sum, y[i]) : alpha * sum;
  }
}

void diag_update(long len, double alpha, const double* v, const double* b, double* c) {
  for (long i = 0; i < len; ++i) c[i] = madd(v[i] * alpha, b[i], c[i]);
}

void diag_update2(long len, double alpha, const double* v, const double* b0, const double* b1,
                  double* c0, double* c1) {
  for (long i = 0; i < len; ++i) {
    const double t = v[i] * alpha;
    c0[i] = madd(t, b0[i], c0[i]);
    c1[i] = madd(t, b1[i], c1[i]);
  }
}

// Rows [r0, r1) of c(:, 0:W) += alpha * A * b(:, 0:W), column-major b and c: each entry of a row
// is read once for all W columns, the W sums stay in registers.
template <int W>
void csr_rows_block(long r0, long r1, const double* val, const int* indx, const int* pntrb,
                    const int* pntre, int base, const double* b, long ldb, double alpha, double* c,
                    long ldc, bool accumulate) {
  const long origin = pntrb[0];
  const double* bs = b - base;
  for (long i = r0; i < r1; ++i) {
    const long s = pntrb[i] - origin, e = pntre[i] - origin;
    double acc[W] = {};
    for (long p = s; p < e; ++p) {
      const double v = val[p];
      const double* bp = bs + indx[p];
#pragma GCC unroll 8
      for (int j = 0; j < W; ++j) acc[j] = madd(v, bp[j * ldb], acc[j]);
    }
#pragma GCC unroll 8
    for (int j = 0; j < W; ++j)
      c[i + j * ldc] = accumulate ? madd(alpha, acc[j], c[i + j * ldc]) : alpha * acc[j];
  }
}

void csr_rows_block_all(long r0, long r1, const double* val, const int* indx, const int* pntrb,
                        const int* pntre, int base, const double* b, long ldb, long n, double alpha,
                        double* c, long ldc, bool accumulate) {
  long j = 0;
  for (; j + 8 <= n; j += 8)
    csr_rows_block<8>(r0, r1, val, indx, pntrb, pntre, base, b + j * ldb, ldb, alpha, c + j * ldc, ldc, accumulate);
  for (; j + 4 <= n; j += 4)
    csr_rows_block<4>(r0, r1, val, indx, pntrb, pntre, base, b + j * ldb, ldb, alpha, c + j * ldc, ldc, accumulate);
  for (; j < n; ++j)
    csr_rows_block<1>(r0, r1, val, indx, pntrb, pntre, base, b + j * ldb, ldb, alpha, c + j * ldc, ldc, accumulate);
}

void csr_rows_mm(long r0, long r1, const double* val, const int* indx, const int* pntrb,
                 const int* pntre, int base, const double* b, long ldb, long n, double alpha,
                 double* c, long ldc, bool accumulate) {
  if (r1 <= r0) return;
  const long origin = pntrb[0];
  const long total = pntre[r1 - 1] - pntrb[r0];
  if (total >= x_prefetch_rows_min * (r1 - r0)) {
    csr_rows_block_all(r0, r1, val, indx, pntrb, pntre, base, b, ldb, n, alpha, c, ldc, accumulate);
    return;
  }
  // Rows of a few entries: blocks of eight rows through all columns, so that a band's permuted
  // val serves every column, and the streams of the matrix are requested ahead.
  const long stop = pntre[r1 - 1] - origin;
  long i = r0;
  // A large output that is only written goes past the caches: its lines are not read first. The
  // blocks then start where c(i, j) is aligned to a cache line in every column.
  bool stream = false;
#if ZVX_ISA_LEVEL == 2
  if (!accumulate && ldc % 8 == 0 && reinterpret_cast<uintptr_t>(c) % 8 == 0 &&
      n * (r1 - r0) * static_cast<long>(sizeof(double)) >= stream_store_min_bytes) {
    const long head = std::min(r1 - r0, static_cast<long>((64 - reinterpret_cast<uintptr_t>(c + r0) % 64) % 64 / 8));
    csr_rows_block_all(r0, r0 + head, val, indx, pntrb, pntre, base, b, ldb, n, alpha, c, ldc, accumulate);
    i += head;
    stream = true;
  }
#endif
  for (; i + band_block_rows <= r1; i += band_block_rows) {
    request_streams(val, indx, pntrb[i] - origin, pntre[i + band_block_rows - 1] - origin, stop);
    if (!band_block_mm(pntre[i] - pntrb[i], val, indx, pntrb, pntre, origin, b - base, ldb, n, alpha,
                       c, ldc, i, accumulate, stream))
      csr_rows_block_all(i, i + band_block_rows, val, indx, pntrb, pntre, base, b, ldb, n, alpha, c, ldc,
                            accumulate);
  }
  csr_rows_block_all(i, r1, val, indx, pntrb, pntre, base, b, ldb, n, alpha, c, ldc, accumulate);
  // The streamed lines are ordered before whatever the caller (or a thread after the region's
  // barrier) reads next.
  if (stream) _mm_sfence();
}

// General BSR product, not transposed: y(block i) += alpha * sum of B * x(block q). Blocks are
// column-major (one-based interface) or row-major (zero-based).
template <int LB, bool RowMajor>
void bsr_rows_fixed(long m, long, const double* val, const int* indx, const int* pntrb,
                    const int* pntre, int base, const double* x, double alpha, double* y) {
  const long origin = pntrb[0];
  for (long i = 0; i < m; ++i) {
    double acc[LB] = {};
    for (long p = pntrb[i] - origin, e = pntre[i] - origin; p < e; ++p) {
      const double* blk = val + p * LB * LB;
      const double* xq = x + static_cast<long>(indx[p] - base) * LB;
#pragma GCC unroll 8
      for (int r = 0; r < LB; ++r)
#pragma GCC unroll 8
        for (int cc = 0; cc < LB; ++cc)
          acc[r] = madd(RowMajor ? blk[r * LB + cc] : blk[cc * LB + r], xq[cc], acc[r]);
    }
    for (int r = 0; r < LB; ++r) y[i * LB + r] = madd(alpha, acc[r], y[i * LB + r]);
  }
}

template <bool RowMajor>
void bsr_rows_any(long m, long lb, const double* val, const int* indx, const int* pntrb,
                  const int* pntre, int base, const double* x, double alpha, double* y) {
  const long origin = pntrb[0];
  for (long i = 0; i < m; ++i) {
    double* yi = y + i * lb;
    for (long p = pntrb[i] - origin, e = pntre[i] - origin; p < e; ++p) {
      const double* blk = val + p * lb * lb;
      const double* xq = x + static_cast<long>(indx[p] - base) * lb;
      for (long r = 0; r < lb; ++r) {
        double acc = 0;
        for (long cc = 0; cc < lb; ++cc) acc = madd(RowMajor ? blk[r * lb + cc] : blk[cc * lb + r], xq[cc], acc);
        yi[r] = madd(alpha, acc, yi[r]);
      }
    }
  }
}

void bsr_rows(long m, long lb, bool row_major, const double* val, const int* indx,
              const int* pntrb, const int* pntre, int base, const double* x, double alpha,
              double* y) {
  using fn = void (*)(long, long, const double*, const int*, const int*, const int*, int,
                      const double*, double, double*);
  fn f;
  switch (lb) {
    case 2: f = row_major ? bsr_rows_fixed<2, true> : bsr_rows_fixed<2, false>; break;
    case 3: f = row_major ? bsr_rows_fixed<3, true> : bsr_rows_fixed<3, false>; break;
    case 4: f = row_major ? bsr_rows_fixed<4, true> : bsr_rows_fixed<4, false>; break;
    case 5: f = row_major ? bsr_rows_fixed<5, true> : bsr_rows_fixed<5, false>; break;
    default: f = row_major ? bsr_rows_any<true> : bsr_rows_any<false>; break;
  }
  f(m, lb, val, indx, pntrb, pntre, base, x, alpha, y);
}

// Lower triangular solve with one right-hand side in place on y, rows sorted: each row takes
// its entries off y(i) until its first column not below the row, whose entry is the divisor when
// non-unit (a row without one divides by the last entry reached inside the arrays).
//
// The solve is a chain through the unknowns, the latest one (column i - 1 of a stencil) entering
// each row last; the chain is one multiply-add and one multiply per row: the terms are taken off
// y(i) directly instead of summed apart, and the reciprocal of the diagonal, which doesn't depend
// on the chain, is formed beside it. Both change only the rounding.
void csr_lower_solve(long m, const double* val, const int* indx, const int* pntrb,
                     const int* pntre, int base, bool nonunit, double* y) {
  const long origin = pntrb[0];
  long last = 0;
  for (long i = 0; i < m; ++i) {
    const long s = pntrb[i] - origin, e = pntre[i] - origin;
    double t = y[i];
    long p = s;
    for (; p < e; ++p) {
      const long col = indx[p] - base;
      if (col >= i) break;
      t = madd(-val[p], y[col], t);
    }
    if (nonunit) {
      last = p < e ? p : (e > s ? e - 1 : last);
      t *= 1.0 / val[last];
    }
    y[i] = t;
  }
}

constexpr kernel_set set{csr_rows, row_dot, diag_update, diag_update2, csr_rows_mm, coo_mv, bsr_rows, csr_lower_solve};

}  // namespace

const kernel_set* table() { return &set; }

}  // namespace zvx::spblas::simd::ZVX_ISA_NS

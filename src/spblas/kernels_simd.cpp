// Inner loops of the sparse kernels, compiled once per instruction set: the row dots of CSR (the
// product that carries most sparse work) and the unit-stride diagonal updates of DIA. Multiply-adds
// are explicit FMAs where the processor has them; the portable build multiplies and adds.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "common/simd.h"
#include "spblas/spblas.h"

namespace zvx::spblas::simd::ZVX_ISA_NS {
namespace {

// Multiply-adds are fused where the processor has them (the vector layer's scalar FMA).
inline double madd(double a, double b, double c) { return ::ZVX_ISA_NS::sfma(a, b, c); }

// Four independent sums hide the latency of the multiply-add; the loads of x are gathers that the
// out-of-order core overlaps, so a scalar form is as fast as a vector gather on these rows.
inline double dot(long len, const double* val, const int* idx, const double* x) {
  if (len <= 8) {
    // Short rows (stencils): straight-line code entered by the length, two sums, no branch per
    // entry; consecutive rows overlap in the core. (A masked gather of the row measured more than
    // twice slower on the AVX-512 machine of the benchmark.)
    double s = 0, t = 0;
    switch (len) {
      case 8: t = madd(val[7], x[idx[7]], t); [[fallthrough]];
      case 7: s = madd(val[6], x[idx[6]], s); [[fallthrough]];
      case 6: t = madd(val[5], x[idx[5]], t); [[fallthrough]];
      case 5: s = madd(val[4], x[idx[4]], s); [[fallthrough]];
      case 4: t = madd(val[3], x[idx[3]], t); [[fallthrough]];
      case 3: s = madd(val[2], x[idx[2]], s); [[fallthrough]];
      case 2: t = madd(val[1], x[idx[1]], t); [[fallthrough]];
      case 1: s = madd(val[0], x[idx[0]], s); [[fallthrough]];
      default: break;
    }
    return s + t;
  }
  double s0 = 0, s1 = 0, s2 = 0, s3 = 0;
  long p = 0;
  for (; p + 4 <= len; p += 4) {
    s0 = madd(val[p], x[idx[p]], s0);
    s1 = madd(val[p + 1], x[idx[p + 1]], s1);
    s2 = madd(val[p + 2], x[idx[p + 2]], s2);
    s3 = madd(val[p + 3], x[idx[p + 3]], s3);
  }
  for (; p < len; ++p) s0 = madd(val[p], x[idx[p]], s0);
  return (s0 + s1) + (s2 + s3);
}

double row_dot(long len, const double* val, const int* indx, int base, const double* x) {
  return dot(len, val, indx, x - base);
}


// Where the eight row sums of a band go: stored into `sums` (`keep`), or straight into y(0 .. 7) as
// alpha * sum added to y (`add`), as alpha * sum (`scale`), or as alpha * sum + 0 (`fresh`, which
// are the bits of a sum added to a cleared y); each as the scalar rows round it.
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

// Rows of a stencil: eight consecutive rows of L entries each, stored one after the other, whose
// columns are those of the first row shifted by the row's distance from it. Such a block is a small
// dense band: the element of x that entry k of each of the eight rows needs lies in one unaligned
// vector at x[column k of the first row], so the block takes L vector loads of x instead of 8 L
// scalar loads that depend on loads of indx, and the eight sums run in the lanes of one register.
// (Gathers measured twice slower than the scalar rows here; this form has no gather.)
//
// val of the block is row after row; the eight entries k of the rows sit L apart and come together
// through permutes of pairs of its registers. Entry k goes to the same one of two sums, in the
// same order, as in the scalar row of up to eight entries, so both give the same bits.
template <int L>
struct band_tables {
  static constexpr int index_regs = (8 * L + 15) / 16;  // registers of 16 column numbers
  static constexpr int pairs = (L + 1) / 2;             // pairs of val registers
  alignas(64) int pick[index_regs][16];   // position in the first row of the block
  alignas(64) int shift[index_regs][16];  // row of the block, which shifts the column
  unsigned short valid[index_regs];
  alignas(64) long long lane[L][pairs][8];  // permute of entry k out of the pair p
  unsigned char from_pair[L][pairs];        // lanes that entry k takes from pair p
  constexpr band_tables() : pick{}, shift{}, valid{}, lane{}, from_pair{} {
    for (int q = 0; q < index_regs; ++q)
      for (int j = 0; j < 16; ++j) {
        const int pos = 16 * q + j;
        pick[q][j] = pos % L;
        shift[q][j] = pos / L;
        if (pos < 8 * L) valid[q] = static_cast<unsigned short>(valid[q] | (1u << j));
      }
    for (int k = 0; k < L; ++k)
      for (int p = 0; p < pairs; ++p)
        for (int r = 0; r < 8; ++r) {
          const int pos = L * r + k;
          lane[k][p][r] = pos & 15;
          if (pos / 16 == p) from_pair[k][p] = static_cast<unsigned char>(from_pair[k][p] | (1u << r));
        }
  }
};
template <int L>
inline constexpr band_tables<L> band{};

// The 8 L entries at val and ip, row after row, when every row's columns are the first row's
// plus the row: the entries k of the eight rows into w[k], true; false otherwise.
template <int L>
bool band_entries(const double* vp, const int* ip, __m512d* w) {
  const auto& t = band<L>;
  __m512i first = _mm512_setzero_si512();
  for (int q = 0; q < t.index_regs; ++q) {
    const __m512i got = _mm512_maskz_loadu_epi32(t.valid[q], ip + 16 * q);
    if (q == 0) first = got;
    const __m512i want = _mm512_add_epi32(
        _mm512_permutex2var_epi32(first, _mm512_load_si512(t.pick[q]), first), _mm512_load_si512(t.shift[q]));
    if (_mm512_mask_cmpneq_epi32_mask(t.valid[q], got, want)) return false;
  }
  __m512d rows[L];
  for (int q = 0; q < L; ++q) rows[q] = _mm512_loadu_pd(vp + 8 * q);
  for (int k = 0; k < L; ++k) {
    __m512d v = _mm512_setzero_pd();
    for (int p = 0; p < t.pairs; ++p) {
      if (!t.from_pair[k][p]) continue;
      const __m512i ix = _mm512_load_si512(t.lane[k][p]);
      // An odd last register pairs with itself; its lanes are below 8.
      const __m512d part = _mm512_permutex2var_pd(rows[2 * p], ix, rows[std::min(2 * p + 1, L - 1)]);
      v = _mm512_mask_mov_pd(v, t.from_pair[k][p], part);
    }
    w[k] = v;
  }
  return true;
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
// Eight columns go together, entry k of the band outermost: the eight sums are independent chains
// of multiply-adds in registers, so the latency of one column's chain hides behind the others
// (one column after the other took 10.3 ms for 8 columns of the Laplacian of a million rows, this
// 8.0 ms, one thread). Requests for the leading rows of b ahead of the loads measured no faster.
template <int L, int W>
inline void band_columns(const __m512d* w, const long* at, const double* bs, long ldb, double alpha,
                         double* c, long ldc, bool accumulate, bool stream) {
  __m512d s[W];
#pragma GCC unroll 8
  for (int j = 0; j < W; ++j) s[j] = _mm512_setzero_pd();
#pragma GCC unroll 8
  for (int k = 0; k < L; ++k)
#pragma GCC unroll 8
    for (int j = 0; j < W; ++j) s[j] = _mm512_fmadd_pd(w[k], _mm512_loadu_pd(bs + j * ldb + at[k]), s[j]);
  const __m512d a = _mm512_set1_pd(alpha);
#pragma GCC unroll 8
  for (int j = 0; j < W; ++j) {
    double* cj = c + j * ldc;
    if (stream) _mm512_stream_pd(cj, _mm512_mul_pd(a, s[j]));
    else _mm512_storeu_pd(cj, accumulate ? _mm512_fmadd_pd(a, s[j], _mm512_loadu_pd(cj)) : _mm512_mul_pd(a, s[j]));
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
  long j = 0;
  for (; j + 8 <= n; j += 8)
    band_columns<L, 8>(w, at, bs + j * ldb, ldb, alpha, c + j * ldc + i, ldc, accumulate, stream);
  for (; j + 4 <= n; j += 4)
    band_columns<L, 4>(w, at, bs + j * ldb, ldb, alpha, c + j * ldc + i, ldc, accumulate, stream);
  for (; j < n; ++j) band_columns<L, 1>(w, at, bs + j * ldb, ldb, alpha, c + j * ldc + i, ldc, accumulate, stream);
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
// Triplets p .. p + 8 L - 1 when they are eight rows of L entries from row r on, in order, forming
// a band, and row r + 7 ends there: the eight row sums into `sums` with the entries summed as in
// coo_mv (entry k into one of two sums, from the first entry on), true; false otherwise.
template <int L>
bool coo_band(long nnz, const double* val, const int* row, const int* col, long p, const double* xs,
              const band_out& out) {
  if (p + 8 * L > nnz) return false;
  const auto& t = band<L>;
  const int r = row[p];
  if (p + 8 * L < nnz && row[p + 8 * L] == r + 7) return false;
  for (int q = 0; q < t.index_regs; ++q) {
    const __m512i got = _mm512_maskz_loadu_epi32(t.valid[q], row + p + 16 * q);
    const __m512i want = _mm512_add_epi32(_mm512_set1_epi32(r), _mm512_load_si512(t.shift[q]));
    if (_mm512_mask_cmpneq_epi32_mask(t.valid[q], got, want)) return false;
  }
  __m512d w[L];
  if (!band_entries<L>(val + p, col + p, w)) return false;
  __m512d s0 = _mm512_setzero_pd(), s1 = _mm512_setzero_pd();
  for (int k = 0; k < L; ++k) {
    const __m512d xk = _mm512_loadu_pd(xs + col[p + k]);
    if (k % 2 == 0) s0 = _mm512_fmadd_pd(w[k], xk, s0);
    else s1 = _mm512_fmadd_pd(w[k], xk, s1);
  }
  put_block(_mm512_add_pd(s0, s1), out);
  return true;
}

// Entries a row of the run of triplets at p, when it may start a band (2 to 8), else 0.
inline int coo_run(long nnz, const int* row, long p) {
  int len = 1;
  while (len <= 8 && p + len < nnz && row[p + len] == row[p]) ++len;
  return len >= 2 && len <= 8 ? len : 0;
}

bool coo_band_block(int len, long nnz, const double* val, const int* row, const int* col, long p,
                    const double* xs, const band_out& out) {
  switch (len) {
    case 2: return coo_band<2>(nnz, val, row, col, p, xs, out);
    case 3: return coo_band<3>(nnz, val, row, col, p, xs, out);
    case 4: return coo_band<4>(nnz, val, row, col, p, xs, out);
    case 5: return coo_band<5>(nnz, val, row, col, p, xs, out);
    case 6: return coo_band<6>(nnz, val, row, col, p, xs, out);
    case 7: return coo_band<7>(nnz, val, row, col, p, xs, out);
    case 8: return coo_band<8>(nnz, val, row, col, p, xs, out);
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
inline int coo_run(long, const int*, long) { return 0; }
bool coo_band_block(int, long, const double*, const int*, const int*, long, const double*, const band_out&) {
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
    for (long p = s; p < e && p < limit; p += 8) __builtin_prefetch(xs + indx[p + x_prefetch_distance]);
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

// y[row - 1] += alpha * val * x[col - 1] over one-based triplets. Consecutive triplets of one
// row are summed in a register before y is touched, so rows stored in order cost what a CSR row
// costs instead of a store-to-load chain through y per entry; eight stencil rows in order go as
// one band. With `overwrite`, y(0 : len) is written instead of added to: a row reached in order
// for the first time is stored (as alpha * sum + 0, the bits of the sum added to a cleared y) and
// the rows skipped on the way are cleared, so y is not cleared in a pass of its own first; a row
// met again adds to what it holds.
void coo_mv(long nnz, const double* val, const int* row, const int* col, double alpha,
            const double* x, double* y, long len, bool overwrite) {
  const double* xs = x - 1;
  double* ys = y - 1;
  long next = 1;  // with overwrite: the first row (one-based) not yet written
  int hint = 0, skip = 0;
  auto put = [&](long r, double sum) {
    if (overwrite && r >= next) {
      for (long q = next; q < r; ++q) ys[q] = 0.0;
      ys[r] = madd(alpha, sum, 0.0);
      next = r + 1;
    } else {
      ys[r] = madd(alpha, sum, ys[r]);
    }
  };
  long p = 0;
  while (p < nnz) {
    const int r = row[p];
    // The run length of the last band is tried first.
    // After a failed try, the next rows go one by one: a list of short rows that are no band
    // pays for one check every eight rows, not for one a row.
    const int run = skip > 0 ? 0
                    : hint && p + hint <= nnz && row[p + hint - 1] == r && (p + hint == nnz || row[p + hint] != r)
                        ? hint
                        : coo_run(nnz, row, p);
    if (skip > 0) --skip;
    if (run) {
      request_streams(val, col, p, p + 8 * run, nnz);
      for (long q = p + csr_stream_ahead; q < p + 8 * run + csr_stream_ahead && q < nnz; q += 16)
        __builtin_prefetch(row + q);
      // A block of rows not yet written takes its place in y directly; a block that meets rows
      // written before (rows out of order) goes through `put`.
      double sums[8];
      const band_put how = !overwrite ? band_put::add : r >= next ? band_put::fresh : band_put::keep;
      if (coo_band_block(run, nnz, val, row, col, p, xs, {how, alpha, ys + r, sums})) {
        if (how == band_put::fresh) {
          for (long q = next; q < r; ++q) ys[q] = 0.0;
          next = r + 8;
        } else if (how == band_put::keep) {
          for (int q = 0; q < 8; ++q) put(r + q, sums[q]);
        }
        hint = run;
        p += 8 * run;
        continue;
      }
      skip = 7;
    }
    double s0 = 0, s1 = 0;
    for (; p + 1 < nnz && row[p] == r && row[p + 1] == r; p += 2) {
      s0 = madd(val[p], xs[col[p]], s0);
      s1 = madd(val[p + 1], xs[col[p + 1]], s1);
    }
    if (p < nnz && row[p] == r) {
      s0 = madd(val[p], xs[col[p]], s0);
      ++p;
    }
    put(r, s0 + s1);
  }
  if (overwrite)
    for (long q = next; q <= len; ++q) ys[q] = 0.0;
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

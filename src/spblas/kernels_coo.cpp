// The COO product of one vector, compiled once per instruction set. Consecutive triplets of one row
// are summed as a CSR row is (the same dot, the entries in the same order) before y is touched, so
// a list stored row by row costs what the CSR rows cost instead of a store-to-load chain through y
// per entry, and eight stencil rows in order go as the band of the CSR kernel: a sorted list gives
// the bits of the CSR product. Nothing is known of the order in advance: each band and each row
// checks its own triplets as the product reaches them, so no pass over the row numbers comes first,
// and a list out of order falls back to single rows where a run breaks.
#include <cstdint>

#include "spblas/band_simd.h"

namespace zvx::spblas::simd::ZVX_ISA_NS {
namespace {

// Where the sums go. Rows [1, next) of the one-based ys hold their base already (with `add` every
// row does) and take a sum added to them. A row at or past `next` reached for the first time takes
// alpha * sum on the base the output asks for: 0 (`overwrite`, the bits of a sum added to a cleared
// y) or beta * y (`scale`, the bits of a scaling pass before the product); the rows passed over on
// the way get the base alone. So y is neither cleared nor scaled in a pass of its own.
struct coo_target {
  double* ys;
  double alpha;
  coo_output how;
  double beta;
  long next;
  // Overwritten outputs of stream_store_min_bytes and more: blocks of fresh rows whose eight
  // elements of y fill one cache line are stored past the caches (see coo_mv).
  bool stream;

  double base(long q) const { return how == coo_output::scale ? beta * ys[q] : 0.0; }
  void give_base(long r) {  // rows [next, r)
    for (long q = next; q < r; ++q) ys[q] = base(q);
  }
  void put(long r, double sum) {
    if (how != coo_output::add && r >= next) {
      give_base(r);
      ys[r] = madd(alpha, sum, base(r));
      next = r + 1;
    } else {
      ys[r] = madd(alpha, sum, ys[r]);
    }
  }
};

#if ZVX_ISA_LEVEL == 2
// Blocks of eight rows of L entries from triplet p on, for as long as they are bands: rows r .. r + 7
// one after the other, row r + 7 ending with the block, the columns those of row r shifted by the
// row. A block's sums are formed as the CSR band forms them. A block whose rows all hold their base
// adds to them; one whose rows hold none yet is stored on it; one across `next` ends the run, as
// does the first block that is no band. Returns the triplet after the last block taken.
//
// The three streams are requested coo_stream_ahead entries ahead, one request a line, unrolled in
// the code of the block: the per-block work is light enough that the hardware's prefetching of the
// streams falls behind (no requests: 1.5 times the time). In the caches the loop takes 0.9 to 1.07
// of the CSR rows' time on the Laplacian (90,000 and 16,000 rows); from memory its extra stream of
// rows shows.
template <int L>
long band_run(long nnz, const double* val, const int* row, const int* col, long p, const double* xs,
              coo_target& t) {
  const auto& tab = band<L>;
  const __m512d a = _mm512_set1_pd(t.alpha);
  while (p + 8 * L <= nnz) {
    if (p + 8 * L + coo_stream_ahead <= nnz) {
      const long ahead = p + coo_stream_ahead;
#pragma GCC unroll 8
      for (int q = 0; q < L; ++q) __builtin_prefetch(val + ahead + 8 * q);
#pragma GCC unroll 4
      for (int q = 0; q < (L + 1) / 2; ++q) {
        __builtin_prefetch(row + ahead + 16 * q);
        __builtin_prefetch(col + ahead + 16 * q);
      }
    }
    const int r = row[p];
    if (p + 8 * L < nnz && row[p + 8 * L] == r + 7) break;
    __mmask16 off = 0;
    for (int q = 0; q < tab.index_regs; ++q) {
      const __m512i got = _mm512_maskz_loadu_epi32(tab.valid[q], row + p + 16 * q);
      const __m512i want = _mm512_add_epi32(_mm512_set1_epi32(r), _mm512_load_si512(tab.shift[q]));
      off |= _mm512_mask_cmpneq_epi32_mask(tab.valid[q], got, want);
    }
    if (off) break;
    __m512d w[L];
    if (!band_entries<L>(val + p, col + p, w)) break;
    __m512d s = _mm512_setzero_pd(), u = _mm512_setzero_pd();
#pragma GCC unroll 8
    for (int k = L - 1; k >= 0; --k) {
      const __m512d xk = _mm512_loadu_pd(xs + col[p + k]);
      if (k % 2 == 0) s = _mm512_fmadd_pd(w[k], xk, s);
      else u = _mm512_fmadd_pd(w[k], xk, u);
    }
    const __m512d sum = _mm512_add_pd(s, u);
    double* y = t.ys + r;
    if (t.how == coo_output::add || r + 8 <= t.next) {
      _mm512_storeu_pd(y, _mm512_fmadd_pd(a, sum, _mm512_loadu_pd(y)));
    } else if (r >= t.next) {
      t.give_base(r);
      if (t.stream && reinterpret_cast<uintptr_t>(y) % 64 == 0) {
        _mm512_stream_pd(y, _mm512_fmadd_pd(a, sum, _mm512_setzero_pd()));
      } else {
        const __m512d base = t.how == coo_output::scale
                                 ? _mm512_mul_pd(_mm512_set1_pd(t.beta), _mm512_loadu_pd(y))
                                 : _mm512_setzero_pd();
        _mm512_storeu_pd(y, _mm512_fmadd_pd(a, sum, base));
      }
      t.next = r + 8;
    } else {
      break;
    }
    p += 8 * L;
  }
  return p;
}

// The bands from triplet p on when its row has 2 to 8 entries there; p when none is taken.
long band_runs(long nnz, const double* val, const int* row, const int* col, long p, const double* xs,
               coo_target& t) {
  int len = 1;
  while (len <= 8 && p + len < nnz && row[p + len] == row[p]) ++len;
  switch (len) {
    case 2: return band_run<2>(nnz, val, row, col, p, xs, t);
    case 3: return band_run<3>(nnz, val, row, col, p, xs, t);
    case 4: return band_run<4>(nnz, val, row, col, p, xs, t);
    case 5: return band_run<5>(nnz, val, row, col, p, xs, t);
    case 6: return band_run<6>(nnz, val, row, col, p, xs, t);
    case 7: return band_run<7>(nnz, val, row, col, p, xs, t);
    case 8: return band_run<8>(nnz, val, row, col, p, xs, t);
    default: return p;
  }
}
#else
long band_runs(long, const double*, const int*, const int*, long p, const double*, coo_target&) { return p; }
#endif

}  // namespace

void coo_mv(long nnz, const double* val, const int* row, const int* col, double alpha, const double* x,
            double* y, long len, coo_output out, double beta) {
  // A large overwritten y goes past the caches: a normal store reads each line of it first (8 of
  // the 104 MB a product of the Laplacian of a million rows moves), and y doesn't stay in the
  // core's caches until the caller reads it anyway. The band blocks then start where y(row) begins a cache line:
  // as many single rows as it takes go first.
  const bool stream = ZVX_ISA_LEVEL == 2 && out == coo_output::overwrite &&
                      len * static_cast<long>(sizeof(double)) >= stream_store_min_bytes &&
                      reinterpret_cast<uintptr_t>(y) % sizeof(double) == 0;
  coo_target t{y - 1, alpha, out, beta, 1, stream};
  const double* xs = x - 1;
  long p = 0;
  long requested = 0;  // the streams are requested up to here
  int single = 0;      // rows still to go one at a time before the next try for a band
  while (p < nnz) {
    if (single == 0 && stream) {
      const long r = row[p];
      if (r >= 1 && r <= len) {
        single = static_cast<int>((64 - reinterpret_cast<uintptr_t>(t.ys + r) % 64) % 64 / sizeof(double));
      }
    }
    if (single == 0) {
      const long q = band_runs(nnz, val, row, col, p, xs, t);
      if (q > p) {
        p = q;
        requested = std::max(requested, (q + coo_stream_ahead) & ~7L);
        continue;
      }
      // A list of short rows that are no band pays for one try every eight rows, not every row.
      single = static_cast<int>(band_block_rows);
    }
    --single;
    // Requests a line of val every eight entries and one of row and col every sixteen.
    for (requested = std::max(requested, p & ~7L); requested < nnz && requested < p + coo_stream_ahead; requested += 8) {
      __builtin_prefetch(val + requested);
      if (requested % 16 == 0) {
        __builtin_prefetch(row + requested);
        __builtin_prefetch(col + requested);
      }
    }
    const int r = row[p];
    long e = p + 1;
    while (e < nnz && row[e] == r) ++e;
    t.put(r, dot(e - p, val + p, col + p, xs));
    p = e;
  }
  if (out != coo_output::add) t.give_base(len + 1);
#if ZVX_ISA_LEVEL == 2
  // The streamed lines are ordered before whatever the caller (or a thread after the region's
  // barrier) reads next (one fence a call, whether or not a band was streamed).
  if (stream) _mm_sfence();
#endif
}

}  // namespace zvx::spblas::simd::ZVX_ISA_NS

// Internal interface of the sparse BLAS: the descriptor flags, the thread decision, the tuning
// constants, and the kernels that the entries of each storage format call.
//
// Conventions inside: sizes are `long`, row and column numbers 0-based. A sparse index array keeps
// its caller's origin (`base` 1 for the one-based entries, 0 for the zero-based ones) and kernels
// subtract it at the access. Dense operands are described by a pointer and two strides, so that one
// kernel serves the column-major operands of the one-based entries and the row-major ones of the
// zero-based entries.
#pragma once
#include <omp.h>

#include <cstddef>

#include "blas/level12/kernels.h"
#include "common/options.h"
#include "service/service.h"

namespace zvx::spblas {

// ---- tuning and dispatch constants ----------------------------------------------------------
// Thresholds that decide threading are part of what a caller observes (which rounding order a
// result has), so they are fixed numbers, not derived from the machine.
inline constexpr long gemv_parallel_rows = 2000;      // zvx_dcsrgemv: rows before it splits them
inline constexpr long symv_parallel_rows = 10001;     // csr symmetric vector kernel
inline constexpr long coo_parallel_nnz = 1000000;     // COO kernels split above this many triplets
inline constexpr long symv_af_rows_per_thread = 500;  // zero-based symmetric rows kernel
// DIA multiply: rows of an output tile and columns of an input tile. A tile of 20,000 rows keeps
// 160 KB of one column of c plus the same of b inside the second-level cache; threads take whole
// row tiles, so fewer than two full tiles of rows run on one thread.
inline constexpr long dia_row_tile = 20000;
inline constexpr long dia_col_tile = 5000;
// The fast incomplete LDLt solve walks its backward sweep in tiles of this many rows and has no
// backward sweep at all when fewer rows than one tile are given.
inline constexpr long ildlt_backward_tile = 2000;
// Columns of the right-hand side that one pass of a CSR row keeps in registers: eight sums fit
// the sixteen vector registers of AVX2 with room for the broadcasts.
inline constexpr int csr_mm_column_block = 8;
// CSR multiply rows: entries ahead of the current one whose element of x is requested early, one
// request every x_prefetch_step entries of a row, and the average entries per row from which these
// requests pay. Most of the gain is the line of indx that the request reads: it is in the first-
// level cache when the row comes, so the loads of x issue at once. On a million rows of 20 random
// columns (x of 8 MB, least of 15 alternating calls, one thread, loaded machine): no requests
// 26-27 ms, 48 ahead every 8: 16.8, 80 or 96 ahead every 8 or 10: 15.7-16.2, 128 ahead 22-34,
// every entry 29-38, every 4: 23; the streams of indx and val requested 256 entries ahead
// instead, with or without some of x: 16.3-17.5; hardware gathers of 8 x: 45 and worse. When
// each call follows a product on a copy of the matrix (val and indx from memory), 96 every 10
// took 19.1 ms against 22.6 for 48 every 8; val requested 256 to 4,096 entries ahead was slower.
inline constexpr long x_prefetch_distance = 96;
inline constexpr long x_prefetch_step = 10;
inline constexpr long x_prefetch_rows_min = 12;
// Rows below that average go in blocks of this many rows (the lanes of an AVX-512 register of
// doubles: a block of stencil rows is one band), and request val and indx this many entries ahead
// (4 KiB of val). On the 5-point Laplacian of a million rows the requests halve the time of a
// product (3.6 to 1.8 ns a row, one thread); 256 entries gave 2.2 ns, 1024 no better than 512.
inline constexpr long band_block_rows = 8;
inline constexpr long csr_stream_ahead = 512;
// The COO product requests its three streams (val, row, col) this many entries ahead (4 KiB of
// val, as the CSR rows). On the Laplacian of a million rows in order, one thread, medians of the
// time of the CSR product: no requests 1.49, 256 entries 1.17, 384 to 640 1.12 to 1.16 (alike
// within the noise of a loaded machine), 1024 1.24, 2048 1.30.
inline constexpr long coo_stream_ahead = 512;
// Outputs of the CSR product of several columns and of the COO product of one vector from this
// many bytes, written without adding to them, are stored past the caches (four times the second-level cache: such an output can't stay
// in the core's caches until the caller reads it, and a normal store reads each line first).
inline constexpr long stream_store_min_bytes = 4L << 20;

// ---- option letters -----------------------------------------------------------------------------

enum class matrix_type { general, triangular, symmetric, diagonal, skew, none };

struct descr {
  matrix_type type;
  bool lower;
  bool nonunit;
};

// Multiply rule: upper only on "U" (skyline: lower only on "L"), unit only on "U"; "D" doesn't read
// the triangle, "A" doesn't read the diagonal; an unknown type keeps lower, non-unit and is
// symmetric (skyline: `none`, no kernel).
descr read_multiply(const char* matdescra, bool skyline);
// Solve rule: lower only on "L", non-unit only on "N"; only "D" is a type, all else triangular.
descr read_solve(const char* matdescra);

// ---- threads ------------------------------------------------------------------------------------
// Every sparse region asks the policy, then whether the caller is inside a region, then how many
// threads there are.
inline bool may_thread() {
  return serial_policy() != 1 && !omp_in_parallel() && omp_get_max_threads() >= 2;
}

// Share q of t over n items, contiguous; the last share takes the remainder.
inline void share(long n, int t, int q, long& begin, long& end) {
  const long chunk = n / t;
  begin = chunk * q;
  end = q == t - 1 ? n : begin + chunk;
}

// Share q of t over the m rows of a CSR matrix by its entries: the rows whose first entry falls in
// the q-th t-th part of all entries. The row products are independent, so the split only balances
// the work (a uniform split by rows gives one thread most of the entries of a matrix whose rows
// grow), it doesn't change any result. Rows out of order only balance worse.
inline void share_by_entries(const int* pntrb, const int* pntre, long m, int t, int q, long& begin,
                             long& end) {
  const long total = static_cast<long>(pntre[m - 1]) - pntrb[0];
  auto first_row_from = [&](int part) {
    if (part <= 0) return 0L;
    if (part >= t) return m;
    const long want = total / t * part + total % t * part / t;
    long lo = 0, hi = m;  // first row whose start is at least `want` entries in
    while (lo < hi) {
      const long mid = lo + (hi - lo) / 2;
      if (static_cast<long>(pntrb[mid]) - pntrb[0] < want) lo = mid + 1;
      else hi = mid;
    }
    return lo;
  };
  begin = first_row_from(q);
  end = first_row_from(q + 1);
}

// malloc that never hands back null: the sparse kernels have no status to report a failure with.
void* must_allocate(size_t bytes);

// ---- dense operands -----------------------------------------------------------------------------
struct dense {
  double* p;
  long rs, cs;  // element (i, j) at p[i * rs + j * cs]
  double& operator()(long i, long j) const { return p[i * rs + j * cs]; }
};
struct cdense {
  const double* p;
  long rs, cs;
  double operator()(long i, long j) const { return p[i * rs + j * cs]; }
};
inline dense col_major(double* p, long ld) { return {p, 1, ld}; }
inline cdense col_major(const double* p, long ld) { return {p, 1, ld}; }

// level-1 engines of the library
inline const blas12::real_kernels<double>& l1() { return blas12::kernels().d; }
// c(0:len, j) *= beta for every column; 0 stores zeros when `wipe_on_zero`, 1 does nothing.
void scale_columns(long len, long n, double beta, dense c, bool wipe_on_zero);
// c(0:len, j) += alpha * b(0:len, j)
void add_identity(long len, long n, double alpha, cdense b, dense c);

// ---- CSR (and CSC, and the zero-based interface) ----------------------------------------------
struct csr {
  const double* val;
  const int* indx;
  const int* pntrb;
  const int* pntre;
  int base;  // origin of indx
  long begin(long i) const { return static_cast<long>(pntrb[i]) - pntrb[0]; }
  long end(long i) const { return static_cast<long>(pntre[i]) - pntrb[0]; }
  long col(long p) const { return static_cast<long>(indx[p]) - base; }
};

// Parallel permission of the kernels that differ between the one-based and zero-based families.
struct csr_family {
  bool zero_based;
};

void csrmmgen(csr_family f, bool nontrans, long m, long n, double alpha, const csr& a, cdense b,
              dense c);
// The general product not transposed when beta is 0 and alpha isn't: c := alpha * A * b is
// written without the clearing pass, same numbers. Column-major b and c.
void csrmmgen_overwrite(long m, long n, double alpha, const csr& a, cdense b, dense c);
void csrmmtr(csr_family f, bool nontrans, bool lower, bool nonunit, long m, long n, double alpha,
             const csr& a, cdense b, dense c);
void csrmmsym(csr_family f, bool lower, bool nonunit, long m, long n, double alpha, const csr& a,
              cdense b, dense c);
void csrmmskew(csr_family f, bool lower, long m, long n, double alpha, const csr& a, cdense b,
               dense c);
void csrmmdiag(csr_family f, bool nonunit, long m, long n, double alpha, const csr& a, cdense b,
               dense c);
// Diagonal solve: row i of c divided by the first entry of row i whose column is not below i.
void invdiag(long m, long n, const csr& a, dense c);
// Sweeps of a triangular solve in place on c.
void csrsvrow(bool lower, bool nonunit, long m, long n, const csr& a, dense c);
void csrsvcol(bool forward, bool nonunit, long m, long n, const csr& a, dense c);
// y += alpha * A * x, A symmetric from the named triangle.
void csrmvsym(bool lower, bool nonunit, long m, double alpha, const csr& a, const double* x,
              double* y);

// The zero-based path of zvx_dcsrmv (position 3 of the descriptor "C").
void cspblas_dcsrmv(const char* transa, long m, long k, double alpha, const char* matdescra,
                    const double* val, const int* indx, const int* pntrb, const int* pntre,
                    const double* x, double beta, double* y);

// ---- BSR ----------------------------------------------------------------------------------------
struct bsr {
  const double* val;
  const int* indx;
  const int* pntrb;
  const int* pntre;
  long lb;
  bool zero_based;  // zero-based columns and row-major blocks
  long begin(long i) const { return static_cast<long>(pntrb[i]) - pntrb[0]; }
  long end(long i) const { return static_cast<long>(pntre[i]) - pntrb[0]; }
  long col(long p) const { return static_cast<long>(indx[p]) - (zero_based ? 0 : 1); }
};
void bsr_multiply(const descr& d, bool nontrans, long m, long k, double alpha, const bsr& a,
                  const double* x, double* y);
void bsrmmsym(bool lower, bool nonunit, long m, double alpha, const bsr& a, const double* x,
              double* y);
// y = A * x with every block row holding the named triangle, its diagonal block first.
void bsrsymv_diag_first(bool lower, long m, const bsr& a, const double* x, double* y,
                        bool may_split);

}  // namespace zvx::spblas

namespace zvx::spblas::simd {
// What the COO product does with the y it is given: adds to it, overwrites it (beta 0: a NaN in y
// doesn't survive), or scales it by beta first.
enum class coo_output { add, overwrite, scale };
// Vector kernels, one table per instruction set.
struct kernel_set {
  // y[i] = (accumulate ? y[i] : 0) + alpha * sum over row i of val * x[col], rows [r0, r1)
  void (*csr_rows)(long r0, long r1, const double* val, const int* indx, const int* pntrb,
                   const int* pntre, int base, const double* x, double alpha, double* y,
                   bool accumulate);
  // sum of val[p] * x[indx[p] - base], p in [0, len)
  double (*row_dot)(long len, const double* val, const int* indx, int base, const double* x);
  // c[i] += v[i] * alpha * b[i]
  void (*diag_update)(long len, double alpha, const double* v, const double* b, double* c);
  // two columns sharing one diagonal: c0 += t * b0, c1 += t * b1 with t = v * alpha
  void (*diag_update2)(long len, double alpha, const double* v, const double* b0,
                       const double* b1, double* c0, double* c1);
  // rows [r0, r1) of c += alpha * A * b for n columns, column-major b and c
  void (*csr_rows_mm)(long r0, long r1, const double* val, const int* indx, const int* pntrb,
                      const int* pntre, int base, const double* b, long ldb, long n, double alpha,
                      double* c, long ldc, bool accumulate);
  // y(0 : len) := alpha * A * x + (y | 0 | beta * y) over one-based triplets, as `out` says
  void (*coo_mv)(long nnz, const double* val, const int* row, const int* col, double alpha,
                 const double* x, double* y, long len, coo_output out, double beta);
  // general BSR, not transposed: y += alpha * A * x over m block rows
  void (*bsr_rows)(long m, long lb, bool row_major, const double* val, const int* indx,
                   const int* pntrb, const int* pntre, int base, const double* x, double alpha,
                   double* y);
  // lower triangular solve in place, one right-hand side, unit-stride y
  void (*csr_lower_solve)(long m, const double* val, const int* indx, const int* pntrb,
                          const int* pntre, int base, bool nonunit, double* y);
};
namespace isa_portable { const kernel_set* table(); }
namespace isa_avx2 { const kernel_set* table(); }
namespace isa_avx512 { const kernel_set* table(); }
const kernel_set& kernels();
}  // namespace zvx::spblas::simd

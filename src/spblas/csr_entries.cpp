// The CSR and CSC entries: argument handling, alpha and beta, and the choice of the kernel.
// A CSC matrix of m rows and k columns is the CSR form of its transpose, so CSC runs the CSR
// kernels with the transposition, the triangle and the sizes exchanged.
#include <algorithm>

#include "spblas/spblas.h"
#include "zvx_spblas.h"

namespace zvx::spblas {
namespace {

void compressed_multiply(bool columns, const char* transa, long m, long n, long k, double alpha,
                         const char* matdescra, const double* val, const int* indx,
                         const int* pntrb, const int* pntre, const double* b, long ldb,
                         double beta, double* c, long ldc) {
  if (m == 0 || k == 0 || n == 0) return;
  const bool nontrans = is_letter(transa, 'N');
  const long out_len = nontrans ? m : k;
  dense cc = col_major(c, ldc);
  const cdense bb = col_major(b, ldb);
  descr d = read_multiply(matdescra, false);
  const csr a{val, indx, pntrb, pntre, 1};
  // The general product of rows with beta 0 writes c directly instead of clearing it first.
  const bool kernel_rows = columns ? !nontrans : nontrans;
  if (beta == 0.0 && alpha != 0.0 && d.type == matrix_type::general && kernel_rows) {
    csrmmgen_overwrite(columns ? k : m, n, alpha, a, bb, cc);
    return;
  }
  scale_columns(out_len, n, beta, cc, true);
  if (alpha == 0.0) return;
  const csr_family f{false};
  bool kernel_nontrans = nontrans;
  long rows = m;
  if (columns) {
    kernel_nontrans = !nontrans;
    rows = k;
    if (d.type == matrix_type::triangular || d.type == matrix_type::symmetric ||
        d.type == matrix_type::skew)
      d.lower = !d.lower;
  }
  switch (d.type) {
    case matrix_type::general:
      csrmmgen(f, kernel_nontrans, rows, n, alpha, a, bb, cc);
      break;
    case matrix_type::triangular:
      csrmmtr(f, kernel_nontrans, d.lower, d.nonunit, rows, n, alpha, a, bb, cc);
      if (!d.nonunit) add_identity(std::min(m, k), n, alpha, bb, cc);
      break;
    case matrix_type::skew:
      // The transpose of a skew matrix is its negative.
      csrmmskew(f, d.lower, rows, n, kernel_nontrans ? alpha : -alpha, a, bb, cc);
      break;
    case matrix_type::diagonal:
      csrmmdiag(f, d.nonunit, std::min(m, k), n, alpha, a, bb, cc);
      break;
    default:
      csrmmsym(f, d.lower, d.nonunit, rows, n, alpha, a, bb, cc);
      break;
  }
}

// Splits the columns of c over min(threads, n) threads, the last taking the remainder.
template <class F>
void column_shares(long n, bool threaded, F&& part) {
  if (!threaded) {
    part(0L, n);
    return;
  }
  const int t = static_cast<int>(std::min<long>(omp_get_max_threads(), n));
#pragma omp parallel num_threads(t)
  {
    long j0, j1;
    share(n, omp_get_num_threads(), omp_get_thread_num(), j0, j1);
    if (j1 > j0) part(j0, j1);
  }
}

// y := alpha * x column by column, or zeros when alpha is 0; a region of its own in sm.
void copy_scaled(long m, long n, double alpha, cdense b, dense c, bool threaded) {
  column_shares(n, threaded, [&](long j0, long j1) {
    for (long j = j0; j < j1; ++j) {
      double* cj = &c(0, j);
      if (alpha == 0.0) {
        std::fill(cj, cj + m, 0.0);
        continue;
      }
      l1().copy(m, b.p + j * b.cs, cj);
      if (alpha != 1.0) l1().scal(m, alpha, cj);
    }
  });
}

void compressed_solve(bool columns, bool matrix_rhs, const char* transa, long m, long n,
                      double alpha, const char* matdescra, const double* val, const int* indx,
                      const int* pntrb, const int* pntre, const double* b, long ldb, double* c,
                      long ldc) {
  if (m == 0 || n == 0) return;
  const bool threaded = matrix_rhs && may_thread();
  const cdense bb = col_major(b, ldb);
  dense cc = col_major(c, ldc);
  if (m < 0) return;
  copy_scaled(m, n, alpha, bb, cc, threaded);
  if (alpha == 0.0) return;
  const descr d = read_solve(matdescra);
  const csr a{val, indx, pntrb, pntre, 1};
  if (d.type == matrix_type::diagonal) {
    if (d.nonunit) invdiag(m, n, a, cc);
    return;
  }
  const bool nontrans = is_letter(transa, 'N');
  // CSR: the row sweep for the matrix as stored, the column sweep for its transpose; CSC the
  // other way round.
  const bool row_sweep = columns ? !nontrans : nontrans;
  const bool lower = columns ? (nontrans ? d.lower : !d.lower) : d.lower;
  auto sweep = [&](long j0, long count) {
    dense part{&cc(0, j0), cc.rs, cc.cs};
    if (row_sweep) csrsvrow(lower, d.nonunit, m, count, a, part);
    else csrsvcol(columns ? lower : !lower, d.nonunit, m, count, a, part);
  };
  if (threaded) {
    column_shares(n, true, [&](long j0, long j1) { sweep(j0, j1 - j0); });
  } else if (!columns && !row_sweep) {
    for (long j = 0; j < n; ++j) sweep(j, 1);
  } else {
    sweep(0, n);
  }
}

}  // namespace
}  // namespace zvx::spblas

using namespace zvx;
using namespace zvx::spblas;

ZVX_EXPORT void zvx_dcsrmv(const char* transa, const int* m, const int* k, const double* alpha,
                           const char* matdescra, const double* val, const int* indx,
                           const int* pntrb, const int* pntre, const double* x,
                           const double* beta, double* y) {
  if (is_letter(matdescra + 3, 'C')) {
    cspblas_dcsrmv(transa, *m, *k, *alpha, matdescra, val, indx, pntrb, pntre, x, *beta, y);
    return;
  }
  const long out = is_letter(transa, 'N') ? *m : *k, in = is_letter(transa, 'N') ? *k : *m;
  compressed_multiply(false, transa, *m, 1, *k, *alpha, matdescra, val, indx, pntrb, pntre, x,
                      std::max(in, 1L), *beta, y, std::max(out, 1L));
}

ZVX_EXPORT void zvx_dcscmv(const char* transa, const int* m, const int* k, const double* alpha,
                           const char* matdescra, const double* val, const int* indx,
                           const int* pntrb, const int* pntre, const double* x,
                           const double* beta, double* y) {
  const long out = is_letter(transa, 'N') ? *m : *k, in = is_letter(transa, 'N') ? *k : *m;
  compressed_multiply(true, transa, *m, 1, *k, *alpha, matdescra, val, indx, pntrb, pntre, x,
                      std::max(in, 1L), *beta, y, std::max(out, 1L));
}

ZVX_EXPORT void zvx_dcsrmm(const char* transa, const int* m, const int* n, const int* k,
                           const double* alpha, const char* matdescra, const double* val,
                           const int* indx, const int* pntrb, const int* pntre, const double* b,
                           const int* ldb, const double* beta, double* c, const int* ldc) {
  compressed_multiply(false, transa, *m, *n, *k, *alpha, matdescra, val, indx, pntrb, pntre, b,
                      *ldb, *beta, c, *ldc);
}

ZVX_EXPORT void zvx_dcscmm(const char* transa, const int* m, const int* n, const int* k,
                           const double* alpha, const char* matdescra, const double* val,
                           const int* indx, const int* pntrb, const int* pntre, const double* b,
                           const int* ldb, const double* beta, double* c, const int* ldc) {
  compressed_multiply(true, transa, *m, *n, *k, *alpha, matdescra, val, indx, pntrb, pntre, b,
                      *ldb, *beta, c, *ldc);
}

ZVX_EXPORT void zvx_dcsrsv(const char* transa, const int* m, const double* alpha,
                           const char* matdescra, const double* val, const int* indx,
                           const int* pntrb, const int* pntre, const double* x, double* y) {
  compressed_solve(false, false, transa, *m, 1, *alpha, matdescra, val, indx, pntrb, pntre, x,
                   std::max(*m, 1), y, std::max(*m, 1));
}

ZVX_EXPORT void zvx_dcscsv(const char* transa, const int* m, const double* alpha,
                           const char* matdescra, const double* val, const int* indx,
                           const int* pntrb, const int* pntre, const double* x, double* y) {
  compressed_solve(true, false, transa, *m, 1, *alpha, matdescra, val, indx, pntrb, pntre, x,
                   std::max(*m, 1), y, std::max(*m, 1));
}

ZVX_EXPORT void zvx_dcsrsm(const char* transa, const int* m, const int* n, const double* alpha,
                           const char* matdescra, const double* val, const int* indx,
                           const int* pntrb, const int* pntre, const double* b, const int* ldb,
                           double* c, const int* ldc) {
  compressed_solve(false, true, transa, *m, *n, *alpha, matdescra, val, indx, pntrb, pntre, b,
                   *ldb, c, *ldc);
}

ZVX_EXPORT void zvx_dcscsm(const char* transa, const int* m, const int* n, const double* alpha,
                           const char* matdescra, const double* val, const int* indx,
                           const int* pntrb, const int* pntre, const double* b, const int* ldb,
                           double* c, const int* ldc) {
  compressed_solve(true, true, transa, *m, *n, *alpha, matdescra, val, indx, pntrb, pntre, b,
                   *ldb, c, *ldc);
}

ZVX_EXPORT void zvx_dcsrgemv(const char* transa, const int* m, const double* a, const int* ia,
                             const int* ja, const double* x, double* y) {
  const long rows = *m;
  if (rows == 0) return;
  if (!is_letter(transa, 'N')) {
    // Always serial: every row scatters into all of y.
    for (long i = 0; i < rows; ++i) y[i] = 0.0;
    for (long i = 0; i < rows; ++i) {
      const double xi = x[i];
      for (long p = ia[i] - ia[0]; p < ia[i + 1] - ia[0]; ++p) y[ja[p] - 1] += a[p] * xi;
    }
    return;
  }
  if (rows < 0) return;
  const auto& k = simd::kernels();
  // Positions count from ia[0], as in every CSR kernel.
  const double* av = a;
  const int* jv = ja;
  // This entry doesn't ask whether the caller is inside a region.
  if (rows >= gemv_parallel_rows && zvx::serial_policy() != 1 && omp_get_max_threads() >= 2) {
#pragma omp parallel
    {
      long r0, r1;
      share_by_entries(ia, ia + 1, rows, omp_get_num_threads(), omp_get_thread_num(), r0, r1);
      k.csr_rows(r0, r1, av, jv, ia, ia + 1, 1, x, 1.0, y, false);
    }
  } else {
    k.csr_rows(0, rows, av, jv, ia, ia + 1, 1, x, 1.0, y, false);
  }
}

ZVX_EXPORT void zvx_dcsrsymv(const char* uplo, const int* m, const double* a, const int* ia,
                             const int* ja, const double* x, double* y) {
  const long rows = *m;
  if (rows == 0) return;
  for (long i = 0; i < rows; ++i) y[i] = 0.0;
  const csr mat{a, ja, ia, ia + 1, 1};
  csrmvsym(is_letter(uplo, 'L'), true, rows, 1.0, mat, x, y);
}

ZVX_EXPORT void zvx_dcsrtrsv(const char* uplo, const char* transa, const char* diag, const int* m,
                             const double* a, const int* ia, const int* ja, const double* x,
                             double* y) {
  const long rows = *m;
  if (rows <= 0) return;
  for (long i = 0; i < rows; ++i) y[i] = x[i];
  const csr mat{a, ja, ia, ia + 1, 1};
  const bool lower = is_letter(uplo, 'L'), nonunit = is_letter(diag, 'N');
  dense yy = col_major(y, rows);
  if (is_letter(transa, 'N')) csrsvrow(lower, nonunit, rows, 1, mat, yy);
  else csrsvcol(!lower, nonunit, rows, 1, mat, yy);
}

// The zero-based interface (zero-based sparse arrays, row-major dense operands) and the solve
// with an incomplete LDLt factor.
#include <algorithm>
#include <cstdlib>

#include "spblas/spblas.h"
#include "zvx_spblas.h"

namespace zvx::spblas {

void cspblas_dcsrmv(const char* transa, long m, long k, double alpha, const char* matdescra,
                    const double* val, const int* indx, const int* pntrb, const int* pntre,
                    const double* x, double beta, double* y) {
  if (m == 0 || k == 0) return;
  const bool nontrans = is_letter(transa, 'N');
  const long out = nontrans ? m : k;
  // No special case for beta 0 here: NaN and infinity in y survive it.
  if (beta != 1.0)
    for (long i = 0; i < out; ++i) y[i] *= beta;
  if (alpha == 0.0) return;
  descr d = read_multiply(matdescra, false);
  // A diagonal matrix is read with the lower flag set and its diagonal letter.
  const csr a{val, indx, pntrb, pntre, 0};
  const csr_family f{true};
  // One column, row-major with a leading dimension of 1: contiguous vectors.
  const cdense xx{x, 1, 1};
  const dense yy{y, 1, 1};
  switch (d.type) {
    case matrix_type::general:
      csrmmgen(f, nontrans, m, 1, alpha, a, xx, yy);
      break;
    case matrix_type::triangular:
      csrmmtr(f, nontrans, d.lower, d.nonunit, m, 1, alpha, a, xx, yy);
      if (!d.nonunit)
        for (long i = 0, len = std::min(m, k); i < len; ++i) y[i] += alpha * x[i];
      break;
    case matrix_type::skew:
      csrmmskew(f, d.lower, m, 1, nontrans ? alpha : -alpha, a, xx, yy);
      break;
    case matrix_type::diagonal:
      csrmmdiag(f, d.nonunit, std::min(m, k), 1, alpha, a, xx, yy);
      break;
    default:
      csrmmsym(f, d.lower, d.nonunit, m, 1, alpha, a, xx, yy);
      break;
  }
}

namespace {

// Rows [r0, r1) of y += A * x for a symmetric A stored as one triangle with sorted rows whose
// diagonal is the first entry (upper) or the last (lower): one multiplication pair per entry.
void dcsrsymvrows(bool lower, long r0, long r1, const double* a, const int* ia, const int* ja,
                  const double* x, double* out) {
  const long origin = ia[0];
  for (long i = r0; i < r1; ++i) {
    long s = ia[i] - origin, e = ia[i + 1] - origin;
    if (e <= s) continue;
    const double xi = x[i];
    double sum = 0.0;
    if (!lower && ja[s] == i) {
      sum += a[s] * xi;
      ++s;
    } else if (lower && ja[e - 1] == i) {
      sum += a[e - 1] * xi;
      --e;
    }
    for (long p = s; p < e; ++p) {
      const long col = ja[p];
      out[col] += a[p] * xi;
      sum += x[col] * a[p];
    }
    out[i] += sum;
  }
}

}  // namespace
}  // namespace zvx::spblas

using namespace zvx;
using namespace zvx::spblas;

ZVX_EXPORT void zvx_cspblas_dcsrsymv_af(const char* uplo, int m, const double* a, const int* ia,
                                        const int* ja, const double* x, double* y, int flag) {
  if (m <= 0) return;
  std::fill(y, y + m, 0.0);
  const bool lower = is_letter(uplo, 'L');
  const int t = zvx::serial_policy() != 1 && !omp_in_parallel() ? omp_get_max_threads() : 1;
  double* buffer = nullptr;
  if (t > 1 && static_cast<long>(t) * symv_af_rows_per_thread <= m)
    buffer = static_cast<double*>(std::malloc(sizeof(double) * (t - 1) * static_cast<long>(m)));
  if (!buffer) {
    dcsrsymvrows(lower, 0, m, a, ia, ja, x, y);
    return;
  }
  // Thread 0 writes into y, thread q into vector q - 1; the mirrored updates reach rows of other
  // threads, so every vector starts cleared and every row of every vector is collected.
  std::fill(buffer, buffer + (t - 1) * static_cast<long>(m), 0.0);
  int used = 1;
#pragma omp parallel num_threads(t)
  {
    const int q = omp_get_thread_num(), nt = omp_get_num_threads();
#pragma omp single
    used = nt;
    long r0, r1;
    share(m, nt, q, r0, r1);
    dcsrsymvrows(lower, r0, r1, a, ia, ja, x, q == 0 ? y : buffer + (q - 1) * static_cast<long>(m));
  }
#pragma omp parallel num_threads(t)
  {
    long r0, r1;
    share(m, omp_get_num_threads(), omp_get_thread_num(), r0, r1);
    for (int v = 0; v + 1 < used; ++v) {
      const double* from = buffer + v * static_cast<long>(m);
      for (long i = r0; i < r1; ++i) y[i] += from[i];
    }
  }
  std::free(buffer);
}

ZVX_EXPORT void zvx_cspblas_dcsrsymv(const char* uplo, const int* m, const double* a,
                                     const int* ia, const int* ja, const double* x, double* y) {
  if (*m == 0) return;
  if (*m > 0) std::fill(y, y + *m, 0.0);
  zvx_cspblas_dcsrsymv_af(uplo, *m, a, ia, ja, x, y, 1);
}

ZVX_EXPORT void zvx_ildlt_sv(const int* n, const double* val, const int* ia, const int* ja,
                             const double* d, const double* e, const void* unused,
                             const unsigned* mask, double* b, double* x, int* mode) {
  const long rows = *n;
  if (*mode == 1 || rows <= 0) return;
  if (*mode == 0) {
    auto paired = [&](long i) { return (mask[i / 32] >> (i % 32)) & 1u; };
    long pivots = 0;
    for (long i = 0; i < rows;) {
      const double t = b[i];
      if (!paired(i) || i + 1 >= rows) {
        for (long p = ia[i]; p < ia[i + 1]; ++p) b[ja[p]] -= val[p] * t;
        i += 1;
      } else {
        const double t2 = b[i + 1];
        for (long p = ia[i]; p + 1 < ia[i + 1]; p += 2) b[ja[p]] = (b[ja[p]] - val[p] * t) - val[p + 1] * t2;
        ++pivots;
        i += 2;
      }
    }
    if (pivots == 0) *mode = 2;  // the caller's next call takes the fast form
    for (long i = rows - 1; i >= 0;) {
      if (!paired(i) || i == 0) {
        double xi = b[i] / d[i];
        for (long p = ia[i]; p < ia[i + 1]; ++p) xi -= val[p] * x[ja[p]];
        x[i] = xi;
        i -= 1;
      } else {
        const long j = i - 1;
        const double u = d[i] / e[j], v = d[j] / e[j], w = (1.0 / (v * u - 1.0)) / e[j];
        double xj = (u * b[j] - b[i]) * w, xi = w * (v * b[i] - b[j]);
        for (long p = ia[j]; p + 1 < ia[i]; p += 2) {
          xj -= val[p] * x[ja[p]];
          xi -= val[p + 1] * x[ja[p]];
        }
        x[j] = xj;
        x[i] = xi;
        i -= 2;
      }
    }
    return;
  }
  // Fast form for 1 x 1 pivots: forward sweep with the division, then the backward sweep in
  // tiles of ildlt_backward_tile rows; fewer rows than one tile get no backward sweep.
  for (long i = 0; i < rows; ++i) {
    const double t = b[i];
    for (long p = ia[i]; p < ia[i + 1]; ++p) b[ja[p]] += val[p] * (-t);
    x[i] = b[i] / d[i];
  }
  if (rows / ildlt_backward_tile == 0) return;
  for (long i = rows - 1; i >= 0; --i) {
    double sum = 0.0;
    for (long p = ia[i]; p < ia[i + 1]; ++p) sum += val[p] * x[ja[p]];
    x[i] -= sum;
  }
}

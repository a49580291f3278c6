// Skyline: every stored line is a dense run ending at the diagonal, so the kernels are loops over
// the level-1 dot and axpy. The lower triangle is stored by rows, the upper by columns. Serial.
#include <algorithm>

#include "spblas/spblas.h"
#include "zvx_spblas.h"

namespace zvx::spblas {
namespace {

struct sky {
  const double* val;
  const int* pntr;
  long length(long i) const { return static_cast<long>(pntr[i + 1]) - pntr[i]; }
  const double* line(long i) const { return val + (static_cast<long>(pntr[i]) - pntr[0]); }
  double diagonal(long i) const { return line(i)[length(i) - 1]; }
};

// A line is a row of op(A) for lower storage not transposed and upper storage transposed.
inline bool line_is_row(bool nontrans, bool lower) { return nontrans == lower; }

void dskymmtr(bool nontrans, long lines, long n, bool lower, bool nonunit, double alpha,
              const sky& a, cdense b, dense c) {
  const auto& k = l1();
  for (long i = 0; i < lines; ++i) {
    const long len = a.length(i), c1 = nonunit ? len : len - 1, first = i - len + 1;
    if (c1 <= 0) continue;
    for (long j = 0; j < n; ++j) {
      if (line_is_row(nontrans, lower)) c(i, j) += alpha * k.dot(c1, a.line(i), &b.p[first + j * b.cs]);
      else k.axpy(c1, alpha * b(i, j), a.line(i), &c(first, j));
    }
  }
}

void dskymmsym(long lines, long n, bool nonunit, double alpha, const sky& a, cdense b, dense c) {
  const auto& k = l1();
  for (long i = 0; i < lines; ++i) {
    const long len = a.length(i), first = i - len + 1;
    if (len <= 0) continue;
    for (long j = 0; j < n; ++j) {
      c(i, j) += alpha * k.dot(nonunit ? len : len - 1, a.line(i), &b.p[first + j * b.cs]);
      k.axpy(len - 1, alpha * b(i, j), a.line(i), &c(first, j));
    }
  }
}

void dskymmskew(bool nontrans, long lines, long n, bool lower, double alpha, const sky& a,
                cdense b, dense c) {
  const auto& k = l1();
  const double s = line_is_row(nontrans, lower) ? alpha : -alpha;
  for (long i = 0; i < lines; ++i) {
    const long len = a.length(i), first = i - len + 1;
    if (len <= 1) continue;
    for (long j = 0; j < n; ++j) {
      c(i, j) += s * k.dot(len - 1, a.line(i), &b.p[first + j * b.cs]);
      k.axpy(len - 1, -s * b(i, j), a.line(i), &c(first, j));
    }
  }
}

void dskysvline(bool nontrans, bool lower, bool nonunit, long m, const sky& a, double* y) {
  const auto& k = l1();
  if (line_is_row(nontrans, lower)) {
    for (long i = 0; i < m; ++i) {
      const long len = a.length(i);
      double t = y[i] - (len > 1 ? k.dot(len - 1, a.line(i), y + i - len + 1) : 0.0);
      if (nonunit) t /= a.diagonal(i);
      y[i] = t;
    }
  } else {
    for (long i = m - 1; i >= 0; --i) {
      const long len = a.length(i);
      double t = y[i];
      if (nonunit) t /= a.diagonal(i);
      if (len > 1) k.axpy(len - 1, -t, a.line(i), y + i - len + 1);
      y[i] = t;
    }
  }
}

void sky_multiply(const char* transa, long m, long n, long k, double alpha, const char* matdescra,
                  const sky& a, cdense b, double beta, dense c) {
  if (m == 0 || k == 0 || n == 0) return;
  const bool nontrans = is_letter(transa, 'N');
  scale_columns(nontrans ? m : k, n, beta, c, true);
  if (alpha == 0.0) return;
  const descr d = read_multiply(matdescra, true);
  const long diag_len = std::min(m, k), lines = d.lower ? m : k;
  switch (d.type) {
    case matrix_type::triangular:
      dskymmtr(nontrans, lines, n, d.lower, d.nonunit, alpha, a, b, c);
      if (!d.nonunit) add_identity(diag_len, n, alpha, b, c);
      break;
    case matrix_type::symmetric:
      dskymmsym(m, n, d.nonunit, alpha, a, b, c);
      if (!d.nonunit) add_identity(diag_len, n, alpha, b, c);
      break;
    case matrix_type::skew:
      dskymmskew(nontrans, lines, n, d.lower, alpha, a, b, c);
      break;
    case matrix_type::diagonal:
      if (d.nonunit) {
        for (long j = 0; j < n; ++j)
          for (long i = 0; i < diag_len; ++i) c(i, j) += a.diagonal(i) * alpha * b(i, j);
      } else {
        add_identity(diag_len, n, alpha, b, c);
      }
      break;
    default:  // general or unknown: skyline has no kernel for them, only the identity step
      add_identity(diag_len, n, alpha, b, c);
      break;
  }
}

void sky_solve(const char* transa, long m, long n, double alpha, const char* matdescra,
               const sky& a, cdense b, dense c, bool matrix_rhs) {
  if (m <= 0 || n <= 0) return;
  for (long j = 0; j < n; ++j) {
    double* cj = &c(0, j);
    if (alpha == 0.0) {
      std::fill(cj, cj + m, 0.0);
      continue;
    }
    l1().copy(m, b.p + j * b.cs, cj);
    if (alpha != 1.0) l1().scal(m, alpha, cj);
  }
  if (alpha == 0.0) return;
  const descr d = read_solve(matdescra);
  const bool nontrans = is_letter(transa, 'N');
  if (d.type == matrix_type::diagonal) {
    if (!d.nonunit) return;
    for (long i = 0; i < m; ++i) {
      if (!matrix_rhs) {
        c(i, 0) /= a.diagonal(i);
      } else {
        const double r = 1.0 / a.diagonal(i);
        for (long j = 0; j < n; ++j) c(i, j) *= r;
      }
    }
    return;
  }
  for (long j = 0; j < n; ++j) dskysvline(nontrans, d.lower, d.nonunit, m, a, &c(0, j));
}

}  // namespace
}  // namespace zvx::spblas

using namespace zvx;
using namespace zvx::spblas;

ZVX_EXPORT void zvx_dskymv(const char* transa, const int* m, const int* k, const double* alpha,
                           const char* matdescra, const double* val, const int* pntr,
                           const double* x, const double* beta, double* y) {
  const long out = is_letter(transa, 'N') ? *m : *k, in = is_letter(transa, 'N') ? *k : *m;
  sky_multiply(transa, *m, 1, *k, *alpha, matdescra, sky{val, pntr},
               col_major(x, std::max(in, 1L)), *beta, col_major(y, std::max(out, 1L)));
}

ZVX_EXPORT void zvx_dskymm(const char* transa, const int* m, const int* n, const int* k,
                           const double* alpha, const char* matdescra, const double* val,
                           const int* pntr, const double* b, const int* ldb, const double* beta,
                           double* c, const int* ldc) {
  sky_multiply(transa, *m, *n, *k, *alpha, matdescra, sky{val, pntr}, col_major(b, *ldb), *beta,
               col_major(c, *ldc));
}

ZVX_EXPORT void zvx_dskysv(const char* transa, const int* m, const double* alpha,
                           const char* matdescra, const double* val, const int* pntr,
                           const double* x, double* y) {
  const long ld = std::max(*m, 1);
  sky_solve(transa, *m, 1, *alpha, matdescra, sky{val, pntr}, col_major(x, ld), col_major(y, ld),
            false);
}

ZVX_EXPORT void zvx_dskysm(const char* transa, const int* m, const int* n, const double* alpha,
                           const char* matdescra, const double* val, const int* pntr,
                           const double* b, const int* ldb, double* c, const int* ldc) {
  sky_solve(transa, *m, *n, *alpha, matdescra, sky{val, pntr}, col_major(b, *ldb),
            col_major(c, *ldc), true);
}

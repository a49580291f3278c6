// DIA: each stored diagonal is a dense vector, so every inner loop is a long unit-stride
// multiply-add. Products are tiled over output rows and input columns so that slices of b and c
// stay in cache, and threads take whole row tiles. The triangular solve works on blocks of w
// rows, w being the distance of the nearest off-diagonal: unknowns of one block don't depend on
// each other, so each diagonal updates a block as one vector operation.
#include <algorithm>
#include <cstdlib>

#include "spblas/spblas.h"
#include "zvx_spblas.h"

namespace zvx::spblas {
namespace {

struct dia {
  const double* val;
  long lval;
  const int* idiag;
  long ndiag;
  const double* column(long d) const { return val + d * lval; }
};

void beta_rows(long r0, long r1, long n, double beta, dense c) {
  if (beta == 1.0) return;
  for (long j = 0; j < n; ++j) {
    double* cj = &c(r0, j);
    if (beta == 0.0) std::fill(cj, cj + (r1 - r0), 0.0);
    else l1().scal(r1 - r0, beta, cj);
  }
}

// c = beta * c + alpha * op(A) * b over the diagonals that `keep` admits.
template <class Keep>
void tiled_product(bool nontrans, long m, long n, long k, double alpha, const dia& a, Keep keep,
                   cdense b, double beta, dense c) {
  const long rows = nontrans ? m : k, cols = nontrans ? k : m;
  if (rows <= 0 || n <= 0) return;
  const long row_tile = std::min(rows, dia_row_tile), col_tile = std::max(1L, std::min(cols, dia_col_tile));
  const long row_tiles = std::max(1L, rows / row_tile);
  const long col_tiles = std::max(1L, cols / col_tile);
  const long pairs = n / 2 * 2;
  const auto& kern = simd::kernels();
  auto tile = [&](long t) {
    const long r0 = t * row_tile, r1 = t == row_tiles - 1 ? rows : r0 + row_tile;
    beta_rows(r0, r1, n, beta, c);
    if (alpha == 0.0) return;
    for (long u = 0; u < col_tiles; ++u) {
      const long k0 = u * col_tile, k1 = u == col_tiles - 1 ? cols : k0 + col_tile;
      for (long d = 0; d < a.ndiag; ++d) {
        if (!keep(d)) continue;
        const long o = nontrans ? a.idiag[d] : -static_cast<long>(a.idiag[d]);
        const long i0 = std::max(r0, k0 - o), i1 = std::min(r1, k1 - o);
        if (i1 <= i0) continue;
        // Output row i meets input i + o; the stored row is i, or i + o when transposed.
        const double* v = a.column(d) + (nontrans ? i0 : i0 + o);
        const long len = i1 - i0;
        long j = 0;
        for (; j < pairs; j += 2)
          kern.diag_update2(len, alpha, v, &b.p[(i0 + o) + j * b.cs], &b.p[(i0 + o) + (j + 1) * b.cs],
                            &c(i0, j), &c(i0, j + 1));
        if (j < n) kern.diag_update(len, alpha, v, &b.p[(i0 + o) + j * b.cs], &c(i0, j));
      }
    }
  };
  if (row_tiles > 1 && may_thread()) {
#pragma omp parallel for schedule(static)
    for (long t = 0; t < row_tiles; ++t) tile(t);
  } else {
    for (long t = 0; t < row_tiles; ++t) tile(t);
  }
}

void ddiammgk(bool nontrans, long m, long n, long k, double alpha, const dia& a, cdense b,
              double beta, dense c) {
  tiled_product(nontrans, m, n, k, alpha, a, [](long) { return true; }, b, beta, c);
}

void ddiammtd(bool nontrans, bool isdiag, bool lower, bool nonunit, long m, long n, long k,
              double alpha, const dia& a, cdense b, double beta, dense c) {
  const long out = nontrans ? m : k, len = std::min(m, k);
  if (isdiag) {
    long main = 0;
    if (nonunit)
      for (long d = 0; d < a.ndiag; ++d)
        if (a.idiag[d] == 0) { main = d; break; }
    const double* v = a.column(main);
    for (long j = 0; j < n; ++j) {
      for (long i = 0; i < len; ++i) {
        const double prod = nonunit ? b(i, j) * alpha * v[i] : b(i, j) * alpha;
        c(i, j) = beta == 0.0 ? prod : prod + c(i, j) * beta;
      }
      for (long i = len; i < out; ++i) c(i, j) = beta == 0.0 ? 0.0 : c(i, j) * beta;
    }
    return;
  }
  auto keep = [&](long d) {
    const int o = a.idiag[d];
    return o == 0 ? nonunit : (lower ? o < 0 : o > 0);
  };
  tiled_product(nontrans, m, n, k, alpha, a, keep, b, beta, c);
  if (!nonunit) add_identity(len, n, alpha, b, c);
}

// Symmetric (skew = false) and skew products: each diagonal of the named triangle adds at its
// place and mirrored.
void mirrored_product(bool skew, bool lower, bool nonunit, long m, long n, double alpha,
                      const dia& a, cdense b, double beta, dense c) {
  beta_rows(0, m, n, beta, c);
  if (!skew && !nonunit) add_identity(m, n, alpha, b, c);
  if (a.ndiag == 0 || alpha == 0.0) return;
  for (long d = 0; d < a.ndiag; ++d) {
    const long o = a.idiag[d];
    const double* v = a.column(d);
    if (o == 0) {
      if (skew || !nonunit) continue;
      for (long j = 0; j < n; ++j)
        for (long i = 0; i < m; ++i) c(i, j) += v[i] * alpha * b(i, j);
      continue;
    }
    if (lower ? o > 0 : o < 0) continue;
    const long i0 = std::max(0L, -o), i1 = std::min(m, m - o);
    for (long j = 0; j < n; ++j) {
      for (long i = i0; i < i1; ++i) {
        const double t = v[i] * alpha;
        c(i, j) += t * b(i + o, j);
        if (skew) c(i + o, j) -= t * b(i, j);
        else c(i + o, j) += t * b(i, j);
      }
    }
  }
}

struct dia_plan {
  long first, last;  // off-diagonals the solve applies, inclusive (empty when last < first)
  long main;         // position of the main diagonal, -1 when it isn't stored
  int status;        // 0 solve, -1 no main diagonal under non-unit: no solve
};

// For offsets in ascending order.
dia_plan ddiasvplan(bool lower, bool nonunit, const dia& a) {
  long q = 0;
  while (q < a.ndiag && a.idiag[q] < 0) ++q;
  dia_plan p{0, -1, -1, 0};
  if (q < a.ndiag && a.idiag[q] == 0) {
    p.main = q;
    if (lower) { p.first = 0; p.last = q - 1; }
    else { p.first = q + 1; p.last = a.ndiag - 1; }
  } else if (nonunit) {
    p.status = -1;
  } else if (lower) {
    // The range of the triangle runs up to and including q, the first diagonal that isn't
    // below the main one; kept as the solve has always applied it.
    p.first = 0;
    p.last = std::min(q, a.ndiag - 1);
  } else {
    p.first = q;
    p.last = a.ndiag - 1;
  }
  return p;
}

void ddiasvcol(long m, bool nontrans, bool lower, bool nonunit, const dia& a, double* y,
               const dia_plan& plan) {
  if (m <= 0) return;
  long w = m;
  for (long d = plan.first; d <= plan.last; ++d) {
    const long o = a.idiag[d];
    if (o != 0) w = std::min(w, o < 0 ? -o : o);
  }
  const long blocks = (m + w - 1) / w;
  const bool ascending = nontrans == lower;
  const auto& kern = simd::kernels();
  const double* main = plan.main >= 0 ? a.column(plan.main) : nullptr;
  for (long t = 0; t < blocks; ++t) {
    const long blk = ascending ? t : blocks - 1 - t;
    const long b0 = blk * w, b1 = std::min(m, b0 + w);
    for (long d = plan.first; d <= plan.last; ++d) {
      const long o = a.idiag[d];
      if (o == 0) continue;
      // Not transposed: y(i) -= A(i, i+o) y(i+o). Transposed: y(i) -= A(i-o, i) y(i-o).
      const long shift = nontrans ? o : -o;
      const long i0 = std::max(b0, -shift), i1 = std::min(b1, m - shift);
      if (i1 <= i0) continue;
      const double* v = a.column(d) + (nontrans ? i0 : i0 + shift);
      kern.diag_update(i1 - i0, -1.0, v, y + i0 + shift, y + i0);
    }
    if (nonunit && main)
      for (long i = b0; i < b1; ++i) y[i] /= main[i];
  }
}

// The solve after the copy: the diagonal type, or the plan and the block solve.
void dia_solve_column(bool nontrans, const descr& d, long m, const dia& a, double* y) {
  if (d.type == matrix_type::diagonal) {
    if (!d.nonunit) return;
    for (long q = 0; q < a.ndiag; ++q) {
      if (a.idiag[q] != 0) continue;
      const double* v = a.column(q);
      for (long i = 0; i < m; ++i) y[i] /= v[i];
      return;
    }
  }
  const dia_plan plan = ddiasvplan(d.lower, d.nonunit, a);
  if (plan.status == 0) ddiasvcol(m, nontrans, d.lower, d.nonunit, a, y, plan);
}

void dia_multiply(const char* transa, long m, long n, long k, double alpha, const char* matdescra,
                  const dia& a, cdense b, double beta, dense c) {
  if (m == 0 || k == 0 || n == 0) return;
  const bool nontrans = is_letter(transa, 'N');
  const descr d = read_multiply(matdescra, false);
  switch (d.type) {
    case matrix_type::general:
      ddiammgk(nontrans, m, n, k, alpha, a, b, beta, c);
      break;
    case matrix_type::triangular:
      ddiammtd(nontrans, false, d.lower, d.nonunit, m, n, k, alpha, a, b, beta, c);
      break;
    case matrix_type::diagonal:
      ddiammtd(nontrans, true, d.lower, d.nonunit, m, n, k, alpha, a, b, beta, c);
      break;
    case matrix_type::skew:
      // The transpose of a skew matrix is its negative.
      mirrored_product(true, d.lower, true, m, n, nontrans ? alpha : -alpha, a, b, beta, c);
      break;
    default:
      mirrored_product(false, d.lower, d.nonunit, m, n, alpha, a, b, beta, c);
      break;
  }
}

void dia_solve(const char* transa, long m, long n, double alpha, const char* matdescra,
               const dia& a, cdense b, dense c, bool matrix_rhs) {
  if (m <= 0 || n <= 0) return;
  const descr d = read_solve(matdescra);
  const bool nontrans = is_letter(transa, 'N');
  auto part = [&](long j0, long j1) {
    for (long j = j0; j < j1; ++j) {
      double* cj = &c(0, j);
      if (alpha == 0.0) {
        std::fill(cj, cj + m, 0.0);
        continue;
      }
      l1().copy(m, b.p + j * b.cs, cj);
      if (alpha != 1.0) l1().scal(m, alpha, cj);
    }
    if (alpha == 0.0) return;
    for (long j = j0; j < j1; ++j) dia_solve_column(nontrans, d, m, a, &c(0, j));
  };
  if (matrix_rhs && n >= 2 && may_thread()) {
    const int t = static_cast<int>(std::min<long>(omp_get_max_threads(), n));
#pragma omp parallel num_threads(t)
    {
      long j0, j1;
      share(n, omp_get_num_threads(), omp_get_thread_num(), j0, j1);
      part(j0, j1);
    }
  } else {
    part(0, n);
  }
}

}  // namespace
}  // namespace zvx::spblas

using namespace zvx;
using namespace zvx::spblas;

ZVX_EXPORT void zvx_ddiamv(const char* transa, const int* m, const int* k, const double* alpha,
                           const char* matdescra, const double* val, const int* lval,
                           const int* idiag, const int* ndiag, const double* x,
                           const double* beta, double* y) {
  const long out = is_letter(transa, 'N') ? *m : *k, in = is_letter(transa, 'N') ? *k : *m;
  dia_multiply(transa, *m, 1, *k, *alpha, matdescra, dia{val, *lval, idiag, *ndiag},
               col_major(x, std::max(in, 1L)), *beta, col_major(y, std::max(out, 1L)));
}

ZVX_EXPORT void zvx_ddiamm(const char* transa, const int* m, const int* n, const int* k,
                           const double* alpha, const char* matdescra, const double* val,
                           const int* lval, const int* idiag, const int* ndiag, const double* b,
                           const int* ldb, const double* beta, double* c, const int* ldc) {
  dia_multiply(transa, *m, *n, *k, *alpha, matdescra, dia{val, *lval, idiag, *ndiag},
               col_major(b, *ldb), *beta, col_major(c, *ldc));
}

ZVX_EXPORT void zvx_ddiasv(const char* transa, const int* m, const double* alpha,
                           const char* matdescra, const double* val, const int* lval,
                           const int* idiag, const int* ndiag, const double* x, double* y) {
  const long ld = std::max(*m, 1);
  dia_solve(transa, *m, 1, *alpha, matdescra, dia{val, *lval, idiag, *ndiag}, col_major(x, ld),
            col_major(y, ld), false);
}

ZVX_EXPORT void zvx_ddiasm(const char* transa, const int* m, const int* n, const double* alpha,
                           const char* matdescra, const double* val, const int* lval,
                           const int* idiag, const int* ndiag, const double* b, const int* ldb,
                           double* c, const int* ldc) {
  dia_solve(transa, *m, *n, *alpha, matdescra, dia{val, *lval, idiag, *ndiag}, col_major(b, *ldb),
            col_major(c, *ldc), true);
}

ZVX_EXPORT void zvx_ddiagemv(const char* transa, const int* m, const double* val, const int* lval,
                             const int* idiag, const int* ndiag, const double* x, double* y) {
  if (*m == 0) return;
  const long ld = std::max(*m, 1);
  ddiammgk(is_letter(transa, 'N'), *m, 1, *m, 1.0, dia{val, *lval, idiag, *ndiag},
           col_major(x, ld), 0.0, col_major(y, ld));
}

ZVX_EXPORT void zvx_ddiasymv(const char* uplo, const int* m, const double* val, const int* lval,
                             const int* idiag, const int* ndiag, const double* x, double* y) {
  if (*m <= 0) return;
  mirrored_product(false, is_letter(uplo, 'L'), true, *m, 1, 1.0, dia{val, *lval, idiag, *ndiag},
                   col_major(x, *m), 0.0, col_major(y, *m));
}

ZVX_EXPORT void zvx_ddiatrsv(const char* uplo, const char* transa, const char* diag, const int* m,
                             const double* val, const int* lval, const int* idiag,
                             const int* ndiag, const double* x, double* y) {
  const long rows = *m;
  if (rows <= 0) return;
  l1().copy(rows, x, y);
  if (*ndiag == 0) return;
  const dia a{val, *lval, idiag, *ndiag};
  const descr d{matrix_type::triangular, is_letter(uplo, 'L'), is_letter(diag, 'N')};
  dia_solve_column(is_letter(transa, 'N'), d, rows, a, y);
}

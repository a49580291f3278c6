// CSR multiply kernels: c += alpha * op(A) * b for each matrix type, on top of one row traversal.
//
// Triangular, symmetric and skew products read each row twice: the first pass is the general
// product of the whole stored row, the second takes out what doesn't belong to the matrix type and
// adds the mirrored terms. The common pass thereby stays free of branches, a caller may hand a
// full matrix whose other triangle is cancelled, and the row is in cache for the second pass.
#include <algorithm>
#include <cstdlib>

#include "spblas/spblas.h"

namespace zvx::spblas {
namespace {

// c(i, :) += row i of A times b, not transposed, for all n columns.
inline void row_pass(const csr& a, long i, long n, double alpha, cdense b, dense c) {
  const long s = a.begin(i), e = a.end(i);
  if (n == 1 && b.rs == 1) {
    if (e > s) c(i, 0) += alpha * simd::kernels().row_dot(e - s, a.val + s, a.indx + s, a.base, b.p);
    return;
  }
  for (long j0 = 0; j0 < n; j0 += csr_mm_column_block) {
    const int w = static_cast<int>(std::min<long>(csr_mm_column_block, n - j0));
    double acc[csr_mm_column_block];
    for (int jj = 0; jj < w; ++jj) acc[jj] = c(i, j0 + jj);
    if (w == csr_mm_column_block) {
      for (long p = s; p < e; ++p) {
        const double t = a.val[p] * alpha;
        const double* bp = &b.p[a.col(p) * b.rs + j0 * b.cs];
        for (int jj = 0; jj < csr_mm_column_block; ++jj) acc[jj] += t * bp[jj * b.cs];
      }
    } else {
      for (long p = s; p < e; ++p) {
        const double t = a.val[p] * alpha;
        const double* bp = &b.p[a.col(p) * b.rs + j0 * b.cs];
        for (int jj = 0; jj < w; ++jj) acc[jj] += t * bp[jj * b.cs];
      }
    }
    for (int jj = 0; jj < w; ++jj) c(i, j0 + jj) = acc[jj];
  }
}

// c(col, j) += alpha * A(i, col) * b(i, j) over row i: the transposed general step, one column.
inline void row_scatter(const csr& a, long i, long j, double alpha, cdense b, dense c) {
  const double bij = b(i, j);
  for (long p = a.begin(i), e = a.end(i); p < e; ++p) c(a.col(p), j) += a.val[p] * alpha * bij;
}

template <class F>
void for_rows(bool threaded, long m, F&& row) {
  if (threaded) {
#pragma omp parallel for schedule(static)
    for (long i = 0; i < m; ++i) row(i);
  } else {
    for (long i = 0; i < m; ++i) row(i);
  }
}

// Columns of c are split the same way as rows.
template <class F>
void for_columns(bool threaded, long n, F&& column) {
  for_rows(threaded, n, column);
}

// Second pass of the symmetric (skew = false) and skew kernels for row i, column j.
inline void mirror_pass(bool skew, bool lower, bool nonunit, const csr& a, long i, long j,
                        double alpha, cdense b, dense c) {
  double d = 0.0;
  const double bij = b(i, j);
  for (long p = a.begin(i), e = a.end(i); p < e; ++p) {
    const long col = a.col(p);
    const double t = a.val[p] * alpha;
    const bool inside = lower ? col < i : col > i;
    if (inside) {
      if (skew) c(col, j) -= t * bij;
      else c(col, j) += t * bij;
    } else if (skew || !nonunit || col != i) {
      d += t * b(col, j);
    }
  }
  if (!skew && !nonunit) c(i, j) += alpha * bij;
  c(i, j) -= d;
}

void two_pass(bool skew, bool lower, bool nonunit, long m, long n, double alpha, const csr& a,
              cdense b, dense c, bool threaded) {
  for_rows(threaded, m, [&](long i) { row_pass(a, i, n, alpha, b, c); });
  for_columns(threaded, n, [&](long j) {
    for (long i = 0; i < m; ++i) mirror_pass(skew, lower, nonunit, a, i, j, alpha, b, c);
  });
}

}  // namespace

void csrmmgen(csr_family, bool nontrans, long m, long n, double alpha, const csr& a, cdense b,
              dense c) {
  if (m <= 0 || n <= 0) return;
  if (nontrans) {
    const bool threaded = may_thread();
    if (n == 1 && b.rs == 1 && c.rs == 1) {
      const auto& k = simd::kernels();
      auto rows = [&](long r0, long r1) {
        k.csr_rows(r0, r1, a.val, a.indx, a.pntrb, a.pntre, a.base, b.p, alpha, c.p, true);
      };
      if (threaded) {
#pragma omp parallel
        {
          long r0, r1;
          share_by_entries(a.pntrb, a.pntre, m, omp_get_num_threads(), omp_get_thread_num(), r0, r1);
          rows(r0, r1);
        }
      } else {
        rows(0, m);
      }
      return;
    }
    if (b.rs == 1 && c.rs == 1) {
      const auto& k = simd::kernels();
      auto rows = [&](long r0, long r1) {
        k.csr_rows_mm(r0, r1, a.val, a.indx, a.pntrb, a.pntre, a.base, b.p, b.cs, n, alpha, c.p, c.cs, true);
      };
      if (threaded) {
#pragma omp parallel
        {
          long r0, r1;
          share_by_entries(a.pntrb, a.pntre, m, omp_get_num_threads(), omp_get_thread_num(), r0, r1);
          rows(r0, r1);
        }
      } else {
        rows(0, m);
      }
      return;
    }
    for_rows(threaded, m, [&](long i) { row_pass(a, i, n, alpha, b, c); });
  } else {
    // A thread owns whole columns of c; with one column there is one unit of work.
    for_columns(n > 1 && may_thread(), n, [&](long j) {
      for (long i = 0; i < m; ++i) row_scatter(a, i, j, alpha, b, c);
    });
  }
}

void csrmmgen_overwrite(long m, long n, double alpha, const csr& a, cdense b, dense c) {
  if (m <= 0 || n <= 0) return;
  const auto& k = simd::kernels();
  auto rows = [&](long r0, long r1) {
    if (n == 1) k.csr_rows(r0, r1, a.val, a.indx, a.pntrb, a.pntre, a.base, b.p, alpha, c.p, false);
    else k.csr_rows_mm(r0, r1, a.val, a.indx, a.pntrb, a.pntre, a.base, b.p, b.cs, n, alpha, c.p, c.cs, false);
  };
  if (may_thread()) {
#pragma omp parallel
    {
      long r0, r1;
      share_by_entries(a.pntrb, a.pntre, m, omp_get_num_threads(), omp_get_thread_num(), r0, r1);
      rows(r0, r1);
    }
  } else {
    rows(0, m);
  }
}

void csrmmtr(csr_family f, bool nontrans, bool lower, bool nonunit, long m, long n, double alpha,
             const csr& a, cdense b, dense c) {
  if (m <= 0 || n <= 0) return;
  const bool threaded = (f.zero_based ? n >= 2 : (nontrans || n > 1)) && may_thread();
  if (nontrans) {
    for_rows(threaded, m, [&](long i) {
      row_pass(a, i, n, alpha, b, c);
      for (long j = 0; j < n; ++j) {
        double s1 = 0.0, d = 0.0;
        for (long p = a.begin(i), e = a.end(i); p < e; ++p) {
          const long col = a.col(p);
          const double t = a.val[p] * alpha;
          if (lower ? col > i : col < i) s1 += b(col, j) * t;
          else if (col == i) d = b(col, j) * t;
        }
        c(i, j) -= s1;
        if (!nonunit) c(i, j) -= d;
      }
    });
  } else {
    for_columns(threaded, n, [&](long j) {
      for (long i = 0; i < m; ++i) {
        row_scatter(a, i, j, alpha, b, c);
        const double bij = b(i, j);
        double d = 0.0;
        for (long p = a.begin(i), e = a.end(i); p < e; ++p) {
          const long col = a.col(p);
          const double t = a.val[p] * alpha;
          if (lower ? col > i : col < i) c(col, j) -= t * bij;
          else if (col == i) d = bij * t;
        }
        if (!nonunit) c(i, j) -= d;
      }
    });
  }
}

void csrmmsym(csr_family, bool lower, bool nonunit, long m, long n, double alpha, const csr& a,
              cdense b, dense c) {
  if (m <= 0 || n <= 0) return;
  // With one column the mirrored updates of the second pass reach rows of other threads.
  const bool threaded = n > 1 && std::min<long>(omp_get_max_threads(), n) >= 2 && may_thread();
  two_pass(false, lower, nonunit, m, n, alpha, a, b, c, threaded);
}

void csrmmskew(csr_family, bool lower, long m, long n, double alpha, const csr& a, cdense b,
               dense c) {
  if (m <= 0 || n <= 0) return;
  two_pass(true, lower, true, m, n, alpha, a, b, c, n > 1 && may_thread());
}

void csrmmdiag(csr_family, bool nonunit, long m, long n, double alpha, const csr& a, cdense b,
               dense c) {
  if (m <= 0 || n <= 0) return;
  if (!nonunit) {
    add_identity(m, n, alpha, b, c);
    return;
  }
  for (long j = 0; j < n; ++j) {
    for (long i = 0; i < m; ++i) {
      for (long p = a.begin(i), e = a.end(i); p < e; ++p) {
        if (a.col(p) == i) c(i, j) += a.val[p] * alpha * b(i, j);
      }
    }
  }
}

namespace {
// Rows [r0, r1) of y += alpha * A * x for the symmetric vector kernel, into `out`.
void mvsym_rows(bool lower, bool nonunit, long r0, long r1, double alpha, const csr& a,
                const double* x, double* out) {
  const auto& k = simd::kernels();
  for (long i = r0; i < r1; ++i) {
    const long s = a.begin(i), e = a.end(i);
    if (e <= s) {
      if (!nonunit) out[i] += alpha * x[i];
      continue;
    }
    out[i] += alpha * k.row_dot(e - s, a.val + s, a.indx + s, a.base, x);
    double d = 0.0;
    const double xi = x[i];
    for (long p = s; p < e; ++p) {
      const long col = a.col(p);
      const double t = a.val[p] * alpha;
      if (lower ? col < i : col > i) out[col] += t * xi;
      else if (!nonunit || col != i) d += t * x[col];
    }
    if (!nonunit) out[i] += alpha * xi;
    out[i] -= d;
  }
}
}  // namespace

void csrmvsym(bool lower, bool nonunit, long m, double alpha, const csr& a, const double* x,
              double* y) {
  if (m <= 0) return;
  double* buffer = nullptr;
  int t = 1;
  if (lower && nonunit && m >= symv_parallel_rows && may_thread()) {
    t = omp_get_max_threads();
    buffer = static_cast<double*>(std::malloc(sizeof(double) * m * t));
  }
  if (!buffer) {
    mvsym_rows(lower, nonunit, 0, m, alpha, a, x, y);
    return;
  }
  // Each thread computes its rows into a private vector, since the mirrored updates reach rows
  // of other threads; after a barrier each thread collects its own rows from all vectors.
#pragma omp parallel num_threads(t)
  {
    const int q = omp_get_thread_num(), nt = omp_get_num_threads();
    double* mine = buffer + q * m;
    std::fill(mine, mine + m, 0.0);
    long r0, r1;
    share(m, nt, q, r0, r1);
    mvsym_rows(lower, nonunit, r0, r1, alpha, a, x, mine);
#pragma omp barrier
    for (int v = 0; v < nt; ++v) {
      const double* from = buffer + v * m;
      for (long i = r0; i < r1; ++i) y[i] += from[i];
    }
  }
  std::free(buffer);
}

}  // namespace zvx::spblas

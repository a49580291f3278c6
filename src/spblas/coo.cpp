// COO: multiply kernels per matrix type over unsorted triplets, and the triangular solve
// `coo_gauss`, which orders the triplets by row with a stable counting sort at each call.
// A transposed product is the same kernel with the row and column arrays exchanged.
#include <algorithm>
#include <cstdlib>

#include "spblas/spblas.h"
#include "zvx_spblas.h"

namespace zvx::spblas {
namespace {

struct coo {
  const double* val;
  const int* row;  // one-based
  const int* col;
  long nnz;
  long r(long p) const { return row[p] - 1L; }
  long c(long p) const { return col[p] - 1L; }
  coo exchanged() const { return {val, col, row, nnz}; }
};

// Runs `body(j0, j1)` over the columns of c: split over the threads when `threaded`, each
// walking all triplets and writing only its own columns, so no two threads share an element.
template <class F>
void by_column_shares(long n, bool threaded, F&& body) {
  if (!threaded) {
    body(0L, n);
    return;
  }
#pragma omp parallel
  {
    long j0, j1;
    share(n, omp_get_num_threads(), omp_get_thread_num(), j0, j1);
    if (j1 > j0) body(j0, j1);
  }
}

void coommgen(long n, double alpha, const coo& a, cdense b, dense c) {
  if (n == 1 && b.rs == 1 && c.rs == 1) {
    simd::kernels().coo_mv(a.nnz, a.val, a.row, a.col, alpha, b.p, c.p, 0, simd::coo_output::add, 0.0);
    return;
  }
  by_column_shares(n, n >= 2 && may_thread(), [&](long j0, long j1) {
    for (long j = j0; j < j1; ++j) {
      for (long p = 0; p < a.nnz; ++p) c(a.r(p), j) += a.val[p] * alpha * b(a.c(p), j);
    }
  });
}

void coommtr(bool lower, bool nonunit, long n, double alpha, const coo& a, cdense b, dense c) {
  const bool threaded = a.nnz > coo_parallel_nnz && n >= 2 && may_thread();
  by_column_shares(n, threaded, [&](long j0, long j1) {
    for (long p = 0; p < a.nnz; ++p) {
      const long r = a.r(p), s = a.c(p);
      const bool takes = lower ? (nonunit ? s <= r : s < r) : (nonunit ? r <= s : r < s);
      if (!takes) continue;
      for (long j = j0; j < j1; ++j) c(r, j) += b(s, j) * alpha * a.val[p];
    }
  });
}

void coommsym(bool lower, bool nonunit, long n, double alpha, const coo& a, cdense b, dense c) {
  const bool threaded = a.nnz > coo_parallel_nnz && n >= 2 && may_thread();
  by_column_shares(n, threaded, [&](long j0, long j1) {
    for (long p = 0; p < a.nnz; ++p) {
      const long r = a.r(p), s = a.c(p);
      const double t = alpha * a.val[p];
      if (r == s) {
        if (nonunit)
          for (long j = j0; j < j1; ++j) c(r, j) += b(s, j) * t;
      } else if (lower ? s < r : r < s) {
        for (long j = j0; j < j1; ++j) {
          c(r, j) += b(s, j) * t;
          c(s, j) += b(r, j) * t;
        }
      }
    }
  });
}

void coommskew(bool lower, long n, double alpha, const coo& a, cdense b, dense c) {
  by_column_shares(n, a.nnz > coo_parallel_nnz && may_thread(), [&](long j0, long j1) {
    for (long p = 0; p < a.nnz; ++p) {
      const long r = a.r(p), s = a.c(p);
      if (!(lower ? s < r : r < s)) continue;
      const double t = alpha * a.val[p];
      for (long j = j0; j < j1; ++j) {
        c(r, j) += b(s, j) * t;
        c(s, j) -= b(r, j) * t;
      }
    }
  });
}

// Diagonal entries only. Split by columns, not by triplets, so that a repeated diagonal entry
// is never added by two threads at once.
void coommdiag(long n, double alpha, const coo& a, cdense b, dense c) {
  by_column_shares(n, a.nnz > coo_parallel_nnz && may_thread(), [&](long j0, long j1) {
    for (long p = 0; p < a.nnz; ++p) {
      const long s = a.c(p);
      if (a.r(p) != s) continue;
      for (long j = j0; j < j1; ++j) c(s, j) += b(s, j) * a.val[p] * alpha;
    }
  });
}

// The record of coo_gauss: triangle 1 substitutes forward over the entries whose row is above
// their column (the lower triangle), 2 backward over the upper one.
struct gauss_record {
  int unused;
  int triangle;
  int unit;
};

// Stable counting sort of the entries strictly inside the triangle by row: `start` gets m + 1
// row starts into `list`; `diagpos` the last diagonal entry of each row (-1 for none).
void coo_sort(const gauss_record& rec, long m, const coo& a, int* diagpos, long* start,
              long* list) {
  long* count = start + 1;
  std::fill(start, start + m + 1, 0L);
  if (!rec.unit) std::fill(diagpos, diagpos + m, -1);
  for (long p = 0; p < a.nnz; ++p) {
    const long r = a.r(p), s = a.c(p);
    if (rec.triangle == 1 ? r > s : r < s) {
      ++count[r];
    } else if (!rec.unit && r == s) {
      diagpos[r] = static_cast<int>(p);
    }
  }
  for (long i = 0; i < m; ++i) start[i + 1] += start[i];
  long* next = static_cast<long*>(must_allocate(sizeof(long) * (m > 0 ? m : 1)));
  std::copy(start, start + m, next);
  for (long p = 0; p < a.nnz; ++p) {
    const long r = a.r(p), s = a.c(p);
    if (rec.triangle == 1 ? r > s : r < s) list[next[r]++] = p;
  }
  std::free(next);
}

// Solves op-free T y = x for each column; x (b) isn't modified and may not overlap y (c). A
// non-unit row without a diagonal entry divides by zero (the entry is absent, so its value is 0).
void coo_gauss(long m, long n, const coo& a, const gauss_record& rec, cdense b, dense c) {
  int* diagpos = rec.unit ? nullptr : static_cast<int*>(must_allocate(sizeof(int) * m));
  long* start = static_cast<long*>(must_allocate(sizeof(long) * (m + 1)));
  long* list = static_cast<long*>(must_allocate(sizeof(long) * (a.nnz > 0 ? a.nnz : 1)));
  coo_sort(rec, m, a, diagpos, start, list);
  auto solve_column = [&](long j) {
    auto finish = [&](long i, double s) {
      const double t = b(i, j) - s;
      if (rec.unit) c(i, j) = t;
      else c(i, j) = t / (diagpos[i] >= 0 ? a.val[diagpos[i]] : 0.0);
    };
    if (rec.triangle == 1) {
      for (long i = 0; i < m; ++i) {
        double s = 0.0;
        for (long q = start[i]; q < start[i + 1]; ++q) s += a.val[list[q]] * c(a.c(list[q]), j);
        finish(i, s);
      }
    } else {
      for (long i = m - 1; i >= 0; --i) {
        double s = 0.0;
        for (long q = start[i + 1] - 1; q >= start[i]; --q)
          s += a.val[list[q]] * c(a.c(list[q]), j);
        finish(i, s);
      }
    }
  };
  if (n >= 2 && may_thread()) {
#pragma omp parallel for schedule(static)
    for (long j = 0; j < n; ++j) solve_column(j);
  } else {
    for (long j = 0; j < n; ++j) solve_column(j);
  }
  std::free(list);
  std::free(start);
  std::free(diagpos);
}

// Diagonal solve, one column: unit copies; otherwise each diagonal entry divides its row and
// the other elements of y are left as they were.
void coodiagsv(long m, const coo& a, bool unit, const double* x, double* y) {
  if (unit) {
    l1().copy(m, x, y);
    return;
  }
  for (long p = 0; p < a.nnz; ++p) {
    const long r = a.r(p);
    if (r == a.c(p)) y[r] = x[r] / a.val[p];
  }
}

void coo_multiply(bool matrix_rhs, const char* transa, long m, long n, long k, double alpha,
                  const char* matdescra, const coo& a, cdense b, double beta, dense c) {
  if (m == 0 || k == 0 || n == 0) return;
  const bool nontrans = is_letter(transa, 'N');
  // The general product of one column clears or scales c as it writes it, not in a pass first.
  if (alpha != 0.0 && n == 1 && b.rs == 1 && c.rs == 1 &&
      read_multiply(matdescra, false).type == matrix_type::general) {
    const coo op = nontrans ? a : a.exchanged();
    const simd::coo_output out = beta == 0.0   ? simd::coo_output::overwrite
                                 : beta == 1.0 ? simd::coo_output::add
                                               : simd::coo_output::scale;
    simd::kernels().coo_mv(op.nnz, op.val, op.row, op.col, alpha, b.p, c.p, nontrans ? m : k, out, beta);
    return;
  }
  scale_columns(nontrans ? m : k, n, beta, c, true);
  if (alpha == 0.0 || (matrix_rhs && a.nnz == 0)) return;
  const descr d = read_multiply(matdescra, false);
  const coo op = nontrans ? a : a.exchanged();
  const long diag_len = std::min(m, k);
  switch (d.type) {
    case matrix_type::general:
      coommgen(n, alpha, op, b, c);
      break;
    case matrix_type::triangular:
      coommtr(nontrans ? d.lower : !d.lower, d.nonunit, n, alpha, op, b, c);
      if (!d.nonunit) add_identity(diag_len, n, alpha, b, c);
      break;
    case matrix_type::skew:
      coommskew(nontrans ? d.lower : !d.lower, n, alpha, op, b, c);
      break;
    case matrix_type::diagonal:
      if (d.nonunit) coommdiag(n, alpha, a, b, c);
      else add_identity(diag_len, n, alpha, b, c);
      break;
    default:
      coommsym(d.lower, d.nonunit, n, alpha, a, b, c);
      if (!d.nonunit) add_identity(diag_len, n, alpha, b, c);
      break;
  }
}

gauss_record record_for(bool nontrans, bool lower, bool unit) {
  return {0, (nontrans ? lower : !lower) ? 1 : 2, unit ? 1 : 0};
}

void coo_solve(const char* transa, long m, long n, double alpha, const char* matdescra,
               const coo& a, cdense b, dense c) {
  if (m == 0 || n == 0 || m < 0 || n < 0) return;
  if (alpha == 0.0) {
    for (long j = 0; j < n; ++j) std::fill(&c(0, j), &c(0, j) + m, 0.0);
    return;
  }
  if (a.nnz == 0) {  // an empty matrix solves as the identity
    for (long j = 0; j < n; ++j) {
      l1().copy(m, b.p + j * b.cs, &c(0, j));
      if (alpha != 1.0) l1().scal(m, alpha, &c(0, j));
    }
    return;
  }
  const descr d = read_solve(matdescra);
  const bool nontrans = is_letter(transa, 'N');
  if (d.type == matrix_type::diagonal) {
    for (long j = 0; j < n; ++j) coodiagsv(m, a, !d.nonunit, b.p + j * b.cs, &c(0, j));
  } else {
    coo_gauss(m, n, nontrans ? a : a.exchanged(), record_for(nontrans, d.lower, !d.nonunit), b,
              c);
  }
  // The solve reads b and writes c; the scaling comes after it.
  if (alpha != 1.0)
    for (long j = 0; j < n; ++j) l1().scal(m, alpha, &c(0, j));
}

}  // namespace
}  // namespace zvx::spblas

using namespace zvx;
using namespace zvx::spblas;

ZVX_EXPORT void zvx_dcoomv(const char* transa, const int* m, const int* k, const double* alpha,
                           const char* matdescra, const double* val, const int* rowind,
                           const int* colind, const int* nnz, const double* x,
                           const double* beta, double* y) {
  const long out = is_letter(transa, 'N') ? *m : *k, in = is_letter(transa, 'N') ? *k : *m;
  coo_multiply(false, transa, *m, 1, *k, *alpha, matdescra, coo{val, rowind, colind, *nnz},
               col_major(x, std::max(in, 1L)), *beta, col_major(y, std::max(out, 1L)));
}

ZVX_EXPORT void zvx_dcoomm(const char* transa, const int* m, const int* n, const int* k,
                           const double* alpha, const char* matdescra, const double* val,
                           const int* rowind, const int* colind, const int* nnz, const double* b,
                           const int* ldb, const double* beta, double* c, const int* ldc) {
  coo_multiply(true, transa, *m, *n, *k, *alpha, matdescra, coo{val, rowind, colind, *nnz},
               col_major(b, *ldb), *beta, col_major(c, *ldc));
}

ZVX_EXPORT void zvx_dcoosv(const char* transa, const int* m, const double* alpha,
                           const char* matdescra, const double* val, const int* rowind,
                           const int* colind, const int* nnz, const double* x, double* y) {
  const long ld = std::max(*m, 1);
  coo_solve(transa, *m, 1, *alpha, matdescra, coo{val, rowind, colind, *nnz}, col_major(x, ld),
            col_major(y, ld));
}

ZVX_EXPORT void zvx_dcoosm(const char* transa, const int* m, const int* n, const double* alpha,
                           const char* matdescra, const double* val, const int* rowind,
                           const int* colind, const int* nnz, const double* b, const int* ldb,
                           double* c, const int* ldc) {
  coo_solve(transa, *m, *n, *alpha, matdescra, coo{val, rowind, colind, *nnz}, col_major(b, *ldb),
            col_major(c, *ldc));
}

ZVX_EXPORT void zvx_dcoogemv(const char* transa, const int* m, const double* val,
                             const int* rowind, const int* colind, const int* nnz,
                             const double* x, double* y) {
  const long rows = *m;
  if (rows <= 0) return;
  // written as it goes, without a clearing pass first
  const coo a = is_letter(transa, 'N') ? coo{val, rowind, colind, *nnz} : coo{val, colind, rowind, *nnz};
  simd::kernels().coo_mv(a.nnz, a.val, a.row, a.col, 1.0, x, y, rows, simd::coo_output::overwrite, 0.0);
}

ZVX_EXPORT void zvx_dcoosymv(const char* uplo, const int* m, const double* val, const int* rowind,
                             const int* colind, const int* nnz, const double* x, double* y) {
  const long rows = *m;
  if (rows == 0) return;
  for (long i = 0; i < rows; ++i) y[i] = 0.0;
  if (rows < 0) return;
  coommsym(is_letter(uplo, 'L'), true, 1, 1.0, coo{val, rowind, colind, *nnz}, col_major(x, rows),
           col_major(y, rows));
}

ZVX_EXPORT void zvx_dcootrsv(const char* uplo, const char* transa, const char* diag,
                             const int* m, const double* val, const int* rowind,
                             const int* colind, const int* nnz, const double* x, double* y) {
  const long rows = *m;
  if (rows <= 0) return;
  if (*nnz == 0) {
    l1().copy(rows, x, y);
    return;
  }
  const bool nontrans = is_letter(transa, 'N');
  const coo a{val, rowind, colind, *nnz};
  coo_gauss(rows, 1, nontrans ? a : a.exchanged(),
            record_for(nontrans, is_letter(uplo, 'L'), !is_letter(diag, 'N')), col_major(x, rows),
            col_major(y, rows));
}

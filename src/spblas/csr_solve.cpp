// CSR triangular and diagonal solves, in place on c (m rows, n columns).
//
// Rows must be sorted by column. The row sweep takes each unknown as a dot product of its row
// with the unknowns already known (the matrix as stored); the column sweep scatters each solved
// unknown into the rest (the transposed matrix: a stored row is one of its columns).
//
// A non-unit row that holds no diagonal entry divides by the last entry the walk reached inside
// the stored arrays (the previous row's when the row is empty), so no read leaves the arrays.
#include <algorithm>

#include "spblas/spblas.h"

namespace zvx::spblas {

void invdiag(long m, long n, const csr& a, dense c) {
  if (m <= 0 || n <= 0) return;
  // The divisor of row i: the first entry whose column is not below i, or the last position
  // the scan reached. `carry` is the stop of the rows before, for an empty row.
  auto divisor_position = [&](long i, long carry) {
    const long s = a.begin(i), e = a.end(i);
    if (e <= s) return carry;
    long p = s;
    while (p < e - 1 && a.col(p) < i) ++p;
    return p;
  };
  auto scale_row = [&](long i, long p) {
    const double r = 1.0 / a.val[p];
    for (long j = 0; j < n; ++j) c(i, j) *= r;
  };
  if (may_thread()) {
#pragma omp parallel
    {
      long r0, r1;
      share(m, omp_get_num_threads(), omp_get_thread_num(), r0, r1);
      long carry = 0;
      for (long i = r0 - 1; i >= 0; --i) {  // an empty first row looks back
        if (a.end(i) > a.begin(i)) { carry = divisor_position(i, 0); break; }
      }
      for (long i = r0; i < r1; ++i) {
        carry = divisor_position(i, carry);
        scale_row(i, carry);
      }
    }
  } else {
    long carry = 0;
    for (long i = 0; i < m; ++i) {
      carry = divisor_position(i, carry);
      scale_row(i, carry);
    }
  }
}

void csrsvrow(bool lower, bool nonunit, long m, long n, const csr& a, dense c) {
  if (m <= 0 || n <= 0) return;
  long last = 0;  // last position reached inside the arrays
  if (lower && n == 1 && c.rs == 1) {
    simd::kernels().csr_lower_solve(m, a.val, a.indx, a.pntrb, a.pntre, a.base, nonunit, c.p);
    return;
  }
  if (lower && n == 1) {
    // One walk per row: the sum runs until the first column not below i, the diagonal.
    double* y = &c(0, 0);
    const long rs = c.rs;
    const int* ix = a.indx;
    const double* v = a.val;
    const long origin = a.pntrb[0];
    for (long i = 0; i < m; ++i) {
      const long s = a.pntrb[i] - origin, e = a.pntre[i] - origin;
      double sum = 0.0;
      long p = s;
      for (; p < e; ++p) {
        const long col = ix[p] - a.base;
        if (col >= i) break;
        sum += v[p] * y[col * rs];
      }
      double t = y[i * rs] - sum;
      if (nonunit) {
        last = p < e ? p : (e > s ? e - 1 : last);
        t /= v[last];
      }
      y[i * rs] = t;
    }
    return;
  }
  if (lower) {
    for (long i = 0; i < m; ++i) {
      const long s = a.begin(i), e = a.end(i);
      long p = s;
      while (p < e && a.col(p) < i) ++p;
      const long stop = p;
      double r = 1.0;
      if (nonunit) {
        last = stop < e ? stop : (e > s ? e - 1 : last);
        r = 1.0 / a.val[last];
      }
      for (long j0 = 0; j0 < n; j0 += csr_mm_column_block) {
        const long w = std::min<long>(csr_mm_column_block, n - j0);
        double work[csr_mm_column_block] = {};
        for (long q = s; q < stop; ++q) {
          const double v = a.val[q];
          const long col = a.col(q);
          for (long jj = 0; jj < w; ++jj) work[jj] += v * c(col, j0 + jj);
        }
        for (long jj = 0; jj < w; ++jj) {
          const double t = c(i, j0 + jj) - work[jj];
          c(i, j0 + jj) = nonunit ? t * r : t;
        }
      }
    }
  } else {
    for (long i = m - 1; i >= 0; --i) {
      const long s = a.begin(i), e = a.end(i);
      long p = s;
      while (p < e && a.col(p) < i) ++p;
      long diag = -1;
      if (nonunit) {
        diag = p < e ? p : (e > s ? e - 1 : last);
        last = diag;
        ++p;  // the entry skipped is the diagonal, whatever its column
      } else if (p < e && a.col(p) == i) {
        ++p;
      }
      const long from = std::min(p, e);
      if (n == 1) {
        double sum = 0.0;
        for (long q = from; q < e; ++q) sum += a.val[q] * c(a.col(q), 0);
        const double t = c(i, 0) - sum;
        c(i, 0) = nonunit ? t / a.val[diag] : t;
        continue;
      }
      const double r = nonunit ? 1.0 / a.val[diag] : 1.0;
      for (long j = 0; j < n; ++j) {
        double dot = 0.0;
        for (long q = from; q < e; ++q) dot += a.val[q] * c(a.col(q), j);
        const double t = c(i, j) - dot;
        c(i, j) = nonunit ? t * r : t;
      }
    }
  }
}

void csrsvcol(bool forward, bool nonunit, long m, long n, const csr& a, dense c) {
  if (m <= 0 || n <= 0) return;
  long last = 0;
  auto divide = [&](long i, long p) {
    if (n == 1) {
      c(i, 0) /= a.val[p];
    } else {
      const double r = 1.0 / a.val[p];
      for (long j = 0; j < n; ++j) c(i, j) *= r;
    }
  };
  auto scatter = [&](long i, long q) {
    const double v = a.val[q];
    const long col = a.col(q);
    for (long j = 0; j < n; ++j) c(col, j) -= v * c(i, j);
  };
  if (forward) {
    for (long i = 0; i < m; ++i) {
      const long s = a.begin(i), e = a.end(i);
      long p = s;
      while (p < e && a.col(p) < i) ++p;
      if (nonunit) {
        last = p < e ? p : (e > s ? e - 1 : last);
        divide(i, last);
      }
      if (p >= e) continue;  // the row ended: no diagonal, nothing after it
      const long first = (nonunit || a.col(p) == i) ? p + 1 : p;
      for (long q = first; q < e; ++q) scatter(i, q);
    }
  } else {
    for (long i = m - 1; i >= 0; --i) {
      const long s = a.begin(i), e = a.end(i);
      long p = e - 1;
      while (p >= s && a.col(p) > i) --p;
      if (nonunit) {
        last = p >= s ? p : (e > s ? s : last);
        divide(i, last);
      }
      if (p < s) continue;
      const long first = (nonunit || a.col(p) == i) ? p - 1 : p;
      for (long q = first; q >= s; --q) scatter(i, q);
    }
  }
}

}  // namespace zvx::spblas

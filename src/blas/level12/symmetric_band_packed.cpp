// The level-2 routines besides gemv, ger, trmv and trsv: symmetric and Hermitian multiplies and
// rank updates in full, packed and band storage, the general band multiply, and the triangular
// band and packed multiply and solve. They are the column sweeps of the published definitions,
// written once over an accessor of the storage: `at(i, j)` reaches an element of the stored
// triangle or band, and rows [lo(j), hi(j)] are the stored rows of column j.
#include <algorithm>

#include "blas/level12/level12.h"
#include "blas/level12/tuning.h"
#include "service/service.h"
#include "zvx_blas12.h"

namespace zvx::blas12 {
namespace {

template <class T> struct full_store {
  T* a;
  long lda, n;
  bool upper;
  T& at(long i, long j) const { return a[i + j * lda]; }
  long lo(long j) const { return upper ? 0 : j; }
  long hi(long j) const { return upper ? j : n - 1; }
};
template <class T> struct packed_store {
  T* a;
  long n;
  bool upper;
  T& at(long i, long j) const { return upper ? a[i + j * (j + 1) / 2] : a[j * n - j * (j - 1) / 2 + i - j]; }
  long lo(long j) const { return upper ? 0 : j; }
  long hi(long j) const { return upper ? j : n - 1; }
};
// Triangular or symmetric band of k diagonals beside the main one.
template <class T> struct band_store {
  T* a;
  long lda, n, k;
  bool upper;
  T& at(long i, long j) const { return upper ? a[(k + i - j) + j * lda] : a[(i - j) + j * lda]; }
  long lo(long j) const { return upper ? std::max(0L, j - k) : j; }
  long hi(long j) const { return upper ? j : std::min(n - 1, j + k); }
};

// Each storage's span, its pages' translations requested before a sweep (request_operand).
template <class T> void request_store(const full_store<T>& s) { request_matrix(s.a, s.n, s.n, s.lda); }
template <class T> void request_store(const packed_store<T>& s) {
  request_operand(s.a, (double)s.n * (s.n + 1) / 2 * sizeof(T));
}
template <class T> void request_store(const band_store<T>& s) { request_matrix(s.a, s.k + 1, s.n, s.lda); }

template <class T> inline T a_op(T v, op o) { return o == op::c ? conj(v) : v; }

// With unit increments the sweeps below run on the stored rows of a column, which are contiguous
// in all three storages, through the vector kernels: y(0:n) += t * v(0:n), and the sum of
// op(v(i)) * x(i) over 0:n, op conjugating when `conjugate`.
template <class T> void column_axpy(long n, T t, const T* v, T* y) {
  if (n > 0) kernels_for<T>().axpy(n, t, v, y);
}
template <class T> T column_dot(long n, const T* v, const T* x, bool conjugate) {
  if (n <= 0) return T{};
  if constexpr (is_complex<T>) return kernels_for<T>().dot(n, v, x, conjugate);
  else return kernels_for<T>().dot(n, v, x);
}

// y := beta * y with zeros stored for beta 0; returns false when nothing more is to be done.
template <class T> bool scale_y(long leny, T alpha, T beta, T* y0, long incy) {
  if (!is_one(beta)) {
    if (is_zero(beta)) for (long i = 0; i < leny; ++i) y0[i * incy] = T{};
    else for (long i = 0; i < leny; ++i) y0[i * incy] = beta * y0[i * incy];
  }
  return !is_zero(alpha);
}

// y := alpha * A * x + beta * y, A symmetric (or Hermitian: diagonal real part only, conjugates
// in the dots).
template <class T, bool hermitian, class S>
void sym_multiply(const S& A, long n, T alpha, const T* x, long incx, T beta, T* y, long incy) {
  if (n <= 0 || (is_zero(alpha) && is_one(beta))) return;
  request_store(A);
  const T* x0 = x + start_of((int)n, (int)incx);
  T* y0 = y + start_of((int)n, (int)incy);
  if (!scale_y(n, alpha, beta, y0, incy)) return;
  auto X = [&](long i) { return x0[i * incx]; };
  auto Y = [&](long i) -> T& { return y0[i * incy]; };
  auto diag = [&](long j) { return hermitian ? from_real<T>(re(A.at(j, j))) : A.at(j, j); };
  if (incx == 1 && incy == 1) {
    for (long j = 0; j < n; ++j) {
      const T t1 = alpha * x0[j];
      const long lo = A.lo(j), hi = A.hi(j);
      T t2 = column_dot(j - lo, &A.at(lo, j), x0 + lo, hermitian);
      column_axpy(j - lo, t1, &A.at(lo, j), y0 + lo);
      if (hi > j) {
        t2 += column_dot(hi - j, &A.at(j + 1, j), x0 + j + 1, hermitian);
        column_axpy(hi - j, t1, &A.at(j + 1, j), y0 + j + 1);
      }
      y0[j] += t1 * diag(j) + alpha * t2;
    }
    return;
  }
  for (long j = 0; j < n; ++j) {
    const T t1 = alpha * X(j);
    T t2{};
    for (long i = A.lo(j); i <= A.hi(j); ++i) {
      if (i == j) continue;
      const T aij = A.at(i, j);
      Y(i) += t1 * aij;
      t2 += (hermitian ? conj(aij) : aij) * X(i);
    }
    Y(j) += t1 * diag(j) + alpha * t2;
  }
}

// Transposed real band multiply, unit increment, over the columns that hold all k stored
// elements off the diagonal: every new x(j) is a dot of x as it was before the call, so groups of
// columns take their dots at once (the band's columns, a few vectors long, paid a call, set-up and
// reduction each). A group reads only elements no earlier group has written: upper bands run from
// the last column down, lower ones from the first up. Returns the columns left for the sweep:
// [0, done) upper, [done, n) lower, so the caller's loop goes on where this one stopped.
template <class T>
long band_transposed_groups(bool upper, bool nonunit, const band_store<T>& A, long n, T* x) {
  const long k = A.k, full = n - k;
  if (k <= 0 || full <= 0) return upper ? n : 0;
  constexpr long group = band_dot_group_columns;
  T dots[group];
  const auto& kern = kernels_for<T>();
  if (upper) {
    long j1 = n;  // columns [j1, n) are done
    while (j1 > k) {
      const long j0 = std::max(k, j1 - group), g = j1 - j0;
      kern.band_dots(g, k, A.a + j0 * A.lda, A.lda, x + j0 - k, dots);
      for (long c = 0; c < g; ++c) {
        const long j = j0 + c;
        x[j] = (nonunit ? x[j] * A.a[k + j * A.lda] : x[j]) + dots[c];
      }
      j1 = j0;
    }
    return j1;
  }
  long j0 = 0;  // columns [0, j0) are done
  while (j0 < full) {
    const long g = std::min(group, full - j0);
    kern.band_dots(g, k, A.a + 1 + j0 * A.lda, A.lda, x + j0 + 1, dots);
    for (long c = 0; c < g; ++c) {
      const long j = j0 + c;
      x[j] = (nonunit ? x[j] * A.a[j * A.lda] : x[j]) + dots[c];
    }
    j0 += g;
  }
  return j0;
}

// op(A) * x for triangular A in band or packed storage, and the solve; the published sweeps.
template <class T, class S>
void tri_sweep(bool solve, bool upper, op o, bool nonunit, const S& A, long n, T* x, long incx) {
  if (n <= 0) return;
  request_store(A);
  T* x0 = x + start_of((int)n, (int)incx);
  auto X = [&](long i) -> T& { return x0[i * incx]; };
  auto M = [&](long i, long j) { return a_op(A.at(i, j), o); };
  if constexpr (!is_complex<T> && std::is_same_v<S, band_store<T>>) {
    if (incx == 1 && !solve && o != op::n) {
      // Upper: the grouped columns are [done, n), the first `done` ones (shorter than k) follow
      // from the last down; lower: [0, done) grouped, the last ones follow from the first up.
      const long done = band_transposed_groups<T>(upper, nonunit, A, n, x0);
      for (long s = 0; s < (upper ? done : n - done); ++s) {
        const long j = upper ? done - 1 - s : done + s;
        const long lo = A.lo(j), up = j - lo, down = A.hi(j) - j;
        const T dot = upper ? column_dot(up, &A.at(lo, j), x0 + lo, false)
                            : (down > 0 ? column_dot(down, &A.at(j + 1, j), x0 + j + 1, false) : T{});
        x0[j] = (nonunit ? x0[j] * A.at(j, j) : x0[j]) + dot;
      }
      return;
    }
  }
  if (incx == 1) {
    // The stored rows of column j above the diagonal, [lo(j), j), and below it, (j, hi(j)].
    auto above = [&](long j) { return &A.at(A.lo(j), j); };
    auto below = [&](long j) { return &A.at(j + 1, j); };
    const bool cj = o == op::c;
    const bool forward = (o == op::n) != (upper == solve);  // columns from the first one
    for (long step = 0; step < n; ++step) {
      const long j = forward ? step : n - 1 - step;
      const long lo = A.lo(j), up = j - lo, down = A.hi(j) - j;
      if (o == op::n) {
        if (is_zero(x0[j])) continue;
        if (solve && nonunit) x0[j] = x0[j] / M(j, j);
        const T t = solve ? -x0[j] : x0[j];
        if (upper) column_axpy(up, t, above(j), x0 + lo);
        else if (down > 0) column_axpy(down, t, below(j), x0 + j + 1);
        if (!solve && nonunit) x0[j] = x0[j] * M(j, j);
      } else {
        const T dot = upper ? column_dot(up, above(j), x0 + lo, cj)
                            : (down > 0 ? column_dot(down, below(j), x0 + j + 1, cj) : T{});
        if (solve) {
          const T t = x0[j] - dot;
          x0[j] = nonunit ? t / M(j, j) : t;
        } else {
          x0[j] = (nonunit ? x0[j] * M(j, j) : x0[j]) + dot;
        }
      }
    }
    return;
  }
  if (!solve) {
    if (o == op::n) {
      if (upper) {
        for (long j = 0; j < n; ++j) {
          if (is_zero(X(j))) continue;
          const T t = X(j);
          for (long i = A.lo(j); i < j; ++i) X(i) += t * M(i, j);
          if (nonunit) X(j) = X(j) * M(j, j);
        }
      } else {
        for (long j = n - 1; j >= 0; --j) {
          if (is_zero(X(j))) continue;
          const T t = X(j);
          for (long i = A.hi(j); i > j; --i) X(i) += t * M(i, j);
          if (nonunit) X(j) = X(j) * M(j, j);
        }
      }
    } else {
      if (upper) {
        for (long j = n - 1; j >= 0; --j) {
          T t = nonunit ? X(j) * M(j, j) : X(j);
          for (long i = j - 1; i >= A.lo(j); --i) t += M(i, j) * X(i);
          X(j) = t;
        }
      } else {
        for (long j = 0; j < n; ++j) {
          T t = nonunit ? X(j) * M(j, j) : X(j);
          for (long i = j + 1; i <= A.hi(j); ++i) t += M(i, j) * X(i);
          X(j) = t;
        }
      }
    }
    return;
  }
  if (o == op::n) {
    if (upper) {
      for (long j = n - 1; j >= 0; --j) {
        if (is_zero(X(j))) continue;
        if (nonunit) X(j) = X(j) / M(j, j);
        const T t = X(j);
        for (long i = j - 1; i >= A.lo(j); --i) X(i) -= t * M(i, j);
      }
    } else {
      for (long j = 0; j < n; ++j) {
        if (is_zero(X(j))) continue;
        if (nonunit) X(j) = X(j) / M(j, j);
        const T t = X(j);
        for (long i = j + 1; i <= A.hi(j); ++i) X(i) -= t * M(i, j);
      }
    }
  } else {
    if (upper) {
      for (long j = 0; j < n; ++j) {
        T t = X(j);
        for (long i = A.lo(j); i < j; ++i) t -= M(i, j) * X(i);
        X(j) = nonunit ? t / M(j, j) : t;
      }
    } else {
      for (long j = n - 1; j >= 0; --j) {
        T t = X(j);
        for (long i = A.hi(j); i > j; --i) t -= M(i, j) * X(i);
        X(j) = nonunit ? t / M(j, j) : t;
      }
    }
  }
}

// A := alpha * x * op(x)' + A (one operand) or alpha * x * op(y)' + conj(alpha) * y * op(x)' + A
// (two), over the stored triangle. Hermitian forms conjugate and keep the diagonal real, also in
// a column that is skipped for a zero x(j).
template <class T, bool hermitian, bool two, class S>
void rank_update(const S& A, long n, T alpha, const T* x, long incx, const T* y, long incy) {
  if (n <= 0 || is_zero(alpha)) return;
  request_store(A);
  const T* x0 = x + start_of((int)n, (int)incx);
  const T* y0 = two ? y + start_of((int)n, (int)incy) : nullptr;
  auto X = [&](long i) { return x0[i * incx]; };
  auto Y = [&](long i) { return y0[i * incy]; };
  auto cj = [&](T v) { return hermitian ? conj(v) : v; };
  const bool unit = incx == 1 && (!two || incy == 1);
  for (long j = 0; j < n; ++j) {
    T& d = A.at(j, j);
    const bool skip = two ? (is_zero(X(j)) && is_zero(Y(j))) : is_zero(X(j));
    if (skip) {
      if constexpr (is_complex<T>) if (hermitian) d.imag = 0;
      continue;
    }
    const T t1 = two ? alpha * cj(Y(j)) : alpha * cj(X(j));
    const T t2 = two ? cj(alpha * X(j)) : T{};
    if (unit) {
      // The rows of the column off the diagonal are contiguous in full and packed storage: one
      // vector axpy per operand on each side of the diagonal (real types: one pass for both).
      auto axpy_rows = [&](long from, long to) {
        if (to <= from) return;
        T* col = &A.at(from, j);
        if constexpr (two && !is_complex<T>) {
          kernels_for<T>().axpy2(to - from, t1, x0 + from, t2, y0 + from, col);
        } else {
          kernels_for<T>().axpy(to - from, t1, x0 + from, col);
          if constexpr (two) kernels_for<T>().axpy(to - from, t2, y0 + from, col);
        }
      };
      if constexpr (!is_complex<T>) {
        // In the upper triangle a real diagonal goes with its column: updated on its own after
        // the column's vector stores, its load met the masked store of the column's last vector
        // (which spans it) and waited for that store to retire, a stall in every column. Below
        // the diagonal the column's first rows go through scalar steps to a vector boundary, and
        // the diagonal stays on its own.
        if (A.hi(j) == j) {
          axpy_rows(A.lo(j), j + 1);
          continue;
        }
      }
      axpy_rows(A.lo(j), j);
      axpy_rows(j + 1, A.hi(j) + 1);
    } else {
      for (long i = A.lo(j); i <= A.hi(j); ++i)
        if (i != j) A.at(i, j) += two ? X(i) * t1 + Y(i) * t2 : X(i) * t1;
    }
    d += two ? X(j) * t1 + Y(j) * t2 : X(j) * t1;
    if constexpr (is_complex<T>) if (hermitian) d.imag = 0;
  }
}

template <class T>
void gbmv(const char* trans, int m, int n, int kl, int ku, T alpha, const T* a, int lda, const T* x,
          int incx, T beta, T* y, int incy) {
  if (m == 0 || n == 0 || (is_zero(alpha) && is_one(beta))) return;
  request_matrix(a, kl + ku + 1, n, lda);
  const op o = read_triangular_op<T>(trans);
  const long leny = o == op::n ? m : n, lenx = o == op::n ? n : m;
  const T* x0 = x + start_of((int)lenx, incx);
  T* y0 = y + start_of((int)leny, incy);
  if (!scale_y<T>(leny, alpha, beta, y0, incy) || m < 0 || n < 0) return;
  auto A = [&](long i, long j) { return a_op(a[(ku + i - j) + j * (long)lda], o); };
  const bool unit = incx == 1 && incy == 1;
  // Real transposed, unit increments: the columns that hold the whole band (rows j - ku to
  // j + kl inside the matrix) take their dots in groups, since a call, set-up and reduction for
  // each column of a few vectors cost about as much as the dot. The rest go one by one below.
  long full0 = 0, full1 = 0;  // columns [full0, full1) are done in groups
  if constexpr (!is_complex<T>) {
    if (unit && o != op::n) {
      full0 = std::min<long>(ku, n);
      full1 = std::max(full0, std::min<long>(n, (long)m - kl));
      constexpr long group = band_dot_group_columns;
      T dots[group];
      const long len = (long)ku + kl + 1;
      for (long j0 = full0; j0 < full1; j0 += group) {
        const long g = std::min(group, full1 - j0);
        kernels_for<T>().band_dots(g, len, a + j0 * (long)lda, lda, x0 + j0 - ku, dots);
        for (long c = 0; c < g; ++c) y0[j0 + c] += alpha * dots[c];
      }
    }
  }
  auto column = [&](long j) {
    const long lo = std::max(0L, j - ku), hi = std::min<long>(m - 1, j + kl);
    if (unit) {
      if (hi < lo) return;
      const T* col = a + (ku + lo - j) + j * (long)lda;
      if (o == op::n) column_axpy(hi - lo + 1, alpha * x0[j], col, y0 + lo);
      else y0[j] += alpha * column_dot(hi - lo + 1, col, x0 + lo, o == op::c);
    } else if (o == op::n) {
      const T t = alpha * x0[j * incx];
      for (long i = lo; i <= hi; ++i) y0[i * incy] += t * A(i, j);
    } else {
      T t{};
      for (long i = lo; i <= hi; ++i) t += A(i, j) * x0[i * incx];
      y0[j * incy] += alpha * t;
    }
  };
  for (long j = 0; j < full0; ++j) column(j);
  for (long j = full1; j < n; ++j) column(j);
}

}  // namespace
}  // namespace zvx::blas12

using namespace zvx;
using namespace zvx::blas12;
using c8 = zvx_complex8;
using c16 = zvx_complex16;
template <class T, class C> T* P(C* p) { return reinterpret_cast<T*>(const_cast<std::remove_const_t<C>*>(p)); }
template <class T, class C> T V(const C* p) { return *reinterpret_cast<const T*>(p); }

// ---- symmetric and Hermitian multiplies -------------------------------------------------------
namespace {
template <class T, bool herm>
void symv_entry(const char* uplo, int n, T alpha, const T* a, int lda, const T* x, int incx, T beta, T* y, int incy) {
  const bool upper = is_letter(uplo, 'U');
  // Unit increments: the four-column vector sweep, after the common frame.
  if (incx == 1 && incy == 1 && n > 0 && !(is_zero(alpha) && is_one(beta))) {
    request_matrix(a, n, n, lda);
    if constexpr (is_complex<T>) {
      static_assert(herm, "the complex full-storage entries are Hermitian");
      if (scale_y<T>(n, alpha, beta, y, 1)) kernels_for<T>().hemv(upper, n, alpha, a, lda, x, y);
    } else {
      if (scale_y<T>(n, alpha, beta, y, 1)) kernels_for<T>().symv(upper, n, alpha, a, lda, x, y);
    }
    return;
  }
  sym_multiply<T, herm>(full_store<T>{const_cast<T*>(a), lda, n, upper}, n, alpha, x, incx, beta, y, incy);
}
}  // namespace

#define SYMV(name, T, CT, herm)                                                                      \
  ZVX_EXPORT void name(const char* uplo, const int* n, const CT* alpha, const CT* a, const int* lda,   \
                       const CT* x, const int* incx, const CT* beta, CT* y, const int* incy) {        \
    symv_entry<T, herm>(uplo, *n, V<T>(alpha), P<T>(a), *lda, P<T>(x), *incx, V<T>(beta), P<T>(y), *incy); \
  }
SYMV(ssymv, float, float, false)
SYMV(dsymv, double, double, false)
SYMV(chemv, c8, zvx_complex8, true)
SYMV(zhemv, c16, zvx_complex16, true)

#define SPMV(name, T, CT, herm)                                                                      \
  ZVX_EXPORT void name(const char* uplo, const int* n, const CT* alpha, const CT* ap, const CT* x,     \
                       const int* incx, const CT* beta, CT* y, const int* incy) {                     \
    sym_multiply<T, herm>(packed_store<T>{P<T>(ap), *n, is_letter(uplo, 'U')}, *n, V<T>(alpha), P<T>(x), \
                          *incx, V<T>(beta), P<T>(y), *incy);                                        \
  }
SPMV(sspmv, float, float, false)
SPMV(dspmv, double, double, false)
SPMV(chpmv, c8, zvx_complex8, true)
SPMV(zhpmv, c16, zvx_complex16, true)

#define SBMV(name, T, CT, herm)                                                                      \
  ZVX_EXPORT void name(const char* uplo, const int* n, const int* k, const CT* alpha, const CT* a,     \
                       const int* lda, const CT* x, const int* incx, const CT* beta, CT* y,           \
                       const int* incy) {                                                            \
    sym_multiply<T, herm>(band_store<T>{P<T>(a), *lda, *n, *k, is_letter(uplo, 'U')}, *n, V<T>(alpha),  \
                          P<T>(x), *incx, V<T>(beta), P<T>(y), *incy);                               \
  }
SBMV(ssbmv, float, float, false)
SBMV(dsbmv, double, double, false)
SBMV(chbmv, c8, zvx_complex8, true)
SBMV(zhbmv, c16, zvx_complex16, true)

#define GBMV(name, T, CT)                                                                            \
  ZVX_EXPORT void name(const char* trans, const int* m, const int* n, const int* kl, const int* ku,    \
                       const CT* alpha, const CT* a, const int* lda, const CT* x, const int* incx,    \
                       const CT* beta, CT* y, const int* incy) {                                     \
    gbmv<T>(trans, *m, *n, *kl, *ku, V<T>(alpha), P<T>(a), *lda, P<T>(x), *incx, V<T>(beta), P<T>(y), *incy); \
  }
GBMV(sgbmv, float, float)
GBMV(dgbmv, double, double)
GBMV(cgbmv, c8, zvx_complex8)
GBMV(zgbmv, c16, zvx_complex16)

// ---- rank updates -------------------------------------------------------------------------------
// Real alpha for syr/spr and her/hpr; complex alpha for her2/hpr2.
#define SYR(name, T, CT, AT, herm)                                                                   \
  ZVX_EXPORT void name(const char* uplo, const int* n, const AT* alpha, const CT* x, const int* incx,  \
                       CT* a, const int* lda) {                                                      \
    rank_update<T, herm, false>(full_store<T>{P<T>(a), *lda, *n, is_letter(uplo, 'U')}, *n,            \
                                from_real<T>(*alpha), P<T>(x), *incx, nullptr, 0);                   \
  }
namespace zvx::blas12::entry {
void syr(const char* uplo, int n, float alpha, const float* x, int incx, float* a, int lda) {
  rank_update<float, false, false>(full_store<float>{a, lda, n, is_upper(uplo)}, n, alpha, x, incx,
                                   nullptr, 0);
}
void syr(const char* uplo, int n, double alpha, const double* x, int incx, double* a, int lda) {
  rank_update<double, false, false>(full_store<double>{a, lda, n, is_upper(uplo)}, n, alpha, x,
                                    incx, nullptr, 0);
}
}  // namespace zvx::blas12::entry
ZVX_EXPORT void ssyr(const char* uplo, const int* n, const float* alpha, const float* x,
                     const int* incx, float* a, const int* lda) {
  entry::syr(uplo, *n, *alpha, x, *incx, a, *lda);
}
ZVX_EXPORT void dsyr(const char* uplo, const int* n, const double* alpha, const double* x,
                     const int* incx, double* a, const int* lda) {
  entry::syr(uplo, *n, *alpha, x, *incx, a, *lda);
}
SYR(cher, c8, zvx_complex8, float, true)
SYR(zher, c16, zvx_complex16, double, true)

#define SPR(name, T, CT, AT, herm)                                                                   \
  ZVX_EXPORT void name(const char* uplo, const int* n, const AT* alpha, const CT* x, const int* incx,  \
                       CT* ap) {                                                                     \
    rank_update<T, herm, false>(packed_store<T>{P<T>(ap), *n, is_letter(uplo, 'U')}, *n,               \
                                from_real<T>(*alpha), P<T>(x), *incx, nullptr, 0);                   \
  }
SPR(sspr, float, float, float, false)
SPR(dspr, double, double, double, false)
SPR(chpr, c8, zvx_complex8, float, true)
SPR(zhpr, c16, zvx_complex16, double, true)

#define SYR2(name, T, CT, herm)                                                                      \
  ZVX_EXPORT void name(const char* uplo, const int* n, const CT* alpha, const CT* x, const int* incx,  \
                       const CT* y, const int* incy, CT* a, const int* lda) {                        \
    rank_update<T, herm, true>(full_store<T>{P<T>(a), *lda, *n, is_letter(uplo, 'U')}, *n, V<T>(alpha), \
                               P<T>(x), *incx, P<T>(y), *incy);                                      \
  }
SYR2(ssyr2, float, float, false)
SYR2(dsyr2, double, double, false)
SYR2(cher2, c8, zvx_complex8, true)
SYR2(zher2, c16, zvx_complex16, true)

#define SPR2(name, T, CT, herm)                                                                      \
  ZVX_EXPORT void name(const char* uplo, const int* n, const CT* alpha, const CT* x, const int* incx,  \
                       const CT* y, const int* incy, CT* ap) {                                       \
    rank_update<T, herm, true>(packed_store<T>{P<T>(ap), *n, is_letter(uplo, 'U')}, *n, V<T>(alpha),    \
                               P<T>(x), *incx, P<T>(y), *incy);                                      \
  }
SPR2(sspr2, float, float, false)
SPR2(dspr2, double, double, false)
SPR2(chpr2, c8, zvx_complex8, true)
SPR2(zhpr2, c16, zvx_complex16, true)

// Complex symmetric (not Hermitian) packed update, the one level-2 routine that checks its
// arguments.
ZVX_EXPORT void cspr(const char* uplo, const int* n, const zvx_complex8* alpha, const zvx_complex8* x,
                     const int* incx, zvx_complex8* ap) {
  int info = 0;
  if (!is_upper(uplo) && !is_letter(uplo, 'L')) info = 1;
  else if (*n < 0) info = 2;
  else if (*incx == 0) info = 5;
  if (info != 0) {
    xerbla("CSPR  ", &info, 6);
    return;
  }
  rank_update<c8, false, false>(packed_store<c8>{P<c8>(ap), *n, is_upper(uplo)}, *n, V<c8>(alpha),
                                P<c8>(x), *incx, nullptr, 0);
}

// ---- triangular band and packed -----------------------------------------------------------------
#define TB(name, T, CT, solve)                                                                       \
  ZVX_EXPORT void name(const char* uplo, const char* trans, const char* diag, const int* n,           \
                       const int* k, const CT* a, const int* lda, CT* x, const int* incx) {           \
    const bool upper = is_letter(uplo, 'U');                                                           \
    tri_sweep<T>(solve, upper, read_triangular_op<T>(trans), is_letter(diag, 'N'),                                 \
                 band_store<T>{P<T>(a), *lda, *n, *k, upper}, *n, P<T>(x), *incx);                   \
  }
TB(stbmv, float, float, false)
TB(dtbmv, double, double, false)
TB(ctbmv, c8, zvx_complex8, false)
TB(ztbmv, c16, zvx_complex16, false)
TB(stbsv, float, float, true)
TB(dtbsv, double, double, true)
TB(ctbsv, c8, zvx_complex8, true)
TB(ztbsv, c16, zvx_complex16, true)

#define TP(name, T, CT, solve)                                                                       \
  ZVX_EXPORT void name(const char* uplo, const char* trans, const char* diag, const int* n,           \
                       const CT* ap, CT* x, const int* incx) {                                        \
    const bool upper = is_letter(uplo, 'U');                                                           \
    tri_sweep<T>(solve, upper, read_triangular_op<T>(trans), is_letter(diag, 'N'),                                 \
                 packed_store<T>{P<T>(ap), *n, upper}, *n, P<T>(x), *incx);                          \
  }
TP(stpmv, float, float, false)
TP(dtpmv, double, double, false)
TP(ctpmv, c8, zvx_complex8, false)
TP(ztpmv, c16, zvx_complex16, false)
TP(stpsv, float, float, true)
TP(dtpsv, double, double, true)
TP(ctpsv, c8, zvx_complex8, true)
TP(ztpsv, c16, zvx_complex16, true)

// Elementary reflectors of small order written out, plane rotation sequences with the options
// resolved by the entry's name, a vector of rotations, and two tridiagonal solves.
#include <cmath>
#include <utility>

#include "blas/level12/level12.h"
#include "common/options.h"
#include "common/scalar.h"
#include "service/service.h"
#include "zvx_blas12.h"
#include "zvx_lapack.h"

namespace {

using namespace zvx;

// Orders up to this are written out: below it the frames of the matrix-vector product and the
// rank-1 update cost more than the work.
constexpr int larfx_unrolled_orders = 10;

// H * C for a reflector of order N: per column j, s = v^H * C(:, j) summed from the last term
// to the first, then C(i, j) -= (tau * v(i)) * s. v and tau stay in registers for all columns.
template <int N, class T>
void larfx_left(int n, const T* v, T tau, T* c, long ldc) {
  T vc[N], tv[N];
  for (int i = 0; i < N; ++i) {
    vc[i] = conj(v[i]);
    tv[i] = tau * v[i];
  }
  for (int j = 0; j < n; ++j) {
    T* cj = c + j * ldc;
    T s = vc[N - 1] * cj[N - 1];
    for (int i = N - 2; i >= 0; --i) s = s + vc[i] * cj[i];
    for (int i = 0; i < N; ++i) cj[i] = cj[i] - tv[i] * s;
  }
}

// C * H: per row i, s = C(i, :) * v, then C(i, j) -= s * (tau * conj(v(j))).
template <int N, class T>
void larfx_right(int m, const T* v, T tau, T* c, long ldc) {
  T vr[N], tv[N];
  for (int j = 0; j < N; ++j) {
    vr[j] = v[j];
    tv[j] = tau * conj(v[j]);
  }
  for (int i = 0; i < m; ++i) {
    T s = vr[N - 1] * c[i + (N - 1) * ldc];
    for (int j = N - 2; j >= 0; --j) s = s + vr[j] * c[i + j * ldc];
    for (int j = 0; j < N; ++j) c[i + j * ldc] = c[i + j * ldc] - s * tv[j];
  }
}

template <class T>
using larfx_case = void (*)(int, const T*, T, T*, long);

template <class T, bool left>
constexpr larfx_case<T> larfx_table(int order) {
  constexpr larfx_case<T> l[] = {nullptr,           larfx_left<1, T>, larfx_left<2, T>,
                                 larfx_left<3, T>,  larfx_left<4, T>, larfx_left<5, T>,
                                 larfx_left<6, T>,  larfx_left<7, T>, larfx_left<8, T>,
                                 larfx_left<9, T>,  larfx_left<10, T>};
  constexpr larfx_case<T> r[] = {nullptr,            larfx_right<1, T>, larfx_right<2, T>,
                                 larfx_right<3, T>,  larfx_right<4, T>, larfx_right<5, T>,
                                 larfx_right<6, T>,  larfx_right<7, T>, larfx_right<8, T>,
                                 larfx_right<9, T>,  larfx_right<10, T>};
  return left ? l[order] : r[order];
}

inline void larfx_general(bool left, int m, int n, const double* v, double tau, double* c,
                          int ldc, double* work) {
  using zvx::blas12::gemv;
  using zvx::blas12::entry::ger;
  if (left) {
    gemv<double>("Transpose", m, n, 1.0, c, ldc, v, 1, 0.0, work, 1);
    ger(m, n, -tau, v, 1, work, 1, c, ldc);
  } else {
    gemv<double>("No transpose", m, n, 1.0, c, ldc, v, 1, 0.0, work, 1);
    ger(m, n, -tau, work, 1, v, 1, c, ldc);
  }
}
inline void larfx_general(bool left, int m, int n, const zvx_complex8* v, zvx_complex8 tau,
                          zvx_complex8* c, int ldc, zvx_complex8* work) {
  using zvx::blas12::gemv;
  using zvx::blas12::entry::gerc;
  const zvx_complex8 one{1, 0}, zero{0, 0}, mtau = -tau;
  if (left) {
    gemv<zvx_complex8>("Conjugate transpose", m, n, one, c, ldc, v, 1, zero, work, 1);
    gerc(m, n, mtau, v, 1, work, 1, c, ldc);
  } else {
    gemv<zvx_complex8>("No transpose", m, n, one, c, ldc, v, 1, zero, work, 1);
    gerc(m, n, mtau, work, 1, v, 1, c, ldc);
  }
}

template <class T>
void larfx(const char* side, int m, int n, const T* v, T tau, T* c, int ldc, T* work) {
  if (is_zero(tau)) return;
  const bool left = is_left(side);
  const int order = left ? m : n;
  const int other = left ? n : m;
  if (order == 1) {
    // A plain scaling by 1 - tau * |v(1)|^2.
    const T f = from_real<T>(1) - v[0] * tau * conj(v[0]);
    for (int j = 0; j < other; ++j) {
      T& x = left ? c[static_cast<long>(j) * ldc] : c[j];
      x = f * x;
    }
    return;
  }
  if (order >= 2 && order <= larfx_unrolled_orders) {
    (left ? larfx_table<T, true>(order) : larfx_table<T, false>(order))(other, v, tau, c, ldc);
    return;
  }
  larfx_general(left, m, n, v, tau, c, ldc, work);
}

// Rotation sequences from the left. Columns go four at a time with the coefficients of a
// rotation loaded once for the four, then one at a time.
enum class pivot { variable, top, bottom };

template <pivot P, bool forward, class T, class R>
inline void lasr_columns(int m, int ncols, const R* cs, const R* sn, T* a, long lda) {
  // Rotation number r (0-based) acts on rows (r, r + 1), (0, r + 1) or (r, m - 1).
  const int count = m - 1;
  for (int q = 0; q < count; ++q) {
    const int r = forward ? q : count - 1 - q;
    const R c = cs[r], s = sn[r];
    const int row1 = P == pivot::variable ? r + 1 : (P == pivot::top ? r + 1 : m - 1);
    const int row0 = P == pivot::top ? 0 : r;
    for (int i = 0; i < ncols; ++i) {
      T* col = a + i * lda;
      if constexpr (P == pivot::bottom) {
        const T t = col[row0];
        col[row0] = s * col[row1] + c * t;
        col[row1] = c * col[row1] - s * t;
      } else if constexpr (P == pivot::top) {
        const T t = col[row1];
        col[row1] = c * t - s * col[row0];
        col[row0] = s * t + c * col[row0];
      } else {
        const T t = col[row1];
        col[row1] = c * t - s * col[row0];
        col[row0] = s * t + c * col[row0];
      }
    }
  }
}

template <pivot P, bool forward, class T, class R>
void lasr(int m, int n, const R* c, const R* s, T* a, int lda) {
  if (!(m > 1 && n > 0)) return;
  const long ld = lda;
  const int n4 = n & ~3;
  for (int i = 0; i < n4; i += 4) lasr_columns<P, forward>(m, 4, c, s, a + i * ld, ld);
  for (int i = n4; i < n; ++i) lasr_columns<P, forward>(m, 1, c, s, a + i * ld, ld);
}

template <class T, class R>
void lartv(int n, T* x, int incx, T* y, int incy, const R* c, const T* s, int incc) {
  if (incx == 1 && incy == 1 && incc == 1) {
    for (int i = 0; i < n; ++i) {
      const T a = x[i], b = y[i];
      x[i] = c[i] * a + s[i] * b;
      y[i] = c[i] * b - conj(s[i]) * a;
    }
    return;
  }
  long ix = 0, iy = 0, ic = 0;
  for (int i = 0; i < n; ++i) {
    const T a = x[ix], b = y[iy];
    x[ix] = c[ic] * a + s[ic] * b;
    y[iy] = c[ic] * b - conj(s[ic]) * a;
    ix += incx;
    iy += incy;
    ic += incc;
  }
}

// Gaussian elimination with partial pivoting on a tridiagonal matrix; 0-based index i here is
// row i + 1 of the usual statement. One right-hand side has its own path.
template <class T>
void gtsv(int n, int nrhs, T* dl, T* d, T* du, T* b, int ldb, int* info) {
  if (n == 0) {
    *info = 0;
    return;
  }
  const long ld = ldb;
  // Elimination of row i + 1 against row i, with the fill-in du(i + 1) when rows change places
  // (not for the last pair).
  auto eliminate = [&](int i, bool fill) -> bool {
    if (std::fabs(d[i]) >= std::fabs(dl[i])) {
      if (d[i] == 0) {
        *info = i + 1;
        return false;
      }
      const T fact = dl[i] / d[i];
      d[i + 1] -= fact * du[i];
      if (nrhs == 1) {
        b[i + 1] -= fact * b[i];
      } else {
        for (int j = 0; j < nrhs; ++j) b[i + 1 + j * ld] -= fact * b[i + j * ld];
      }
      if (fill) dl[i] = 0;
    } else {
      const T fact = d[i] / dl[i];
      d[i] = dl[i];
      const T temp = d[i + 1];
      d[i + 1] = du[i] - fact * temp;
      if (fill) {
        dl[i] = du[i + 1];
        du[i + 1] = -fact * dl[i];
      }
      du[i] = temp;
      if (nrhs == 1) {
        const T t = b[i];
        b[i] = b[i + 1];
        b[i + 1] = t - fact * b[i + 1];
      } else {
        for (int j = 0; j < nrhs; ++j) {
          const T t = b[i + j * ld];
          b[i + j * ld] = b[i + 1 + j * ld];
          b[i + 1 + j * ld] = t - fact * b[i + 1 + j * ld];
        }
      }
    }
    return true;
  };
  for (int i = 0; i < n - 2; ++i)
    if (!eliminate(i, true)) return;
  if (n > 1 && !eliminate(n - 2, false)) return;
  if (d[n - 1] == 0) {
    *info = n;
    return;
  }
  *info = 0;
  for (int j = 0; j < nrhs; ++j) {
    T* bj = b + j * ld;
    T next = bj[n - 1] / d[n - 1];
    bj[n - 1] = next;
    if (n > 1) {
      T cur = (bj[n - 2] - du[n - 2] * next) / d[n - 2];
      bj[n - 2] = cur;
      // The last two values stay in locals.
      for (int i = n - 3; i >= 0; --i) {
        const T x = (bj[i] - du[i] * cur - dl[i] * next) / d[i];
        bj[i] = x;
        next = cur;
        cur = x;
      }
    }
  }
}

template <class T, class R>
inline T divide(T x, R d) {
  if constexpr (is_complex<T>) return {x.real / d, x.imag / d};
  else return x / d;
}

// Solve with L * D * L' (lower, or real) or U^H * D * U (upper): forward with the bidiagonal
// factor, division by D folded into the backward pass.
template <class T, class R>
void ptts2(bool upper, int n, int nrhs, const R* d, const T* e, T* b, int ldb) {
  if (n == 1) {
    const R s = R(1) / d[0];
    for (int j = 0; j < nrhs; ++j) b[static_cast<long>(j) * ldb] *= s;
    return;
  }
  if (n < 1) return;
  for (int j = 0; j < nrhs; ++j) {
    T* bj = b + static_cast<long>(j) * ldb;
    for (int i = 1; i < n; ++i) bj[i] -= bj[i - 1] * (upper ? conj(e[i - 1]) : e[i - 1]);
    bj[n - 1] = divide(bj[n - 1], d[n - 1]);
    for (int i = n - 2; i >= 0; --i)
      bj[i] = divide(bj[i], d[i]) - bj[i + 1] * (upper ? e[i] : conj(e[i]));
  }
}

}  // namespace

ZVX_EXPORT void dlarfx(const char* side, const int* m, const int* n, const double* v,
                       const double* tau, double* c, const int* ldc, double* work) {
  larfx<double>(side, *m, *n, v, *tau, c, *ldc, work);
}
ZVX_EXPORT void clarfx(const char* side, const int* m, const int* n, const zvx_complex8* v,
                       const zvx_complex8* tau, zvx_complex8* c, const int* ldc,
                       zvx_complex8* work) {
  larfx<zvx_complex8>(side, *m, *n, v, *tau, c, *ldc, work);
}

#define ZVX_LASR(p, T, R)                                                                       \
  ZVX_EXPORT void p##lasr_lvf(const int* m, const int* n, const R* c, const R* s, T* a,         \
                              const int* lda) {                                                 \
    lasr<pivot::variable, true>(*m, *n, c, s, a, *lda);                                         \
  }                                                                                             \
  ZVX_EXPORT void p##lasr_lvb(const int* m, const int* n, const R* c, const R* s, T* a,         \
                              const int* lda) {                                                 \
    lasr<pivot::variable, false>(*m, *n, c, s, a, *lda);                                        \
  }                                                                                             \
  ZVX_EXPORT void p##lasr_ltf(const int* m, const int* n, const R* c, const R* s, T* a,         \
                              const int* lda) {                                                 \
    lasr<pivot::top, true>(*m, *n, c, s, a, *lda);                                              \
  }                                                                                             \
  ZVX_EXPORT void p##lasr_ltb(const int* m, const int* n, const R* c, const R* s, T* a,         \
                              const int* lda) {                                                 \
    lasr<pivot::top, false>(*m, *n, c, s, a, *lda);                                             \
  }                                                                                             \
  ZVX_EXPORT void p##lasr_lbf(const int* m, const int* n, const R* c, const R* s, T* a,         \
                              const int* lda) {                                                 \
    lasr<pivot::bottom, true>(*m, *n, c, s, a, *lda);                                           \
  }                                                                                             \
  ZVX_EXPORT void p##lasr_lbb(const int* m, const int* n, const R* c, const R* s, T* a,         \
                              const int* lda) {                                                 \
    lasr<pivot::bottom, false>(*m, *n, c, s, a, *lda);                                          \
  }
ZVX_LASR(s, float, float)
ZVX_LASR(d, double, double)
ZVX_LASR(c, zvx_complex8, float)
ZVX_LASR(z, zvx_complex16, double)
#undef ZVX_LASR

ZVX_EXPORT void slartv(const int* n, float* x, const int* incx, float* y, const int* incy,
                       const float* c, const float* s, const int* incc) {
  lartv(*n, x, *incx, y, *incy, c, s, *incc);
}
ZVX_EXPORT void dlartv(const int* n, double* x, const int* incx, double* y, const int* incy,
                       const double* c, const double* s, const int* incc) {
  lartv(*n, x, *incx, y, *incy, c, s, *incc);
}
ZVX_EXPORT void clartv(const int* n, zvx_complex8* x, const int* incx, zvx_complex8* y,
                       const int* incy, const float* c, const zvx_complex8* s, const int* incc) {
  lartv(*n, x, *incx, y, *incy, c, s, *incc);
}
ZVX_EXPORT void zlartv(const int* n, zvx_complex16* x, const int* incx, zvx_complex16* y,
                       const int* incy, const double* c, const zvx_complex16* s,
                       const int* incc) {
  lartv(*n, x, *incx, y, *incy, c, s, *incc);
}

ZVX_EXPORT void sgtsv(const int* n, const int* nrhs, float* dl, float* d, float* du, float* b,
                      const int* ldb, int* info) {
  gtsv(*n, *nrhs, dl, d, du, b, *ldb, info);
}
ZVX_EXPORT void dgtsv(const int* n, const int* nrhs, double* dl, double* d, double* du,
                      double* b, const int* ldb, int* info) {
  gtsv(*n, *nrhs, dl, d, du, b, *ldb, info);
}

ZVX_EXPORT void sptts2(const int* n, const int* nrhs, const float* d, const float* e, float* b,
                       const int* ldb) {
  ptts2(false, *n, *nrhs, d, e, b, *ldb);
}
ZVX_EXPORT void dptts2(const int* n, const int* nrhs, const double* d, const double* e,
                       double* b, const int* ldb) {
  ptts2(false, *n, *nrhs, d, e, b, *ldb);
}
ZVX_EXPORT void cptts2(const int* iuplo, const int* n, const int* nrhs, const float* d,
                       const zvx_complex8* e, zvx_complex8* b, const int* ldb) {
  ptts2(*iuplo == 1, *n, *nrhs, d, e, b, *ldb);
}
ZVX_EXPORT void zptts2(const int* iuplo, const int* n, const int* nrhs, const double* d,
                       const zvx_complex16* e, zvx_complex16* b, const int* ldb) {
  ptts2(*iuplo == 1, *n, *nrhs, d, e, b, *ldb);
}

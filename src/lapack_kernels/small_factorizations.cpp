// Unblocked Cholesky and Bunch-Kaufman factorizations for small matrices. The LAPACK layer above
// the library picks the triangle by the name, so each triangle is its own entry with no uplo
// test. All arithmetic beyond the pivots goes through the library's level-1 and level-2 entries,
// which is where the speed is for these sizes.
#include <cmath>

#include "common/options.h"
#include "common/scalar.h"
#include "service/service.h"
#include "blas/level12/level12.h"
#include "zvx_lapack.h"

namespace {

using namespace zvx;

// The level-1 and level-2 bodies the factorizations call, typed.
namespace entry = zvx::blas12::entry;
inline float dot_self(int n, const float* x, int inc) { return entry::dot(n, x, inc, x, inc); }
inline double dot_self(int n, const double* x, int inc) { return entry::dot(n, x, inc, x, inc); }
inline float dot_self(int n, const zvx_complex8* x, int inc) { return entry::dotc(n, x, inc, x, inc).real; }
inline double dot_self(int n, const zvx_complex16* x, int inc) { return entry::dotc(n, x, inc, x, inc).real; }
// y -= op(A) x.
template <class T>
inline void gemv_minus(const char* t, int m, int n, const T* a, int lda, const T* x, int incx, T* y,
                       int incy) {
  zvx::blas12::gemv<T>(t, m, n, from_real<T>(-1), a, lda, x, incx, from_real<T>(1), y, incy);
}
template <class T>
inline void scale_real(int n, real_t<T> s, T* x, int inc) { entry::scal(n, s, x, inc); }

// Conjugates n elements in place by negating the imaginary parts (the real part is rewritten
// unchanged), so that a transposed product of the level-2 entry becomes a conjugated one.
template <class T>
void conjugate(int n, T* x, long inc) {
  if constexpr (is_complex<T>)
    for (int i = 0; i < n; ++i) x[i * inc] = conj(x[i * inc]);
}

template <class T>
void store_pivot(T& ajj, real_t<T> d) {
  ajj = from_real<T>(d);
}

// A = L * L'. Column j: the pivot from the row left of the diagonal, then the column below
// updated by one matrix-vector product and scaled by the reciprocal of the root.
template <class T>
void potrf_lower(int n, T* a, int lda, int* info) {
  using R = real_t<T>;
  const long ld = lda;
  for (int j = 0; j < n; ++j) {
    T* row = a + j;
    T& ajj = a[j + j * ld];
    const R d = re(ajj) - dot_self(j, row, lda);
    // Only a value that compares at or below 0 stops: NaN goes on.
    if (d <= 0) {
      store_pivot(ajj, d);
      *info = j + 1;
      return;
    }
    const R root = std::sqrt(d);
    store_pivot(ajj, root);
    if (j < n - 1) {
      conjugate(j, row, ld);
      gemv_minus("No transpose", n - j - 1, j, a + j + 1, lda, row, lda, a + j + 1 + j * ld, 1);
      conjugate(j, row, ld);
      scale_real(n - j - 1, R(1) / root, a + j + 1 + j * ld, 1);
    }
  }
}

// A = U' * U, the mirror: the dot down the column, the transposed product on the columns to
// the right, the scaling along the row.
template <class T>
void potrf_upper(int n, T* a, int lda, int* info) {
  using R = real_t<T>;
  const long ld = lda;
  for (int j = 0; j < n; ++j) {
    T* col = a + j * ld;
    T& ajj = a[j + j * ld];
    const R d = re(ajj) - dot_self(j, col, 1);
    if (d <= 0) {
      store_pivot(ajj, d);
      *info = j + 1;
      return;
    }
    const R root = std::sqrt(d);
    store_pivot(ajj, root);
    if (j < n - 1) {
      conjugate(j, col, 1);
      gemv_minus("Transpose", j, n - j - 1, a + (j + 1) * ld, lda, col, 1, a + j + (j + 1) * ld,
                 lda);
      conjugate(j, col, 1);
      scale_real(n - j - 1, R(1) / root, a + j + (j + 1) * ld, lda);
    }
  }
}

inline int iamax(int n, const float* x, int inc) { return entry::iamax(n, x, inc); }
inline int iamax(int n, const double* x, int inc) { return entry::iamax(n, x, inc); }
inline void swap(int n, float* x, int incx, float* y, int incy) { entry::swap(n, x, incx, y, incy); }
inline void swap(int n, double* x, int incx, double* y, int incy) { entry::swap(n, x, incx, y, incy); }
template <class T>
inline void syr(const char* uplo, int n, T alpha, const T* x, T* a, int lda) {
  entry::syr(uplo, n, alpha, x, 1, a, lda);
}

// (1 + sqrt(17)) / 8, the growth bound of the pivot choice, as each precision stores it.
template <class T> constexpr T bunch_kaufman_alpha();
template <> constexpr double bunch_kaufman_alpha<double>() { return 0.6403882032022076; }
template <> constexpr float bunch_kaufman_alpha<float>() { return 0.6403882f; }

// A = L * D * L'. Indices below are 1-based as in the algorithm's usual statement; A(i, j) maps
// to a[(i - 1) + (j - 1) * lda].
template <class T>
void sytrf_lower(const char* uplo, int n, T* a0, int lda, int* ipiv, int* info) {
  const long ld = lda;
  auto A = [&](int i, int j) -> T& { return a0[(i - 1) + (j - 1) * ld]; };
  auto P = [&](int i, int j) { return &a0[(i - 1) + (j - 1) * ld]; };
  const T alpha = bunch_kaufman_alpha<T>();
  *info = 0;
  int k = 1;
  while (k <= n) {
    int kstep = 1, kp, imax = 0;
    const T absakk = std::fabs(A(k, k));
    T colmax = 0;
    if (k < n) {
      imax = k + iamax(n - k, P(k + 1, k), 1);
      colmax = std::fabs(A(imax, k));
    }
    if (std::fmax(absakk, colmax) == 0) {
      if (*info == 0) *info = k;
      kp = k;
    } else {
      if (absakk >= alpha * colmax) {
        kp = k;
      } else {
        int jmax = k - 1 + iamax(imax - k, P(imax, k), lda);
        T rowmax = std::fabs(A(imax, jmax));
        if (imax < n) {
          jmax = imax + iamax(n - imax, P(imax + 1, imax), 1);
          rowmax = std::fmax(rowmax, std::fabs(A(jmax, imax)));
        }
        if (absakk >= alpha * colmax * (colmax / rowmax)) {
          kp = k;
        } else if (std::fabs(A(imax, imax)) >= alpha * rowmax) {
          kp = imax;
        } else {
          kp = imax;
          kstep = 2;
        }
      }
      const int kk = k + kstep - 1;
      if (kp != kk) {
        if (kp < n) swap(n - kp, P(kp + 1, kk), 1, P(kp + 1, kp), 1);
        swap(kp - kk - 1, P(kk + 1, kk), 1, P(kp, kk + 1), lda);
        T t = A(kk, kk);
        A(kk, kk) = A(kp, kp);
        A(kp, kp) = t;
        if (kstep == 2) {
          t = A(k + 1, k);
          A(k + 1, k) = A(kp, k);
          A(kp, k) = t;
        }
      }
      if (kstep == 1) {
        if (k < n) {
          const T r1 = T(1) / A(k, k);
          syr(uplo, n - k, -r1, P(k + 1, k), P(k + 1, k + 1), lda);
          const int len = n - k, one = 1;
          entry::scal(len, r1, P(k + 1, k), one);
        }
      } else if (k < n - 1) {
        T d21 = A(k + 1, k);
        const T d11 = A(k + 1, k + 1) / d21;
        const T d22 = A(k, k) / d21;
        const T t = (T(1) / (d11 * d22 - 1)) / d21;
        for (int j = k + 2; j <= n; ++j) {
          const T wk = (d11 * A(j, k) - A(j, k + 1)) * t;
          const T wkp1 = (d22 * A(j, k + 1) - A(j, k)) * t;
          for (int i = j; i <= n; ++i) A(i, j) = (A(i, j) - A(i, k) * wk) - A(i, k + 1) * wkp1;
          A(j, k) = wk;
          A(j, k + 1) = wkp1;
        }
      }
    }
    if (kstep == 1) {
      ipiv[k - 1] = kp;
    } else {
      ipiv[k - 1] = -kp;
      ipiv[k] = -kp;
    }
    k += kstep;
  }
}

// A = U * D * U': k runs downwards, with the columns above the diagonal.
template <class T>
void sytrf_upper(const char* uplo, int n, T* a0, int lda, int* ipiv, int* info) {
  const long ld = lda;
  auto A = [&](int i, int j) -> T& { return a0[(i - 1) + (j - 1) * ld]; };
  auto P = [&](int i, int j) { return &a0[(i - 1) + (j - 1) * ld]; };
  const T alpha = bunch_kaufman_alpha<T>();
  *info = 0;
  int k = n;
  while (k >= 1) {
    int kstep = 1, kp, imax = 0;
    const T absakk = std::fabs(A(k, k));
    T colmax = 0;
    if (k > 1) {
      imax = iamax(k - 1, P(1, k), 1);
      colmax = std::fabs(A(imax, k));
    }
    if (std::fmax(absakk, colmax) == 0) {
      if (*info == 0) *info = k;
      kp = k;
    } else {
      if (absakk >= alpha * colmax) {
        kp = k;
      } else {
        int jmax = imax + iamax(k - imax, P(imax, imax + 1), lda);
        T rowmax = std::fabs(A(imax, jmax));
        if (imax > 1) {
          jmax = iamax(imax - 1, P(1, imax), 1);
          rowmax = std::fmax(rowmax, std::fabs(A(jmax, imax)));
        }
        if (absakk >= alpha * colmax * (colmax / rowmax)) {
          kp = k;
        } else if (std::fabs(A(imax, imax)) >= alpha * rowmax) {
          kp = imax;
        } else {
          kp = imax;
          kstep = 2;
        }
      }
      const int kk = k - kstep + 1;
      if (kp != kk) {
        swap(kp - 1, P(1, kk), 1, P(1, kp), 1);
        swap(kk - kp - 1, P(kp + 1, kk), 1, P(kp, kp + 1), lda);
        T t = A(kk, kk);
        A(kk, kk) = A(kp, kp);
        A(kp, kp) = t;
        if (kstep == 2) {
          t = A(k - 1, k);
          A(k - 1, k) = A(kp, k);
          A(kp, k) = t;
        }
      }
      if (kstep == 1) {
        const T r1 = T(1) / A(k, k);
        syr(uplo, k - 1, -r1, P(1, k), a0, lda);
        const int len = k - 1, one = 1;
        entry::scal(len, r1, P(1, k), one);
      } else if (k > 2) {
        T d12 = A(k - 1, k);
        const T d22 = A(k - 1, k - 1) / d12;
        const T d11 = A(k, k) / d12;
        const T t = (T(1) / (d11 * d22 - 1)) / d12;
        for (int j = k - 2; j >= 1; --j) {
          const T wkm1 = (d11 * A(j, k - 1) - A(j, k)) * t;
          const T wk = (d22 * A(j, k) - A(j, k - 1)) * t;
          for (int i = j; i >= 1; --i) A(i, j) = (A(i, j) - A(i, k) * wk) - A(i, k - 1) * wkm1;
          A(j, k) = wk;
          A(j, k - 1) = wkm1;
        }
      }
    }
    if (kstep == 1) {
      ipiv[k - 1] = kp;
    } else {
      ipiv[k - 1] = -kp;
      ipiv[k - 2] = -kp;
    }
    k -= kstep;
  }
}

}  // namespace

#define ZVX_POTRF(p, T)                                                                      \
  ZVX_EXPORT void p##potrf_l_small(const char*, const int* n, T* a, const int* lda, int* info) { \
    potrf_lower<T>(*n, a, *lda, info);                                                       \
  }                                                                                          \
  ZVX_EXPORT void p##potrf_u_small(const char*, const int* n, T* a, const int* lda, int* info) { \
    potrf_upper<T>(*n, a, *lda, info);                                                       \
  }
ZVX_POTRF(s, float)
ZVX_POTRF(d, double)
ZVX_POTRF(c, zvx_complex8)
ZVX_POTRF(z, zvx_complex16)
#undef ZVX_POTRF

#define ZVX_SYTRF(p, T)                                                                     \
  ZVX_EXPORT void p##sytrf_l_small(const char* uplo, const int* n, T* a, const int* lda,    \
                                   int* ipiv, int* info) {                                  \
    sytrf_lower<T>(uplo, *n, a, *lda, ipiv, info);                                          \
  }                                                                                         \
  ZVX_EXPORT void p##sytrf_u_small(const char* uplo, const int* n, T* a, const int* lda,    \
                                   int* ipiv, int* info) {                                  \
    sytrf_upper<T>(uplo, *n, a, *lda, ipiv, info);                                          \
  }
ZVX_SYTRF(s, float)
ZVX_SYTRF(d, double)
#undef ZVX_SYTRF

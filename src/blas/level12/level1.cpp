// Level-1 BLAS: one template per operation for s, d, c and z. Each entry has a unit-stride path
// (the vector kernels of kernels_level1.cpp) and a general path that starts a negative increment at
// x + (1 - n) * incx and walks by incx. No entry checks its arguments; n below 1 returns at once,
// with 0 from the functions.
#include <cfloat>

#include "blas/level12/kernels.h"
#include "blas/level12/level12.h"
#include "service/service.h"
#include "zvx_blas12.h"

namespace zvx::blas12 {
namespace {

template <class T> const auto& K() { return kernels_for<T>(); }

// The unit-stride paths of vectors of translation_request_from_bytes and more ask for the
// translations of their pages before the kernel walks them (common/pages.h).
template <class T> inline void request(const T* x, long n) { request_operand(x, (double)n * sizeof(T)); }
template <class T> inline void request(const T* x, const T* y, long n) {
  request(x, n);
  request(y, n);
}

template <class T> void axpy(int n, T alpha, const T* x, int incx, T* y, int incy) {
  if (n < 1) return;
  if constexpr (is_complex<T>) {
    if (zero_bits(alpha.real) && zero_bits(alpha.imag)) return;
  } else {
    // -0 counts as 0: the test reads the bits without the sign.
    if (zero_bits(alpha)) return;
  }
  if (incx == 1 && incy == 1) {
    request(x, y, n);
    K<T>().axpy(n, alpha, x, y);
    return;
  }
  long ix = start_of(n, incx), iy = start_of(n, incy);
  for (int i = 0; i < n; ++i, ix += incx, iy += incy) y[iy] += alpha * x[ix];
}

// Real dot products: the unit path when both increments are equal and of magnitude 1 (for -1
// both walk forward, and the pairs stay the same).
template <class T, class Acc> T dot_general(int n, const T* x, int incx, const T* y, int incy) {
  Acc s = 0;
  long ix = start_of(n, incx), iy = start_of(n, incy);
  for (int i = 0; i < n; ++i, ix += incx, iy += incy) s += (Acc)x[ix] * (Acc)y[iy];
  return (T)s;
}

template <class T> T complex_dot(bool conjugate, int n, const T* x, int incx, const T* y, int incy) {
  if (n < 1) return T{};
  if (incx == 1 && incy == 1) {
    request(x, y, n);
    return K<T>().dot(n, x, y, conjugate);
  }
  T s{};
  long ix = start_of(n, incx), iy = start_of(n, incy);
  for (int i = 0; i < n; ++i, ix += incx, iy += incy) s += (conjugate ? conj(x[ix]) : x[ix]) * y[iy];
  return s;
}

template <class T> void scal(int n, T alpha, T* x, int incx) {
  if (n < 1) return;
  if (incx == 1 || incx == -1) {
    request(x, n);
    K<T>().scal(n, alpha, x);
    return;
  }
  long ix = start_of(n, incx);
  for (int i = 0; i < n; ++i, ix += incx) x[ix] = alpha * x[ix];
}

template <class T> void complex_scal(int n, T alpha, T* x, int incx) {
  if (n < 1) return;
  if (incx == 1 || incx == -1) {
    request(x, n);
    K<T>().scal(n, alpha, x);
    return;
  }
  long ix = start_of(n, incx);
  for (int i = 0; i < n; ++i, ix += incx) x[ix] = alpha * x[ix];
}

// Complex vector scaled by a real: the unit path is the real kernel over both parts.
template <class T> void real_scal_of_complex(int n, real_t<T> alpha, T* x, int incx) {
  if (n < 1) return;
  if (incx == 1 || incx == -1) {
    request(x, n);
    K<real_t<T>>().scal(2L * n, alpha, &x->real);
    return;
  }
  long ix = start_of(n, incx);
  for (int i = 0; i < n; ++i, ix += incx) x[ix] = alpha * x[ix];
}

template <class T> void copy(int n, const T* x, int incx, T* y, int incy) {
  if (n < 1) return;
  if (incx == 1 && incy == 1) {
    request(x, y, n);
    if constexpr (is_complex<T>) K<real_t<T>>().copy(2L * n, &x->real, &y->real);
    else K<T>().copy(n, x, y);
    return;
  }
  long ix = start_of(n, incx), iy = start_of(n, incy);
  for (int i = 0; i < n; ++i, ix += incx, iy += incy) y[iy] = x[ix];
}

template <class T> void swap(int n, T* x, int incx, T* y, int incy) {
  if (n < 1) return;
  if (incx == 1 && incy == 1) {
    request(x, y, n);
    if constexpr (is_complex<T>) K<real_t<T>>().swap(2L * n, &x->real, &y->real);
    else K<T>().swap(n, x, y);
    return;
  }
  long ix = start_of(n, incx), iy = start_of(n, incy);
  for (int i = 0; i < n; ++i, ix += incx, iy += incy) {
    const T t = x[ix];
    x[ix] = y[iy];
    y[iy] = t;
  }
}

// Sum of squares of the real parts of `len` values at stride `inc` (|inc| 1: forward).
// The squares are summed in double by the vector kernel; when that sum leaves the range where it
// is exact enough (overflow, or underflow of tiny values), the sum is redone in the 64-bit
// mantissa, 15-bit exponent format, which holds the square of every double.
template <class R> real_t<R> nrm2_of(long len, const R* x, long inc) {
  if (len < 1) return 0;
  if (inc == 1 || inc == -1) {
    request(x, len);
    const double ssq = K<R>().sumsq(len, x);
    if constexpr (std::is_same_v<R, float>) return (float)std::sqrt(ssq);
    if (ssq >= 0x1p-960 && ssq <= DBL_MAX) return std::sqrt(ssq);
    long double s = 0;
    for (long i = 0; i < len; ++i) s += (long double)x[i] * x[i];
    return (R)std::sqrt(s);
  }
  long double s = 0;
  long ix = inc < 0 ? (1 - len) * inc : 0;
  for (long i = 0; i < len; ++i, ix += inc) s += (long double)x[ix] * x[ix];
  return (R)std::sqrt(s);
}

template <class T> real_t<T> nrm2(int n, const T* x, int incx) {
  if (n < 1) return 0;
  if constexpr (!is_complex<T>) {
    return nrm2_of<T>(n, x, incx);
  } else {
    using R = real_t<T>;
    if (incx == 1 || incx == -1) return nrm2_of<R>(2L * n, &x->real, 1);
    long double s = 0;
    long ix = start_of(n, incx);
    for (int i = 0; i < n; ++i, ix += incx)
      s += (long double)x[ix].real * x[ix].real + (long double)x[ix].imag * x[ix].imag;
    return (R)std::sqrt(s);
  }
}

template <class T> real_t<T> asum(int n, const T* x, int incx) {
  using R = real_t<T>;
  if (n < 1) return 0;
  if (incx == 1 || incx == -1) {
    request(x, n);
    if constexpr (is_complex<T>) return K<R>().asum(2L * n, &x->real);
    else return K<T>().asum(n, x);
  }
  R s = 0;
  long ix = start_of(n, incx);
  for (int i = 0; i < n; ++i, ix += incx) s += abs1(x[ix]);
  return s;
}

// First position (1-based) of the largest |x| (complex: |re| + |im|). A NaN never compares
// greater: it is skipped, and when it stands first it stays the maximum.
template <class T> int iamax(int n, const T* x, int incx) {
  if (n < 1 || incx < 1) return 0;
  if (n == 1) return 1;
  const real_t<T> first = abs1(x[0]);
  if (first != first) return 1;
  if (incx == 1) {
    request(x, n);
    return (int)K<T>().iamax(n, x) + 1;
  }
  int best = 0;
  real_t<T> best_value = first;
  for (int i = 1; i < n; ++i) {
    const real_t<T> v = abs1(x[(long)i * incx]);
    if (v > best_value) {
      best_value = v;
      best = i;
    }
  }
  return best + 1;
}

template <class T> int iamin(int n, const T* x, int incx) {
  if (n < 1 || incx < 1) return 0;
  if (n == 1) return 1;
  int best = 0;
  real_t<T> best_value = abs1(x[0]);
  for (int i = 1; i < n; ++i) {
    const real_t<T> v = abs1(x[(long)i * incx]);
    if (v < best_value) {
      best_value = v;
      best = i;
    }
  }
  return best + 1;
}

// Plane rotation x' = c x + s y, y' = c y - conj(s) x; S is real or complex, C real.
template <class T, class S> void rot(int n, T* x, int incx, T* y, int incy, real_t<T> c, S s) {
  if (n < 1) return;
  if (incx == 1 && incy == 1) {
    for (int i = 0; i < n; ++i) {
      const T xi = x[i], yi = y[i];
      x[i] = c * xi + s * yi;
      y[i] = c * yi - conj(s) * xi;
    }
    return;
  }
  long ix = start_of(n, incx), iy = start_of(n, incy);
  for (int i = 0; i < n; ++i, ix += incx, iy += incy) {
    const T xi = x[ix], yi = y[iy];
    x[ix] = c * xi + s * yi;
    y[iy] = c * yi - conj(s) * xi;
  }
}

template <class R> void rotg(R* a, R* b, R* c, R* s) {
  const R anorm = std::fabs(*a), bnorm = std::fabs(*b);
  const R roe = anorm > bnorm ? *a : *b;
  const R scale = anorm + bnorm;
  if (scale == 0) {
    *c = 1;
    *s = 0;
    *a = 0;
    *b = 0;
    return;
  }
  const R as = *a / scale, bs = *b / scale;
  R r = scale * std::sqrt(as * as + bs * bs);
  if (roe < 0) r = -r;
  *c = *a / r;
  *s = *b / r;
  R z = *s;
  if (!(anorm > bnorm)) z = *c != 0 ? 1 / *c : 1;
  *a = r;
  *b = z;
}

template <class C> real_t<C> cabs(C v) { return std::hypot(v.real, v.imag); }

template <class R> void complex_rotg(complex_t<R>* ca, const complex_t<R>* cb, R* c, complex_t<R>* s) {
  const R aa = cabs(*ca);
  if (aa == 0) {
    *c = 0;
    *s = {1, 0};
    *ca = *cb;
    return;
  }
  const R scale = aa + cabs(*cb);
  const complex_t<R> as = (R(1) / scale) * *ca, bs = (R(1) / scale) * *cb;
  const R norm = scale * std::sqrt(as.real * as.real + as.imag * as.imag + bs.real * bs.real + bs.imag * bs.imag);
  const complex_t<R> alpha = (R(1) / aa) * *ca;
  *c = aa / norm;
  *s = (R(1) / norm) * (alpha * conj(*cb));
  *ca = norm * alpha;
}

// Modified Givens rotation: param(1) is the flag, -2 the identity.
template <class R> void rotm(int n, R* x, int incx, R* y, int incy, const R* param) {
  const R flag = param[0];
  if (n < 1 || flag == -2) return;
  const R h11 = param[1], h21 = param[2], h12 = param[3], h22 = param[4];
  long ix = start_of(n, incx), iy = start_of(n, incy);
  for (int i = 0; i < n; ++i, ix += incx, iy += incy) {
    const R w = x[ix], z = y[iy];
    if (flag < 0) {
      x[ix] = w * h11 + z * h12;
      y[iy] = w * h21 + z * h22;
    } else if (flag == 0) {
      x[ix] = w + z * h12;
      y[iy] = w * h21 + z;
    } else {
      x[ix] = w * h11 + z;
      y[iy] = -w + h22 * z;
    }
  }
}

template <class R> void rotmg(R* d1, R* d2, R* x1, const R* y1, R* param) {
  // Rescaling keeps d1 and d2 within [1/gam^2, gam^2].
  constexpr R gam = 4096, gamsq = 16777216, rgamsq = R(5.9604645E-8);
  R flag, h11 = 0, h12 = 0, h21 = 0, h22 = 0;
  auto clear = [&] {
    flag = -1;
    h11 = h12 = h21 = h22 = 0;
    *d1 = *d2 = *x1 = 0;
  };
  if (*d1 < 0) {
    clear();
  } else {
    const R p2 = *d2 * *y1;
    if (p2 == 0) {
      param[0] = -2;
      return;
    }
    const R p1 = *d1 * *x1, q2 = p2 * *y1, q1 = p1 * *x1;
    if (std::fabs(q1) > std::fabs(q2)) {
      h21 = -*y1 / *x1;
      h12 = p2 / p1;
      const R u = 1 - h12 * h21;
      if (u > 0) {
        flag = 0;
        *d1 /= u;
        *d2 /= u;
        *x1 *= u;
      } else {
        clear();
      }
    } else if (q2 < 0) {
      clear();
    } else {
      flag = 1;
      h11 = p1 / p2;
      h22 = *x1 / *y1;
      const R u = 1 + h11 * h22;
      const R t = *d2 / u;
      *d2 = *d1 / u;
      *d1 = t;
      *x1 = *y1 * u;
    }
    auto make_explicit = [&] {
      if (flag == 0) {
        h11 = 1;
        h22 = 1;
      } else {
        h21 = -1;
        h12 = 1;
      }
      flag = -1;
    };
    if (*d1 != 0) {
      while (*d1 <= rgamsq || *d1 >= gamsq) {
        make_explicit();
        if (*d1 <= rgamsq) {
          *d1 *= gam * gam;
          *x1 /= gam;
          h11 /= gam;
          h12 /= gam;
        } else {
          *d1 /= gam * gam;
          *x1 *= gam;
          h11 *= gam;
          h12 *= gam;
        }
      }
    }
    if (*d2 != 0) {
      while (std::fabs(*d2) <= rgamsq || std::fabs(*d2) >= gamsq) {
        make_explicit();
        if (std::fabs(*d2) <= rgamsq) {
          *d2 *= gam * gam;
          h21 /= gam;
          h22 /= gam;
        } else {
          *d2 /= gam * gam;
          h21 *= gam;
          h22 *= gam;
        }
      }
    }
  }
  if (flag < 0) {
    param[1] = h11;
    param[2] = h21;
    param[3] = h12;
    param[4] = h22;
  } else if (flag == 0) {
    param[2] = h21;
    param[3] = h12;
  } else {
    param[1] = h11;
    param[4] = h22;
  }
  param[0] = flag;
}

// Reflector of order three on three vectors: the inner step of the tridiagonal QR sweep.
template <class R> void rot3_step(R& x, R& y, R& z, R t, R v2, R v3) {
  const R w = (v3 * z + v2 * y + x) * t;
  x -= w;
  y -= v2 * w;
  z -= w * v3;
}

}  // namespace

namespace entry {
double dot(int n, const double* x, int incx, const double* y, int incy) {
  if (n < 1) return 0;
  if (incx == incy && (incx == 1 || incx == -1)) {
    request(x, y, n);
    return K<double>().dot(n, x, y);
  }
  return dot_general<double, double>(n, x, incx, y, incy);
}
// Up to 8 elements the products are summed in extended precision; above, equal unit increments
// take the vector path, whose sums are single precision. The two sides round differently.
float dot(int n, const float* x, int incx, const float* y, int incy) {
  if (n < 1) return 0;
  if (n > 8 && incx == incy && (incx == 1 || incx == -1)) {
    request(x, y, n);
    return K<float>().dot(n, x, y);
  }
  return dot_general<float, long double>(n, x, incx, y, incy);
}
zvx_complex8 dotc(int n, const zvx_complex8* x, int incx, const zvx_complex8* y, int incy) {
  return complex_dot<zvx_complex8>(true, n, x, incx, y, incy);
}
zvx_complex16 dotc(int n, const zvx_complex16* x, int incx, const zvx_complex16* y, int incy) {
  return complex_dot<zvx_complex16>(true, n, x, incx, y, incy);
}
void scal(int n, float alpha, float* x, int incx) { blas12::scal<float>(n, alpha, x, incx); }
void scal(int n, double alpha, double* x, int incx) { blas12::scal<double>(n, alpha, x, incx); }
void scal(int n, float alpha, zvx_complex8* x, int incx) {
  real_scal_of_complex<zvx_complex8>(n, alpha, x, incx);
}
void scal(int n, double alpha, zvx_complex16* x, int incx) {
  real_scal_of_complex<zvx_complex16>(n, alpha, x, incx);
}
int iamax(int n, const float* x, int incx) { return blas12::iamax<float>(n, x, incx); }
int iamax(int n, const double* x, int incx) { return blas12::iamax<double>(n, x, incx); }
void swap(int n, float* x, int incx, float* y, int incy) { blas12::swap<float>(n, x, incx, y, incy); }
void swap(int n, double* x, int incx, double* y, int incy) { blas12::swap<double>(n, x, incx, y, incy); }
}  // namespace entry

}  // namespace zvx::blas12

using namespace zvx;
using namespace zvx::blas12;
using c8 = zvx_complex8;
using c16 = zvx_complex16;
#define C8(p) reinterpret_cast<c8*>(p)
#define C16(p) reinterpret_cast<c16*>(p)
#define CC8(p) reinterpret_cast<const c8*>(p)
#define CC16(p) reinterpret_cast<const c16*>(p)

// ---- axpy, scal, copy, swap --------------------------------------------------------------------
ZVX_EXPORT void saxpy(const int* n, const float* alpha, const float* x, const int* incx, float* y, const int* incy) { axpy<float>(*n, *alpha, x, *incx, y, *incy); }
ZVX_EXPORT void daxpy(const int* n, const double* alpha, const double* x, const int* incx, double* y, const int* incy) { axpy<double>(*n, *alpha, x, *incx, y, *incy); }
ZVX_EXPORT void caxpy(const int* n, const zvx_complex8* alpha, const zvx_complex8* x, const int* incx, zvx_complex8* y, const int* incy) { axpy<c8>(*n, *CC8(alpha), CC8(x), *incx, C8(y), *incy); }
ZVX_EXPORT void zaxpy(const int* n, const zvx_complex16* alpha, const zvx_complex16* x, const int* incx, zvx_complex16* y, const int* incy) { axpy<c16>(*n, *CC16(alpha), CC16(x), *incx, C16(y), *incy); }

ZVX_EXPORT void sscal(const int* n, const float* alpha, float* x, const int* incx) { entry::scal(*n, *alpha, x, *incx); }
ZVX_EXPORT void dscal(const int* n, const double* alpha, double* x, const int* incx) { entry::scal(*n, *alpha, x, *incx); }
ZVX_EXPORT void cscal(const int* n, const zvx_complex8* alpha, zvx_complex8* x, const int* incx) { complex_scal<c8>(*n, *CC8(alpha), C8(x), *incx); }
ZVX_EXPORT void zscal(const int* n, const zvx_complex16* alpha, zvx_complex16* x, const int* incx) { complex_scal<c16>(*n, *CC16(alpha), C16(x), *incx); }
ZVX_EXPORT void csscal(const int* n, const float* alpha, zvx_complex8* x, const int* incx) { entry::scal(*n, *alpha, x, *incx); }
ZVX_EXPORT void zdscal(const int* n, const double* alpha, zvx_complex16* x, const int* incx) { entry::scal(*n, *alpha, x, *incx); }

ZVX_EXPORT void scopy(const int* n, const float* x, const int* incx, float* y, const int* incy) { copy<float>(*n, x, *incx, y, *incy); }
ZVX_EXPORT void dcopy(const int* n, const double* x, const int* incx, double* y, const int* incy) { copy<double>(*n, x, *incx, y, *incy); }
ZVX_EXPORT void ccopy(const int* n, const zvx_complex8* x, const int* incx, zvx_complex8* y, const int* incy) { copy<c8>(*n, CC8(x), *incx, C8(y), *incy); }
ZVX_EXPORT void zcopy(const int* n, const zvx_complex16* x, const int* incx, zvx_complex16* y, const int* incy) { copy<c16>(*n, CC16(x), *incx, C16(y), *incy); }

ZVX_EXPORT void sswap(const int* n, float* x, const int* incx, float* y, const int* incy) { entry::swap(*n, x, *incx, y, *incy); }
ZVX_EXPORT void dswap(const int* n, double* x, const int* incx, double* y, const int* incy) { entry::swap(*n, x, *incx, y, *incy); }
ZVX_EXPORT void cswap(const int* n, zvx_complex8* x, const int* incx, zvx_complex8* y, const int* incy) { swap<c8>(*n, C8(x), *incx, C8(y), *incy); }
ZVX_EXPORT void zswap(const int* n, zvx_complex16* x, const int* incx, zvx_complex16* y, const int* incy) { swap<c16>(*n, C16(x), *incx, C16(y), *incy); }

// ---- dot products -------------------------------------------------------------------------------
ZVX_EXPORT double ddot(const int* n, const double* x, const int* incx, const double* y, const int* incy) {
  return entry::dot(*n, x, *incx, y, *incy);
}
ZVX_EXPORT float sdot(const int* n, const float* x, const int* incx, const float* y, const int* incy) {
  return entry::dot(*n, x, *incx, y, *incy);
}
ZVX_EXPORT double dsdot(const int* n, const float* x, const int* incx, const float* y, const int* incy) {
  if (*n < 1) return 0;
  long double s = 0;
  long ix = start_of(*n, *incx), iy = start_of(*n, *incy);
  for (int i = 0; i < *n; ++i, ix += *incx, iy += *incy) s += (long double)x[ix] * y[iy];
  return (double)s;
}
ZVX_EXPORT float sdsdot(const int* n, const float* sb, const float* x, const int* incx, const float* y, const int* incy) {
  if (*n < 1) return 0;
  long double s = *sb;
  long ix = start_of(*n, *incx), iy = start_of(*n, *incy);
  for (int i = 0; i < *n; ++i, ix += *incx, iy += *incy) s += (long double)x[ix] * y[iy];
  return (float)s;
}
ZVX_EXPORT void cdotc(zvx_complex8* result, const int* n, const zvx_complex8* x, const int* incx, const zvx_complex8* y, const int* incy) { *result = entry::dotc(*n, x, *incx, y, *incy); }
ZVX_EXPORT void cdotu(zvx_complex8* result, const int* n, const zvx_complex8* x, const int* incx, const zvx_complex8* y, const int* incy) { *C8(result) = complex_dot<c8>(false, *n, CC8(x), *incx, CC8(y), *incy); }
ZVX_EXPORT void zdotc(zvx_complex16* result, const int* n, const zvx_complex16* x, const int* incx, const zvx_complex16* y, const int* incy) { *result = entry::dotc(*n, x, *incx, y, *incy); }
ZVX_EXPORT void zdotu(zvx_complex16* result, const int* n, const zvx_complex16* x, const int* incx, const zvx_complex16* y, const int* incy) { *C16(result) = complex_dot<c16>(false, *n, CC16(x), *incx, CC16(y), *incy); }

// ---- norms, sums, extreme positions -----------------------------------------------------------
ZVX_EXPORT float snrm2(const int* n, const float* x, const int* incx) { return nrm2<float>(*n, x, *incx); }
ZVX_EXPORT double dnrm2(const int* n, const double* x, const int* incx) { return nrm2<double>(*n, x, *incx); }
ZVX_EXPORT float scnrm2(const int* n, const zvx_complex8* x, const int* incx) { return nrm2<c8>(*n, CC8(x), *incx); }
ZVX_EXPORT double dznrm2(const int* n, const zvx_complex16* x, const int* incx) { return nrm2<c16>(*n, CC16(x), *incx); }

ZVX_EXPORT float sasum(const int* n, const float* x, const int* incx) { return asum<float>(*n, x, *incx); }
ZVX_EXPORT double dasum(const int* n, const double* x, const int* incx) { return asum<double>(*n, x, *incx); }
ZVX_EXPORT float scasum(const int* n, const zvx_complex8* x, const int* incx) { return asum<c8>(*n, CC8(x), *incx); }
ZVX_EXPORT double dzasum(const int* n, const zvx_complex16* x, const int* incx) { return asum<c16>(*n, CC16(x), *incx); }

ZVX_EXPORT int isamax(const int* n, const float* x, const int* incx) { return entry::iamax(*n, x, *incx); }
ZVX_EXPORT int idamax(const int* n, const double* x, const int* incx) { return entry::iamax(*n, x, *incx); }
ZVX_EXPORT int icamax(const int* n, const zvx_complex8* x, const int* incx) { return iamax<c8>(*n, CC8(x), *incx); }
ZVX_EXPORT int izamax(const int* n, const zvx_complex16* x, const int* incx) { return iamax<c16>(*n, CC16(x), *incx); }
ZVX_EXPORT int isamin(const int* n, const float* x, const int* incx) { return iamin<float>(*n, x, *incx); }
ZVX_EXPORT int idamin(const int* n, const double* x, const int* incx) { return iamin<double>(*n, x, *incx); }
ZVX_EXPORT int icamin(const int* n, const zvx_complex8* x, const int* incx) { return iamin<c8>(*n, CC8(x), *incx); }
ZVX_EXPORT int izamin(const int* n, const zvx_complex16* x, const int* incx) { return iamin<c16>(*n, CC16(x), *incx); }

ZVX_EXPORT double dcabs1(const zvx_complex16* z) { return std::fabs(z->imag) + std::fabs(z->real); }

// ---- rotations ------------------------------------------------------------------------------------
ZVX_EXPORT void srot(const int* n, float* x, const int* incx, float* y, const int* incy, const float* c, const float* s) { rot<float, float>(*n, x, *incx, y, *incy, *c, *s); }
ZVX_EXPORT void drot(const int* n, double* x, const int* incx, double* y, const int* incy, const double* c, const double* s) { rot<double, double>(*n, x, *incx, y, *incy, *c, *s); }
ZVX_EXPORT void crot(const int* n, zvx_complex8* x, const int* incx, zvx_complex8* y, const int* incy, const float* c, const zvx_complex8* s) { rot<c8, c8>(*n, C8(x), *incx, C8(y), *incy, *c, *CC8(s)); }
ZVX_EXPORT void zrot(const int* n, zvx_complex16* x, const int* incx, zvx_complex16* y, const int* incy, const double* c, const zvx_complex16* s) { rot<c16, c16>(*n, C16(x), *incx, C16(y), *incy, *c, *CC16(s)); }
ZVX_EXPORT void csrot(const int* n, zvx_complex8* x, const int* incx, zvx_complex8* y, const int* incy, const float* c, const float* s) { rot<c8, float>(*n, C8(x), *incx, C8(y), *incy, *c, *s); }
ZVX_EXPORT void zdrot(const int* n, zvx_complex16* x, const int* incx, zvx_complex16* y, const int* incy, const double* c, const double* s) { rot<c16, double>(*n, C16(x), *incx, C16(y), *incy, *c, *s); }

ZVX_EXPORT void srotg(float* a, float* b, float* c, float* s) { rotg<float>(a, b, c, s); }
ZVX_EXPORT void drotg(double* a, double* b, double* c, double* s) { rotg<double>(a, b, c, s); }
ZVX_EXPORT void crotg(zvx_complex8* a, const zvx_complex8* b, float* c, zvx_complex8* s) { complex_rotg<float>(C8(a), CC8(b), c, C8(s)); }
ZVX_EXPORT void zrotg(zvx_complex16* a, const zvx_complex16* b, double* c, zvx_complex16* s) { complex_rotg<double>(C16(a), CC16(b), c, C16(s)); }

ZVX_EXPORT void srotm(const int* n, float* x, const int* incx, float* y, const int* incy, const float* param) { rotm<float>(*n, x, *incx, y, *incy, param); }
ZVX_EXPORT void drotm(const int* n, double* x, const int* incx, double* y, const int* incy, const double* param) { rotm<double>(*n, x, *incx, y, *incy, param); }
ZVX_EXPORT void srotmg(float* d1, float* d2, float* x1, const float* y1, float* param) { rotmg<float>(d1, d2, x1, y1, param); }
ZVX_EXPORT void drotmg(double* d1, double* d2, double* x1, const double* y1, double* param) { rotmg<double>(d1, d2, x1, y1, param); }

// drot3 works on contiguous vectors: the increments are part of the interface and not read.
ZVX_EXPORT void drot3(const int* n, double* x, const int* incx, double* y, const int* incy, double* z, const int* incz, const double* t, const double* v2, const double* v3) {
  for (int i = 0; i < *n; ++i) rot3_step<double>(x[i], y[i], z[i], *t, *v2, *v3);
}
ZVX_EXPORT void srot3(const int* n, float* x, const int* incx, float* y, const int* incy, float* z, const int* incz, const float* t, const float* v2, const float* v3) {
  if (*n < 1) return;
  long ix = start_of(*n, *incx), iy = start_of(*n, *incy), iz = start_of(*n, *incz);
  for (int i = 0; i < *n; ++i, ix += *incx, iy += *incy, iz += *incz) rot3_step<float>(x[ix], y[iy], z[iz], *t, *v2, *v3);
}

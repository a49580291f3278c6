// gemv and ger. The frame scales y by beta, then walks the rows of A in strips of 64 and runs one
// kernel, chosen once per call, on every strip; the rows left over go through the rest kernel in
// one call. The strip keeps y (not transposed) or x (transposed) in the first-level cache across
// all the columns.
#include "blas/level12/level12.h"
#include "blas/level12/tuning.h"
#include "service/service.h"
#include "zvx_blas12.h"

namespace zvx::blas12 {
namespace {

// Strided kernels, not transposed: two columns a pass, y(i) = a(i,j) t1 + y(i) + a(i,j+1) t2.
template <class T>
void gemv_n_strided(long rows, long n, T alpha, const T* a, long lda, const T* x, long incx, T* y, long incy) {
  long j = 0, jx = 0;
  for (; j + 2 <= n; j += 2, jx += 2 * incx) {
    const T t1 = x[jx] * alpha, t2 = x[jx + incx] * alpha;
    const T* a1 = a + j * lda;
    const T* a2 = a1 + lda;
    for (long i = 0; i < rows; ++i) y[i * incy] = a1[i] * t1 + y[i * incy] + a2[i] * t2;
  }
  if (j < n) {
    const T t1 = x[jx] * alpha;
    const T* a1 = a + j * lda;
    for (long i = 0; i < rows; ++i) y[i * incy] += a1[i] * t1;
  }
}

// Transposed, any increments: two dots a pass, alpha applied to the sums.
template <class T>
void gemv_t_strided(op o, long rows, long n, T alpha, const T* a, long lda, const T* x, long incx, T* y, long incy) {
  for (long j = 0; j < n; ++j) {
    const T* col = a + j * lda;
    T s{};
    if (o == op::c)
      for (long i = 0; i < rows; ++i) s += conj(col[i]) * x[i * incx];
    else
      for (long i = 0; i < rows; ++i) s += col[i] * x[i * incx];
    y[j * incy] += s * alpha;
  }
}

// The rows after the strips, not transposed, any increments: sums over the columns per row.
template <class T>
void gemv_rest_n_strided(long rows, long n, T alpha, const T* a, long lda, const T* x, long incx, T* y, long incy) {
  for (long i = 0; i < rows; ++i) {
    T s{};
    for (long j = 0; j < n; ++j) s += a[i + j * lda] * x[j * incx];
    y[i * incy] += alpha * s;
  }
}

}  // namespace

template <class T>
void gemv(const char* trans, int m, int n, T alpha, const T* a, int lda, const T* x, int incx,
          T beta, T* y, int incy) {
  if (m == 0 || n == 0 || (is_zero(alpha) && is_one(beta))) return;
  const op o = read_op<T>(trans);
  const long leny = o == op::n ? m : n, lenx = o == op::n ? n : m;
  T* y0 = y + start_of((int)leny, incy);
  const T* x0 = x + start_of((int)lenx, incx);
  if (!is_one(beta)) {
    // beta 0 stores zeros, so NaN in y is wiped.
    if (is_zero(beta)) {
      if (incy == 1) for (long i = 0; i < leny; ++i) y0[i] = T{};
      else for (long i = 0; i < leny; ++i) y0[i * incy] = T{};
    } else {
      if (incy == 1) for (long i = 0; i < leny; ++i) y0[i] = beta * y0[i];
      else for (long i = 0; i < leny; ++i) y0[i * incy] = beta * y0[i * incy];
    }
  }
  if (is_zero(alpha) || m < 0 || n < 0) return;
  request_matrix(a, m, n, lda);
  const long m64 = (long)m / strip_rows * strip_rows;
  const bool unit = incx == 1 && incy == 1;
  const auto& k = kernels_for<T>();
  if constexpr (!is_complex<T>) {
    bool prefetch = true;
    if (std::is_same_v<T, double> && unit)
      prefetch = o == op::n ? !dgemv_n_small(m, n) : !dgemv_t_small(m, n);
    // With unit increments the kernels take all strips in one call: not transposed, the strips
    // are independent; transposed, the kernel adds each strip's sums to y strip by strip, and the
    // rows after the last full strip are its last, short strip (the rest kernel's sums).
    if (unit && o == op::n) k.gemv_n(m64, m - m64, n, alpha, a, lda, x0, y0, prefetch);
    if (unit && o != op::n) k.gemv_t(m, n, alpha, a, lda, x0, y0, prefetch);
    for (long i = 0; i < m64 && !unit; i += strip_rows) {
      const T* strip = a + i;
      if (o == op::n) gemv_n_strided<T>(strip_rows, n, alpha, strip, lda, x0, incx, y0 + i * incy, incy);
      else gemv_t_strided<T>(o, strip_rows, n, alpha, strip, lda, x0 + i * incx, incx, y0, incy);
    }
    const long rest = m - m64;
    if (rest > 0) {
      if (o == op::n) {
        if (!unit) gemv_rest_n_strided<T>(rest, n, alpha, a + m64, lda, x0, incx, y0 + m64 * incy, incy);
      } else {
        if (!unit) gemv_t_strided<T>(o, rest, n, alpha, a + m64, lda, x0 + m64 * incx, incx, y0, incy);
      }
    }
  } else {
    if (unit && m64 > 0 && o == op::n) k.gemv_n(m64, n, alpha, a, lda, x0, y0, false);
    if (unit && o != op::n) k.gemv_t(m, n, alpha, a, lda, x0, y0, o == op::c);
    for (long i = 0; i < m64 && !unit; i += strip_rows) {
      const T* strip = a + i;
      if (o == op::n) gemv_n_strided<T>(strip_rows, n, alpha, strip, lda, x0, incx, y0 + i * incy, incy);
      else gemv_t_strided<T>(o, strip_rows, n, alpha, strip, lda, x0 + i * incx, incx, y0, incy);
    }
    const long rest = m - m64;
    if (rest > 0) {
      if (o == op::n && unit) k.gemv_rest_n(rest, n, alpha, a + m64, lda, x0, y0 + m64);
      else if (o == op::n) gemv_rest_n_strided<T>(rest, n, alpha, a + m64, lda, x0, incx, y0 + m64 * incy, incy);
      else if (!unit) gemv_t_strided<T>(o, rest, n, alpha, a + m64, lda, x0 + m64 * incx, incx, y0, incy);
    }
  }
}

template void gemv<float>(const char*, int, int, float, const float*, int, const float*, int, float, float*, int);
template void gemv<double>(const char*, int, int, double, const double*, int, const double*, int, double, double*, int);
template void gemv<complex_t<float>>(const char*, int, int, complex_t<float>, const complex_t<float>*, int, const complex_t<float>*, int, complex_t<float>, complex_t<float>*, int);
template void gemv<complex_t<double>>(const char*, int, int, complex_t<double>, const complex_t<double>*, int, const complex_t<double>*, int, complex_t<double>, complex_t<double>*, int);

namespace {

// Rank-1 update column by column; a column is skipped when y(j) is zero, so A keeps its values
// there even when x holds infinities. The column update returns on a zero factor of either sign.
template <class T>
void ger(bool conjugate, int m, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda) {
  if (m <= 0 || n <= 0 || is_zero(alpha)) return;
  request_matrix(a, m, n, lda);
  const T* x0 = x + start_of(m, incx);
  long jy = start_of(n, incy);
  const auto& k = kernels_for<T>();
  for (int j = 0; j < n; ++j, jy += incy) {
    const T yj = y[jy];
    if (is_zero(yj)) continue;
    const T t = alpha * (conjugate ? conj(yj) : yj);
    if constexpr (is_complex<T>) {
      if (zero_bits(t.real) && zero_bits(t.imag)) continue;
    } else {
      if (zero_bits(t)) continue;
    }
    T* col = a + (long)j * lda;
    if (incx == 1) k.axpy(m, t, x0, col);
    else for (long i = 0; i < m; ++i) col[i] += t * x0[i * incx];
  }
}

}  // namespace

namespace entry {
void ger(int m, int n, double alpha, const double* x, int incx, const double* y, int incy,
         double* a, int lda) {
  blas12::ger<double>(false, m, n, alpha, x, incx, y, incy, a, lda);
}
void gerc(int m, int n, zvx_complex8 alpha, const zvx_complex8* x, int incx,
          const zvx_complex8* y, int incy, zvx_complex8* a, int lda) {
  blas12::ger<zvx_complex8>(true, m, n, alpha, x, incx, y, incy, a, lda);
}
}  // namespace entry

}  // namespace zvx::blas12

using namespace zvx;
using namespace zvx::blas12;
using c8 = zvx_complex8;
using c16 = zvx_complex16;
#define CC8(p) reinterpret_cast<const c8*>(p)
#define CC16(p) reinterpret_cast<const c16*>(p)

ZVX_EXPORT void sgemv(const char* trans, const int* m, const int* n, const float* alpha, const float* a, const int* lda, const float* x, const int* incx, const float* beta, float* y, const int* incy) {
  gemv<float>(trans, *m, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);
}
ZVX_EXPORT void dgemv(const char* trans, const int* m, const int* n, const double* alpha, const double* a, const int* lda, const double* x, const int* incx, const double* beta, double* y, const int* incy) {
  gemv<double>(trans, *m, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);
}
ZVX_EXPORT void cgemv(const char* trans, const int* m, const int* n, const zvx_complex8* alpha, const zvx_complex8* a, const int* lda, const zvx_complex8* x, const int* incx, const zvx_complex8* beta, zvx_complex8* y, const int* incy) {
  gemv<c8>(trans, *m, *n, *CC8(alpha), CC8(a), *lda, CC8(x), *incx, *CC8(beta), reinterpret_cast<c8*>(y), *incy);
}
ZVX_EXPORT void zgemv(const char* trans, const int* m, const int* n, const zvx_complex16* alpha, const zvx_complex16* a, const int* lda, const zvx_complex16* x, const int* incx, const zvx_complex16* beta, zvx_complex16* y, const int* incy) {
  gemv<c16>(trans, *m, *n, *CC16(alpha), CC16(a), *lda, CC16(x), *incx, *CC16(beta), reinterpret_cast<c16*>(y), *incy);
}

ZVX_EXPORT void sger(const int* m, const int* n, const float* alpha, const float* x, const int* incx, const float* y, const int* incy, float* a, const int* lda) {
  ger<float>(false, *m, *n, *alpha, x, *incx, y, *incy, a, *lda);
}
ZVX_EXPORT void dger(const int* m, const int* n, const double* alpha, const double* x, const int* incx, const double* y, const int* incy, double* a, const int* lda) {
  entry::ger(*m, *n, *alpha, x, *incx, y, *incy, a, *lda);
}
ZVX_EXPORT void cgeru(const int* m, const int* n, const zvx_complex8* alpha, const zvx_complex8* x, const int* incx, const zvx_complex8* y, const int* incy, zvx_complex8* a, const int* lda) {
  ger<c8>(false, *m, *n, *CC8(alpha), CC8(x), *incx, CC8(y), *incy, reinterpret_cast<c8*>(a), *lda);
}
ZVX_EXPORT void cgerc(const int* m, const int* n, const zvx_complex8* alpha, const zvx_complex8* x, const int* incx, const zvx_complex8* y, const int* incy, zvx_complex8* a, const int* lda) {
  entry::gerc(*m, *n, *alpha, x, *incx, y, *incy, a, *lda);
}
ZVX_EXPORT void zgeru(const int* m, const int* n, const zvx_complex16* alpha, const zvx_complex16* x, const int* incx, const zvx_complex16* y, const int* incy, zvx_complex16* a, const int* lda) {
  ger<c16>(false, *m, *n, *CC16(alpha), CC16(x), *incx, CC16(y), *incy, reinterpret_cast<c16*>(a), *lda);
}
ZVX_EXPORT void zgerc(const int* m, const int* n, const zvx_complex16* alpha, const zvx_complex16* x, const int* incx, const zvx_complex16* y, const int* incy, zvx_complex16* a, const int* lda) {
  ger<c16>(true, *m, *n, *CC16(alpha), CC16(x), *incx, CC16(y), *incy, reinterpret_cast<c16*>(a), *lda);
}

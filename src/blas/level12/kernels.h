// The vector kernels under the level-1 and level-2 entries, one table per instruction set.
//
// The entries own the argument rules (starts of negative increments, special values, the strip
// frame of gemv); these kernels own the unit-stride inner loops. Lengths are `long`, indices
// 0-based, and every pointer is to the first element that is touched.
#pragma once
#include "blas/level12/types.h"

namespace zvx::blas12 {

template <class T>  // float or double
struct real_kernels {
  void (*axpy)(long n, T alpha, const T* x, T* y);  // y += alpha * x
  void (*axpy2)(long n, T a1, const T* x1, T a2, const T* x2, T* y);  // y += a1 * x1, then += a2 * x2
  T (*dot)(long n, const T* x, const T* y);         // sum in T
  void (*scal)(long n, T alpha, T* x);              // x *= alpha, always multiplying
  void (*copy)(long n, const T* x, T* y);
  void (*swap)(long n, T* x, T* y);
  T (*asum)(long n, const T* x);
  double (*sumsq)(long n, const T* x);  // sum of squares in double: the caller checks its range
  long (*iamax)(long n, const T* x);    // first index of the largest |x|, NaN skipped; x[0] not NaN
  // y(0:m) += A(0:m, 0:n) * (alpha * x): not transposed, unit x and y, m a multiple of the strip.
  // The `rest` rows after them get the rest kernel's arithmetic, y(i) += alpha * sum, in the same
  // walk over the columns. `prefetch` requests the columns ahead of use (the kernel for matrices
  // larger than the caches).
  void (*gemv_n)(long m, long rest, long n, T alpha, const T* a, long lda, const T* x, T* y,
                 bool prefetch);
  // y(0:n) += alpha * A(0:m, 0:n)' * x, unit x and y; with `prefetch`, matrices beyond
  // gemv_t_stream_bytes have their columns' lines requested ahead.
  void (*gemv_t)(long m, long n, T alpha, const T* a, long lda, const T* x, T* y, bool prefetch);
  // The same product with each column's dot taken over its whole length and added to y once (not
  // strip by strip as gemv rounds it). `stream`: the matrix comes from beyond the second-level
  // cache and the columns' lines are requested ahead (column_stream_bytes).
  void (*column_dots)(long m, long n, T alpha, const T* a, long lda, const T* x, T* y, bool stream);
  // Dots of columns whose x slides one element a column (band storage):
  // out(c) = sum over i < len of a(c * lda + i) * x(c + i), for c < cols.
  void (*band_dots)(long cols, long len, const T* a, long lda, const T* x, T* out);
  // Symmetric multiply sweep, unit increments, y already scaled by beta: y += alpha * A * x.
  void (*symv)(bool upper, long n, T alpha, const T* a, long lda, const T* x, T* y);
  // Solve op(A(0:b, 0:b)) * x = x for a diagonal block of b <= trsv_block rows, contiguous x.
  void (*trsv_block)(bool upper, bool transposed, bool nonunit, long b, const T* a, long lda, T* x);
  // x(0:b) := A(0:b, 0:b)' x(0:b) for a diagonal block of b <= trmv_transposed_block rows,
  // contiguous x.
  void (*trmv_t_block)(bool upper, bool nonunit, long b, const T* a, long lda, T* x);
  // x(0:b) := A(0:b, 0:b) x(0:b) for a diagonal block of b <= trmv_block rows, contiguous x.
  void (*trmv_n_block)(bool upper, bool nonunit, long b, const T* a, long lda, T* x);
};

template <class R>  // float or double: complex kernels on interleaved pairs
struct complex_kernels {
  void (*axpy)(long n, complex_t<R> alpha, const complex_t<R>* x, complex_t<R>* y);
  complex_t<R> (*dot)(long n, const complex_t<R>* x, const complex_t<R>* y, bool conjugate_x);
  void (*scal)(long n, complex_t<R> alpha, complex_t<R>* x);
  long (*iamax)(long n, const complex_t<R>* x);  // by |re| + |im|; x[0] not NaN
  // y(0:m) += A * (alpha * x), one column per pass; unit x and y. Its lines are requested ahead
  // when A is larger than cgemv_n_stream_bytes or `stream` says it comes from beyond the second
  // level (a panel of a larger triangle).
  void (*gemv_n)(long m, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x,
                 complex_t<R>* y, bool stream);
  // y(0:n) += alpha * op(A)' * x with op conjugating when `conjugate_a`; unit x and y.
  void (*gemv_t)(long m, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x,
                 complex_t<R>* y, bool conjugate_a);
  // The same product with each column's sums taken over its whole length and added to y once.
  void (*column_dots)(long m, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x,
                      complex_t<R>* y, bool conjugate_a, bool stream);
  // The rows left after the strips, not transposed, unit increments: y(i) += alpha * sum.
  void (*gemv_rest_n)(long m, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x,
                      complex_t<R>* y);
  // Hermitian multiply sweep, unit increments, y already scaled by beta: y += alpha * A * x.
  void (*hemv)(bool upper, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x, complex_t<R>* y);
  // x(0:b) := A(0:b, 0:b) x(0:b) for a diagonal block of b <= trmv_block rows, contiguous x.
  void (*trmv_n_block)(bool upper, bool nonunit, long b, const complex_t<R>* a, long lda, complex_t<R>* x);
  // Solve A(0:b, 0:b) x = x for a diagonal block of b <= trsv_block rows, contiguous x, each
  // unknown multiplied by inv, the reciprocal of its diagonal element (nonunit).
  void (*trsv_n_block)(bool upper, bool nonunit, long b, const complex_t<R>* a, long lda, complex_t<R>* x,
                       const complex_t<R>* inv);
};

struct kernel_set {
  real_kernels<float> s;
  real_kernels<double> d;
  complex_kernels<float> c;
  complex_kernels<double> z;
};

namespace isa_portable { const kernel_set* kernel_table(); }
namespace isa_avx2 { const kernel_set* kernel_table(); }
namespace isa_avx512 { const kernel_set* kernel_table(); }

// The table of this process's instruction set, chosen once.
const kernel_set& kernels();

template <class T> inline const auto& kernels_for() {
  if constexpr (std::is_same_v<T, float>) return kernels().s;
  else if constexpr (std::is_same_v<T, double>) return kernels().d;
  else if constexpr (std::is_same_v<T, complex_t<float>>) return kernels().c;
  else return kernels().z;
}

}  // namespace zvx::blas12

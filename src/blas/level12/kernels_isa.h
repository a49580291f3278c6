// What the level-1 and level-2 vector kernels share, compiled once per instruction set: the
// vector layer, the tuning constants, and the kernels each family file defines for the table of
// its instruction set (kernels_table.cpp).
#pragma once
#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>
#include <type_traits>
#include <utility>

#include "blas/level12/kernels.h"
#include "blas/level12/tuning.h"
#include "common/simd.h"

namespace zvx::blas12::ZVX_ISA_NS {

using namespace ::ZVX_ISA_NS;

// kernels_level1.cpp
template <class T> void axpy(long n, T alpha, const T* x, T* y);
template <class T> void axpy2(long n, T a1, const T* x1, T a2, const T* x2, T* y);
template <class T> T dot(long n, const T* x, const T* y);
template <class T> void scal(long n, T alpha, T* x);
template <class T> void copy(long n, const T* x, T* y);
template <class T> void swap(long n, T* x, T* y);
template <class T> T asum(long n, const T* x);
double sumsq_d(long n, const double* x);
double sumsq_s(long n, const float* x);
template <class T> long iamax(long n, const T* x);
template <class R> void caxpy(long n, complex_t<R> alpha, const complex_t<R>* xc, complex_t<R>* yc);
template <class R> void cscal(long n, complex_t<R> alpha, complex_t<R>* xc);
template <class R> complex_t<R> cdot(long n, const complex_t<R>* xc, const complex_t<R>* yc, bool conjugate_x);
template <class R> long ciamax(long n, const complex_t<R>* xc);

// kernels_gemv.cpp, kernels_gemv_complex.cpp
template <class T>
void gemv_n(long m, long rest, long n, T alpha, const T* a, long lda, const T* x, T* y, bool prefetch);
template <class T>
void gemv_t(long m, long n, T alpha, const T* a, long lda, const T* x, T* y, bool prefetch);
template <class T> void column_dots(long m, long n, T alpha, const T* a, long lda, const T* x, T* y, bool stream);
template <class T> void band_dots(long cols, long len, const T* a, long lda, const T* x, T* out);
template <class R>
void cgemv_n(long m, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x,
             complex_t<R>* y, bool stream);
template <class R>
void cgemv_rest_n(long m, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x,
                  complex_t<R>* y);
template <class R>
void cgemv_t(long m, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x,
             complex_t<R>* y, bool conjugate_a);
template <class R>
void ccolumn_dots(long m, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x,
                  complex_t<R>* y, bool conjugate_a, bool stream);

// kernels_symmetric.cpp
template <class T>
void symv(bool upper, long n, T alpha, const T* a, long lda, const T* x, T* y);
template <class R>
void hemv(bool upper, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x,
          complex_t<R>* y);

// kernels_triangular.cpp
template <class T>
void trsv_diagonal_block(bool upper, bool transposed, bool nonunit, long b, const T* a, long lda, T* x);
template <class T>
void trmv_transposed_diagonal_block(bool upper, bool nonunit, long b, const T* a, long lda, T* x);
template <class T>
void trmv_diagonal_block(bool upper, bool nonunit, long b, const T* a, long lda, T* x);
template <class R>
void ctrmv_diagonal_block(bool upper, bool nonunit, long b, const complex_t<R>* a, long lda, complex_t<R>* x);
template <class R>
void ctrsv_diagonal_block(bool upper, bool nonunit, long b, const complex_t<R>* a, long lda, complex_t<R>* x,
                          const complex_t<R>* inv);

// Vectors set to zero one by one: an array of vectors initialized with `= {}` (or zeroed in a
// plain loop) may become a string store on the stack (rep stos), some 30 cycles of start-up
// before the sums even reach their registers, once per call or strip of the kernels that do it.
template <class T, int N> __attribute__((always_inline)) inline void set_zero(V<T> (&v)[N]) {
#pragma GCC unroll 64
  for (int k = 0; k < N; ++k) v[k] = V<T>{};
}

// Elements before the first vector boundary of p, for loops long enough to gain from loads and
// stores that don't straddle two lines (allocations are commonly 16-byte aligned, so every 64-byte
// access of the AVX-512 loops would); zero when p is aligned or not aligned to its element size.
// A load that straddles costs two of the load unit's slots in cache, and from memory a streaming
// read of split loads measured at two thirds of the bandwidth of aligned ones (sum of |x| over
// 40 MB: 31 against 49 GB/s; scaling in place 0.65 of the time once aligned).
template <class T> inline long elements_to_boundary(const T* p, long n) {
  constexpr int w = W<T>;
  const long misalign = (long)(reinterpret_cast<uintptr_t>(p) & (vector_bytes - 1));
  if (n < 8 * w || misalign == 0 || misalign % (long)sizeof(T) != 0)
    return 0;
  return (vector_bytes - misalign) / (long)sizeof(T);
}

}  // namespace zvx::blas12::ZVX_ISA_NS

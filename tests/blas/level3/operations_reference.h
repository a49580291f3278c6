// What the tests of symm, hemm, the rank updates, trmm and trsm share: typed fronts to the
// routines, operands with the unread triangle poisoned, long double references with an error
// bound per element, and the check that everything outside the result is untouched.
#pragma once
#include "blas/level3/gemm_reference.h"

namespace ops_test {

using namespace gemm_test;

template <class T>
using R = typename traits<T>::real;

template <class T>
T nan_value() {
  return make<T>(std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::quiet_NaN());
}

// ---- typed fronts ----
#define OPS_SYMM(p, T)                                                                          \
  inline void symm(bool herm, char side, char uplo, int m, int n, T alpha, const T* a, int lda, \
                   const T* b, int ldb, T beta, T* c, int ldc) {                                \
    const char s[2] = {side, 0}, u[2] = {uplo, 0};                                              \
    if constexpr (traits<T>::complex) {                                                         \
      if (herm) {                                                                               \
        p##hemm(s, u, &m, &n, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);                        \
        return;                                                                                 \
      }                                                                                         \
    }                                                                                           \
    p##symm(s, u, &m, &n, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);                            \
  }
inline void shemm(const char*, const char*, const int*, const int*, const float*, const float*,
                  const int*, const float*, const int*, const float*, float*, const int*) {}
inline void dhemm(const char*, const char*, const int*, const int*, const double*,
                  const double*, const int*, const double*, const int*, const double*, double*,
                  const int*) {}
OPS_SYMM(s, float)
OPS_SYMM(d, double)
OPS_SYMM(c, zvx_complex8)
OPS_SYMM(z, zvx_complex16)
#undef OPS_SYMM

// kind: 0 syrk, 1 herk, 2 syr2k, 3 her2k; alpha and beta given as T (their real parts for the
// Hermitian real arguments).
template <class T>
void rank(int kind, char uplo, char trans, int n, int k, T alpha, const T* a, int lda,
          const T* b, int ldb, T beta, T* c, int ldc) {
  const char u[2] = {uplo, 0}, t[2] = {trans, 0};
  const R<T> ar = static_cast<R<T>>(widen(alpha).real()), br = static_cast<R<T>>(widen(beta).real());
  if constexpr (std::is_same_v<T, float>) {
    if (kind == 0) ssyrk(u, t, &n, &k, &alpha, a, &lda, &beta, c, &ldc);
    else ssyr2k(u, t, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
  } else if constexpr (std::is_same_v<T, double>) {
    if (kind == 0) dsyrk(u, t, &n, &k, &alpha, a, &lda, &beta, c, &ldc);
    else dsyr2k(u, t, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
  } else if constexpr (std::is_same_v<T, zvx_complex8>) {
    if (kind == 0) csyrk(u, t, &n, &k, &alpha, a, &lda, &beta, c, &ldc);
    else if (kind == 1) cherk(u, t, &n, &k, &ar, a, &lda, &br, c, &ldc);
    else if (kind == 2) csyr2k(u, t, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
    else cher2k(u, t, &n, &k, &alpha, a, &lda, b, &ldb, &br, c, &ldc);
  } else {
    if (kind == 0) zsyrk(u, t, &n, &k, &alpha, a, &lda, &beta, c, &ldc);
    else if (kind == 1) zherk(u, t, &n, &k, &ar, a, &lda, &br, c, &ldc);
    else if (kind == 2) zsyr2k(u, t, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
    else zher2k(u, t, &n, &k, &alpha, a, &lda, b, &ldb, &br, c, &ldc);
  }
}

template <class T>
void tri(bool solve, char side, char uplo, char trans, char diag, int m, int n, T alpha,
         const T* a, int lda, T* b, int ldb) {
  const char s[2] = {side, 0}, u[2] = {uplo, 0}, t[2] = {trans, 0}, d[2] = {diag, 0};
  if constexpr (std::is_same_v<T, float>) (solve ? strsm : strmm)(s, u, t, d, &m, &n, &alpha, a, &lda, b, &ldb);
  else if constexpr (std::is_same_v<T, double>) (solve ? dtrsm : dtrmm)(s, u, t, d, &m, &n, &alpha, a, &lda, b, &ldb);
  else if constexpr (std::is_same_v<T, zvx_complex8>) (solve ? ctrsm : ctrmm)(s, u, t, d, &m, &n, &alpha, a, &lda, b, &ldb);
  else (solve ? ztrsm : ztrmm)(s, u, t, d, &m, &n, &alpha, a, &lda, b, &ldb);
}

// Elements compared: those where want_mask is true get the bound check, the others (and the
// padding rows) must be bitwise unchanged against `before`.
template <class T>
::testing::AssertionResult check(const matrix<T>& got, const matrix<T>& before,
                                 const std::vector<lc>& want, const std::vector<long double>& bound,
                                 const std::vector<char>& in_result) {
  int bad = 0;
  std::string first;
  for (int j = 0; j < got.cols; ++j)
    for (int i = 0; i < got.ld; ++i) {
      const lc g = widen(got.at(i, j));
      const size_t p = static_cast<size_t>(i) + static_cast<size_t>(j) * got.rows;
      if (i >= got.rows || !in_result[p]) {
        const lc o = widen(before.at(i, j));
        const bool same = (g == o) || (std::isnan(static_cast<double>(g.real())) &&
                                       std::isnan(static_cast<double>(o.real())));
        if (!same && !bad++) first = "untouched element " + std::to_string(i) + "," + std::to_string(j) + " changed";
        continue;
      }
      const long double err = std::abs(g - want[p]);
      if (!(err <= bound[p]) && !bad++)
        first = "(" + std::to_string(i) + "," + std::to_string(j) + ") got " +
                std::to_string(static_cast<double>(g.real())) + "," +
                std::to_string(static_cast<double>(g.imag())) + " want " +
                std::to_string(static_cast<double>(want[p].real())) + "," +
                std::to_string(static_cast<double>(want[p].imag())) + " err " +
                std::to_string(static_cast<double>(err));
    }
  if (!bad) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << bad << " wrong; first: " << first;
}

}  // namespace ops_test

// What the GEMM tests share: a typed front to the four routines, random matrices, and the
// naive reference in long double with an error bound per element.
#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "zvx.h"

namespace gemm_test {

template <class T>
struct traits;
template <>
struct traits<float> {
  using real = float;
  static constexpr bool complex = false;
};
template <>
struct traits<double> {
  using real = double;
  static constexpr bool complex = false;
};
template <>
struct traits<zvx_complex8> {
  using real = float;
  static constexpr bool complex = true;
};
template <>
struct traits<zvx_complex16> {
  using real = double;
  static constexpr bool complex = true;
};

inline void call(const char* ta, const char* tb, int m, int n, int k, const float* alpha,
                 const float* a, int lda, const float* b, int ldb, const float* beta, float* c,
                 int ldc) {
  sgemm(ta, tb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc);
}
inline void call(const char* ta, const char* tb, int m, int n, int k, const double* alpha,
                 const double* a, int lda, const double* b, int ldb, const double* beta,
                 double* c, int ldc) {
  dgemm(ta, tb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc);
}
inline void call(const char* ta, const char* tb, int m, int n, int k, const zvx_complex8* alpha,
                 const zvx_complex8* a, int lda, const zvx_complex8* b, int ldb,
                 const zvx_complex8* beta, zvx_complex8* c, int ldc) {
  cgemm(ta, tb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc);
}
inline void call(const char* ta, const char* tb, int m, int n, int k, const zvx_complex16* alpha,
                 const zvx_complex16* a, int lda, const zvx_complex16* b, int ldb,
                 const zvx_complex16* beta, zvx_complex16* c, int ldc) {
  zgemm(ta, tb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc);
}

using lc = std::complex<long double>;

template <class T>
lc widen(const T& x) {
  if constexpr (traits<T>::complex)
    return lc(x.real, x.imag);
  else
    return lc(x, 0);
}

template <class T>
T narrow(lc x) {
  using R = typename traits<T>::real;
  if constexpr (traits<T>::complex)
    return T{static_cast<R>(x.real()), static_cast<R>(x.imag())};
  else
    return static_cast<T>(x.real());
}

template <class T>
T make(double re, double im = 0) {
  return narrow<T>(lc(re, im));
}

// Reads an option the way the library does: "N"/"n" plain; for real types everything else
// transposes; for complex types "T"/"t" transposes and everything else conjugates too.
enum class op { n, t, c };
template <class T>
op read_op(char ch) {
  if (ch == 'N' || ch == 'n') return op::n;
  if (!traits<T>::complex || ch == 'T' || ch == 't') return op::t;
  return op::c;
}

template <class T>
struct matrix {
  int rows = 0, cols = 0, ld = 0;
  std::vector<T> v;
  matrix(int r, int c, int extra_ld = 0) : rows(r), cols(c), ld(std::max(r, 1) + extra_ld) {
    v.assign(static_cast<size_t>(ld) * std::max(c, 1), make<T>(0));
  }
  T& at(int i, int j) { return v[static_cast<size_t>(i) + static_cast<size_t>(j) * ld]; }
  const T& at(int i, int j) const {
    return v[static_cast<size_t>(i) + static_cast<size_t>(j) * ld];
  }
  // Fills the whole storage, padding rows included, so that a read of the padding shows.
  void randomise(std::mt19937& g) {
    std::uniform_real_distribution<double> d(-1, 1);
    for (auto& x : v) x = make<T>(d(g), d(g));
  }
};

// op(X)(i, l) of a stored matrix.
template <class T>
lc op_at(const matrix<T>& x, op o, int i, int l) {
  if (o == op::n) return widen(x.at(i, l));
  const lc e = widen(x.at(l, i));
  return o == op::c ? std::conj(e) : e;
}

// C = alpha op(A) op(B) + beta C in long double, with the bound of each element: a few units
// of rounding of the working type times the depth and the size of the terms.
template <class T>
void reference(op oa, op ob, int m, int n, int k, T alpha, const matrix<T>& a,
               const matrix<T>& b, T beta, const matrix<T>& c, std::vector<lc>& out,
               std::vector<long double>& bound) {
  using R = typename traits<T>::real;
  const long double eps = std::numeric_limits<R>::epsilon();
  out.assign(static_cast<size_t>(m) * n, lc(0));
  bound.assign(static_cast<size_t>(m) * n, 0);
  const lc al = widen(alpha), be = widen(beta);
  const bool alpha_zero = al == lc(0);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) {
      lc s = 0;
      long double mag = 0;
      if (!alpha_zero)
        for (int l = 0; l < k; ++l) {
          const lc p = op_at(a, oa, i, l) * op_at(b, ob, l, j);
          s += p;
          mag += std::abs(p);
        }
      const lc cij = widen(c.at(i, j));
      lc r = al * s;
      if (be == lc(0)) {
      } else if (be == lc(1)) {
        r += cij;
      } else {
        r += be * cij;
      }
      out[static_cast<size_t>(i) + static_cast<size_t>(j) * m] = r;
      bound[static_cast<size_t>(i) + static_cast<size_t>(j) * m] =
          8 * eps * ((k + 4) * std::abs(al) * mag + 2 * std::abs(be) * std::abs(cij)) + 1e-30L;
    }
}

// Checks every element of op's result against the reference, and that the padding rows of C
// were not touched.
template <class T>
::testing::AssertionResult matches(const matrix<T>& got, const matrix<T>& before,
                                   const std::vector<lc>& want,
                                   const std::vector<long double>& bound) {
  int bad = 0;
  std::string first;
  for (int j = 0; j < got.cols; ++j) {
    for (int i = 0; i < got.ld; ++i) {
      const lc g = widen(got.at(i, j));
      if (i >= got.rows) {
        const lc o = widen(before.at(i, j));
        if (!(g == o)) {
          if (!bad++) first = "padding row " + std::to_string(i) + " col " + std::to_string(j);
        }
        continue;
      }
      const size_t p = static_cast<size_t>(i) + static_cast<size_t>(j) * got.rows;
      const long double err = std::abs(g - want[p]);
      if (!(err <= bound[p])) {
        if (!bad++)
          first = "C(" + std::to_string(i) + "," + std::to_string(j) + ") = (" +
                  std::to_string(static_cast<double>(g.real())) + "," +
                  std::to_string(static_cast<double>(g.imag())) + ") want (" +
                  std::to_string(static_cast<double>(want[p].real())) + "," +
                  std::to_string(static_cast<double>(want[p].imag())) + ") err " +
                  std::to_string(static_cast<double>(err)) + " bound " +
                  std::to_string(static_cast<double>(bound[p]));
      }
    }
  }
  if (bad == 0) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << bad << " wrong elements; first: " << first;
}

// One complete case: random operands with leading dimensions beyond the sizes, the call, and
// the comparison.
template <class T>
::testing::AssertionResult run_case(char ta, char tb, int m, int n, int k, T alpha, T beta,
                                    unsigned seed, int extra_ld = 3) {
  std::mt19937 g(seed);
  const op oa = read_op<T>(ta), ob = read_op<T>(tb);
  matrix<T> a(oa == op::n ? m : k, oa == op::n ? k : m, extra_ld);
  matrix<T> b(ob == op::n ? k : n, ob == op::n ? n : k, extra_ld + 1);
  matrix<T> c(m, n, extra_ld + 2);
  a.randomise(g);
  b.randomise(g);
  c.randomise(g);
  std::vector<lc> want;
  std::vector<long double> bound;
  reference(oa, ob, m, n, k, alpha, a, b, beta, c, want, bound);
  const matrix<T> before = c;
  const char sa[2] = {ta, 0}, sb[2] = {tb, 0};
  call(sa, sb, m, n, k, &alpha, a.v.data(), a.ld, b.v.data(), b.ld, &beta, c.v.data(), c.ld);
  return matches(c, before, want, bound) << " [" << ta << tb << " m=" << m << " n=" << n
                                         << " k=" << k << "]";
}

}  // namespace gemm_test

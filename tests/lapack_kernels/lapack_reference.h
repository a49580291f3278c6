// What the LAPACK kernel tests share: a typed view of real and complex elements in long double,
// random data, and a dense solve with partial pivoting as the reference.
#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

#include "zvx.h"

namespace lapack_test {

using lc = std::complex<long double>;

template <class T> struct traits { using real = T; static constexpr bool complex = false; };
template <> struct traits<zvx_complex8> { using real = float; static constexpr bool complex = true; };
template <> struct traits<zvx_complex16> { using real = double; static constexpr bool complex = true; };

template <class T>
lc widen(const T& x) {
  if constexpr (traits<T>::complex) return lc(x.real, x.imag);
  else return lc(x, 0);
}
template <class T>
T narrow(lc x) {
  using R = typename traits<T>::real;
  if constexpr (traits<T>::complex) return T{R(x.real()), R(x.imag())};
  else return T(x.real());
}
template <class T>
long double eps() {
  return std::numeric_limits<typename traits<T>::real>::epsilon();
}
template <class T>
T random_value(std::mt19937& g) {
  std::uniform_real_distribution<double> d(-1, 1);
  return narrow<T>(lc(d(g), traits<T>::complex ? d(g) : 0));
}
template <class T>
std::vector<T> random_vector(size_t n, std::mt19937& g) {
  std::vector<T> v(n);
  for (auto& x : v) x = random_value<T>(g);
  return v;
}

// Solves A x = b (n by n, column-major, dense) in place in b by elimination with partial
// pivoting; nrhs columns with leading dimension n.
inline void dense_solve(int n, int nrhs, std::vector<lc> a, std::vector<lc>& b) {
  for (int k = 0; k < n; ++k) {
    int p = k;
    for (int i = k + 1; i < n; ++i)
      if (std::abs(a[i + k * n]) > std::abs(a[p + k * n])) p = i;
    for (int j = 0; j < n; ++j) std::swap(a[k + j * n], a[p + j * n]);
    for (int j = 0; j < nrhs; ++j) std::swap(b[k + j * n], b[p + j * n]);
    for (int i = k + 1; i < n; ++i) {
      const lc f = a[i + k * n] / a[k + k * n];
      for (int j = k; j < n; ++j) a[i + j * n] -= f * a[k + j * n];
      for (int j = 0; j < nrhs; ++j) b[i + j * n] -= f * b[k + j * n];
    }
  }
  for (int j = 0; j < nrhs; ++j)
    for (int i = n - 1; i >= 0; --i) {
      lc s = b[i + j * n];
      for (int l = i + 1; l < n; ++l) s -= a[i + l * n] * b[l + j * n];
      b[i + j * n] = s / a[i + i * n];
    }
}

}  // namespace lapack_test

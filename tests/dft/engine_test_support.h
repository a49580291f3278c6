// Shared pieces of the line engine's tests: contexts that free themselves, random lines, a naive
// DFT in long double, and the relative RMS error against it.
#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <random>
#include <vector>

#include "dft/engine_internal.h"
#include "dft/engine_tuning.h"

namespace engine_test {

using namespace zvx::dft;
using lc = std::complex<long double>;

template <class T>
struct precision;
template <>
struct precision<float> {
  using element = zvx_complex8;
  static constexpr int ordered = context_complex_single;
  static constexpr int scrambled = context_complex_single_scrambled;
  static constexpr double tolerance = 1e-7;  // times log2 n, relative RMS
  static constexpr int group_limit = tuning::group_limit_single;
  static constexpr int reorder_limit = tuning::reorder_limit_single;
  static int forward(int type, const element* x, element* y, PrimitiveDftContext* c, void* s) {
    return type == ordered ? primitive_dft_forward_c(x, y, c, s)
                           : primitive_dft_forward_c_scrambled(x, y, c, s);
  }
  static int inverse(int type, const element* x, element* y, PrimitiveDftContext* c, void* s) {
    return type == ordered ? primitive_dft_inverse_c(x, y, c, s)
                           : primitive_dft_inverse_c_scrambled(x, y, c, s);
  }
};
template <>
struct precision<double> {
  using element = zvx_complex16;
  static constexpr int ordered = context_complex_double;
  static constexpr int scrambled = context_complex_double_scrambled;
  static constexpr double tolerance = 2e-16;
  static constexpr int group_limit = tuning::group_limit_double;
  static constexpr int reorder_limit = tuning::reorder_limit_double;
  static int forward(int type, const element* x, element* y, PrimitiveDftContext* c, void* s) {
    return type == ordered ? primitive_dft_forward_z(x, y, c, s)
                           : primitive_dft_forward_z_scrambled(x, y, c, s);
  }
  static int inverse(int type, const element* x, element* y, PrimitiveDftContext* c, void* s) {
    return type == ordered ? primitive_dft_inverse_z(x, y, c, s)
                           : primitive_dft_inverse_z_scrambled(x, y, c, s);
  }
};

// A context that is freed at the end of its scope.
struct context {
  PrimitiveDftContext* c = nullptr;
  int status = 0;
  context(int type, int n, int flag = scale_none) {
    status = primitive_dft_create(&c, type, n, flag, 0);
  }
  ~context() { primitive_dft_free(c); }
  context(const context&) = delete;
  context& operator=(const context&) = delete;
};

template <class T>
std::vector<typename precision<T>::element> random_line(long n, unsigned seed) {
  std::mt19937_64 g(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::vector<typename precision<T>::element> x(n);
  for (auto& e : x) {
    e.real = static_cast<T>(u(g));
    e.imag = static_cast<T>(u(g));
  }
  return x;
}

template <class E>
lc widen(const E& e) {
  return lc(e.real, e.imag);
}

// sum_j x(j) exp(sign 2 pi i jk / n), the exponent reduced modulo n in integers.
template <class E>
std::vector<lc> naive_dft(const std::vector<E>& x, int sign) {
  const long n = static_cast<long>(x.size());
  const long double two_pi = 6.283185307179586476925286766559005768L;
  std::vector<lc> roots(n), y(n);
  for (long t = 0; t < n; ++t) {
    const long double a = two_pi * t / n;
    roots[t] = lc(cosl(a), sign * sinl(a));
  }
  for (long k = 0; k < n; ++k) {
    lc sum = 0;
    long t = 0;
    for (long j = 0; j < n; ++j) {
      sum += widen(x[j]) * roots[t];
      t += k;
      if (t >= n) t -= n;
    }
    y[k] = sum;
  }
  return y;
}

template <class E>
double relative_rms(const std::vector<E>& y, const std::vector<lc>& want) {
  long double num = 0, den = 0;
  for (size_t k = 0; k < want.size(); ++k) {
    num += std::norm(widen(y[k]) - want[k]);
    den += std::norm(want[k]);
  }
  return den == 0 ? static_cast<double>(sqrtl(num)) : static_cast<double>(sqrtl(num / den));
}

// The accuracy a transform of length n must reach.
template <class T>
double bound(long n) {
  return precision<T>::tolerance * std::max(1.0, std::log2(static_cast<double>(n)));
}

}  // namespace engine_test

// Shared pieces of the level-1/level-2 tests: element types, random data, strided vectors, and
// the long double complex arithmetic the reference loops use.
#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

#include "zvx.h"

namespace ref {

using lc = std::complex<long double>;

template <class T> struct info;
template <> struct info<float> { using R = float; static constexpr bool cx = false; static constexpr const char* name = "s"; };
template <> struct info<double> { using R = double; static constexpr bool cx = false; static constexpr const char* name = "d"; };
template <> struct info<zvx_complex8> { using R = float; static constexpr bool cx = true; static constexpr const char* name = "c"; };
template <> struct info<zvx_complex16> { using R = double; static constexpr bool cx = true; static constexpr const char* name = "z"; };
template <class T> using R_t = typename info<T>::R;

template <class T> lc L(const T& v) {
  if constexpr (info<T>::cx) return lc(v.real, v.imag);
  else return lc(v, 0);
}
template <class T> T make(lc v) {
  if constexpr (info<T>::cx) return T{(R_t<T>)v.real(), (R_t<T>)v.imag()};
  else return (T)v.real();
}
template <class T> long double eps() { return std::numeric_limits<R_t<T>>::epsilon(); }

inline std::mt19937_64& rng() {
  static std::mt19937_64 g(12345);
  return g;
}
inline long double uniform() { return std::uniform_real_distribution<double>(-1, 1)(rng()); }
template <class T> T random_value() {
  return make<T>(info<T>::cx ? lc(uniform(), uniform()) : lc(uniform(), 0));
}
template <class T> std::vector<T> random_vector(size_t len) {
  std::vector<T> v(len);
  for (auto& e : v) e = random_value<T>();
  return v;
}

// Storage of a vector of n elements at increment inc, and where its k-th element lives.
inline size_t storage(int n, int inc) { return n < 1 ? 1 : 1 + (size_t)(n - 1) * (size_t)std::abs(inc); }
inline size_t at(int k, int n, int inc) { return inc >= 0 ? (size_t)k * inc : (size_t)(n - 1 - k) * (size_t)(-inc); }

// |a - b| within `ulps` units of the precision of T times `scale` (a magnitude of the terms).
template <class T> ::testing::AssertionResult close(lc got, lc want, long double scale, long double ulps = 8) {
  const long double err = std::abs(got - want);
  const long double bound = ulps * eps<T>() * (scale + std::abs(want)) + std::numeric_limits<R_t<T>>::min();
  if (err <= bound) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "got (" << (double)got.real() << ", " << (double)got.imag() << ") want ("
                                       << (double)want.real() << ", " << (double)want.imag() << ") err "
                                       << (double)err << " bound " << (double)bound;
}
template <class T> bool same_bits(const T& a, const T& b) { return memcmp(&a, &b, sizeof(T)) == 0; }

}  // namespace ref

// The element vocabulary of every subsystem: one template serves s, d, c and z.
//
// Complex elements are the public records zvx_complex8 and zvx_complex16 (real part first), so an
// entry passes the caller's arrays to its kernels without a cast. Complex arithmetic is written
// out (no library call for the NaN recovery of the C rules): the kernels trust IEEE arithmetic like
// the real ones. The operators stand in the global namespace, beside the records, so that argument
// lookup finds them from every namespace of the library.
#pragma once
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "zvx_common.h"

namespace zvx {

template <class T> struct real_of { using type = T; };
template <> struct real_of<zvx_complex8> { using type = float; };
template <> struct real_of<zvx_complex16> { using type = double; };
// The real type under T: float for float and zvx_complex8, double for double and zvx_complex16.
template <class T> using real_t = typename real_of<T>::type;
template <class T> inline constexpr bool is_complex = !std::is_same_v<T, real_t<T>>;

template <class R> struct complex_of;
template <> struct complex_of<float> { using type = zvx_complex8; };
template <> struct complex_of<double> { using type = zvx_complex16; };
// The complex record over the real type R.
template <class R> using complex_t = typename complex_of<R>::type;

template <class T> inline T conj(T a) {
  if constexpr (is_complex<T>) return {a.real, -a.imag};
  else return a;
}
template <class T> inline T zero() { return T{}; }
template <class T> inline T from_real(real_t<T> r) {
  if constexpr (is_complex<T>) return {r, 0};
  else return r;
}
template <class T> inline real_t<T> re(T a) {
  if constexpr (is_complex<T>) return a.real;
  else return a;
}
template <class T> inline bool is_zero(T a) {
  if constexpr (is_complex<T>) return a.real == 0 && a.imag == 0;
  else return a == 0;
}
template <class T> inline bool is_one(T a) {
  if constexpr (is_complex<T>) return a.real == 1 && a.imag == 0;
  else return a == 1;
}
// |re| + |im|, the measure of the complex iamax family, the imaginary part taken first.
template <class T> inline real_t<T> abs1(T a) {
  if constexpr (is_complex<T>) return std::fabs(a.imag) + std::fabs(a.real);
  else return std::fabs(a);
}

// 1 / a with the division done once; complex: the conjugate times the reciprocal of |a|^2, which
// is formed in extended precision so that it neither overflows nor underflows for any finite
// element (a double square reaches 1e600 where its diagonal is 1e300). Zeros follow IEEE
// arithmetic: the reciprocal of 0 is infinite and the product with it NaN or infinite.
template <class T> inline T reciprocal(T a) {
  if constexpr (is_complex<T>) {
    using R = real_t<T>;
    const long double inv = 1.0L / ((long double)a.real * a.real + (long double)a.imag * a.imag);
    return {R(a.real * inv), R(-a.imag * inv)};
  } else {
    return T(1) / a;
  }
}

// Bit test of a real zero, sign ignored: -0 counts as 0.
inline bool zero_bits(double a) {
  uint64_t b;
  memcpy(&b, &a, 8);
  return (b << 1) == 0;
}
inline bool zero_bits(float a) {
  uint32_t b;
  memcpy(&b, &a, 4);
  return (b << 1) == 0;
}

// Start of a vector walked by `inc` over `len` elements: the reference rule for negative steps.
inline long start_of(int len, int inc) { return inc < 0 ? (long)(1 - len) * inc : 0; }

}  // namespace zvx

template <class T, class = std::enable_if_t<zvx::is_complex<T>>>
inline T operator+(T a, T b) { return {a.real + b.real, a.imag + b.imag}; }
template <class T, class = std::enable_if_t<zvx::is_complex<T>>>
inline T operator-(T a, T b) { return {a.real - b.real, a.imag - b.imag}; }
template <class T, class = std::enable_if_t<zvx::is_complex<T>>>
inline T operator-(T a) { return {-a.real, -a.imag}; }
template <class T, class = std::enable_if_t<zvx::is_complex<T>>>
inline T operator*(T a, T b) {
  return {a.real * b.real - a.imag * b.imag, a.real * b.imag + a.imag * b.real};
}
template <class T, class = std::enable_if_t<zvx::is_complex<T>>>
inline T operator*(zvx::real_t<T> a, T b) { return {a * b.real, a * b.imag}; }
template <class T, class = std::enable_if_t<zvx::is_complex<T>>>
inline T operator*(T b, zvx::real_t<T> a) { return {b.real * a, b.imag * a}; }
// Division without scaling: the reciprocal of |b|^2 is formed in extended precision and
// multiplied into the numerator, so that no intermediate overflows for any finite b.
template <class T, class = std::enable_if_t<zvx::is_complex<T>>>
inline T operator/(T a, T b) {
  using R = zvx::real_t<T>;
  const long double inv = 1.0L / ((long double)b.real * b.real + (long double)b.imag * b.imag);
  return {R(((long double)a.real * b.real + (long double)a.imag * b.imag) * inv),
          R(((long double)a.imag * b.real - (long double)a.real * b.imag) * inv)};
}
template <class T, class = std::enable_if_t<zvx::is_complex<T>>>
inline T& operator+=(T& a, T b) { return a = a + b; }
template <class T, class = std::enable_if_t<zvx::is_complex<T>>>
inline T& operator-=(T& a, T b) { return a = a - b; }
template <class T, class = std::enable_if_t<zvx::is_complex<T>>>
inline T& operator*=(T& a, T b) { return a = a * b; }
template <class T, class = std::enable_if_t<zvx::is_complex<T>>>
inline T& operator*=(T& a, zvx::real_t<T> b) { return a = a * b; }

// Element helpers for the symmetric, Hermitian and triangular level-3 operations and the LAPACK
// kernels: one template serves s, d, c and z. Complex arithmetic is written out on the public
// complex records (no library call for the NaN recovery of the C rules): these kernels trust IEEE
// arithmetic like the real ones.
#pragma once
#include <cmath>
#include <type_traits>

#include "zvx_common.h"

namespace zvx::l3ops {

template <class T> struct real_of { using type = T; };
template <> struct real_of<zvx_complex8> { using type = float; };
template <> struct real_of<zvx_complex16> { using type = double; };
template <class T> using real_t = typename real_of<T>::type;
template <class T> inline constexpr bool is_complex = !std::is_same_v<T, real_t<T>>;

template <class T, class = std::enable_if_t<is_complex<T>>>
inline T operator+(T a, T b) { return {a.real + b.real, a.imag + b.imag}; }
template <class T, class = std::enable_if_t<is_complex<T>>>
inline T operator-(T a, T b) { return {a.real - b.real, a.imag - b.imag}; }
template <class T, class = std::enable_if_t<is_complex<T>>>
inline T operator-(T a) { return {-a.real, -a.imag}; }
template <class T, class = std::enable_if_t<is_complex<T>>>
inline T operator*(T a, T b) {
  return {a.real * b.real - a.imag * b.imag, a.real * b.imag + a.imag * b.real};
}
template <class T, class = std::enable_if_t<is_complex<T>>>
inline T operator*(real_t<T> a, T b) { return {a * b.real, a * b.imag}; }
template <class T, class = std::enable_if_t<is_complex<T>>>
inline T operator*(T b, real_t<T> a) { return {b.real * a, b.imag * a}; }
template <class T, class = std::enable_if_t<is_complex<T>>>
inline T& operator+=(T& a, T b) { return a = a + b; }
template <class T, class = std::enable_if_t<is_complex<T>>>
inline T& operator-=(T& a, T b) { return a = a - b; }
template <class T, class = std::enable_if_t<is_complex<T>>>
inline T& operator*=(T& a, T b) { return a = a * b; }
template <class T, class = std::enable_if_t<is_complex<T>>>
inline T& operator*=(T& a, real_t<T> b) { return a = a * b; }

template <class T> inline T conj(T a) {
  if constexpr (is_complex<T>) return {a.real, -a.imag};
  else return a;
}
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
// 1 / a with the division done once; complex: the conjugate times the reciprocal of |a|^2, which
// is formed in extended precision so that it neither overflows nor underflows for any finite
// element (a double square reaches 1e600 where its diagonal is 1e300). Zeros follow IEEE
// arithmetic: the reciprocal of 0 is infinite and the product with it NaN or infinite.
template <class T> inline T reciprocal(T a) {
  if constexpr (is_complex<T>) {
    using R = real_t<T>;
    const long double inv =
        1.0L / ((long double)a.real * a.real + (long double)a.imag * a.imag);
    return {R(a.real * inv), R(-a.imag * inv)};
  } else {
    return T(1) / a;
  }
}

// Options: the first character only.
inline bool is_char(const char* c, char upper) { return *c == upper || *c == upper + ('a' - 'A'); }

}  // namespace zvx::l3ops

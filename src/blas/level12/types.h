// Element types and small helpers shared by the level-1 and level-2 sources.
//
// One template serves s, d, c and z: `real_t<T>` is the real type under T, `cplx<R>` has the
// layout of zvx_complex8/zvx_complex16 (real part first), and conj() is the identity on reals.
// Complex products are written out (no library call for the NaN recovery of the C rules): the
// kernels trust IEEE arithmetic like the real ones.
#pragma once
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "zvx_common.h"

namespace zvx::blas12 {

template <class R>
struct cplx {
  R re, im;
};
static_assert(sizeof(cplx<float>) == sizeof(zvx_complex8));
static_assert(sizeof(cplx<double>) == sizeof(zvx_complex16));

template <class T> struct real_of { using type = T; };
template <class R> struct real_of<cplx<R>> { using type = R; };
template <class T> using real_t = typename real_of<T>::type;
template <class T> inline constexpr bool is_complex = !std::is_same_v<T, real_t<T>>;

template <class R> inline cplx<R> operator+(cplx<R> a, cplx<R> b) { return {a.re + b.re, a.im + b.im}; }
template <class R> inline cplx<R> operator-(cplx<R> a, cplx<R> b) { return {a.re - b.re, a.im - b.im}; }
template <class R> inline cplx<R> operator-(cplx<R> a) { return {-a.re, -a.im}; }
template <class R> inline cplx<R> operator*(cplx<R> a, cplx<R> b) {
  return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
template <class R> inline cplx<R> operator*(R a, cplx<R> b) { return {a * b.re, a * b.im}; }
template <class R> inline cplx<R> operator*(cplx<R> b, R a) { return {b.re * a, b.im * a}; }
template <class R> inline cplx<R>& operator+=(cplx<R>& a, cplx<R> b) { return a = a + b; }
template <class R> inline cplx<R>& operator-=(cplx<R>& a, cplx<R> b) { return a = a - b; }
template <class R> inline cplx<R>& operator*=(cplx<R>& a, cplx<R> b) { return a = a * b; }
template <class R> inline cplx<R>& operator*=(cplx<R>& a, R b) { return a = a * b; }
// Division without scaling: the reciprocal of |b|^2 is formed in extended precision and multiplied
// into the numerator, so that no intermediate overflows for ordinary magnitudes.
template <class R> inline cplx<R> operator/(cplx<R> a, cplx<R> b) {
  const long double inv = 1.0L / ((long double)b.re * b.re + (long double)b.im * b.im);
  return {R(((long double)a.re * b.re + (long double)a.im * b.im) * inv),
          R(((long double)a.im * b.re - (long double)a.re * b.im) * inv)};
}

template <class T> inline T conj(T a) {
  if constexpr (is_complex<T>) return {a.re, -a.im};
  else return a;
}
template <class T> inline bool is_zero(T a) {
  if constexpr (is_complex<T>) return a.re == 0 && a.im == 0;
  else return a == 0;
}
template <class T> inline bool is_one(T a) {
  if constexpr (is_complex<T>) return a.re == 1 && a.im == 0;
  else return a == 1;
}
template <class T> inline T zero() { return T{}; }
template <class T> inline T from_real(real_t<T> r) {
  if constexpr (is_complex<T>) return {r, 0};
  else return r;
}
template <class T> inline real_t<T> re(T a) {
  if constexpr (is_complex<T>) return a.re;
  else return a;
}
// |re| + |im|, the measure of the complex iamax family, the imaginary part taken first.
template <class T> inline real_t<T> abs1(T a) {
  if constexpr (is_complex<T>) return std::fabs(a.im) + std::fabs(a.re);
  else return std::fabs(a);
}

// Start of a vector walked by `inc` over `len` elements: the reference rule for negative steps.
inline long start_of(int len, int inc) { return inc < 0 ? (long)(1 - len) * inc : 0; }

// Options: the first character only, compared with both cases where the routine does so.
inline bool is_char(const char* c, char upper) { return *c == upper || *c == upper + ('a' - 'A'); }

// Which operator applies to a matrix: as stored, transposed, or conjugate-transposed.
enum class op : int { n = 0, t = 1, c = 2 };
// Triangular and band families: "N" is as stored, "C" conjugates (complex only), anything else
// transposes.
template <class T> inline op tri_op(const char* trans) {
  if (is_char(trans, 'N')) return op::n;
  if (is_complex<T> && is_char(trans, 'C')) return op::c;
  return op::t;
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

}  // namespace zvx::blas12

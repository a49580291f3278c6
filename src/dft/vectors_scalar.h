// The one-element complex "vector" every DFT engine's passes fall back to, and the products by
// -i and +i that the direction of a transform selects. The instruction-set vectors
// (vectors_avx2.h, vectors_avx512.h) offer the same members.
#pragma once

namespace zvx::dft {

// Scalar complex "vector" of one element: the portable path, the tails of the vector paths and
// lines too short to fill W vectors of W elements.
template <class T>
struct scalar_complex {
  using real = T;
  struct R {
    T re, im;
  };
  static constexpr int W = 1;
  static R load(const T* p) { return {p[0], p[1]}; }
  static void store(T* p, R v) { p[0] = v.re; p[1] = v.im; }
  static R bcast(const T* p) { return {p[0], p[1]}; }
  static R add(R a, R b) { return {a.re + b.re, a.im + b.im}; }
  static R sub(R a, R b) { return {a.re - b.re, a.im - b.im}; }
  static R mulr(R a, T c) { return {a.re * c, a.im * c}; }
  static R fmar(R acc, R a, T c) { return {acc.re + a.re * c, acc.im + a.im * c}; }
  static R neg_i(R a) { return {a.im, -a.re}; }
  static R pos_i(R a) { return {-a.im, a.re}; }
  static R conj(R a) { return {a.re, -a.im}; }
  static R reverse(R a) { return a; }
  // With one element a vector, shifting by one element takes the other vector whole.
  static R shift_down(R, R hi) { return hi; }
  static R shift_up(R lo, R) { return lo; }
  static R set_first(R, T re, T im) { return {re, im}; }
  static R cmul_dup(R a, R wr, R wi) {
    return {a.re * wr.re - a.im * wi.re, a.re * wi.re + a.im * wr.re};
  }
  template <bool Conj>
  static R cmul(R a, R w) {
    if constexpr (Conj) return {a.re * w.re + a.im * w.im, a.im * w.re - a.re * w.im};
    else return {a.re * w.re - a.im * w.im, a.re * w.im + a.im * w.re};
  }
  template <bool Conj>
  static R cmul_split(R a, T wr, T wi) { return cmul<Conj>(a, R{wr, wi}); }
  static R repeat(const T* p, long) { return load(p); }
  static bool interleave4(T*, long, R, R, R, R) { return false; }
  static bool interleave2(T*, long, R, R) { return false; }
  static void transpose(R*) {}
};

// Forward multiplies by -i, inverse by +i.
template <class V, bool Inv>
inline typename V::R rot(typename V::R b) {
  if constexpr (Inv) return V::pos_i(b);
  else return V::neg_i(b);
}

}  // namespace zvx::dft

// Complex vectors for AVX2 and FMA: two complex doubles or four complex floats a vector,
// interleaved (real, imaginary). One vocabulary for every DFT engine's kernels built with these
// flags; include it only from files compiled for AVX2 and FMA.
#pragma once
#include <immintrin.h>

#include <cstring>

namespace zvx::dft::isa_avx2 {

struct avx2_double {
  using real = double;
  using R = __m256d;
  static constexpr int W = 2;
  static R load(const double* p) { return _mm256_loadu_pd(p); }
  static void store(double* p, R v) { _mm256_storeu_pd(p, v); }
  static R bcast(const double* p) {
    return _mm256_broadcast_pd(reinterpret_cast<const __m128d*>(p));
  }
  static R repeat(const double* p, long) { return load(p); }  // s below W = 2 is 1
  static R add(R a, R b) { return _mm256_add_pd(a, b); }
  static R sub(R a, R b) { return _mm256_sub_pd(a, b); }
  static R mulr(R a, double c) { return _mm256_mul_pd(a, _mm256_set1_pd(c)); }
  static R fmar(R acc, R a, double c) { return _mm256_fmadd_pd(a, _mm256_set1_pd(c), acc); }
  static R swap(R a) { return _mm256_permute_pd(a, 0x5); }
  static R neg_i(R a) { return _mm256_xor_pd(swap(a), _mm256_setr_pd(0.0, -0.0, 0.0, -0.0)); }
  static R pos_i(R a) { return _mm256_xor_pd(swap(a), _mm256_setr_pd(-0.0, 0.0, -0.0, 0.0)); }
  static R conj(R a) { return _mm256_xor_pd(a, _mm256_setr_pd(0.0, -0.0, 0.0, -0.0)); }
  // Elements 1 .. W-1 of lo and element 0 of hi; element W-1 of lo and 0 .. W-2 of hi (with
  // two elements a vector, both are the pair (lo[1], hi[0])).
  static R shift_down(R lo, R hi) { return _mm256_permute2f128_pd(lo, hi, 0x21); }
  static R shift_up(R lo, R hi) { return _mm256_permute2f128_pd(lo, hi, 0x21); }
  // a with its element 0 replaced by (re, im).
  static R set_first(R a, double re, double im) {
    return _mm256_blend_pd(a, _mm256_castpd128_pd256(_mm_setr_pd(re, im)), 0x3);
  }
  static R reverse(R a) { return _mm256_permute2f128_pd(a, a, 0x01); }
  // a times w, with w's real and imaginary parts each repeated over its element.
  static R cmul_dup(R a, R wr, R wi) {
    return _mm256_fmaddsub_pd(a, wr, _mm256_mul_pd(swap(a), wi));
  }
  template <bool Conj>
  static R cmul_split(R a, double wr, double wi) {
    const R t = _mm256_mul_pd(swap(a), _mm256_set1_pd(wi));
    const R r = _mm256_set1_pd(wr);
    return Conj ? _mm256_fmsubadd_pd(a, r, t) : _mm256_fmaddsub_pd(a, r, t);
  }
  template <bool Conj>
  static R cmul(R a, R w) {
    const R wr = _mm256_movedup_pd(w), wi = _mm256_permute_pd(w, 0xF);
    const R t = _mm256_mul_pd(swap(a), wi);
    return Conj ? _mm256_fmsubadd_pd(a, wr, t) : _mm256_fmaddsub_pd(a, wr, t);
  }
  static bool interleave2(double*, long, R, R) { return false; }
  // Element q of vector k to element k of vector q, two vectors.
  static void transpose(R* v) {
    const R a = _mm256_permute2f128_pd(v[0], v[1], 0x20);
    v[1] = _mm256_permute2f128_pd(v[0], v[1], 0x31);
    v[0] = a;
  }
  // s = 1: each vector holds two groups of one element.
  static bool interleave4(double* y, long s, R y0, R y1, R y2, R y3) {
    if (s != 1) return false;
    _mm256_storeu_pd(y, _mm256_permute2f128_pd(y0, y1, 0x20));
    _mm256_storeu_pd(y + 4, _mm256_permute2f128_pd(y2, y3, 0x20));
    _mm256_storeu_pd(y + 8, _mm256_permute2f128_pd(y0, y1, 0x31));
    _mm256_storeu_pd(y + 12, _mm256_permute2f128_pd(y2, y3, 0x31));
    return true;
  }
};

struct avx2_single {
  using real = float;
  using R = __m256;
  static constexpr int W = 4;
  static R load(const float* p) { return _mm256_loadu_ps(p); }
  static void store(float* p, R v) { _mm256_storeu_ps(p, v); }
  static R bcast(const float* p) {
    double d;
    std::memcpy(&d, p, sizeof d);
    return _mm256_castpd_ps(_mm256_set1_pd(d));
  }
  // W / s complex numbers, each repeated s times (s = 1, 2), moved as 64-bit words.
  static R repeat(const float* p, long s) {
    if (s == 1) return load(p);
    return _mm256_castpd_ps(_mm256_permute4x64_pd(
        _mm256_castpd128_pd256(_mm_loadu_pd(reinterpret_cast<const double*>(p))), 0x50));
  }
  static R add(R a, R b) { return _mm256_add_ps(a, b); }
  static R sub(R a, R b) { return _mm256_sub_ps(a, b); }
  static R mulr(R a, float c) { return _mm256_mul_ps(a, _mm256_set1_ps(c)); }
  static R fmar(R acc, R a, float c) { return _mm256_fmadd_ps(a, _mm256_set1_ps(c), acc); }
  static R swap(R a) { return _mm256_permute_ps(a, 0xB1); }
  static R neg_i(R a) {
    return _mm256_xor_ps(swap(a), _mm256_setr_ps(0.f, -0.f, 0.f, -0.f, 0.f, -0.f, 0.f, -0.f));
  }
  static R pos_i(R a) {
    return _mm256_xor_ps(swap(a), _mm256_setr_ps(-0.f, 0.f, -0.f, 0.f, -0.f, 0.f, -0.f, 0.f));
  }
  static R conj(R a) {
    return _mm256_xor_ps(a, _mm256_setr_ps(0.f, -0.f, 0.f, -0.f, 0.f, -0.f, 0.f, -0.f));
  }
  // Elements 1 .. W-1 of lo and element 0 of hi; element W-1 of lo and 0 .. W-2 of hi. The
  // elements move as 64-bit words: t holds elements 2, 3 of lo and 0, 1 of hi.
  static R shift_down(R lo, R hi) {
    const __m256d l = _mm256_castps_pd(lo), h = _mm256_castps_pd(hi);
    return _mm256_castpd_ps(_mm256_shuffle_pd(l, _mm256_permute2f128_pd(l, h, 0x21), 0x5));
  }
  static R shift_up(R lo, R hi) {
    const __m256d l = _mm256_castps_pd(lo), h = _mm256_castps_pd(hi);
    return _mm256_castpd_ps(_mm256_shuffle_pd(_mm256_permute2f128_pd(l, h, 0x21), h, 0x5));
  }
  // a with its element 0 replaced by (re, im).
  static R set_first(R a, float re, float im) {
    return _mm256_blend_ps(a, _mm256_castps128_ps256(_mm_setr_ps(re, im, 0.0f, 0.0f)), 0x3);
  }
  static R reverse(R a) {
    return _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(a), 0x1B));
  }
  // a times w, with w's real and imaginary parts each repeated over its element.
  static R cmul_dup(R a, R wr, R wi) {
    return _mm256_fmaddsub_ps(a, wr, _mm256_mul_ps(swap(a), wi));
  }
  template <bool Conj>
  static R cmul_split(R a, float wr, float wi) {
    const R t = _mm256_mul_ps(swap(a), _mm256_set1_ps(wi));
    const R r = _mm256_set1_ps(wr);
    return Conj ? _mm256_fmsubadd_ps(a, r, t) : _mm256_fmaddsub_ps(a, r, t);
  }
  template <bool Conj>
  static R cmul(R a, R w) {
    const R wr = _mm256_moveldup_ps(w), wi = _mm256_movehdup_ps(w);
    const R t = _mm256_mul_ps(swap(a), wi);
    return Conj ? _mm256_fmsubadd_ps(a, wr, t) : _mm256_fmaddsub_ps(a, wr, t);
  }
  static bool interleave2(float*, long, R, R) { return false; }
  // Element q of vector k to element k of vector q, four vectors.
  static void transpose(R* v) {
    const __m256d l01 = _mm256_unpacklo_pd(_mm256_castps_pd(v[0]), _mm256_castps_pd(v[1]));
    const __m256d h01 = _mm256_unpackhi_pd(_mm256_castps_pd(v[0]), _mm256_castps_pd(v[1]));
    const __m256d l23 = _mm256_unpacklo_pd(_mm256_castps_pd(v[2]), _mm256_castps_pd(v[3]));
    const __m256d h23 = _mm256_unpackhi_pd(_mm256_castps_pd(v[2]), _mm256_castps_pd(v[3]));
    v[0] = _mm256_castpd_ps(_mm256_permute2f128_pd(l01, l23, 0x20));
    v[1] = _mm256_castpd_ps(_mm256_permute2f128_pd(h01, h23, 0x20));
    v[2] = _mm256_castpd_ps(_mm256_permute2f128_pd(l01, l23, 0x31));
    v[3] = _mm256_castpd_ps(_mm256_permute2f128_pd(h01, h23, 0x31));
  }
  static bool interleave4(float* y, long s, R f0, R f1, R f2, R f3) {
    const __m256d y0 = _mm256_castps_pd(f0), y1 = _mm256_castps_pd(f1);
    const __m256d y2 = _mm256_castps_pd(f2), y3 = _mm256_castps_pd(f3);
    double* d = reinterpret_cast<double*>(y);
    if (s == 1) {  // a 4 x 4 transpose of complex elements
      const __m256d l01 = _mm256_unpacklo_pd(y0, y1), h01 = _mm256_unpackhi_pd(y0, y1);
      const __m256d l23 = _mm256_unpacklo_pd(y2, y3), h23 = _mm256_unpackhi_pd(y2, y3);
      _mm256_storeu_pd(d, _mm256_permute2f128_pd(l01, l23, 0x20));
      _mm256_storeu_pd(d + 4, _mm256_permute2f128_pd(h01, h23, 0x20));
      _mm256_storeu_pd(d + 8, _mm256_permute2f128_pd(l01, l23, 0x31));
      _mm256_storeu_pd(d + 12, _mm256_permute2f128_pd(h01, h23, 0x31));
      return true;
    }
    if (s == 2) {  // two groups of two elements a vector
      _mm256_storeu_pd(d, _mm256_permute2f128_pd(y0, y1, 0x20));
      _mm256_storeu_pd(d + 4, _mm256_permute2f128_pd(y2, y3, 0x20));
      _mm256_storeu_pd(d + 8, _mm256_permute2f128_pd(y0, y1, 0x31));
      _mm256_storeu_pd(d + 12, _mm256_permute2f128_pd(y2, y3, 0x31));
      return true;
    }
    return false;
  }
};

}  // namespace zvx::dft::isa_avx2

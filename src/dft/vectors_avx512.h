// Complex vectors for AVX-512 (F, DQ): four complex doubles or eight complex floats a vector,
// interleaved (real, imaginary). One vocabulary for every DFT engine's kernels built with these
// flags; include it only from files compiled for AVX-512.
#pragma once
#include <immintrin.h>

#include <cstring>

namespace zvx::dft::isa_avx512 {

// Groups of s outputs of four vectors, interleaved: for each group, the s elements of y0, then
// of y1, y2, y3. Units of 128 bits (one complex double, two complex floats): a 4 x 4 transpose of
// lanes.
inline void interleave_lanes(double* d, __m512d y0, __m512d y1, __m512d y2, __m512d y3) {
  const __m512d u0 = _mm512_shuffle_f64x2(y0, y1, _MM_SHUFFLE(2, 0, 2, 0));
  const __m512d u1 = _mm512_shuffle_f64x2(y0, y1, _MM_SHUFFLE(3, 1, 3, 1));
  const __m512d u2 = _mm512_shuffle_f64x2(y2, y3, _MM_SHUFFLE(2, 0, 2, 0));
  const __m512d u3 = _mm512_shuffle_f64x2(y2, y3, _MM_SHUFFLE(3, 1, 3, 1));
  _mm512_storeu_pd(d, _mm512_shuffle_f64x2(u0, u2, _MM_SHUFFLE(2, 0, 2, 0)));
  _mm512_storeu_pd(d + 8, _mm512_shuffle_f64x2(u1, u3, _MM_SHUFFLE(2, 0, 2, 0)));
  _mm512_storeu_pd(d + 16, _mm512_shuffle_f64x2(u0, u2, _MM_SHUFFLE(3, 1, 3, 1)));
  _mm512_storeu_pd(d + 24, _mm512_shuffle_f64x2(u1, u3, _MM_SHUFFLE(3, 1, 3, 1)));
}
// Units of 256 bits: halves.
inline void interleave_halves(double* d, __m512d y0, __m512d y1, __m512d y2, __m512d y3) {
  _mm512_storeu_pd(d, _mm512_shuffle_f64x2(y0, y1, _MM_SHUFFLE(1, 0, 1, 0)));
  _mm512_storeu_pd(d + 8, _mm512_shuffle_f64x2(y2, y3, _MM_SHUFFLE(1, 0, 1, 0)));
  _mm512_storeu_pd(d + 16, _mm512_shuffle_f64x2(y0, y1, _MM_SHUFFLE(3, 2, 3, 2)));
  _mm512_storeu_pd(d + 24, _mm512_shuffle_f64x2(y2, y3, _MM_SHUFFLE(3, 2, 3, 2)));
}
// Units of 64 bits (one complex float): a 4 x 8 transpose.
inline void interleave_elements(double* d, __m512d y0, __m512d y1, __m512d y2, __m512d y3) {
  const __m512d a = _mm512_unpacklo_pd(y0, y1), b = _mm512_unpackhi_pd(y0, y1);
  const __m512d c = _mm512_unpacklo_pd(y2, y3), e = _mm512_unpackhi_pd(y2, y3);
  const __m512d f = _mm512_shuffle_f64x2(a, c, _MM_SHUFFLE(1, 0, 1, 0));
  const __m512d g = _mm512_shuffle_f64x2(b, e, _MM_SHUFFLE(1, 0, 1, 0));
  const __m512d h = _mm512_shuffle_f64x2(a, c, _MM_SHUFFLE(3, 2, 3, 2));
  const __m512d k = _mm512_shuffle_f64x2(b, e, _MM_SHUFFLE(3, 2, 3, 2));
  _mm512_storeu_pd(d, _mm512_shuffle_f64x2(f, g, _MM_SHUFFLE(2, 0, 2, 0)));
  _mm512_storeu_pd(d + 8, _mm512_shuffle_f64x2(f, g, _MM_SHUFFLE(3, 1, 3, 1)));
  _mm512_storeu_pd(d + 16, _mm512_shuffle_f64x2(h, k, _MM_SHUFFLE(2, 0, 2, 0)));
  _mm512_storeu_pd(d + 24, _mm512_shuffle_f64x2(h, k, _MM_SHUFFLE(3, 1, 3, 1)));
}

// Groups of u 64-bit words of two vectors, interleaved (u words of y0, then u of y1, for each
// group): one two-source permutation per output vector, its indices fixed by u.
template <int U>
struct pair_index {
  alignas(64) long long v[16];
  constexpr pair_index() : v{} {
    for (int p = 0; p < 16; ++p) {
      const int g = p / (2 * U), k = (p % (2 * U)) / U, w = p % U;
      v[p] = k * 8 + g * U + w;
    }
  }
};
template <int U>
inline constexpr pair_index<U> pair_indices{};

template <int U>
inline void interleave_pairs(double* d, __m512d y0, __m512d y1) {
  const __m512i low = _mm512_load_si512(pair_indices<U>.v);
  const __m512i high = _mm512_load_si512(pair_indices<U>.v + 8);
  _mm512_storeu_pd(d, _mm512_permutex2var_pd(y0, low, y1));
  _mm512_storeu_pd(d + 8, _mm512_permutex2var_pd(y0, high, y1));
}

struct avx512_double {
  using real = double;
  using R = __m512d;
  static constexpr int W = 4;
  static R load(const double* p) { return _mm512_loadu_pd(p); }
  static void store(double* p, R v) { _mm512_storeu_pd(p, v); }
  static R bcast(const double* p) { return _mm512_broadcast_f64x2(_mm_loadu_pd(p)); }
  // W / s complex numbers, each repeated s times (s = 1 or 2).
  static R repeat(const double* p, long s) {
    if (s == 1) return load(p);
    return _mm512_permutexvar_pd(_mm512_setr_epi64(0, 1, 0, 1, 2, 3, 2, 3),
                                 _mm512_castpd256_pd512(_mm256_loadu_pd(p)));
  }
  static R add(R a, R b) { return _mm512_add_pd(a, b); }
  static R sub(R a, R b) { return _mm512_sub_pd(a, b); }
  static R mulr(R a, double c) { return _mm512_mul_pd(a, _mm512_set1_pd(c)); }
  static R fmar(R acc, R a, double c) { return _mm512_fmadd_pd(a, _mm512_set1_pd(c), acc); }
  static R swap(R a) { return _mm512_permute_pd(a, 0x55); }
  static R neg_i(R a) {
    const long long sign = static_cast<long long>(0x8000000000000000ull);
    return _mm512_xor_pd(swap(a), _mm512_castsi512_pd(_mm512_set4_epi64(sign, 0, sign, 0)));
  }
  static R pos_i(R a) {
    const long long sign = static_cast<long long>(0x8000000000000000ull);
    return _mm512_xor_pd(swap(a), _mm512_castsi512_pd(_mm512_set4_epi64(0, sign, 0, sign)));
  }
  static R conj(R a) {
    const long long sign = static_cast<long long>(0x8000000000000000ull);
    return _mm512_xor_pd(a, _mm512_castsi512_pd(_mm512_set4_epi64(sign, 0, sign, 0)));
  }
  // Elements 1 .. W-1 of lo and element 0 of hi; element W-1 of lo and 0 .. W-2 of hi.
  static R shift_down(R lo, R hi) {
    const __m512i h = _mm512_castpd_si512(hi), l = _mm512_castpd_si512(lo);
    return _mm512_castsi512_pd(_mm512_alignr_epi64(h, l, 2));
  }
  static R shift_up(R lo, R hi) {
    const __m512i h = _mm512_castpd_si512(hi), l = _mm512_castpd_si512(lo);
    return _mm512_castsi512_pd(_mm512_alignr_epi64(h, l, 6));
  }
  // a with its element 0 replaced by (re, im).
  static R set_first(R a, double re, double im) {
    return _mm512_mask_blend_pd(0x3, a, _mm512_castpd128_pd512(_mm_setr_pd(re, im)));
  }
  static R reverse(R a) {
    return _mm512_permutexvar_pd(_mm512_setr_epi64(6, 7, 4, 5, 2, 3, 0, 1), a);
  }
  // a times w, with w's real and imaginary parts each repeated over its element.
  static R cmul_dup(R a, R wr, R wi) {
    return _mm512_fmaddsub_pd(a, wr, _mm512_mul_pd(swap(a), wi));
  }
  template <bool Conj>
  static R cmul_split(R a, double wr, double wi) {
    const R t = _mm512_mul_pd(swap(a), _mm512_set1_pd(wi));
    const R r = _mm512_set1_pd(wr);
    return Conj ? _mm512_fmsubadd_pd(a, r, t) : _mm512_fmaddsub_pd(a, r, t);
  }
  template <bool Conj>
  static R cmul(R a, R w) {
    const R wr = _mm512_movedup_pd(w), wi = _mm512_permute_pd(w, 0xFF);
    const R t = _mm512_mul_pd(swap(a), wi);
    return Conj ? _mm512_fmsubadd_pd(a, wr, t) : _mm512_fmaddsub_pd(a, wr, t);
  }
  static bool interleave2(double* y, long s, R y0, R y1) {
    if (s == 1) interleave_pairs<2>(y, y0, y1);
    else if (s == 2) interleave_pairs<4>(y, y0, y1);
    else return false;
    return true;
  }
  // Element q of vector k to element k of vector q, four vectors.
  static void transpose(R* v) {
    const __m512d u0 = _mm512_shuffle_f64x2(v[0], v[1], _MM_SHUFFLE(2, 0, 2, 0));
    const __m512d u1 = _mm512_shuffle_f64x2(v[0], v[1], _MM_SHUFFLE(3, 1, 3, 1));
    const __m512d u2 = _mm512_shuffle_f64x2(v[2], v[3], _MM_SHUFFLE(2, 0, 2, 0));
    const __m512d u3 = _mm512_shuffle_f64x2(v[2], v[3], _MM_SHUFFLE(3, 1, 3, 1));
    v[0] = _mm512_shuffle_f64x2(u0, u2, _MM_SHUFFLE(2, 0, 2, 0));
    v[1] = _mm512_shuffle_f64x2(u1, u3, _MM_SHUFFLE(2, 0, 2, 0));
    v[2] = _mm512_shuffle_f64x2(u0, u2, _MM_SHUFFLE(3, 1, 3, 1));
    v[3] = _mm512_shuffle_f64x2(u1, u3, _MM_SHUFFLE(3, 1, 3, 1));
  }
  static bool interleave4(double* y, long s, R y0, R y1, R y2, R y3) {
    if (s == 1) interleave_lanes(y, y0, y1, y2, y3);
    else if (s == 2) interleave_halves(y, y0, y1, y2, y3);
    else return false;
    return true;
  }
};

struct avx512_single {
  using real = float;
  using R = __m512;
  static constexpr int W = 8;
  static R load(const float* p) { return _mm512_loadu_ps(p); }
  static void store(float* p, R v) { _mm512_storeu_ps(p, v); }
  static R bcast(const float* p) {
    double d;
    std::memcpy(&d, p, sizeof d);
    return _mm512_castpd_ps(_mm512_set1_pd(d));
  }
  // W / s complex numbers, each repeated s times (s = 1, 2, 4), moved as 64-bit words.
  static R repeat(const float* p, long s) {
    if (s == 1) return load(p);
    if (s == 2)
      return _mm512_castpd_ps(_mm512_permutexvar_pd(
          _mm512_setr_epi64(0, 0, 1, 1, 2, 2, 3, 3),
          _mm512_castpd256_pd512(_mm256_loadu_pd(reinterpret_cast<const double*>(p)))));
    return _mm512_castpd_ps(_mm512_permutexvar_pd(
        _mm512_setr_epi64(0, 0, 0, 0, 1, 1, 1, 1),
        _mm512_castpd128_pd512(_mm_loadu_pd(reinterpret_cast<const double*>(p)))));
  }
  static R add(R a, R b) { return _mm512_add_ps(a, b); }
  static R sub(R a, R b) { return _mm512_sub_ps(a, b); }
  static R mulr(R a, float c) { return _mm512_mul_ps(a, _mm512_set1_ps(c)); }
  static R fmar(R acc, R a, float c) { return _mm512_fmadd_ps(a, _mm512_set1_ps(c), acc); }
  static R swap(R a) { return _mm512_permute_ps(a, 0xB1); }
  static R neg_i(R a) {
    return _mm512_xor_ps(swap(a), _mm512_castsi512_ps(_mm512_set1_epi64(
        static_cast<long long>(0x8000000000000000ull))));
  }
  static R pos_i(R a) {
    return _mm512_xor_ps(swap(a), _mm512_castsi512_ps(_mm512_set1_epi64(0x80000000ll)));
  }
  static R conj(R a) {
    return _mm512_xor_ps(a, _mm512_castsi512_ps(_mm512_set1_epi64(
        static_cast<long long>(0x8000000000000000ull))));
  }
  // Elements 1 .. W-1 of lo and element 0 of hi; element W-1 of lo and 0 .. W-2 of hi.
  static R shift_down(R lo, R hi) {
    const __m512i h = _mm512_castps_si512(hi), l = _mm512_castps_si512(lo);
    return _mm512_castsi512_ps(_mm512_alignr_epi32(h, l, 2));
  }
  static R shift_up(R lo, R hi) {
    const __m512i h = _mm512_castps_si512(hi), l = _mm512_castps_si512(lo);
    return _mm512_castsi512_ps(_mm512_alignr_epi32(h, l, 14));
  }
  // a with its element 0 replaced by (re, im).
  static R set_first(R a, float re, float im) {
    return _mm512_mask_blend_ps(0x3, a, _mm512_castps128_ps512(_mm_setr_ps(re, im, 0.0f, 0.0f)));
  }
  static R reverse(R a) {
    return _mm512_castpd_ps(_mm512_permutexvar_pd(_mm512_setr_epi64(7, 6, 5, 4, 3, 2, 1, 0),
                                                  _mm512_castps_pd(a)));
  }
  // a times w, with w's real and imaginary parts each repeated over its element.
  static R cmul_dup(R a, R wr, R wi) {
    return _mm512_fmaddsub_ps(a, wr, _mm512_mul_ps(swap(a), wi));
  }
  template <bool Conj>
  static R cmul_split(R a, float wr, float wi) {
    const R t = _mm512_mul_ps(swap(a), _mm512_set1_ps(wi));
    const R r = _mm512_set1_ps(wr);
    return Conj ? _mm512_fmsubadd_ps(a, r, t) : _mm512_fmaddsub_ps(a, r, t);
  }
  template <bool Conj>
  static R cmul(R a, R w) {
    const R wr = _mm512_moveldup_ps(w), wi = _mm512_movehdup_ps(w);
    const R t = _mm512_mul_ps(swap(a), wi);
    return Conj ? _mm512_fmsubadd_ps(a, wr, t) : _mm512_fmaddsub_ps(a, wr, t);
  }
  static bool interleave2(float* y, long s, R f0, R f1) {
    double* d = reinterpret_cast<double*>(y);
    const __m512d y0 = _mm512_castps_pd(f0), y1 = _mm512_castps_pd(f1);
    if (s == 1) interleave_pairs<1>(d, y0, y1);
    else if (s == 2) interleave_pairs<2>(d, y0, y1);
    else if (s == 4) interleave_pairs<4>(d, y0, y1);
    else return false;
    return true;
  }
  // Element q of vector k to element k of vector q, eight vectors: pairs of elements within
  // 128-bit lanes, then lanes in two rounds.
  static void transpose(R* v) {
    __m512d t[8], u[8];
    for (int i = 0; i < 8; i += 2) {
      t[i] = _mm512_unpacklo_pd(_mm512_castps_pd(v[i]), _mm512_castps_pd(v[i + 1]));
      t[i + 1] = _mm512_unpackhi_pd(_mm512_castps_pd(v[i]), _mm512_castps_pd(v[i + 1]));
    }
    for (int h = 0; h < 8; h += 4) {
      u[h] = _mm512_shuffle_f64x2(t[h], t[h + 2], _MM_SHUFFLE(2, 0, 2, 0));      // 0, 4
      u[h + 1] = _mm512_shuffle_f64x2(t[h], t[h + 2], _MM_SHUFFLE(3, 1, 3, 1));  // 2, 6
      u[h + 2] = _mm512_shuffle_f64x2(t[h + 1], t[h + 3], _MM_SHUFFLE(2, 0, 2, 0));  // 1, 5
      u[h + 3] = _mm512_shuffle_f64x2(t[h + 1], t[h + 3], _MM_SHUFFLE(3, 1, 3, 1));  // 3, 7
    }
    v[0] = _mm512_castpd_ps(_mm512_shuffle_f64x2(u[0], u[4], _MM_SHUFFLE(2, 0, 2, 0)));
    v[4] = _mm512_castpd_ps(_mm512_shuffle_f64x2(u[0], u[4], _MM_SHUFFLE(3, 1, 3, 1)));
    v[2] = _mm512_castpd_ps(_mm512_shuffle_f64x2(u[1], u[5], _MM_SHUFFLE(2, 0, 2, 0)));
    v[6] = _mm512_castpd_ps(_mm512_shuffle_f64x2(u[1], u[5], _MM_SHUFFLE(3, 1, 3, 1)));
    v[1] = _mm512_castpd_ps(_mm512_shuffle_f64x2(u[2], u[6], _MM_SHUFFLE(2, 0, 2, 0)));
    v[5] = _mm512_castpd_ps(_mm512_shuffle_f64x2(u[2], u[6], _MM_SHUFFLE(3, 1, 3, 1)));
    v[3] = _mm512_castpd_ps(_mm512_shuffle_f64x2(u[3], u[7], _MM_SHUFFLE(2, 0, 2, 0)));
    v[7] = _mm512_castpd_ps(_mm512_shuffle_f64x2(u[3], u[7], _MM_SHUFFLE(3, 1, 3, 1)));
  }
  static bool interleave4(float* y, long s, R f0, R f1, R f2, R f3) {
    double* d = reinterpret_cast<double*>(y);
    const __m512d y0 = _mm512_castps_pd(f0), y1 = _mm512_castps_pd(f1);
    const __m512d y2 = _mm512_castps_pd(f2), y3 = _mm512_castps_pd(f3);
    if (s == 1) interleave_elements(d, y0, y1, y2, y3);
    else if (s == 2) interleave_lanes(d, y0, y1, y2, y3);
    else if (s == 4) interleave_halves(d, y0, y1, y2, y3);
    else return false;
    return true;
  }
};

}  // namespace zvx::dft::isa_avx512

// Passes of the large power-of-two engine with AVX-512 (F, DQ): four complex doubles or eight
// complex floats a vector, interleaved (real, imaginary).
// GCC 12 flags the self-initialised placeholder vectors inside its own AVX-512 intrinsics as
// maybe uninitialised; the warning says nothing about this file.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>

#include "dft/large_passes.h"

namespace zvx::dft::isa_avx512 {
namespace {

constexpr long long kSign = static_cast<long long>(0x8000000000000000ull);

struct avx512_double {
  using real = double;
  using R = __m512d;
  static constexpr int W = 4;
  static R load(const double* p) { return _mm512_loadu_pd(p); }
  static void store(double* p, R v) { _mm512_storeu_pd(p, v); }
  static R add(R a, R b) { return _mm512_add_pd(a, b); }
  static R sub(R a, R b) { return _mm512_sub_pd(a, b); }
  static R swap(R a) { return _mm512_permute_pd(a, 0x55); }
  static R neg_i(R a) {
    return _mm512_xor_pd(swap(a), _mm512_castsi512_pd(_mm512_set4_epi64(kSign, 0, kSign, 0)));
  }
  static R pos_i(R a) {
    return _mm512_xor_pd(swap(a), _mm512_castsi512_pd(_mm512_set4_epi64(0, kSign, 0, kSign)));
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
  // 4 x 4 complex doubles: units of 128 bits.
  static void transpose(R* v) {
    const R u0 = _mm512_shuffle_f64x2(v[0], v[1], _MM_SHUFFLE(2, 0, 2, 0));
    const R u1 = _mm512_shuffle_f64x2(v[0], v[1], _MM_SHUFFLE(3, 1, 3, 1));
    const R u2 = _mm512_shuffle_f64x2(v[2], v[3], _MM_SHUFFLE(2, 0, 2, 0));
    const R u3 = _mm512_shuffle_f64x2(v[2], v[3], _MM_SHUFFLE(3, 1, 3, 1));
    v[0] = _mm512_shuffle_f64x2(u0, u2, _MM_SHUFFLE(2, 0, 2, 0));
    v[1] = _mm512_shuffle_f64x2(u1, u3, _MM_SHUFFLE(2, 0, 2, 0));
    v[2] = _mm512_shuffle_f64x2(u0, u2, _MM_SHUFFLE(3, 1, 3, 1));
    v[3] = _mm512_shuffle_f64x2(u1, u3, _MM_SHUFFLE(3, 1, 3, 1));
  }
};

struct avx512_single {
  using real = float;
  using R = __m512;
  static constexpr int W = 8;
  static R load(const float* p) { return _mm512_loadu_ps(p); }
  static void store(float* p, R v) { _mm512_storeu_ps(p, v); }
  static R add(R a, R b) { return _mm512_add_ps(a, b); }
  static R sub(R a, R b) { return _mm512_sub_ps(a, b); }
  static R swap(R a) { return _mm512_permute_ps(a, 0xB1); }
  static R neg_i(R a) {
    return _mm512_xor_ps(swap(a), _mm512_castsi512_ps(_mm512_set1_epi64(kSign)));
  }
  static R pos_i(R a) {
    return _mm512_xor_ps(swap(a), _mm512_castsi512_ps(_mm512_set1_epi64(0x80000000ll)));
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
  // 8 x 8 complex floats, moved as 64-bit words: pairs, then 128-bit lanes, then halves.
  static void transpose(R* v) {
    __m512d t[8], u[8];
    for (int k = 0; k < 8; k += 2) {
      const __m512d a = _mm512_castps_pd(v[k]), b = _mm512_castps_pd(v[k + 1]);
      t[k] = _mm512_unpacklo_pd(a, b);
      t[k + 1] = _mm512_unpackhi_pd(a, b);
    }
    for (int k = 0; k < 8; k += 4) {
      u[k] = _mm512_shuffle_f64x2(t[k], t[k + 2], _MM_SHUFFLE(2, 0, 2, 0));
      u[k + 1] = _mm512_shuffle_f64x2(t[k], t[k + 2], _MM_SHUFFLE(3, 1, 3, 1));
      u[k + 2] = _mm512_shuffle_f64x2(t[k + 1], t[k + 3], _MM_SHUFFLE(2, 0, 2, 0));
      u[k + 3] = _mm512_shuffle_f64x2(t[k + 1], t[k + 3], _MM_SHUFFLE(3, 1, 3, 1));
    }
    // u[0..3] hold columns (0,4), (2,6), (1,5), (3,7) of rows 0-3; u[4..7] the same of rows 4-7.
    const int column[4][2] = {{0, 4}, {2, 6}, {1, 5}, {3, 7}};
    for (int k = 0; k < 4; ++k) {
      v[column[k][0]] = _mm512_castpd_ps(
          _mm512_shuffle_f64x2(u[k], u[k + 4], _MM_SHUFFLE(2, 0, 2, 0)));
      v[column[k][1]] = _mm512_castpd_ps(
          _mm512_shuffle_f64x2(u[k], u[k + 4], _MM_SHUFFLE(3, 1, 3, 1)));
    }
  }
};

constexpr large_kernels table = large_detail::kernels_for<avx512_single, avx512_double>();

}  // namespace

const large_kernels& dft_large_kernels() { return table; }

}  // namespace zvx::dft::isa_avx512

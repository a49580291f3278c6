// Passes of the large power-of-two engine with AVX2 and FMA: two complex doubles or four complex
// floats a vector, interleaved (real, imaginary).
#include <immintrin.h>

#include "dft/large_passes.h"

namespace zvx::dft::isa_avx2 {
namespace {

struct avx2_double {
  using real = double;
  using R = __m256d;
  static constexpr int W = 2;
  static R load(const double* p) { return _mm256_loadu_pd(p); }
  static void store(double* p, R v) { _mm256_storeu_pd(p, v); }
  static R add(R a, R b) { return _mm256_add_pd(a, b); }
  static R sub(R a, R b) { return _mm256_sub_pd(a, b); }
  static R swap(R a) { return _mm256_permute_pd(a, 0x5); }
  static R neg_i(R a) { return _mm256_xor_pd(swap(a), _mm256_setr_pd(0.0, -0.0, 0.0, -0.0)); }
  static R pos_i(R a) { return _mm256_xor_pd(swap(a), _mm256_setr_pd(-0.0, 0.0, -0.0, 0.0)); }
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
  static void transpose(R* v) {
    const R a = _mm256_permute2f128_pd(v[0], v[1], 0x20);
    const R b = _mm256_permute2f128_pd(v[0], v[1], 0x31);
    v[0] = a;
    v[1] = b;
  }
};

struct avx2_single {
  using real = float;
  using R = __m256;
  static constexpr int W = 4;
  static R load(const float* p) { return _mm256_loadu_ps(p); }
  static void store(float* p, R v) { _mm256_storeu_ps(p, v); }
  static R add(R a, R b) { return _mm256_add_ps(a, b); }
  static R sub(R a, R b) { return _mm256_sub_ps(a, b); }
  static R swap(R a) { return _mm256_permute_ps(a, 0xB1); }
  static R neg_i(R a) {
    return _mm256_xor_ps(swap(a), _mm256_setr_ps(0.f, -0.f, 0.f, -0.f, 0.f, -0.f, 0.f, -0.f));
  }
  static R pos_i(R a) {
    return _mm256_xor_ps(swap(a), _mm256_setr_ps(-0.f, 0.f, -0.f, 0.f, -0.f, 0.f, -0.f, 0.f));
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
  // 4 x 4 complex floats, moved as 64-bit words.
  static void transpose(R* v) {
    const __m256d t0 = _mm256_unpacklo_pd(_mm256_castps_pd(v[0]), _mm256_castps_pd(v[1]));
    const __m256d t1 = _mm256_unpackhi_pd(_mm256_castps_pd(v[0]), _mm256_castps_pd(v[1]));
    const __m256d t2 = _mm256_unpacklo_pd(_mm256_castps_pd(v[2]), _mm256_castps_pd(v[3]));
    const __m256d t3 = _mm256_unpackhi_pd(_mm256_castps_pd(v[2]), _mm256_castps_pd(v[3]));
    v[0] = _mm256_castpd_ps(_mm256_permute2f128_pd(t0, t2, 0x20));
    v[1] = _mm256_castpd_ps(_mm256_permute2f128_pd(t1, t3, 0x20));
    v[2] = _mm256_castpd_ps(_mm256_permute2f128_pd(t0, t2, 0x31));
    v[3] = _mm256_castpd_ps(_mm256_permute2f128_pd(t1, t3, 0x31));
  }
};

constexpr large_kernels table = large_detail::kernels_for<avx2_single, avx2_double>();

}  // namespace

const large_kernels& dft_large_kernels() { return table; }

}  // namespace zvx::dft::isa_avx2

// The vector operations the GEMM microkernels are written in, for the instruction set this
// translation unit is compiled for (ZVX_ISA_LEVEL 0 portable SSE2, 1 AVX2/FMA, 2 AVX-512).
// One kernel source serves all three: only the width, the register count behind the tiles
// (see gemm_tuning.h) and these few operations change.
#pragma once
#include <immintrin.h>

namespace ZVX_ISA_NS {

template <class R>
struct simd;

#if ZVX_ISA_LEVEL == 2
template <>
struct simd<double> {
  using v = __m512d;
  static constexpr int lanes = 8;
  static v load(const double* p) { return _mm512_load_pd(p); }
  static v loadu(const double* p) { return _mm512_loadu_pd(p); }
  static void storeu(double* p, v x) { _mm512_storeu_pd(p, x); }
  static void store(double* p, v x) { _mm512_store_pd(p, x); }
  static v set1(double x) { return _mm512_set1_pd(x); }
  static v zero() { return _mm512_setzero_pd(); }
  static v fma(v a, v b, v c) { return _mm512_fmadd_pd(a, b, c); }
  static v add(v a, v b) { return _mm512_add_pd(a, b); }
  static v sub(v a, v b) { return _mm512_sub_pd(a, b); }
  static v mul(v a, v b) { return _mm512_mul_pd(a, b); }
  // Exchanges the real and imaginary part of every complex lane pair.
  static v swap_pairs(v x) { return _mm512_shuffle_pd(x, x, 0x55); }
  // Even lanes a - b, odd lanes a + b.
  static v addsub(v a, v b) { return _mm512_fmaddsub_pd(_mm512_set1_pd(1.0), a, b); }
};
template <>
struct simd<float> {
  using v = __m512;
  static constexpr int lanes = 16;
  static v load(const float* p) { return _mm512_load_ps(p); }
  static v loadu(const float* p) { return _mm512_loadu_ps(p); }
  static void storeu(float* p, v x) { _mm512_storeu_ps(p, x); }
  static void store(float* p, v x) { _mm512_store_ps(p, x); }
  static v set1(float x) { return _mm512_set1_ps(x); }
  static v zero() { return _mm512_setzero_ps(); }
  static v fma(v a, v b, v c) { return _mm512_fmadd_ps(a, b, c); }
  static v add(v a, v b) { return _mm512_add_ps(a, b); }
  static v sub(v a, v b) { return _mm512_sub_ps(a, b); }
  static v mul(v a, v b) { return _mm512_mul_ps(a, b); }
  static v swap_pairs(v x) { return _mm512_shuffle_ps(x, x, 0xB1); }
  static v addsub(v a, v b) { return _mm512_fmaddsub_ps(_mm512_set1_ps(1.0f), a, b); }
};
#elif ZVX_ISA_LEVEL == 1
template <>
struct simd<double> {
  using v = __m256d;
  static constexpr int lanes = 4;
  static v load(const double* p) { return _mm256_load_pd(p); }
  static v loadu(const double* p) { return _mm256_loadu_pd(p); }
  static void storeu(double* p, v x) { _mm256_storeu_pd(p, x); }
  static void store(double* p, v x) { _mm256_store_pd(p, x); }
  static v set1(double x) { return _mm256_set1_pd(x); }
  static v zero() { return _mm256_setzero_pd(); }
  static v fma(v a, v b, v c) { return _mm256_fmadd_pd(a, b, c); }
  static v add(v a, v b) { return _mm256_add_pd(a, b); }
  static v sub(v a, v b) { return _mm256_sub_pd(a, b); }
  static v mul(v a, v b) { return _mm256_mul_pd(a, b); }
  static v swap_pairs(v x) { return _mm256_permute_pd(x, 0x5); }
  static v addsub(v a, v b) { return _mm256_addsub_pd(a, b); }
};
template <>
struct simd<float> {
  using v = __m256;
  static constexpr int lanes = 8;
  static v load(const float* p) { return _mm256_load_ps(p); }
  static v loadu(const float* p) { return _mm256_loadu_ps(p); }
  static void storeu(float* p, v x) { _mm256_storeu_ps(p, x); }
  static void store(float* p, v x) { _mm256_store_ps(p, x); }
  static v set1(float x) { return _mm256_set1_ps(x); }
  static v zero() { return _mm256_setzero_ps(); }
  static v fma(v a, v b, v c) { return _mm256_fmadd_ps(a, b, c); }
  static v add(v a, v b) { return _mm256_add_ps(a, b); }
  static v sub(v a, v b) { return _mm256_sub_ps(a, b); }
  static v mul(v a, v b) { return _mm256_mul_ps(a, b); }
  static v swap_pairs(v x) { return _mm256_permute_ps(x, 0xB1); }
  static v addsub(v a, v b) { return _mm256_addsub_ps(a, b); }
};
#else
// The baseline has no fused multiply-add: a product and a sum, each rounded.
template <>
struct simd<double> {
  using v = __m128d;
  static constexpr int lanes = 2;
  static v load(const double* p) { return _mm_load_pd(p); }
  static v loadu(const double* p) { return _mm_loadu_pd(p); }
  static void storeu(double* p, v x) { _mm_storeu_pd(p, x); }
  static void store(double* p, v x) { _mm_store_pd(p, x); }
  static v set1(double x) { return _mm_set1_pd(x); }
  static v zero() { return _mm_setzero_pd(); }
  static v fma(v a, v b, v c) { return _mm_add_pd(_mm_mul_pd(a, b), c); }
  static v add(v a, v b) { return _mm_add_pd(a, b); }
  static v sub(v a, v b) { return _mm_sub_pd(a, b); }
  static v mul(v a, v b) { return _mm_mul_pd(a, b); }
  static v swap_pairs(v x) { return _mm_shuffle_pd(x, x, 1); }
  static v addsub(v a, v b) { return _mm_add_pd(a, _mm_mul_pd(b, _mm_set_pd(1.0, -1.0))); }
};
template <>
struct simd<float> {
  using v = __m128;
  static constexpr int lanes = 4;
  static v load(const float* p) { return _mm_load_ps(p); }
  static v loadu(const float* p) { return _mm_loadu_ps(p); }
  static void storeu(float* p, v x) { _mm_storeu_ps(p, x); }
  static void store(float* p, v x) { _mm_store_ps(p, x); }
  static v set1(float x) { return _mm_set1_ps(x); }
  static v zero() { return _mm_setzero_ps(); }
  static v fma(v a, v b, v c) { return _mm_add_ps(_mm_mul_ps(a, b), c); }
  static v add(v a, v b) { return _mm_add_ps(a, b); }
  static v sub(v a, v b) { return _mm_sub_ps(a, b); }
  static v mul(v a, v b) { return _mm_mul_ps(a, b); }
  static v swap_pairs(v x) { return _mm_shuffle_ps(x, x, 0xB1); }
  static v addsub(v a, v b) {
    return _mm_add_ps(a, _mm_mul_ps(b, _mm_set_ps(1.0f, -1.0f, 1.0f, -1.0f)));
  }
};
#endif

}  // namespace ZVX_ISA_NS

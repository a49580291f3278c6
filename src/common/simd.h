// The vector layer of every kernel compiled per instruction set, for the set this translation
// unit is compiled for (ZVX_ISA_LEVEL 0 portable SSE2, 1 AVX2/FMA, 2 AVX-512). All conditionals on
// the instruction set that choose an intrinsic stand here; a kernel is written once over these
// operations and compiled three times.
//
// Two forms of the same layer: simd<R>, a struct of intrinsics over the register types, which the
// GEMM and triangular microkernels use, and the GCC vector types V<T> with free functions, which
// the level-1 and level-2 loops use (their arithmetic reads as plain expressions).
#pragma once
#include <immintrin.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

namespace ZVX_ISA_NS {

// Bytes of one vector register.
#if ZVX_ISA_LEVEL == 2
constexpr int vector_bytes = 64;
#elif ZVX_ISA_LEVEL == 1
constexpr int vector_bytes = 32;
#else
constexpr int vector_bytes = 16;
#endif

// ---- the register-type layer -------------------------------------------------------------------
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

// ---- the vector-type layer ---------------------------------------------------------------------
typedef double vd __attribute__((vector_size(vector_bytes)));
typedef float vf __attribute__((vector_size(vector_bytes)));
typedef long long vdi __attribute__((vector_size(vector_bytes)));
typedef int vfi __attribute__((vector_size(vector_bytes)));
typedef float vfh __attribute__((vector_size(vector_bytes / 2)));

template <class T> struct vt;
template <> struct vt<double> { using v = vd; using vi = vdi; static constexpr int w = vector_bytes / 8; };
template <> struct vt<float> { using v = vf; using vi = vfi; static constexpr int w = vector_bytes / 4; };
template <class T> using V = typename vt<T>::v;
template <class T> using VI = typename vt<T>::vi;
template <class T> constexpr int W = vt<T>::w;

template <class T> inline V<T> ld(const T* p) { V<T> r; memcpy(&r, p, sizeof r); return r; }
template <class T> inline void st(T* p, V<T> a) { memcpy(p, &a, sizeof a); }
template <class T> inline V<T> bc(T a) { return V<T>{} + a; }
// Pins a loaded vector to a register: without it the compiler may read the same memory again as
// the operand of each instruction that uses it, which doubles the loads of the complex kernels.
template <class T> inline void in_register(T& v) { __asm__("" : "+v"(v)); }

inline vd vfma(vd a, vd b, vd c) {
#if ZVX_ISA_LEVEL == 2
  return _mm512_fmadd_pd(a, b, c);
#elif ZVX_ISA_LEVEL == 1
  return _mm256_fmadd_pd(a, b, c);
#else
  return a * b + c;
#endif
}
inline vf vfma(vf a, vf b, vf c) {
#if ZVX_ISA_LEVEL == 2
  return _mm512_fmadd_ps(a, b, c);
#elif ZVX_ISA_LEVEL == 1
  return _mm256_fmadd_ps(a, b, c);
#else
  return a * b + c;
#endif
}
template <class T> inline T sfma(T a, T b, T c) {
#if ZVX_ISA_LEVEL >= 1
  return __builtin_fma(a, b, c);
#else
  return a * b + c;
#endif
}
inline float sfma(float a, float b, float c) {
#if ZVX_ISA_LEVEL >= 1
  return __builtin_fmaf(a, b, c);
#else
  return a * b + c;
#endif
}
// Store that bypasses the cache; the address is aligned to the vector size.
inline void stream(double* p, vd a) {
#if ZVX_ISA_LEVEL == 2
  _mm512_stream_pd(p, a);
#elif ZVX_ISA_LEVEL == 1
  _mm256_stream_pd(p, a);
#else
  _mm_stream_pd(p, a);
#endif
}
inline void stream(float* p, vf a) {
#if ZVX_ISA_LEVEL == 2
  _mm512_stream_ps(p, a);
#elif ZVX_ISA_LEVEL == 1
  _mm256_stream_ps(p, a);
#else
  _mm_stream_ps(p, a);
#endif
}
// Loads and stores of the first `count` lanes (0 < count <= W): the tails of the loops.
inline vd ld_part(const double* p, long count) {
#if ZVX_ISA_LEVEL == 2
  return _mm512_maskz_loadu_pd((__mmask8)((1u << count) - 1), p);
#elif ZVX_ISA_LEVEL == 1
  const vdi lane = {0, 1, 2, 3};
  return _mm256_maskload_pd(p, (__m256i)(lane < count));
#else
  vd r = {};
  for (long k = 0; k < count; ++k) r[k] = p[k];
  return r;
#endif
}
inline vf ld_part(const float* p, long count) {
#if ZVX_ISA_LEVEL == 2
  return _mm512_maskz_loadu_ps((__mmask16)((1u << count) - 1), p);
#elif ZVX_ISA_LEVEL == 1
  const vfi lane = {0, 1, 2, 3, 4, 5, 6, 7};
  return _mm256_maskload_ps(p, (__m256i)(lane < (int)count));
#else
  vf r = {};
  for (long k = 0; k < count; ++k) r[k] = p[k];
  return r;
#endif
}
inline void st_part(double* p, vd v, long count) {
#if ZVX_ISA_LEVEL == 2
  _mm512_mask_storeu_pd(p, (__mmask8)((1u << count) - 1), v);
#elif ZVX_ISA_LEVEL == 1
  const vdi lane = {0, 1, 2, 3};
  _mm256_maskstore_pd(p, (__m256i)(lane < count), v);
#else
  for (long k = 0; k < count; ++k) p[k] = v[k];
#endif
}
inline void st_part(float* p, vf v, long count) {
#if ZVX_ISA_LEVEL == 2
  _mm512_mask_storeu_ps(p, (__mmask16)((1u << count) - 1), v);
#elif ZVX_ISA_LEVEL == 1
  const vfi lane = {0, 1, 2, 3, 4, 5, 6, 7};
  _mm256_maskstore_ps(p, (__m256i)(lane < (int)count), v);
#else
  for (long k = 0; k < count; ++k) p[k] = v[k];
#endif
}
// Loads and stores of lanes [from, to) (0 <= from < to <= W), the other lanes zero or untouched:
// the ragged ends of a column segment that starts or ends inside a vector.
inline vd ld_range(const double* p, long from, long to) {
#if ZVX_ISA_LEVEL == 2
  return _mm512_maskz_loadu_pd((__mmask8)(((1u << to) - 1) & ~((1u << from) - 1)), p);
#elif ZVX_ISA_LEVEL == 1
  const vdi lane = {0, 1, 2, 3};
  return _mm256_maskload_pd(p, (__m256i)((lane >= from) & (lane < to)));
#else
  vd r = {};
  for (long k = from; k < to; ++k) r[k] = p[k];
  return r;
#endif
}
inline vf ld_range(const float* p, long from, long to) {
#if ZVX_ISA_LEVEL == 2
  return _mm512_maskz_loadu_ps((__mmask16)(((1u << to) - 1) & ~((1u << from) - 1)), p);
#elif ZVX_ISA_LEVEL == 1
  const vfi lane = {0, 1, 2, 3, 4, 5, 6, 7};
  return _mm256_maskload_ps(p, (__m256i)((lane >= (int)from) & (lane < (int)to)));
#else
  vf r = {};
  for (long k = from; k < to; ++k) r[k] = p[k];
  return r;
#endif
}
inline void st_range(double* p, vd v, long from, long to) {
#if ZVX_ISA_LEVEL == 2
  _mm512_mask_storeu_pd(p, (__mmask8)(((1u << to) - 1) & ~((1u << from) - 1)), v);
#elif ZVX_ISA_LEVEL == 1
  const vdi lane = {0, 1, 2, 3};
  _mm256_maskstore_pd(p, (__m256i)((lane >= from) & (lane < to)), v);
#else
  for (long k = from; k < to; ++k) p[k] = v[k];
#endif
}
inline void st_range(float* p, vf v, long from, long to) {
#if ZVX_ISA_LEVEL == 2
  _mm512_mask_storeu_ps(p, (__mmask16)(((1u << to) - 1) & ~((1u << from) - 1)), v);
#elif ZVX_ISA_LEVEL == 1
  const vfi lane = {0, 1, 2, 3, 4, 5, 6, 7};
  _mm256_maskstore_ps(p, (__m256i)((lane >= (int)from) & (lane < (int)to)), v);
#else
  for (long k = from; k < to; ++k) p[k] = v[k];
#endif
}
// Load of the lanes where `m` is set (all bits of the lane), zero elsewhere; the others are not
// read: the edges of a triangle, whose lanes follow from a comparison of row indices.
inline vd ld_where(const double* p, vdi m) {
#if ZVX_ISA_LEVEL == 2
  return _mm512_maskz_loadu_pd(_mm512_movepi64_mask((__m512i)m), p);
#elif ZVX_ISA_LEVEL == 1
  return _mm256_maskload_pd(p, (__m256i)m);
#else
  vd r = {};
  for (int k = 0; k < 2; ++k) if (m[k]) r[k] = p[k];
  return r;
#endif
}
inline vf ld_where(const float* p, vfi m) {
#if ZVX_ISA_LEVEL == 2
  return _mm512_maskz_loadu_ps(_mm512_movepi32_mask((__m512i)m), p);
#elif ZVX_ISA_LEVEL == 1
  return _mm256_maskload_ps(p, (__m256i)m);
#else
  vf r = {};
  for (int k = 0; k < 4; ++k) if (m[k]) r[k] = p[k];
  return r;
#endif
}
// Lane-wise maximum that keeps `m` where `a` is NaN.
inline vd vmax(vd a, vd m) {
#if ZVX_ISA_LEVEL == 2
  return _mm512_mask_max_pd(m, 0xff, a, m);  // the merge form: no undefined source
#elif ZVX_ISA_LEVEL == 1
  return _mm256_max_pd(a, m);
#else
  return _mm_max_pd(a, m);
#endif
}
inline vf vmax(vf a, vf m) {
#if ZVX_ISA_LEVEL == 2
  return _mm512_mask_max_ps(m, 0xffff, a, m);
#elif ZVX_ISA_LEVEL == 1
  return _mm256_max_ps(a, m);
#else
  return _mm_max_ps(a, m);
#endif
}
// Bit k set where lane k of a equals lane k of b.
inline unsigned eq_bits(vd a, vd b) {
#if ZVX_ISA_LEVEL == 2
  return _mm512_cmp_pd_mask(a, b, _CMP_EQ_OQ);
#elif ZVX_ISA_LEVEL == 1
  return (unsigned)_mm256_movemask_pd(_mm256_cmp_pd(a, b, _CMP_EQ_OQ));
#else
  return (unsigned)_mm_movemask_pd(_mm_cmpeq_pd(a, b));
#endif
}
inline unsigned eq_bits(vf a, vf b) {
#if ZVX_ISA_LEVEL == 2
  return _mm512_cmp_ps_mask(a, b, _CMP_EQ_OQ);
#elif ZVX_ISA_LEVEL == 1
  return (unsigned)_mm256_movemask_ps(_mm256_cmp_ps(a, b, _CMP_EQ_OQ));
#else
  return (unsigned)_mm_movemask_ps(_mm_cmpeq_ps(a, b));
#endif
}
template <class T> inline V<T> vabs(V<T> a) {
  using I = VI<T>;
  const I mask = I{} + (std::is_same_v<T, double> ? (long long)0x7fffffffffffffffLL : 0x7fffffff);
  return (V<T>)((I)a & mask);
}
// Sum of the lanes one after the other, lane 0 first.
template <class T> inline T hsum(V<T> a) {
  T s = 0;
  for (int k = 0; k < W<T>; ++k) s += a[k];
  return s;
}
// Sum of the lanes by folding halves: log2(W) dependent adds where a walk over the lanes takes W.
// The exchange patterns are constants (a table copied into the index vector), so that each level
// is one permute and one add.
template <class T, int half> struct fold_pattern {
  using E = std::remove_reference_t<decltype(VI<T>{}[0])>;
  static constexpr std::array<E, W<T>> make() {
    std::array<E, W<T>> m{};
    for (int k = 0; k < W<T>; ++k) m[k] = (E)((k + half) % W<T>);
    return m;
  }
  static constexpr std::array<E, W<T>> lanes = make();
};
template <class T, int half = W<T> / 2> inline T fold_sum(V<T> v) {
  VI<T> upper;
  memcpy(&upper, fold_pattern<T, half>::lanes.data(), sizeof upper);
  v += __builtin_shuffle(v, upper);
  if constexpr (half > 1) return fold_sum<T, half / 2>(v);
  else return v[0];
}
// Exchange of the real and imaginary part in every pair of lanes.
template <class T> inline V<T> swap_pairs(V<T> a) {
  VI<T> idx;
  for (int k = 0; k < W<T>; ++k) idx[k] = k ^ 1;
  return __builtin_shuffle(a, idx);
}
// (-1, +1, -1, +1, ...): the signs of the cross terms of a complex product.
template <class T> inline V<T> alternating_sign() {
  V<T> s;
  for (int k = 0; k < W<T>; ++k) s[k] = (k & 1) ? T(1) : T(-1);
  return s;
}

// ---- reductions ----------------------------------------------------------------------------------
constexpr int bit_reverse(int k, int w) {
  int r = 0;
  for (int b = 1; b < w; b <<= 1) r = (r << 1) | ((k & b) ? 1 : 0);
  return r;
}

// One level of reduce_lanes on a pair (a, b) with chunks of c lanes: chunk q of the result is
// a(q) + a(q + 1) for even q and b(q - 1) + b(q) for odd q. Written as blend(a, b) plus the
// adjacent chunks exchanged in blend(b, a): two blends and one single-source shuffle, which
// leaves the shuffle port half as busy as two two-source permutes.
template <class E, int w, int c> struct reduce_level_masks {
  static constexpr std::array<E, w> make(bool even_chunks) {
    std::array<E, w> m{};
    for (int l = 0; l < w; ++l) m[l] = even_chunks ? (E)(((l / c) % 2 == 0) ? -1 : 0) : (E)(l ^ c);
    return m;
  }
  static constexpr std::array<E, w> even = make(true), exchange = make(false);
};

template <class T, int c, size_t... K>
__attribute__((always_inline)) inline std::array<V<T>, sizeof...(K)> reduce_level(const std::array<V<T>, 2 * sizeof...(K)>& cur,
                                                                                std::index_sequence<K...>) {
  using E = std::remove_reference_t<decltype(VI<T>{}[0])>;
  using M = reduce_level_masks<E, W<T>, c>;
  VI<T> even, exchange;
  memcpy(&even, M::even.data(), sizeof even);
  memcpy(&exchange, M::exchange.data(), sizeof exchange);
  auto pair = [&](V<T> a, V<T> b) {
    const V<T> kept = even ? a : b, moved = even ? b : a;
    return kept + __builtin_shuffle(moved, exchange);
  };
  return {pair(cur[2 * K], cur[2 * K + 1])...};
}

template <class T, int c, size_t N> __attribute__((always_inline)) inline V<T> reduce_levels(const std::array<V<T>, N>& cur) {
  const auto next = reduce_level<T, c>(cur, std::make_index_sequence<N / 2>{});
  if constexpr (c > 1) return reduce_levels<T, c / 2>(next);
  else return next[0];
}

// Sums of the lanes of W vectors at once: lane k of the result is the sum of the lanes of v[k].
// Each level adds the two halves of pairs of vectors in one shuffle pair; entering the vectors in
// bit-reversed order leaves the sums in natural order. The indices are constants from the start,
// so the vectors stay in registers.
template <class T, size_t... K>
__attribute__((always_inline)) inline V<T> reduce_lanes_in(const V<T>* v, std::index_sequence<K...>) {
  const std::array<V<T>, W<T>> cur = {v[bit_reverse((int)K, W<T>)]...};
  return reduce_levels<T, W<T> / 2>(cur);
}
template <class T> __attribute__((always_inline)) inline V<T> reduce_lanes(const V<T>* v) {
  return reduce_lanes_in<T>(v, std::make_index_sequence<W<T>>{});
}

// Sums of x * y lane by lane (p) and of x * swapped y (q) give the product's parts:
// unconjugated re = p0 - p1, im = q0 + q1; with x conjugated re = p0 + p1, im = q0 - q1, where 0
// and 1 are the sums over the even and the odd lanes. Each vector folds its upper half onto its
// lower half down to one pair: a few dependent adds instead of a walk over every lane.
template <class R> inline std::pair<R, R> pair_sums(V<R> v) {
  constexpr int w = W<R>;
  for (int half = w / 2; half >= 2; half /= 2) {
    VI<R> upper;
    for (int k = 0; k < w; ++k) upper[k] = (k + half) % w;
    v += __builtin_shuffle(v, upper);
  }
  return {v[0], v[1]};
}

}  // namespace ZVX_ISA_NS

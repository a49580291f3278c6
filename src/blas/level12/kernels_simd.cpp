// Unit-stride inner loops of level 1 and level 2, written once over GCC vector types and compiled
// once per instruction set: 16-byte vectors for the portable build (SSE2), 32 bytes with FMA for
// AVX2, 64 bytes for AVX-512. Multiply-adds are explicit FMAs where the processor has them.
#include <immintrin.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>
#include <type_traits>
#include <utility>

#include "blas/level12/kernels.h"

namespace zvx::blas12::ZVX_ISA_NS {
namespace {

// ---- tuning: each constant with its reason ---------------------------------------------------
#if ZVX_ISA_LEVEL == 2
constexpr int vector_bytes = 64;
#elif ZVX_ISA_LEVEL == 1
constexpr int vector_bytes = 32;
#else
constexpr int vector_bytes = 16;
#endif
// Independent accumulators of the reductions: covers the 4-cycle latency of an add or FMA at two
// issues per cycle.
constexpr int reduction_unroll = 4;
// Vectors of y held in registers across the columns of a not transposed gemv strip: 8 of the 16
// (AVX2) or 32 (AVX-512) registers, leaving room for the columns and the broadcasts.
constexpr int gemv_n_register_vectors = 8;
// Rows of the gemv strip: the tile whose partial results (transposed case) reach y one strip
// after another; callers see its effect on rounding, so it is fixed.
constexpr long strip_rows = 64;
// Columns a not transposed gemv kernel takes before it moves down the rows (the transposed one
// takes one group of W columns, the lanes of a vector). Eight columns keep eight sequential
// streams for the hardware prefetcher and eight pages for the TLB, where walking all columns per
// strip would touch a new page for every column of a large matrix. Each element of y sees its
// updates in the order of a plain walk, so the results don't depend on this constant. Single
// precision takes sixteen: the same bytes per row block, half the y traffic per column.
constexpr long gemv_column_chunk = 8;
template <class T> constexpr long gemv_column_chunk_of = sizeof(T) == 4 ? 16 : gemv_column_chunk;
// Complex columns a transposed complex gemv pass takes: two sums per column, so that the
// accumulators take half of the vector registers (16 of 32 with AVX-512, 8 of 16 otherwise) and
// every x vector, with its two signed forms, serves as many columns as the rest allow.
constexpr int cgemv_t_columns_per_pass = vector_bytes == 64 ? 8 : 4;
// Groups of four columns the symmetric multiply walks over the rows together: sixteen
// columns stream side by side, as in the fastest gemv walks, where one group alone kept too few
// lines in flight (order 2,000 from the last-level cache: one group 1.02 of the peer's time, two
// 0.89, four 0.83; six run out of vector registers for the sums and multipliers, 1.1).
constexpr int symv_groups_per_walk = 4;
// Addresses this many bytes apart fall into one set of the first-level cache (32 KiB, 8 ways,
// 64-byte lines), and the columns of a walk that one set may hold at once: half its ways, the
// other half for the lines fetched ahead and for x and y.
constexpr long l1_set_span_bytes = 4096;
constexpr long symv_columns_per_set = 4;
// Groups of four columns the Hermitian multiply walks together: each column keeps two broadcasts
// of its multiplier and two sums for its dot, so two groups take 32 vectors, the register file
// of AVX-512 (zhemv at order 1,000: 0.43-0.51 of the peer's time).
constexpr int hemv_groups_per_walk = 2;
// How far ahead the prefetching gemv kernels request the columns they are walking: 4 KiB, one
// page, in rows of the element type. One request per column and pass starts the hardware
// prefetcher on the next page early; a request per line measured slower, since it competes with
// the loads.
constexpr long gemv_prefetch_bytes = 4096;
template <class T> constexpr long gemv_prefetch_rows = gemv_prefetch_bytes / (long)sizeof(T);
// Single precision, not transposed: columns a group takes down the whole height, with y read and
// written through the first-level cache once per group and step. Four columns are four sequential
// streams whatever the leading dimension; the sixteen-column chunks walked in short blocks, which
// keep y in registers, put sixteen lines into one set of the first-level cache when the columns
// are 4 KiB apart (order 1,024: 2.6 times the peer's time), and from memory fell 30 to 50% behind.
// Measured at order 1,000 (last-level cache) the group walk is as fast as the chunks; two and
// eight columns per group were slower.
constexpr int sgemv_n_group = 4;
// Bytes of each column a step of the group walk takes: two lines, two vectors with AVX-512.
constexpr long sgemv_n_step_bytes = 128;
// Matrices larger than this stream from memory, and the group walk asks for each column's lines
// this far ahead into the second-level cache (order 4,096: 0.72 of the time without; in the
// last-level cache the requests only compete with the loads, 5 to 15% slower). A little under the
// last-level cache of the machines we tune for, which the other core shares.
constexpr long sgemv_n_memory_bytes = 24L << 20;
constexpr long sgemv_n_prefetch_bytes = 1024;
// Columns after which the rest rows take their sums: sixteen columns of rest rows are a few
// dozen lines, still in the first-level cache from the groups' walk.
constexpr long sgemv_n_rest_block = 16;
// Vectors longer than this many bytes take the one-pass iamax: the two-pass form reads the data
// about one and a half times, which costs nothing in cache and half again from memory (the size
// of the second-level cache).
constexpr long iamax_one_pass_bytes = 1L << 20;
// Complex axpy on vectors longer than this many bytes runs on 32-byte vectors in the AVX-512
// build: from memory it measured 5 to 10% faster than 64-byte vectors, whose loads and stores
// straddle two lines whenever the data are not 64-byte aligned (the usual 16-byte alignment of
// allocations); in cache the wide vectors are as fast or faster (a quarter of the last-level
// cache share of one core, so that both vectors are well beyond the second level).
constexpr long caxpy_half_vector_bytes = 4L << 20;
// Level-1 loops on vectors up to this many bytes first bring their data to a vector boundary
// (measured: in the first and second level caches 10-30% faster with the AVX-512 stores aligned;
// from memory slower). A quarter of the last-level cache share of one core.
constexpr long align_within_bytes = 4L << 20;
// Copies longer than this many bytes store around the cache: the target won't be read back
// before it has been evicted (half of the last-level cache share of one core).
constexpr long copy_stream_bytes = 4L << 20;

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
template <class T> inline T hsum(V<T> a) {
  T s = 0;
  for (int k = 0; k < W<T>; ++k) s += a[k];
  return s;
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

// ---- level 1, real ----------------------------------------------------------------------------
// Elements before the first vector boundary of p, for loops long enough to gain from loads and
// stores that don't straddle two lines (allocations are commonly 16-byte aligned, so every 64-byte
// access of the AVX-512 loops would); zero when p is aligned or not aligned to its element size,
// and for vectors beyond the caches, where the straddling loops measured faster (5-10%: a load
// that straddles asks for the next line early).
template <class T> inline long elements_to_boundary(const T* p, long n) {
  constexpr int w = W<T>;
  const long misalign = (long)(reinterpret_cast<uintptr_t>(p) & (vector_bytes - 1));
  if (n < 8 * w || n * (long)sizeof(T) > align_within_bytes || misalign == 0 || misalign % (long)sizeof(T) != 0)
    return 0;
  return (vector_bytes - misalign) / (long)sizeof(T);
}

template <class T> void axpy(long n, T alpha, const T* x, T* y) {
  constexpr int w = W<T>;
  const V<T> va = bc(alpha);
  long i = elements_to_boundary(y, n);
  if (i > 0) st_part(y, vfma(va, ld_part(x, i), ld_part(y, i)), i);
  for (; i + 4 * w <= n; i += 4 * w) {
    const V<T> y0 = vfma(va, ld(x + i), ld(y + i));
    const V<T> y1 = vfma(va, ld(x + i + w), ld(y + i + w));
    const V<T> y2 = vfma(va, ld(x + i + 2 * w), ld(y + i + 2 * w));
    const V<T> y3 = vfma(va, ld(x + i + 3 * w), ld(y + i + 3 * w));
    st(y + i, y0); st(y + i + w, y1); st(y + i + 2 * w, y2); st(y + i + 3 * w, y3);
  }
  for (; i + w <= n; i += w) st(y + i, vfma(va, ld(x + i), ld(y + i)));
  if (i < n) st_part(y + i, vfma(va, ld_part(x + i, n - i), ld_part(y + i, n - i)), n - i);
}

template <class T> T dot(long n, const T* x, const T* y) {
  constexpr int w = W<T>;
  V<T> acc[reduction_unroll] = {};
  // The first elements up to a vector boundary of x: when x and y share their alignment (as
  // equal allocations do), no load after them straddles two lines.
  long i = elements_to_boundary(x, n);
  if (i > 0) acc[3] = vfma(ld_part(x, i), ld_part(y, i), acc[3]);
  for (; i + reduction_unroll * w <= n; i += reduction_unroll * w)
    for (int k = 0; k < reduction_unroll; ++k)
      acc[k] = vfma(ld(x + i + k * w), ld(y + i + k * w), acc[k]);
  for (; i + w <= n; i += w) acc[1] = vfma(ld(x + i), ld(y + i), acc[1]);
  if (i < n) acc[2] = vfma(ld_part(x + i, n - i), ld_part(y + i, n - i), acc[2]);
  return hsum<T>((acc[0] + acc[1]) + (acc[2] + acc[3]));
}

template <class T> void scal(long n, T alpha, T* x) {
  constexpr int w = W<T>;
  const V<T> va = bc(alpha);
  long i = elements_to_boundary(x, n);
  if (i > 0) st_part(x, ld_part(x, i) * va, i);
  for (; i + 4 * w <= n; i += 4 * w)
    for (int k = 0; k < 4; ++k) st(x + i + k * w, ld(x + i + k * w) * va);
  for (; i + w <= n; i += w) st(x + i, ld(x + i) * va);
  if (i < n) st_part(x + i, ld_part(x + i, n - i) * va, n - i);
}

template <class T> void copy(long n, const T* x, T* y) {
  constexpr int w = W<T>;
  long i = 0;
  if (n * (long)sizeof(T) < copy_stream_bytes) {
    // A partial first vector brings y to a vector boundary, so that no store splits a line.
    const long misalign = (long)(reinterpret_cast<uintptr_t>(y) & (vector_bytes - 1));
    if (n >= 8 * w && misalign % (long)sizeof(T) == 0 && misalign != 0) {
      i = (vector_bytes - misalign) / (long)sizeof(T);
      st_part(y, ld_part(x, i), i);
    }
    for (; i + 4 * w <= n; i += 4 * w) {
      const V<T> a0 = ld(x + i), a1 = ld(x + i + w), a2 = ld(x + i + 2 * w), a3 = ld(x + i + 3 * w);
      st(y + i, a0); st(y + i + w, a1); st(y + i + 2 * w, a2); st(y + i + 3 * w, a3);
    }
    for (; i + w <= n; i += w) st(y + i, ld(x + i));
    if (i < n) st_part(y + i, ld_part(x + i, n - i), n - i);
    return;
  }
  while (i < n && (reinterpret_cast<uintptr_t>(y + i) & (vector_bytes - 1)) != 0) {
    y[i] = x[i];
    ++i;
  }
  if ((reinterpret_cast<uintptr_t>(y + i) & (vector_bytes - 1)) == 0) {
    for (; i + 4 * w <= n; i += 4 * w) {
      for (int k = 0; k < 4; ++k) {
        stream(y + i + k * w, ld(x + i + k * w));
      }
    }
    _mm_sfence();
  }
  for (; i < n; ++i) y[i] = x[i];
}

template <class T> void swap(long n, T* x, T* y) {
  constexpr int w = W<T>;
  long i = 0;
  for (; i + 2 * w <= n; i += 2 * w) {
    const V<T> a0 = ld(x + i), a1 = ld(x + i + w), b0 = ld(y + i), b1 = ld(y + i + w);
    st(x + i, b0); st(x + i + w, b1); st(y + i, a0); st(y + i + w, a1);
  }
  for (; i < n; ++i) {
    const T t = x[i];
    x[i] = y[i];
    y[i] = t;
  }
}

template <class T> T asum(long n, const T* x) {
  constexpr int w = W<T>;
  V<T> acc[reduction_unroll] = {};
  long i = 0;
  for (; i + reduction_unroll * w <= n; i += reduction_unroll * w)
    for (int k = 0; k < reduction_unroll; ++k) acc[k] += vabs<T>(ld(x + i + k * w));
  for (; i + w <= n; i += w) acc[1] += vabs<T>(ld(x + i));
  if (i < n) acc[2] += vabs<T>(ld_part(x + i, n - i));
  return hsum<T>((acc[0] + acc[1]) + (acc[2] + acc[3]));
}

double sumsq_d(long n, const double* x) {
  constexpr int w = W<double>;
  vd acc[reduction_unroll] = {};
  long i = 0;
  for (; i + reduction_unroll * w <= n; i += reduction_unroll * w)
    for (int k = 0; k < reduction_unroll; ++k) {
      const vd v = ld(x + i + k * w);
      acc[k] = vfma(v, v, acc[k]);
    }
  for (; i + w <= n; i += w) {
    const vd v = ld(x + i);
    acc[1] = vfma(v, v, acc[1]);
  }
  if (i < n) {
    const vd v = ld_part(x + i, n - i);
    acc[2] = vfma(v, v, acc[2]);
  }
  return hsum<double>((acc[0] + acc[1]) + (acc[2] + acc[3]));
}

// Single values squared and summed in double: exact squares and the range of double.
double sumsq_s(long n, const float* x) {
  constexpr int w = W<double>;
  vd acc[reduction_unroll] = {};
  long i = 0;
  auto widen = [&](long at) {
    vfh h;
    memcpy(&h, x + at, sizeof h);
    return __builtin_convertvector(h, vd);
  };
  for (; i + reduction_unroll * w <= n; i += reduction_unroll * w)
    for (int k = 0; k < reduction_unroll; ++k) {
      const vd v = widen(i + k * w);
      acc[k] = vfma(v, v, acc[k]);
    }
  double s = hsum<double>((acc[0] + acc[1]) + (acc[2] + acc[3]));
  for (; i < n; ++i) s = sfma((double)x[i], (double)x[i], s);
  return s;
}

// One pass for long vectors: a strict comparison per lane keeps the first of equal maxima within
// a lane; across lanes the smallest index of the largest value wins. A NaN never compares greater,
// so it is skipped.
template <class T> long iamax_one_pass(long n, const T* x) {
  constexpr int w = W<T>;
  constexpr int sets = 4;
  using I = VI<T>;
  V<T> m[sets];
  I idx[sets], cur[sets];
  for (int s = 0; s < sets; ++s) {
    m[s] = bc(T(-1));
    idx[s] = I{};
    for (int k = 0; k < w; ++k) cur[s][k] = s * w + k;
  }
  const I step = I{} + sets * w;
  long i = 0;
  for (; i + sets * w <= n; i += sets * w)
    for (int s = 0; s < sets; ++s) {
      const V<T> a = vabs<T>(ld(x + i + s * w));
      const I gt = a > m[s];
      m[s] = gt ? a : m[s];
      idx[s] = gt ? cur[s] : idx[s];
      cur[s] += step;
    }
  T best_value = T(-1);
  long best = 0;
  for (int s = 0; s < sets; ++s)
    for (int k = 0; k < w; ++k) {
      const T v = m[s][k];
      const long at = idx[s][k];
      if (v > best_value || (v == best_value && at < best)) {
        best_value = v;
        best = at;
      }
    }
  for (; i < n; ++i) {
    const T v = __builtin_fabs(x[i]);
    if (v > best_value) {
      best_value = v;
      best = i;
    }
  }
  return best;
}

// Two passes: the largest magnitude by a lane-wise maximum that skips NaN, then the first position
// that holds it, which is the one a strict scan would keep.
template <class T> long iamax(long n, const T* x) {
  // Lane indices are 32-bit for single precision: the one-pass form stays below 2^31 elements.
  if (n * (long)sizeof(T) > iamax_one_pass_bytes && n < (1L << 31)) return iamax_one_pass<T>(n, x);
  constexpr int w = W<T>;
  V<T> m[4];
  for (auto& v : m) v = bc<T>(T(__builtin_fabs(x[0])));
  long i = 0;
  for (; i + 4 * w <= n; i += 4 * w)
    for (int k = 0; k < 4; ++k) m[k] = vmax(vabs<T>(ld(x + i + k * w)), m[k]);
  for (; i + w <= n; i += w) m[0] = vmax(vabs<T>(ld(x + i)), m[0]);
  if (i < n) m[1] = vmax(vabs<T>(ld_part(x + i, n - i)), m[1]);
  const V<T> mm = vmax(vmax(m[0], m[1]), vmax(m[2], m[3]));
  T best = mm[0];
  for (int k = 1; k < w; ++k) best = best < mm[k] ? mm[k] : best;
  const V<T> vb = bc(best);
  for (i = 0; i + w <= n; i += w)
    if (const unsigned bits = eq_bits(vabs<T>(ld(x + i)), vb)) return i + __builtin_ctz(bits);
  for (; i < n; ++i)
    if (__builtin_fabs(x[i]) == best) return i;
  return 0;
}

// ---- level 2, real ----------------------------------------------------------------------------
// y(0:m) += A * (alpha * x) for one block of rows: y is kept in R registers while the columns
// stream past, two columns a pass, as y = a1 * t1 + y + a2 * t2. With 64-byte vectors the pass
// stays a loop rather than being unrolled over the chunk: the short loop measured faster from the
// last-level cache than the straight-line chunk (with narrower vectors it measured slower).
template <class T, int R>
inline void gemv_n_block(long n, T alpha, const T* a, long lda, const T* x, T* y, bool prefetch) {
  constexpr int w = W<T>;
  V<T> acc[R];
  for (int r = 0; r < R; ++r) acc[r] = ld(y + r * w);
  long j = 0;
  auto pair = [&](long j) __attribute__((always_inline)) {
    const T* a1 = a + j * lda;
    const T* a2 = a1 + lda;
    if (prefetch) {
      __builtin_prefetch(a1 + gemv_prefetch_rows<T>, 0, 0);
      __builtin_prefetch(a2 + gemv_prefetch_rows<T>, 0, 0);
    }
    const V<T> t1 = bc(x[j] * alpha), t2 = bc(x[j + 1] * alpha);
    for (int r = 0; r < R; ++r) acc[r] = vfma(ld(a2 + r * w), t2, vfma(ld(a1 + r * w), t1, acc[r]));
  };
  if constexpr (vector_bytes == 64) {
#pragma GCC unroll 1
    for (; j + 2 <= n; j += 2) pair(j);
  } else {
    for (; j + 2 <= n; j += 2) pair(j);
  }
  if (j < n) {
    const T* a1 = a + j * lda;
    const V<T> t1 = bc(x[j] * alpha);
    for (int r = 0; r < R; ++r) acc[r] = vfma(ld(a1 + r * w), t1, acc[r]);
  }
  for (int r = 0; r < R; ++r) st(y + r * w, acc[r]);
}

template <class T> void rest_sums(long m, long n, const T* a, long lda, const T* x, T* sum);
template <class T> void rest_finish(long m, T alpha, const T* sum, T* y);

// The not transposed strips: rows are independent, so the kernel takes all strips of the call
// at once and walks them chunk of columns by chunk of columns, in blocks of R vectors of rows.
template <class T, int R>
void gemv_n_walk(long m, long rest, long n, T alpha, const T* a, long lda, const T* x, T* y, bool prefetch) {
  constexpr int w = W<T>;
  constexpr long chunk = gemv_column_chunk_of<T>;
  static_assert(chunk % 2 == 0, "column pairs must not straddle chunks");
  // Sums of the rest rows (fewer than a strip), sized for the widest block rest_sums may touch.
  alignas(64) T sum[std::max<long>(strip_rows, 8 * w)] = {};
  for (long jc = 0; jc < n; jc += chunk) {
    const long jn = std::min(chunk, n - jc);
    const T* ac = a + jc * lda;
    const T* xc = x + jc;
    long i = 0;
    // Prefetch only where the column goes on beyond the distance.
    for (; i + R * w <= m; i += R * w)
      gemv_n_block<T, R>(jn, alpha, ac + i, lda, xc, y + i, prefetch && m - i > gemv_prefetch_rows<T>);
    for (; i + 4 * w <= m; i += 4 * w)
      gemv_n_block<T, 4>(jn, alpha, ac + i, lda, xc, y + i, prefetch && m - i > gemv_prefetch_rows<T>);
    for (; i + w <= m; i += w) gemv_n_block<T, 1>(jn, alpha, ac + i, lda, xc, y + i, false);
    for (; i < m; ++i) {
      T s = y[i];
      long j = 0;
      for (; j + 2 <= jn; j += 2)
        s = sfma(ac[i + (j + 1) * lda], xc[j + 1] * alpha, sfma(ac[i + j * lda], xc[j] * alpha, s));
      if (j < jn) s = sfma(ac[i + j * lda], xc[j] * alpha, s);
      y[i] = s;
    }
    if (rest > 0) rest_sums<T>(rest, jn, ac + m, lda, xc, sum);
  }
  if (rest > 0) rest_finish<T>(rest, alpha, sum, y + m);
}

// G columns j .. j + G - 1 of the single-precision walk, over all strip rows. Each element of y
// takes the columns' updates one after another, as a plain walk would.
template <class T, int G>
inline void sgemv_n_group_walk(long m, T alpha, const T* a, long lda, const T* x, T* y, bool prefetch) {
  constexpr int w = W<T>;
  constexpr int S = std::max<int>(1, (int)(sgemv_n_step_bytes / vector_bytes));
  constexpr long ahead = sgemv_n_prefetch_bytes / (long)sizeof(T);
  const T* col[G];
  V<T> t[G];
  for (int k = 0; k < G; ++k) {
    col[k] = a + k * lda;
    t[k] = bc(x[k] * alpha);
  }
  // The strip rows are a multiple of 64, so whole steps cover them.
  static_assert(strip_rows % (S * w) == 0, "a step must divide the strip");
  auto walk = [&](auto with_requests) __attribute__((always_inline)) {
    for (long i = 0; i < m; i += S * w) {
      V<T> acc[S];
      for (int s = 0; s < S; ++s) acc[s] = ld(y + i + s * w);
      for (int k = 0; k < G; ++k) {
        if constexpr (decltype(with_requests)::value)
          for (long b = 0; b < S * w; b += 64 / (long)sizeof(T))
            _mm_prefetch((const char*)(col[k] + i + ahead + b), _MM_HINT_T1);
        for (int s = 0; s < S; ++s) acc[s] = vfma(ld(col[k] + i + s * w), t[k], acc[s]);
      }
      for (int s = 0; s < S; ++s) st(y + i + s * w, acc[s]);
    }
  };
  if (prefetch) walk(std::true_type{});
  else walk(std::false_type{});
}

// The rest rows (fewer than a strip) take their sums block by block of columns, right after the
// block's groups have streamed the lines around them.
template <class T>
void sgemv_n_columns(long m, long rest, long n, T alpha, const T* a, long lda, const T* x, T* y) {
  constexpr int G = sgemv_n_group;
  constexpr long block = sgemv_n_rest_block;
  static_assert(block % G == 0, "groups must not straddle blocks");
  alignas(64) T sum[std::max<long>(strip_rows, 8 * W<T>)] = {};
  const bool prefetch = (double)(m + rest) * (double)n * sizeof(T) > (double)sgemv_n_memory_bytes;
  for (long jb = 0; jb < n; jb += block) {
    const long jn = std::min(block, n - jb);
    const T* ab = a + jb * lda;
    const T* xb = x + jb;
    long j = 0;
    for (; j + G <= jn; j += G) sgemv_n_group_walk<T, G>(m, alpha, ab + j * lda, lda, xb + j, y, prefetch);
    switch (jn - j) {
      case 3: sgemv_n_group_walk<T, 3>(m, alpha, ab + j * lda, lda, xb + j, y, prefetch); break;
      case 2: sgemv_n_group_walk<T, 2>(m, alpha, ab + j * lda, lda, xb + j, y, prefetch); break;
      case 1: sgemv_n_group_walk<T, 1>(m, alpha, ab + j * lda, lda, xb + j, y, prefetch); break;
      default: break;
    }
    if (rest > 0) rest_sums<T>(rest, jn, ab + m, lda, xb, sum);
  }
  if (rest > 0) rest_finish<T>(rest, alpha, sum, y + m);
}

// Single precision: tall matrices that fit the last-level cache keep the chunk walk with its
// prefetch a page ahead (order 2,000: 0.87 of the group walk's time, with or without the group
// walk's requests); the rest take the group walk.
template <class T>
void gemv_n(long m, long rest, long n, T alpha, const T* a, long lda, const T* x, T* y, bool prefetch) {
  if constexpr (sizeof(T) == 4) {
    const bool in_cache = (double)(m + rest) * (double)n * sizeof(T) <= (double)sgemv_n_memory_bytes;
    if (!(prefetch && in_cache && m > gemv_prefetch_rows<T>)) {
      sgemv_n_columns<T>(m, rest, n, alpha, a, lda, x, y);
      return;
    }
  }
  gemv_n_walk<T, gemv_n_register_vectors>(m, rest, n, alpha, a, lda, x, y, prefetch);
}

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

// The dots of C <= W columns over one strip of `rows` rows (rows <= strip_rows; a compile-time
// full strip unless `short_strip`), reduced together: lane k of the result is the dot of column k.
// Column k is at base[k / 4] + (k % 4) * lda, four columns per base register, so that the addresses
// of up to sixteen columns fit in the general registers; every x vector serves all C columns.
template <class T, int C, bool short_strip>
__attribute__((always_inline)) inline V<T> gemv_t_strip(const char* const* base_in, long ld1, long ld3, const T* x,
                                                       long rows) {
  constexpr int w = W<T>;
  constexpr int nv = strip_rows / w;
  constexpr int bases = (C + 3) / 4;
  // With fewer columns than lanes the spare accumulators take the odd vectors of the strip, so
  // that the additions of one column don't wait on each other.
  constexpr int chains = 2 * C <= w ? 2 : 1;
  const char* base[bases];
  for (int b = 0; b < bases; ++b) base[b] = base_in[b];
  V<T> acc[w] = {};
#pragma GCC unroll 32
  for (int v = 0; v < nv; ++v) {
    if (short_strip && v * w >= rows) continue;
    const long count = short_strip ? rows - v * w : w;
    // Opaque bases: otherwise the compiler keeps one pointer per column alive across the strip
    // and, short of registers, loads each address back from the stack.
    for (int b = 0; b < bases; ++b) __asm__("" : "+r"(base[b]));
    auto column = [&](int k) {
      const char* p = base[k / 4] + v * w * (long)sizeof(T);
      switch (k % 4) {
        case 0: return reinterpret_cast<const T*>(p);
        case 1: return reinterpret_cast<const T*>(p + ld1);
        case 2: return reinterpret_cast<const T*>(p + 2 * ld1);
        default: return reinterpret_cast<const T*>(p + ld3);
      }
    };
    const int set = chains == 2 ? (v & 1) * C : 0;
    if (!short_strip || count >= w) {
      const V<T> xv = ld(x + v * w);
#pragma GCC unroll 16
      for (int k = 0; k < C; ++k) acc[set + k] = vfma(ld(column(k)), xv, acc[set + k]);
    } else {
      const V<T> xv = ld_part(x + v * w, count);
#pragma GCC unroll 16
      for (int k = 0; k < C; ++k) acc[set + k] = vfma(ld_part(column(k), count), xv, acc[set + k]);
    }
  }
  if constexpr (chains == 2)
#pragma GCC unroll 16
    for (int k = 0; k < C; ++k) acc[k] += acc[C + k], acc[C + k] = V<T>{};
  return reduce_lanes<T>(acc);
}

// y(j:j+C) += alpha * A(0:m, j:j+C)' * x for C <= W columns, walked down all strips (C
// sequential streams). Each strip's C dots are added to y before the next strip, in the order of
// the strips, the rows after the last full strip being a last, short strip; y stays in a register
// across the strips.
template <class T, int C>
__attribute__((noinline)) void gemv_t_columns(long m, T alpha, const T* a, long lda, const T* x, T* y,
                                              bool prefetch) {
  constexpr int w = W<T>;
  constexpr int bases = (C + 3) / 4;
  const V<T> va = bc(alpha);
  V<T> yv = C == w ? ld(y) : ld_part(y, C);
  const long ld1 = lda * (long)sizeof(T), ld3 = 3 * ld1;
  const char* base[bases];
  for (int b = 0; b < bases; ++b) base[b] = reinterpret_cast<const char*>(a + 4 * b * lda);
  long i0 = 0;
  for (; i0 + strip_rows <= m; i0 += strip_rows) {
    if (prefetch && m - i0 > gemv_prefetch_rows<T>)
#pragma GCC unroll 16
      for (int k = 0; k < C; ++k)
        __builtin_prefetch(base[k / 4] + (k % 4) * ld1 + gemv_prefetch_bytes, 0, 0);
    yv = vfma(va, gemv_t_strip<T, C, false>(base, ld1, ld3, x + i0, strip_rows), yv);
    for (int b = 0; b < bases; ++b) base[b] += strip_rows * (long)sizeof(T);
  }
  if (i0 < m) yv = vfma(va, gemv_t_strip<T, C, true>(base, ld1, ld3, x + i0, m - i0), yv);
  if constexpr (C == w) st(y, yv);
  else st_part(y, yv, C);
}

// Columns left after the groups of W: groups of W/2, W/4, ..., 1 as they fit.
template <class T, int C>
inline void gemv_t_tail(long m, long n, T alpha, const T* a, long lda, const T* x, T* y, bool prefetch) {
  if constexpr (C >= 1) {
    if (n >= C) {
      gemv_t_columns<T, C>(m, alpha, a, lda, x, y, prefetch);
      a += C * lda;
      y += C;
      n -= C;
    }
    gemv_t_tail<T, C / 2>(m, n, alpha, a, lda, x, y, prefetch);
  }
}

template <class T>
void gemv_t(long m, long n, T alpha, const T* a, long lda, const T* x, T* y, bool prefetch) {
  constexpr int w = W<T>;
  long j = 0;
  for (; j + w <= n; j += w) gemv_t_columns<T, w>(m, alpha, a + j * lda, lda, x, y + j, prefetch);
  gemv_t_tail<T, w / 2>(m, n - j, alpha, a + j * lda, lda, x, y + j, prefetch);
}

// Rows left after the strips (fewer than 64): sums over the columns, kept in a buffer so that the
// not transposed kernel can carry them along its chunks of columns, and alpha applied to each
// finished sum. Up to eight vectors of rows at once, the last one partial; with few vectors the
// even and odd columns go to separate sums, so that the additions don't wait on each other.
template <class T, int NV>
inline void rest_accumulate(long rows, long n, const T* a, long lda, const T* x, T* sum) {
  constexpr int w = W<T>;
  constexpr int sets = NV <= 4 ? 2 : 1;
  const long last = rows - (NV - 1) * w;
  V<T> s[sets][NV] = {};
  for (int v = 0; v < NV - 1; ++v) s[0][v] = ld(sum + v * w);
  s[0][NV - 1] = ld_part(sum + (NV - 1) * w, last);
  long j = 0;
  for (; j + sets <= n; j += sets)
    for (int c = 0; c < sets; ++c) {
      const V<T> xv = bc(x[j + c]);
      const T* col = a + (j + c) * lda;
      for (int v = 0; v < NV - 1; ++v) s[c][v] = vfma(ld(col + v * w), xv, s[c][v]);
      s[c][NV - 1] = vfma(ld_part(col + (NV - 1) * w, last), xv, s[c][NV - 1]);
    }
  for (; j < n; ++j) {
    const V<T> xv = bc(x[j]);
    const T* col = a + j * lda;
    for (int v = 0; v < NV - 1; ++v) s[0][v] = vfma(ld(col + v * w), xv, s[0][v]);
    s[0][NV - 1] = vfma(ld_part(col + (NV - 1) * w, last), xv, s[0][NV - 1]);
  }
  if constexpr (sets == 2)
    for (int v = 0; v < NV; ++v) s[0][v] += s[1][v];
  for (int v = 0; v < NV - 1; ++v) st(sum + v * w, s[0][v]);
  st_part(sum + (NV - 1) * w, s[0][NV - 1], last);
}

template <class T> void rest_sums(long m, long n, const T* a, long lda, const T* x, T* sum) {
  constexpr int w = W<T>;
  for (long i = 0; i < m; i += 8 * w) {
    const long rows = std::min<long>(8 * w, m - i);
    const T* ai = a + i;
    T* si = sum + i;
    switch ((rows + w - 1) / w) {
      case 1: rest_accumulate<T, 1>(rows, n, ai, lda, x, si); break;
      case 2: rest_accumulate<T, 2>(rows, n, ai, lda, x, si); break;
      case 3: rest_accumulate<T, 3>(rows, n, ai, lda, x, si); break;
      case 4: rest_accumulate<T, 4>(rows, n, ai, lda, x, si); break;
      case 5: rest_accumulate<T, 5>(rows, n, ai, lda, x, si); break;
      case 6: rest_accumulate<T, 6>(rows, n, ai, lda, x, si); break;
      case 7: rest_accumulate<T, 7>(rows, n, ai, lda, x, si); break;
      default: rest_accumulate<T, 8>(rows, n, ai, lda, x, si); break;
    }
  }
}

template <class T> void rest_finish(long m, T alpha, const T* sum, T* y) {
  for (long i = 0; i < m; ++i) y[i] = sfma(alpha, sum[i], y[i]);
}

// Symmetric multiply, G groups of four columns j .. j + 4G - 1 in one walk over the rows, each
// group over exactly the rows it would take alone: rows [j + 4g + 4, n) of group g in the lower
// triangle, [0, j + 4g) in the upper. Every row's update of y takes the groups in order, each
// group's dots keep their rows and lanes, and each group's diagonal block and dots reach y where
// the groups before it have updated those rows and the groups after it have not (lower: after the
// walk, since no later group reaches them; upper: before the later groups take the rows between
// j and their diagonal). So the results are those of the groups taken one after another, while
// the walk keeps 4G columns streaming at once and reads and writes y once a row for all of them.
template <class T, int G>
void symv_groups(bool upper, long j, long n, T alpha, const T* a, long lda, const T* x, T* y) {
  constexpr int w = W<T>;
  constexpr int C = 4 * G;
  V<T> vt[C], vs[C];
  T t[C];
  const T* col[C];
  for (int c = 0; c < C; ++c) {
    t[c] = alpha * x[j + c];
    vt[c] = bc(t[c]);
    vs[c] = V<T>{};
    col[c] = a + (j + c) * lda;
  }
  // Group g's part of the vector of rows at i, lanes [from, to), with its own load and store of y.
  auto group_rows = [&](int g, long i, long from, long to) {
    const bool whole = from == 0 && to == w;
    const V<T> xv = whole ? ld(x + i) : ld_range(x + i, from, to);
    V<T> yv = whole ? ld(y + i) : ld_range(y + i, from, to);
    for (int c = 4 * g; c < 4 * g + 4; ++c) {
      V<T> ac = whole ? ld(col[c] + i) : ld_range(col[c] + i, from, to);
      in_register(ac);
      yv = vfma(ac, vt[c], yv);
      vs[c] = vfma(ac, xv, vs[c]);
    }
    if (whole) st(y + i, yv);
    else st_range(y + i, yv, from, to);
  };
  // Whole vectors of rows [i, end) that all groups take: one load and store of y for all.
  auto joint_rows = [&](long i, long end) {
    for (; i + w <= end; i += w) {
      const V<T> xv = ld(x + i);
      V<T> yv = ld(y + i);
#pragma GCC unroll 16
      for (int c = 0; c < C; ++c) {
        V<T> ac = ld(col[c] + i);
        in_register(ac);
        yv = vfma(ac, vt[c], yv);
        vs[c] = vfma(ac, xv, vs[c]);
      }
      st(y + i, yv);
    }
    return i;
  };
  // The dots reduced, then the diagonal block from the stored triangle, into y(j + 4g ..).
  auto finish = [&](int g) {
    T s[4];
    if constexpr (w >= 4) {
      V<T> all[w] = {vs[4 * g], vs[4 * g + 1], vs[4 * g + 2], vs[4 * g + 3]};
      const V<T> r = reduce_lanes<T>(all);
      for (int c = 0; c < 4; ++c) s[c] = T{} + r[c];
    } else {
      for (int c = 0; c < 4; ++c) s[c] = T{} + hsum<T>(vs[4 * g + c]);
    }
    const long jg = j + 4 * g;
    for (int c = 0; c < 4; ++c) {
      T acc = t[4 * g + c] * a[(jg + c) + (jg + c) * lda];
      for (int r = 0; r < 4; ++r) {
        if (r == c) continue;
        const T arc = (upper ? r < c : r > c) ? a[(jg + r) + (jg + c) * lda] : a[(jg + c) + (jg + r) * lda];
        acc = sfma(arc, t[4 * g + r], acc);
      }
      y[jg + c] += acc + alpha * s[c];
    }
  };
  if (upper) {
    // Rows above the first group's diagonal together; then, group by group, the rows from there
    // to the group's diagonal, and the group's block.
    const long i = joint_rows(0, j);
    for (int g = 0; g < G; ++g) {
      const long hi = j + 4 * g;
      for (long v = i; v < hi; v += w) group_rows(g, v, 0, std::min<long>(w, hi - v));
      finish(g);
    }
  } else {
    // Vectors where some group starts, or where the rows end, take the groups one by one.
    auto ragged = [&](long i) {
      for (int g = 0; g < G; ++g) {
        const long from = std::max(j + 4 * g + 4, i) - i, to = std::min<long>(w, n - i);
        if (from < to) group_rows(g, i, from, to);
      }
    };
    const long first = j + 4, last = j + 4 * G;  // the first rows of group 0 and of group G - 1
    long i = first - first % w;
    for (; i < last && i < n; i += w) ragged(i);
    i = joint_rows(i, n);
    if (i < n) ragged(i);
    for (int g = 0; g < G; ++g) finish(g);
  }
}

// Groups of four columns a symmetric multiply walk may take for a leading dimension: columns
// whose distance is a multiple of the first-level cache's set span put their lines into few sets,
// and a walk that streams more than symv_columns_per_set columns through one set loses the lines
// the hardware fetched ahead before it reaches them (order 1,024, lda 8 KiB: 16 columns took 2.2
// times the peer's time, 4 or 8 columns 1.05-1.1, as at order 1,000).
int walk_groups_for(long column_bytes, int most) {
  const long stride = column_bytes % l1_set_span_bytes;
  const long sets = stride == 0 ? 1 : l1_set_span_bytes / std::gcd(stride, l1_set_span_bytes);
  int groups = most;
  while (groups > 1 && 4 * groups > symv_columns_per_set * sets) groups /= 2;
  return groups;
}
template <class T> int symv_groups_for(long lda) {
  return walk_groups_for(lda * (long)sizeof(T), symv_groups_per_walk);
}

// Symmetric multiply: groups of four columns walk the rows (symv_groups), each element outside
// the diagonal blocks read once and serving twice, for the update of y and for the column's dot.
template <class T>
void symv(bool upper, long n, T alpha, const T* a, long lda, const T* x, T* y) {
  // Whole groups of four columns in walks of as many groups as the leading dimension allows,
  // then the groups left over one a walk, then the last columns alone.
  const long n4 = n & ~3L;
  long j = 0;
  auto walks = [&]<int G>() {
    for (; j + 4 * G <= n4; j += 4 * G) symv_groups<T, G>(upper, j, n, alpha, a, lda, x, y);
  };
  switch (symv_groups_for<T>(lda)) {
    case 4: walks.template operator()<4>(); break;
    case 2: walks.template operator()<2>(); break;
    default: break;
  }
  walks.template operator()<1>();
  // The last n mod 4 columns alone, element by element.
  for (; j < n; ++j) {
    const T t = alpha * x[j];
    const T* col = a + j * lda;
    T s{};
    for (long r = upper ? 0 : j + 1, end = upper ? j : n; r < end; ++r) {
      y[r] = sfma(col[r], t, y[r]);
      s = sfma(col[r], x[r], s);
    }
    y[j] += t * col[j] + alpha * s;
  }
}

// ---- complex ----------------------------------------------------------------------------------
// A complex vector of k pairs is a real vector of 2k lanes; alpha * x is re(alpha) * x plus
// im(alpha) * (x with its parts exchanged) * (-1, +1).
#if ZVX_ISA_LEVEL == 2
inline __m256d half_fma(__m256d a, __m256d b, __m256d c) { return _mm256_fmadd_pd(a, b, c); }
inline __m256 half_fma(__m256 a, __m256 b, __m256 c) { return _mm256_fmadd_ps(a, b, c); }
inline __m256d half_swap_pairs(__m256d a) { return _mm256_permute_pd(a, 0x5); }
inline __m256 half_swap_pairs(__m256 a) { return _mm256_permute_ps(a, 0xb1); }
template <class R> struct half_vector_of { using type = __m256d; };
template <> struct half_vector_of<float> { using type = __m256; };
template <class R> using half_vector = typename half_vector_of<R>::type;
template <class R> inline half_vector<R> half_ld(const R* p) {
  if constexpr (std::is_same_v<R, double>) return _mm256_loadu_pd(p);
  else return _mm256_loadu_ps(p);
}
template <class R> inline void half_st(R* p, half_vector<R> v) {
  if constexpr (std::is_same_v<R, double>) _mm256_storeu_pd(p, v);
  else _mm256_storeu_ps(p, v);
}
template <class R> inline half_vector<R> half_bc(R a) {
  if constexpr (std::is_same_v<R, double>) return _mm256_set1_pd(a);
  else return _mm256_set1_ps(a);
}

// caxpy for vectors beyond the caches, on 32-byte vectors, with the arithmetic of caxpy.
template <class R> void caxpy_from_memory(long n, complex_t<R> alpha, const complex_t<R>* xc, complex_t<R>* yc) {
  using H = half_vector<R>;
  constexpr int hw = 32 / sizeof(R);
  const R* x = &xc->real;
  R* y = &yc->real;
  const long len = 2 * n;
  const V<R> ai_wide = bc(alpha.imag) * alternating_sign<R>();
  H ai;
  memcpy(&ai, &ai_wide, sizeof ai);
  const H ar = half_bc<R>(alpha.real);
  long i = 0;
  for (; i + 4 * hw <= len; i += 4 * hw) {
    H xv[4];
    for (int k = 0; k < 4; ++k) xv[k] = half_ld<R>(x + i + k * hw);
    for (int k = 0; k < 4; ++k)
      half_st<R>(y + i + k * hw, half_fma(ai, half_swap_pairs(xv[k]), half_fma(ar, xv[k], half_ld<R>(y + i + k * hw))));
  }
  for (long k = i / 2; k < n; ++k) {
    const complex_t<R> xk = xc[k];
    yc[k] = {sfma(-alpha.imag, xk.imag, sfma(alpha.real, xk.real, yc[k].real)), sfma(alpha.imag, xk.real, sfma(alpha.real, xk.imag, yc[k].imag))};
  }
}
#endif

template <class R> void caxpy(long n, complex_t<R> alpha, const complex_t<R>* xc, complex_t<R>* yc) {
#if ZVX_ISA_LEVEL == 2
  if (n * (long)sizeof(complex_t<R>) > caxpy_half_vector_bytes) return caxpy_from_memory<R>(n, alpha, xc, yc);
#endif
  constexpr int w = W<R>;
  const R* x = &xc->real;
  R* y = &yc->real;
  const long len = 2 * n;
  const V<R> ar = bc(alpha.real), ai = bc(alpha.imag) * alternating_sign<R>();
  // Whole elements up to a vector boundary of y, so that the stores after them don't straddle
  // two lines.
  long i = elements_to_boundary(y, len);
  if (i % 2 != 0) i = 0;
  if (i > 0) {
    const V<R> x0 = ld_part(x, i);
    st_part(y, vfma(ai, swap_pairs<R>(x0), vfma(ar, x0, ld_part(y, i))), i);
  }
  for (; i + 4 * w <= len; i += 4 * w) {
    V<R> xv[4], yv[4];
    for (int k = 0; k < 4; ++k) {
      xv[k] = ld(x + i + k * w);
      in_register(xv[k]);
    }
    for (int k = 0; k < 4; ++k) yv[k] = vfma(ar, xv[k], ld(y + i + k * w));
    for (int k = 0; k < 4; ++k) st(y + i + k * w, vfma(ai, swap_pairs<R>(xv[k]), yv[k]));
  }
  for (; i + w <= len; i += w) {
    const V<R> x0 = ld(x + i);
    st(y + i, vfma(ai, swap_pairs<R>(x0), vfma(ar, x0, ld(y + i))));
  }
  if (i < len) {
    const V<R> x0 = ld_part(x + i, len - i);
    st_part(y + i, vfma(ai, swap_pairs<R>(x0), vfma(ar, x0, ld_part(y + i, len - i))), len - i);
  }
}

template <class R> void cscal(long n, complex_t<R> alpha, complex_t<R>* xc) {
  constexpr int w = W<R>;
  R* x = &xc->real;
  const long len = 2 * n;
  const V<R> ar = bc(alpha.real), ai = bc(alpha.imag) * alternating_sign<R>();
  long i = 0;
  for (; i + w <= len; i += w) {
    V<R> v = ld(x + i);
    in_register(v);
    st(x + i, vfma(ai, swap_pairs<R>(v), ar * v));
  }
  for (long k = i / 2; k < n; ++k) xc[k] = alpha * xc[k];
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
template <class R> inline complex_t<R> combine(V<R> p, V<R> q, bool conjugate_x) {
  const auto [p0, p1] = pair_sums<R>(p);
  const auto [q0, q1] = pair_sums<R>(q);
  return conjugate_x ? complex_t<R>{p0 + p1, q0 - q1} : complex_t<R>{p0 - p1, q0 + q1};
}

// Four vectors a pass with their own sums: eight independent chains cover the FMA latency, and the
// four exchanges a pass match the FMA rate on the one shuffle port. The first whole elements up to
// a vector boundary of x come first, so that no load after them straddles two lines when y shares
// the alignment of x (as equal allocations do).
template <class R> complex_t<R> cdot(long n, const complex_t<R>* xc, const complex_t<R>* yc, bool conjugate_x) {
  constexpr int w = W<R>;
  const R* x = &xc->real;
  const R* y = &yc->real;
  const long len = 2 * n;
  V<R> p[4] = {}, q[4] = {};
  long i = elements_to_boundary(x, len);
  if (i % 2 != 0) i = 0;
  if (i > 0) {
    const V<R> xa = ld_part(x, i), ya = ld_part(y, i);
    p[3] = vfma(xa, ya, p[3]);
    q[3] = vfma(xa, swap_pairs<R>(ya), q[3]);
  }
  for (; i + 4 * w <= len; i += 4 * w)
    for (int k = 0; k < 4; ++k) {
      V<R> xa = ld(x + i + k * w), ya = ld(y + i + k * w);
      in_register(xa);
      in_register(ya);
      p[k] = vfma(xa, ya, p[k]);
      q[k] = vfma(xa, swap_pairs<R>(ya), q[k]);
    }
  for (; i + w <= len; i += w) {
    const V<R> xa = ld(x + i), ya = ld(y + i);
    p[0] = vfma(xa, ya, p[0]);
    q[0] = vfma(xa, swap_pairs<R>(ya), q[0]);
  }
  if (i < len) {
    const V<R> xa = ld_part(x + i, len - i), ya = ld_part(y + i, len - i);
    p[1] = vfma(xa, ya, p[1]);
    q[1] = vfma(xa, swap_pairs<R>(ya), q[1]);
  }
  return combine<R>((p[0] + p[1]) + (p[2] + p[3]), (q[0] + q[1]) + (q[2] + q[3]), conjugate_x);
}

// One pass for long complex vectors, as iamax_one_pass on the pair measures: both lanes of a pair
// hold the same value, so a lane index halved is the element.
template <class R> long ciamax_one_pass(long n, const complex_t<R>* xc) {
  constexpr int w = W<R>;
  using I = VI<R>;
  const R* x = &xc->real;
  const long len = 2 * n;
  V<R> m[2];
  I idx[2], cur[2];
  for (int s = 0; s < 2; ++s) {
    m[s] = bc(R(-1));
    idx[s] = I{};
    for (int k = 0; k < w; ++k) cur[s][k] = s * w + k;
  }
  const I step = I{} + 2 * w;
  long i = 0;
  for (; i + 2 * w <= len; i += 2 * w)
    for (int s = 0; s < 2; ++s) {
      const V<R> a = vabs<R>(ld(x + i + s * w));
      const V<R> v = a + swap_pairs<R>(a);
      const I gt = v > m[s];
      m[s] = gt ? v : m[s];
      idx[s] = gt ? cur[s] : idx[s];
      cur[s] += step;
    }
  R best_value = R(-1);
  long best = 0;
  for (int s = 0; s < 2; ++s)
    for (int k = 0; k < w; ++k) {
      const R v = m[s][k];
      const long at = idx[s][k] / 2;
      if (v > best_value || (v == best_value && at < best)) {
        best_value = v;
        best = at;
      }
    }
  for (long k = i / 2; k < n; ++k) {
    const R v = abs1(xc[k]);
    if (v > best_value) {
      best_value = v;
      best = k;
    }
  }
  return best;
}

// |re| + |im| lands in both lanes of a pair; then the two passes of the real form, on pairs.
template <class R> long ciamax(long n, const complex_t<R>* xc) {
  if (n * (long)sizeof(complex_t<R>) > iamax_one_pass_bytes && 2 * n < (1L << 31)) return ciamax_one_pass<R>(n, xc);
  constexpr int w = W<R>;
  const R* x = &xc->real;
  const long len = 2 * n;
  auto measure = [](V<R> v) {
    const V<R> a = vabs<R>(v);
    return a + swap_pairs<R>(a);
  };
  V<R> m[2];
  for (auto& v : m) v = bc(abs1(xc[0]));
  long i = 0;
  for (; i + 2 * w <= len; i += 2 * w) {
    m[0] = vmax(measure(ld(x + i)), m[0]);
    m[1] = vmax(measure(ld(x + i + w)), m[1]);
  }
  for (; i + w <= len; i += w) m[0] = vmax(measure(ld(x + i)), m[0]);
  if (i < len) m[1] = vmax(measure(ld_part(x + i, len - i)), m[1]);
  const V<R> mm = vmax(m[0], m[1]);
  R best = mm[0];
  for (int k = 1; k < w; ++k) best = best < mm[k] ? mm[k] : best;
  const V<R> vb = bc(best);
  for (i = 0; i + w <= len; i += w)
    if (const unsigned bits = eq_bits(measure(ld(x + i)), vb)) return (i + __builtin_ctz(bits)) / 2;
  for (long k = i / 2; k < n; ++k)
    if (abs1(xc[k]) == best) return k;
  return 0;
}

// y(0:m) += A * (alpha * x), one column a pass, y in registers across a chunk of columns.
template <class R, int B>
inline void cgemv_n_block(long n, const complex_t<R>* t, const complex_t<R>* a, long lda, R* y) {
  constexpr int w = W<R>;
  const V<R> sign = alternating_sign<R>();
  V<R> acc[B];
  for (int b = 0; b < B; ++b) acc[b] = ld(y + b * w);
  for (long j = 0; j < n; ++j) {
    const V<R> tr = bc(t[j].real), ti = bc(t[j].imag) * sign;
    const R* col = &a[j * lda].real;
    for (int b = 0; b < B; ++b) {
      V<R> v = ld(col + b * w);
      in_register(v);
      acc[b] = vfma(ti, swap_pairs<R>(v), vfma(tr, v, acc[b]));
    }
  }
  for (int b = 0; b < B; ++b) st(y + b * w, acc[b]);
}

template <class R>
void cgemv_n(long m, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x, complex_t<R>* y) {
  constexpr int w = W<R>;
  constexpr int B = gemv_n_register_vectors;
  const long len = 2 * m;
  R* yr = &y->real;
  complex_t<R> t[gemv_column_chunk];
  for (long jc = 0; jc < n; jc += gemv_column_chunk) {
    const long jn = std::min(gemv_column_chunk, n - jc);
    for (long j = 0; j < jn; ++j) t[j] = alpha * x[jc + j];
    const complex_t<R>* ac = a + jc * lda;
    long i = 0;
    for (; i + B * w <= len; i += B * w) cgemv_n_block<R, B>(jn, t, ac + i / 2, lda, yr + i);
    for (; i + w <= len; i += w) cgemv_n_block<R, 1>(jn, t, ac + i / 2, lda, yr + i);
    for (long k = i / 2; k < m; ++k) {
      complex_t<R> s = y[k];
      for (long j = 0; j < jn; ++j) s += ac[k + j * lda] * t[j];
      y[k] = s;
    }
  }
}

// Rows after the strips, not transposed: sums over the columns of A(i, j) x(j) for up to eight
// vectors of rows, the last one partial, then y(i) += alpha * sum.
template <class R, int NV>
inline void cgemv_rest_block(long len, long n, complex_t<R> alpha, const R* a, long lda, const complex_t<R>* x, R* y) {
  constexpr int w = W<R>;
  const long last = len - (NV - 1) * w;
  const V<R> sign = alternating_sign<R>();
  V<R> s[NV] = {};
  for (long j = 0; j < n; ++j) {
    const V<R> tr = bc(x[j].real), ti = bc(x[j].imag) * sign;
    const R* col = a + 2 * j * lda;
    for (int v = 0; v < NV; ++v) {
      V<R> c = v < NV - 1 ? ld(col + v * w) : ld_part(col + v * w, last);
      in_register(c);
      s[v] = vfma(ti, swap_pairs<R>(c), vfma(tr, c, s[v]));
    }
  }
  const V<R> ar = bc(alpha.real), ai = bc(alpha.imag) * sign;
  for (int v = 0; v < NV; ++v) {
    const long cnt = v < NV - 1 ? w : last;
    const V<R> yv = ld_part(y + v * w, cnt);
    st_part(y + v * w, vfma(ai, swap_pairs<R>(s[v]), vfma(ar, s[v], yv)), cnt);
  }
}

template <class R>
void cgemv_rest_n(long m, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x, complex_t<R>* y) {
  constexpr int w = W<R>;
  const long len = 2 * m;
  for (long i = 0; i < len; i += 8 * w) {
    const long part = std::min<long>(8 * w, len - i);
    const R* ai = &a->real + i;
    R* yi = &y->real + i;
    switch ((part + w - 1) / w) {
      case 1: cgemv_rest_block<R, 1>(part, n, alpha, ai, lda, x, yi); break;
      case 2: cgemv_rest_block<R, 2>(part, n, alpha, ai, lda, x, yi); break;
      case 3: cgemv_rest_block<R, 3>(part, n, alpha, ai, lda, x, yi); break;
      case 4: cgemv_rest_block<R, 4>(part, n, alpha, ai, lda, x, yi); break;
      case 5: cgemv_rest_block<R, 5>(part, n, alpha, ai, lda, x, yi); break;
      case 6: cgemv_rest_block<R, 6>(part, n, alpha, ai, lda, x, yi); break;
      case 7: cgemv_rest_block<R, 7>(part, n, alpha, ai, lda, x, yi); break;
      default: cgemv_rest_block<R, 8>(part, n, alpha, ai, lda, x, yi); break;
    }
  }
}

// The dots of C complex columns over one strip of `rows` rows (rows <= strip_rows; a compile-time
// full strip unless `short_strip`), as G = ceil(2C / W) vectors of interleaved sums: lanes 2k and
// 2k + 1 of vector g are the real and imaginary part of column g * W/2 + k. Per column two sums:
// A times x with the sign of the products of the imaginary parts folded into x (p), and A times
// x with its parts exchanged, signed the same way (q); the signs are exact, so p reduces to the
// real part and q to the imaginary part. Column k is at base[k / 4] + (k % 4) * lda, four columns
// per base register, and every x vector serves all C columns.
template <class R, int C, bool short_strip, size_t... G>
__attribute__((always_inline)) inline std::array<V<R>, sizeof...(G)> cgemv_t_strip(
    const char* const* base_in, long ld1, long ld3, const R* x, long rows, bool conjugate_a,
    std::index_sequence<G...>) {
  constexpr int w = W<R>;
  constexpr int nv = 2 * strip_rows / w;
  constexpr int bases = (C + 3) / 4;
  constexpr int groups = sizeof...(G);
  const long len = 2 * rows;
  const char* base[bases];
  for (int b = 0; b < bases; ++b) base[b] = base_in[b];
  // Unconjugated: re = ar xr - ai xi, im = ar xi + ai xr; conjugated: re = ar xr + ai xi,
  // im = ar xi - ai xr.
  const V<R> plus_minus = -alternating_sign<R>();  // (+1, -1, ...)
  const V<R> p_sign = conjugate_a ? bc(R(1)) : plus_minus, q_sign = conjugate_a ? plus_minus : bc(R(1));
  V<R> acc[groups * w] = {};
#pragma GCC unroll 64
  for (int v = 0; v < nv; ++v) {
    if (short_strip && v * w >= len) continue;
    const long count = short_strip ? len - v * w : w;
    // Opaque bases: otherwise the compiler keeps one pointer per column alive across the strip.
    for (int b = 0; b < bases; ++b) __asm__("" : "+r"(base[b]));
    auto column = [&](int k) {
      const char* p = base[k / 4] + v * w * (long)sizeof(R);
      switch (k % 4) {
        case 0: return reinterpret_cast<const R*>(p);
        case 1: return reinterpret_cast<const R*>(p + ld1);
        case 2: return reinterpret_cast<const R*>(p + 2 * ld1);
        default: return reinterpret_cast<const R*>(p + ld3);
      }
    };
    const bool full = !short_strip || count >= w;
    V<R> xv = full ? ld(x + v * w) : ld_part(x + v * w, count);
    in_register(xv);
    V<R> xp = xv * p_sign, xq = swap_pairs<R>(xv) * q_sign;
    in_register(xp);
    in_register(xq);
#pragma GCC unroll 16
    for (int k = 0; k < C; ++k) {
      V<R> av = full ? ld(column(k)) : ld_part(column(k), count);
      in_register(av);
      acc[2 * k] = vfma(av, xp, acc[2 * k]);
      acc[2 * k + 1] = vfma(av, xq, acc[2 * k + 1]);
    }
  }
  return {reduce_lanes<R>(acc + G * w)...};
}

// y(j:j+C) += alpha * op(A)(j:j+C, 0:m) * x for C columns, walked down all strips (C sequential
// streams). Each strip's C sums are multiplied by alpha and added to y before the next strip, in
// the order of the strips, the rows after the last full strip being a last, short strip; y stays
// in registers across the strips.
template <class R, int C>
__attribute__((noinline)) void cgemv_t_columns(long m, complex_t<R> alpha, const complex_t<R>* a, long lda,
                                               const complex_t<R>* x, complex_t<R>* y, bool conjugate_a) {
  constexpr int w = W<R>;
  constexpr int bases = (C + 3) / 4;
  constexpr int groups = (2 * C + w - 1) / w;
  constexpr int last_lanes = 2 * C - (groups - 1) * w;  // lanes of y in the last vector
  using seq = std::make_index_sequence<groups>;
  const V<R> ar = bc(alpha.real), ai = bc(alpha.imag) * alternating_sign<R>();
  R* yr = &y->real;
  V<R> yv[groups];
  for (int g = 0; g < groups; ++g) yv[g] = g + 1 < groups || last_lanes == w ? ld(yr + g * w) : ld_part(yr + g * w, last_lanes);
  const R* xr = &x->real;
  const long ld1 = lda * (long)sizeof(complex_t<R>), ld3 = 3 * ld1;
  const char* base[bases];
  for (int b = 0; b < bases; ++b) base[b] = reinterpret_cast<const char*>(a + 4 * b * lda);
  auto add = [&](const std::array<V<R>, groups>& s) {
    for (int g = 0; g < groups; ++g) {
      const V<R> product = vfma(ai, swap_pairs<R>(s[g]), ar * s[g]);
      yv[g] += product;
    }
  };
  long i0 = 0;
  for (; i0 + strip_rows <= m; i0 += strip_rows) {
    if (m - i0 > gemv_prefetch_rows<complex_t<R>>)
#pragma GCC unroll 16
      for (int k = 0; k < C; ++k)
        __builtin_prefetch(base[k / 4] + (k % 4) * ld1 + gemv_prefetch_bytes, 0, 0);
    add(cgemv_t_strip<R, C, false>(base, ld1, ld3, xr + 2 * i0, strip_rows, conjugate_a, seq{}));
    for (int b = 0; b < bases; ++b) base[b] += strip_rows * (long)sizeof(complex_t<R>);
  }
  if (i0 < m) add(cgemv_t_strip<R, C, true>(base, ld1, ld3, xr + 2 * i0, m - i0, conjugate_a, seq{}));
  for (int g = 0; g < groups; ++g)
    if (g + 1 < groups || last_lanes == w) st(yr + g * w, yv[g]);
    else st_part(yr + g * w, yv[g], last_lanes);
}

// Columns left after the full passes: groups of half as many, a quarter, ..., 1 as they fit.
template <class R, int C>
inline void cgemv_t_tail(long m, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x, complex_t<R>* y,
                         bool conjugate_a) {
  if constexpr (C >= 1) {
    if (n >= C) {
      cgemv_t_columns<R, C>(m, alpha, a, lda, x, y, conjugate_a);
      a += C * lda;
      y += C;
      n -= C;
    }
    cgemv_t_tail<R, C / 2>(m, n, alpha, a, lda, x, y, conjugate_a);
  }
}

template <class R>
void cgemv_t(long m, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x, complex_t<R>* y,
             bool conjugate_a) {
  constexpr int cols = cgemv_t_columns_per_pass;
  long j = 0;
  for (; j + cols <= n; j += cols) cgemv_t_columns<R, cols>(m, alpha, a + j * lda, lda, x, y + j, conjugate_a);
  cgemv_t_tail<R, cols / 2>(m, n - j, alpha, a + j * lda, lda, x, y + j, conjugate_a);
}

// c + a * b with explicit FMAs. The scalar complex operators leave the compiler free to vectorize
// them, and it does so differently in different instantiations (once with fused multiply-subtract,
// once without), which would make the walks of one or more groups differ in the last bit.
template <class R> inline complex_t<R> cmadd(complex_t<R> a, complex_t<R> b, complex_t<R> c) {
  return {sfma(a.real, b.real, sfma(-a.imag, b.imag, c.real)), sfma(a.real, b.imag, sfma(a.imag, b.real, c.imag))};
}

// Hermitian multiply, G groups of four columns j .. j + 4G - 1 in one walk over the rows, with the
// row ranges, the order of the groups and the placement of the diagonal blocks of symv_groups, so
// that every walk gives the bits of the groups taken one after another. Vectors hold h = W/2
// complex elements as interleaved pairs and start at multiples of h from row 0. Per column and
// vector of rows four FMAs and no exchange: y takes A times re(t) in one sum and A times im(t) in
// another, whose parts are exchanged and signed once per group; the column's dot takes A times x
// (p) and A times x with its parts exchanged (q), once per vector of rows. Conjugated A, the dot is
// re = sum p(even) + p(odd), im = sum q(even) - q(odd).
template <class R, int G>
void hemv_groups(bool upper, long j, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x,
                 complex_t<R>* y) {
  constexpr int w = W<R>;
  constexpr int h = w / 2;
  constexpr int C = 4 * G;
  const V<R> sign = alternating_sign<R>();  // (-1, +1, ...)
  V<R> tr[C], ti[C], p[C], q[C];
  complex_t<R> t[C];
  const R* col[C];
  const R* xr = &x->real;
  R* yr = &y->real;
  for (int c = 0; c < C; ++c) {
    t[c] = cmadd<R>(alpha, x[j + c], {});
    tr[c] = bc(t[c].real);
    ti[c] = bc(t[c].imag);
    p[c] = q[c] = V<R>{};
    col[c] = &a[(j + c) * lda].real;
  }
  // Group g's part of the vector of rows at i, elements [from, to), with its own load and store
  // of y.
  auto group_rows = [&](int g, long i, long from, long to) {
    const bool whole = from == 0 && to == h;
    const V<R> xv = whole ? ld(xr + 2 * i) : ld_range(xr + 2 * i, 2 * from, 2 * to);
    const V<R> xs = swap_pairs<R>(xv);
    V<R> yv = whole ? ld(yr + 2 * i) : ld_range(yr + 2 * i, 2 * from, 2 * to);
    V<R> yi = {};
    for (int c = 4 * g; c < 4 * g + 4; ++c) {
      V<R> av = whole ? ld(col[c] + 2 * i) : ld_range(col[c] + 2 * i, 2 * from, 2 * to);
      in_register(av);
      yv = vfma(av, tr[c], yv);
      yi = vfma(av, ti[c], yi);
      p[c] = vfma(av, xv, p[c]);
      q[c] = vfma(av, xs, q[c]);
    }
    yv = vfma(swap_pairs<R>(yi), sign, yv);
    if (whole) st(yr + 2 * i, yv);
    else st_range(yr + 2 * i, yv, 2 * from, 2 * to);
  };
  // Whole vectors of rows [i, end) that all groups take: one load and store of y for all.
  auto joint_rows = [&](long i, long end) {
    for (; i + h <= end; i += h) {
      V<R> xv = ld(xr + 2 * i);
      in_register(xv);
      const V<R> xs = swap_pairs<R>(xv);
      V<R> yv = ld(yr + 2 * i);
#pragma GCC unroll 4
      for (int g = 0; g < G; ++g) {
        V<R> yi = {};
#pragma GCC unroll 4
        for (int c = 4 * g; c < 4 * g + 4; ++c) {
          V<R> av = ld(col[c] + 2 * i);
          in_register(av);
          yv = vfma(av, tr[c], yv);
          yi = vfma(av, ti[c], yi);
          p[c] = vfma(av, xv, p[c]);
          q[c] = vfma(av, xs, q[c]);
        }
        yv = vfma(swap_pairs<R>(yi), sign, yv);
      }
      st(yr + 2 * i, yv);
    }
    return i;
  };
  // The dots reduced, then the diagonal block from the stored triangle (the real part of the
  // diagonal, the mirrored elements conjugated), into y(j + 4g ..).
  auto finish = [&](int g) {
    const V<R> q_sign = -sign;  // (+1, -1, ...): the imaginary part is q(even) - q(odd)
    V<R> sums[8];
    for (int c = 0; c < 4; ++c) {
      sums[2 * c] = p[4 * g + c];
      sums[2 * c + 1] = q[4 * g + c] * q_sign;
    }
    R parts[8];
    if constexpr (w >= 8) {
      V<R> all[w] = {};
      for (int k = 0; k < 8; ++k) all[k] = sums[k];
      const V<R> r = reduce_lanes<R>(all);
      for (int k = 0; k < 8; ++k) parts[k] = r[k];
    } else {
      for (int k = 0; k < 8; k += w) {
        const V<R> r = reduce_lanes<R>(sums + k);
        for (int l = 0; l < w; ++l) parts[k + l] = r[l];
      }
    }
    const long jg = j + 4 * g;
    for (int c = 0; c < 4; ++c) {
      const complex_t<R>* tg = t + 4 * g;
      const R diagonal = a[(jg + c) + (jg + c) * lda].real;
      complex_t<R> acc = {tg[c].real * diagonal, tg[c].imag * diagonal};
      for (int r = 0; r < 4; ++r) {
        if (r == c) continue;
        // A(c, r): stored at (c, r) on the triangle's side, else the conjugate of (r, c).
        const bool stored = upper ? c < r : c > r;
        complex_t<R> acr = stored ? a[(jg + c) + (jg + r) * lda] : a[(jg + r) + (jg + c) * lda];
        if (!stored) acr.imag = -acr.imag;
        acc = cmadd<R>(acr, tg[r], acc);
      }
      y[jg + c] = y[jg + c] + cmadd<R>(alpha, {parts[2 * c], parts[2 * c + 1]}, acc);
    }
  };
  if (upper) {
    // Rows above the first group's diagonal together; then, group by group, the rows from there
    // to the group's diagonal, and the group's block.
    const long i = joint_rows(0, j);
    for (int g = 0; g < G; ++g) {
      const long hi = j + 4 * g;
      for (long v = i; v < hi; v += h) group_rows(g, v, 0, std::min<long>(h, hi - v));
      finish(g);
    }
  } else {
    // Vectors where some group starts, or where the rows end, take the groups one by one.
    auto ragged = [&](long i) {
      for (int g = 0; g < G; ++g) {
        const long from = std::max(j + 4 * g + 4, i) - i, to = std::min<long>(h, n - i);
        if (from < to) group_rows(g, i, from, to);
      }
    };
    const long first = j + 4, last = j + 4 * G;  // the first rows of group 0 and of group G - 1
    long i = first - first % h;
    for (; i < last && i < n; i += h) ragged(i);
    i = joint_rows(i, n);
    if (i < n) ragged(i);
    for (int g = 0; g < G; ++g) finish(g);
  }
}

// Groups of four columns a Hermitian multiply walk may take for a leading dimension, by the rule
// of symv_groups_for, with at most hemv_groups_per_walk.
template <class R> int hemv_groups_for(long lda) {
  return walk_groups_for(lda * (long)sizeof(complex_t<R>), hemv_groups_per_walk);
}

// One column of a Hermitian multiply on its own (the columns after the groups of four): the rows
// outside the diagonal in whole vectors from the first, then a partial one.
template <class R>
void hemv_column(bool upper, long j, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x,
                 complex_t<R>* y) {
  constexpr int w = W<R>;
  const V<R> sign = alternating_sign<R>();
  const complex_t<R> t = cmadd<R>(alpha, x[j], {});
  const V<R> tr = bc(t.real), ti = bc(t.imag);
  const long lo = upper ? 0 : j + 1, len = 2 * ((upper ? j : n) - lo);
  const R* col = &a[lo + j * lda].real;
  const R* xr = &x[lo].real;
  R* yr = &y[lo].real;
  V<R> p = {}, q = {};
  auto step = [&](long i, long count) {
    const bool whole = count == w;
    const V<R> xv = whole ? ld(xr + i) : ld_part(xr + i, count);
    V<R> av = whole ? ld(col + i) : ld_part(col + i, count);
    in_register(av);
    const V<R> yv = vfma(av, tr, whole ? ld(yr + i) : ld_part(yr + i, count));
    const V<R> out = vfma(swap_pairs<R>(av * ti), sign, yv);
    if (whole) st(yr + i, out);
    else st_part(yr + i, out, count);
    p = vfma(av, xv, p);
    q = vfma(av, swap_pairs<R>(xv), q);
  };
  long i = 0;
  for (; i + w <= len; i += w) step(i, w);
  if (i < len) step(i, len - i);
  const auto [p0, p1] = pair_sums<R>(p);
  const auto [q0, q1] = pair_sums<R>(q);
  const R diagonal = a[j + j * lda].real;
  y[j] = y[j] + cmadd<R>(alpha, {p0 + p1, q0 - q1}, {t.real * diagonal, t.imag * diagonal});
}

// Hermitian multiply: groups of four columns walk the rows (hemv_groups), each element outside the
// diagonal blocks read once and serving twice, for the update of y and for the column's dot.
template <class R>
void hemv(bool upper, long n, complex_t<R> alpha, const complex_t<R>* a, long lda, const complex_t<R>* x, complex_t<R>* y) {
  const long n4 = n & ~3L;
  long j = 0;
  auto walks = [&]<int G>() {
    for (; j + 4 * G <= n4; j += 4 * G) hemv_groups<R, G>(upper, j, n, alpha, a, lda, x, y);
  };
  switch (hemv_groups_for<R>(lda)) {
    case 4: if constexpr (hemv_groups_per_walk >= 4) walks.template operator()<4>(); break;
    case 2: if constexpr (hemv_groups_per_walk >= 2) walks.template operator()<2>(); break;
    default: break;
  }
  walks.template operator()<1>();
  for (; j < n; ++j) hemv_column<R>(upper, j, n, alpha, a, lda, x, y);
}

#if ZVX_ISA_LEVEL == 2
// Kernels of the AVX-512 table that run the 32-byte kernels of the AVX2/FMA build, where those
// measured faster on processors that split 64-byte operations into two 32-byte halves. There a
// wide FMA does no more work than two narrow ones, while a lane reduction over 16 (single) or 8
// (double) lanes takes one more level of full-width shuffles per strip than over 8 or 4.
//
// Single transposed: the reductions of the 64-row strips, 16 columns of 16 lanes, cost as much
// as the four FMAs of each column; the 32-byte kernel measured 10-15% faster at order 1,000.
void sgemv_t_narrow(long m, long n, float alpha, const float* a, long lda, const float* x, float* y, bool prefetch) {
  isa_avx2::kernel_table()->s.gemv_t(m, n, alpha, a, lda, x, y, prefetch);
}
// Double transposed with columns of at most two strips: the short last strip and the reduction
// of every strip weigh most there (order 100: 5-15% faster). Taller columns stream from the outer
// caches or memory, where the wide kernel's eight streams of whole lines measured faster (order
// 1,000 and 4,000, and the panels of the triangular solves, 10-25%).
constexpr long dgemv_t_narrow_rows = 2 * strip_rows;
void dgemv_t_by_size(long m, long n, double alpha, const double* a, long lda, const double* x, double* y, bool prefetch) {
  if (m <= dgemv_t_narrow_rows)
    isa_avx2::kernel_table()->d.gemv_t(m, n, alpha, a, lda, x, y, prefetch);
  else
    gemv_t<double>(m, n, alpha, a, lda, x, y, prefetch);
}
// Double complex not transposed: measured 5-15% faster at order 1,000.
void zgemv_n_narrow(long m, long n, complex_t<double> alpha, const complex_t<double>* a, long lda, const complex_t<double>* x,
                    complex_t<double>* y) {
  isa_avx2::kernel_table()->z.gemv_n(m, n, alpha, a, lda, x, y);
}
#define ZVX_SGEMV_T sgemv_t_narrow
#define ZVX_DGEMV_T dgemv_t_by_size
#define ZVX_ZGEMV_N zgemv_n_narrow
#else
#define ZVX_SGEMV_T gemv_t<float>
#define ZVX_DGEMV_T gemv_t<double>
#define ZVX_ZGEMV_N cgemv_n<double>
#endif

constexpr kernel_set table = {
    {axpy<float>, dot<float>, scal<float>, copy<float>, swap<float>, asum<float>, sumsq_s,
     iamax<float>, gemv_n<float>, ZVX_SGEMV_T, symv<float>},
    {axpy<double>, dot<double>, scal<double>, copy<double>, swap<double>, asum<double>, sumsq_d,
     iamax<double>, gemv_n<double>, ZVX_DGEMV_T, symv<double>},
    {caxpy<float>, cdot<float>, cscal<float>, ciamax<float>, cgemv_n<float>, cgemv_t<float>, cgemv_rest_n<float>,
     hemv<float>},
    {caxpy<double>, cdot<double>, cscal<double>, ciamax<double>, ZVX_ZGEMV_N, cgemv_t<double>, cgemv_rest_n<double>,
     hemv<double>},
};
#undef ZVX_SGEMV_T
#undef ZVX_DGEMV_T
#undef ZVX_ZGEMV_N

}  // namespace

const kernel_set* kernel_table() { return &table; }

}  // namespace zvx::blas12::ZVX_ISA_NS

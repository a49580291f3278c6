// Square blocks of one vector width transposed in registers, for the packing routines that turn
// rows of an operand into the depth-major layout of packed A. Element by element these copies
// cost about a cycle each (every write lands in another line); transposed in registers a block
// of lanes x lanes costs a load and a store per row and log2(lanes) shuffles per row.
//
// transpose_block<R>(src, lds, dst, ldd, scale): row r of the block is src + r * lds (lanes
// contiguous elements); row c of the result, written to dst + c * ldd, is column c of the
// block, multiplied by *scale when scale is not null.
//
// The same blocks serve the packing of B, whose panels are as wide as a register tile: there the
// block is nr x nr, which may be narrower than the vectors (square_transpose<R, N>).
#pragma once
#include <immintrin.h>

#include <cstddef>

namespace ZVX_ISA_NS {

// square_transpose<R, N>: the same for N x N blocks, for every N the instruction set holds in
// one register (`available` says whether it exists here).
template <class R, int N>
struct square_transpose {
  static constexpr bool available = false;
};

#if ZVX_ISA_LEVEL == 2
template <>
struct square_transpose<float, 16> {
  static constexpr bool available = true;
  static void run(const float* src, std::ptrdiff_t lds, float* dst, std::ptrdiff_t ldd,
                  const float* scale) {
    __m512 r[16], t[16];
#pragma GCC unroll 16
    for (int i = 0; i < 16; ++i) r[i] = _mm512_loadu_ps(src + i * lds);
    // Pairs of rows interleaved by element, then by pairs: each 128-bit lane of u[4g + c]
    // holds rows 4g..4g+3 of the columns c, c+4, c+8, c+12 (one column per lane).
#pragma GCC unroll 8
    for (int i = 0; i < 16; i += 2) {
      t[i] = _mm512_unpacklo_ps(r[i], r[i + 1]);
      t[i + 1] = _mm512_unpackhi_ps(r[i], r[i + 1]);
    }
#pragma GCC unroll 4
    for (int g = 0; g < 4; ++g) {
      const __m512d lo0 = _mm512_castps_pd(t[4 * g]), hi0 = _mm512_castps_pd(t[4 * g + 2]);
      const __m512d lo1 = _mm512_castps_pd(t[4 * g + 1]), hi1 = _mm512_castps_pd(t[4 * g + 3]);
      r[4 * g] = _mm512_castpd_ps(_mm512_unpacklo_pd(lo0, hi0));
      r[4 * g + 1] = _mm512_castpd_ps(_mm512_unpackhi_pd(lo0, hi0));
      r[4 * g + 2] = _mm512_castpd_ps(_mm512_unpacklo_pd(lo1, hi1));
      r[4 * g + 3] = _mm512_castpd_ps(_mm512_unpackhi_pd(lo1, hi1));
    }
    // Gather the four row groups of each column: lanes 0 and 2 (columns c, c+8) and lanes 1
    // and 3 (c+4, c+12) of groups 0/1 and 2/3, then the groups side by side.
#pragma GCC unroll 4
    for (int c = 0; c < 4; ++c) {
      const __m512 v01 = _mm512_shuffle_f32x4(r[c], r[4 + c], 0x88);
      const __m512 w01 = _mm512_shuffle_f32x4(r[c], r[4 + c], 0xDD);
      const __m512 v23 = _mm512_shuffle_f32x4(r[8 + c], r[12 + c], 0x88);
      const __m512 w23 = _mm512_shuffle_f32x4(r[8 + c], r[12 + c], 0xDD);
      t[c] = _mm512_shuffle_f32x4(v01, v23, 0x88);
      t[c + 8] = _mm512_shuffle_f32x4(v01, v23, 0xDD);
      t[c + 4] = _mm512_shuffle_f32x4(w01, w23, 0x88);
      t[c + 12] = _mm512_shuffle_f32x4(w01, w23, 0xDD);
    }
    if (scale) {
      const __m512 s = _mm512_set1_ps(*scale);
#pragma GCC unroll 16
      for (int i = 0; i < 16; ++i) t[i] = _mm512_mul_ps(s, t[i]);
    }
#pragma GCC unroll 16
    for (int i = 0; i < 16; ++i) _mm512_storeu_ps(dst + i * ldd, t[i]);
  }
};

template <>
struct square_transpose<double, 8> {
  static constexpr bool available = true;
  static void run(const double* src, std::ptrdiff_t lds, double* dst, std::ptrdiff_t ldd,
                  const double* scale) {
    __m512d r[8], t[8];
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) r[i] = _mm512_loadu_pd(src + i * lds);
    // t[2g] holds rows 2g, 2g+1 of the columns 0, 2, 4, 6 (a column per 128-bit lane),
    // t[2g+1] those of 1, 3, 5, 7.
#pragma GCC unroll 4
    for (int i = 0; i < 8; i += 2) {
      t[i] = _mm512_unpacklo_pd(r[i], r[i + 1]);
      t[i + 1] = _mm512_unpackhi_pd(r[i], r[i + 1]);
    }
    // r[h + 4q]: rows of groups 2q, 2q+1 for columns h, h+4 (0x88) or h+2, h+6 (0xDD).
#pragma GCC unroll 2
    for (int q = 0; q < 2; ++q)
#pragma GCC unroll 2
      for (int h = 0; h < 2; ++h) {
        r[4 * q + h] = _mm512_shuffle_f64x2(t[4 * q + h], t[4 * q + 2 + h], 0x88);
        r[4 * q + 2 + h] = _mm512_shuffle_f64x2(t[4 * q + h], t[4 * q + 2 + h], 0xDD);
      }
#pragma GCC unroll 4
    for (int c = 0; c < 4; ++c) {
      // c: 0 -> columns 0/4, 1 -> 1/5, 2 -> 2/6, 3 -> 3/7
      const int col = (c & 1) | ((c & 2) ? 2 : 0);
      t[col] = _mm512_shuffle_f64x2(r[c], r[4 + c], 0x88);
      t[col + 4] = _mm512_shuffle_f64x2(r[c], r[4 + c], 0xDD);
    }
    if (scale) {
      const __m512d s = _mm512_set1_pd(*scale);
#pragma GCC unroll 8
      for (int i = 0; i < 8; ++i) t[i] = _mm512_mul_pd(s, t[i]);
    }
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) _mm512_storeu_pd(dst + i * ldd, t[i]);
  }
};
#endif
#if ZVX_ISA_LEVEL >= 1
template <>
struct square_transpose<float, 8> {
  static constexpr bool available = true;
  static void run(const float* src, std::ptrdiff_t lds, float* dst, std::ptrdiff_t ldd,
                  const float* scale) {
    __m256 r[8], t[8];
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) r[i] = _mm256_loadu_ps(src + i * lds);
#pragma GCC unroll 4
    for (int i = 0; i < 8; i += 2) {
      t[i] = _mm256_unpacklo_ps(r[i], r[i + 1]);
      t[i + 1] = _mm256_unpackhi_ps(r[i], r[i + 1]);
    }
    // r[4g + c]: rows 4g..4g+3 of columns c (low 128 bits) and c+4 (high).
#pragma GCC unroll 2
    for (int g = 0; g < 2; ++g) {
      r[4 * g] = _mm256_shuffle_ps(t[4 * g], t[4 * g + 2], 0x44);
      r[4 * g + 1] = _mm256_shuffle_ps(t[4 * g], t[4 * g + 2], 0xEE);
      r[4 * g + 2] = _mm256_shuffle_ps(t[4 * g + 1], t[4 * g + 3], 0x44);
      r[4 * g + 3] = _mm256_shuffle_ps(t[4 * g + 1], t[4 * g + 3], 0xEE);
    }
#pragma GCC unroll 4
    for (int c = 0; c < 4; ++c) {
      t[c] = _mm256_permute2f128_ps(r[c], r[4 + c], 0x20);
      t[c + 4] = _mm256_permute2f128_ps(r[c], r[4 + c], 0x31);
    }
    if (scale) {
      const __m256 s = _mm256_set1_ps(*scale);
#pragma GCC unroll 8
      for (int i = 0; i < 8; ++i) t[i] = _mm256_mul_ps(s, t[i]);
    }
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) _mm256_storeu_ps(dst + i * ldd, t[i]);
  }
};

template <>
struct square_transpose<double, 4> {
  static constexpr bool available = true;
  static void run(const double* src, std::ptrdiff_t lds, double* dst, std::ptrdiff_t ldd,
                  const double* scale) {
    const __m256d r0 = _mm256_loadu_pd(src), r1 = _mm256_loadu_pd(src + lds);
    const __m256d r2 = _mm256_loadu_pd(src + 2 * lds), r3 = _mm256_loadu_pd(src + 3 * lds);
    const __m256d t0 = _mm256_unpacklo_pd(r0, r1), t1 = _mm256_unpackhi_pd(r0, r1);
    const __m256d t2 = _mm256_unpacklo_pd(r2, r3), t3 = _mm256_unpackhi_pd(r2, r3);
    __m256d c[4] = {_mm256_permute2f128_pd(t0, t2, 0x20), _mm256_permute2f128_pd(t1, t3, 0x20),
                    _mm256_permute2f128_pd(t0, t2, 0x31), _mm256_permute2f128_pd(t1, t3, 0x31)};
    if (scale) {
      const __m256d s = _mm256_set1_pd(*scale);
      for (auto& x : c) x = _mm256_mul_pd(s, x);
    }
    for (int i = 0; i < 4; ++i) _mm256_storeu_pd(dst + i * ldd, c[i]);
  }
};
#endif
template <>
struct square_transpose<float, 4> {
  static constexpr bool available = true;
  static void run(const float* src, std::ptrdiff_t lds, float* dst, std::ptrdiff_t ldd,
                  const float* scale) {
    __m128 r0 = _mm_loadu_ps(src), r1 = _mm_loadu_ps(src + lds);
    __m128 r2 = _mm_loadu_ps(src + 2 * lds), r3 = _mm_loadu_ps(src + 3 * lds);
    _MM_TRANSPOSE4_PS(r0, r1, r2, r3);
    if (scale) {
      const __m128 s = _mm_set1_ps(*scale);
      r0 = _mm_mul_ps(s, r0);
      r1 = _mm_mul_ps(s, r1);
      r2 = _mm_mul_ps(s, r2);
      r3 = _mm_mul_ps(s, r3);
    }
    _mm_storeu_ps(dst, r0);
    _mm_storeu_ps(dst + ldd, r1);
    _mm_storeu_ps(dst + 2 * ldd, r2);
    _mm_storeu_ps(dst + 3 * ldd, r3);
  }
};

template <>
struct square_transpose<double, 2> {
  static constexpr bool available = true;
  static void run(const double* src, std::ptrdiff_t lds, double* dst, std::ptrdiff_t ldd,
                  const double* scale) {
    const __m128d r0 = _mm_loadu_pd(src), r1 = _mm_loadu_pd(src + lds);
    __m128d c0 = _mm_unpacklo_pd(r0, r1), c1 = _mm_unpackhi_pd(r0, r1);
    if (scale) {
      const __m128d s = _mm_set1_pd(*scale);
      c0 = _mm_mul_pd(s, c0);
      c1 = _mm_mul_pd(s, c1);
    }
    _mm_storeu_pd(dst, c0);
    _mm_storeu_pd(dst + ldd, c1);
  }
};

// complex_square_transpose<R, N>: an N x N block of complex values (interleaved pairs of R)
// transposed, for the packing of complex B. A single complex value is moved as one 64-bit unit,
// so the 4 x 4 block is the double one above on reinterpreted registers. Strides count reals.
template <class R, int N>
struct complex_square_transpose {
  static constexpr bool available = false;
};
#if ZVX_ISA_LEVEL >= 1
template <>
struct complex_square_transpose<float, 4> {
  static constexpr bool available = true;
  static void run(const float* src, std::ptrdiff_t lds, float* dst, std::ptrdiff_t ldd) {
    const __m256d r0 = _mm256_castps_pd(_mm256_loadu_ps(src));
    const __m256d r1 = _mm256_castps_pd(_mm256_loadu_ps(src + lds));
    const __m256d r2 = _mm256_castps_pd(_mm256_loadu_ps(src + 2 * lds));
    const __m256d r3 = _mm256_castps_pd(_mm256_loadu_ps(src + 3 * lds));
    const __m256d t0 = _mm256_unpacklo_pd(r0, r1), t1 = _mm256_unpackhi_pd(r0, r1);
    const __m256d t2 = _mm256_unpacklo_pd(r2, r3), t3 = _mm256_unpackhi_pd(r2, r3);
    _mm256_storeu_ps(dst, _mm256_castpd_ps(_mm256_permute2f128_pd(t0, t2, 0x20)));
    _mm256_storeu_ps(dst + ldd, _mm256_castpd_ps(_mm256_permute2f128_pd(t1, t3, 0x20)));
    _mm256_storeu_ps(dst + 2 * ldd, _mm256_castpd_ps(_mm256_permute2f128_pd(t0, t2, 0x31)));
    _mm256_storeu_ps(dst + 3 * ldd, _mm256_castpd_ps(_mm256_permute2f128_pd(t1, t3, 0x31)));
  }
};
#endif

// Blocks of the vector width of this instruction set.
#if ZVX_ISA_LEVEL == 2
inline constexpr int transpose_lanes_double = 8;
#elif ZVX_ISA_LEVEL == 1
inline constexpr int transpose_lanes_double = 4;
#else
inline constexpr int transpose_lanes_double = 2;
#endif
template <class R>
struct block_transpose
    : square_transpose<R, transpose_lanes_double * (sizeof(R) == 4 ? 2 : 1)> {
  static constexpr int lanes = transpose_lanes_double * (sizeof(R) == 4 ? 2 : 1);
};

}  // namespace ZVX_ISA_NS

// Pieces that the vector kernel files of the sparse BLAS share, compiled into each of them once
// per instruction set: the scalar multiply-add, the dot of a short row, and the tables that read
// eight stencil rows as one band (AVX-512 only). Included inside no namespace.
#pragma once
#include <algorithm>

#include "common/simd.h"
#include "spblas/spblas.h"

namespace zvx::spblas::simd::ZVX_ISA_NS {

// y[row - 1] := alpha * A * x + (beta * y | 0 | y) over one-based triplets; see kernels_coo.cpp.
void coo_mv(long nnz, const double* val, const int* row, const int* col, double alpha, const double* x,
            double* y, long len, coo_output out, double beta);

namespace {

// Multiply-adds are fused where the processor has them (the vector layer's scalar FMA).
inline double madd(double a, double b, double c) { return ::ZVX_ISA_NS::sfma(a, b, c); }

// Four independent sums hide the latency of the multiply-add; the loads of x are gathers that the
// out-of-order core overlaps, so a scalar form is as fast as a vector gather on these rows.
inline double dot(long len, const double* val, const int* idx, const double* x) {
  if (len <= 8) {
    // Short rows (stencils): straight-line code entered by the length, two sums, no branch per
    // entry; consecutive rows overlap in the core. (A masked gather of the row measured more than
    // twice slower on the AVX-512 machine of the benchmark.)
    double s = 0, t = 0;
    switch (len) {
      case 8: t = madd(val[7], x[idx[7]], t); [[fallthrough]];
      case 7: s = madd(val[6], x[idx[6]], s); [[fallthrough]];
      case 6: t = madd(val[5], x[idx[5]], t); [[fallthrough]];
      case 5: s = madd(val[4], x[idx[4]], s); [[fallthrough]];
      case 4: t = madd(val[3], x[idx[3]], t); [[fallthrough]];
      case 3: s = madd(val[2], x[idx[2]], s); [[fallthrough]];
      case 2: t = madd(val[1], x[idx[1]], t); [[fallthrough]];
      case 1: s = madd(val[0], x[idx[0]], s); [[fallthrough]];
      default: break;
    }
    return s + t;
  }
  double s0 = 0, s1 = 0, s2 = 0, s3 = 0;
  long p = 0;
  for (; p + 4 <= len; p += 4) {
    s0 = madd(val[p], x[idx[p]], s0);
    s1 = madd(val[p + 1], x[idx[p + 1]], s1);
    s2 = madd(val[p + 2], x[idx[p + 2]], s2);
    s3 = madd(val[p + 3], x[idx[p + 3]], s3);
  }
  for (; p < len; ++p) s0 = madd(val[p], x[idx[p]], s0);
  return (s0 + s1) + (s2 + s3);
}

#if ZVX_ISA_LEVEL == 2
// Rows of a stencil: eight consecutive rows of L entries each, stored one after the other, whose
// columns are those of the first row shifted by the row's distance from it. Such a block is a small
// dense band: the element of x that entry k of each of the eight rows needs lies in one unaligned
// vector at x[column k of the first row], so the block takes L vector loads of x instead of 8 L
// scalar loads that depend on loads of indx, and the eight sums run in the lanes of one register.
// (Gathers measured twice slower than the scalar rows here; this form has no gather.)
//
// val of the block is row after row; the eight entries k of the rows sit L apart and come together
// through permutes of pairs of its registers. Entry k goes to the same one of two sums, in the
// same order, as in the scalar row of up to eight entries, so both give the same bits.
template <int L>
struct band_tables {
  static constexpr int index_regs = (8 * L + 15) / 16;  // registers of 16 column numbers
  static constexpr int pairs = (L + 1) / 2;             // pairs of val registers
  alignas(64) int pick[index_regs][16];   // position in the first row of the block
  alignas(64) int shift[index_regs][16];  // row of the block, which shifts the column
  unsigned short valid[index_regs];
  alignas(64) long long lane[L][pairs][8];  // permute of entry k out of the pair p
  unsigned char from_pair[L][pairs];        // lanes that entry k takes from pair p
  constexpr band_tables() : pick{}, shift{}, valid{}, lane{}, from_pair{} {
    for (int q = 0; q < index_regs; ++q)
      for (int j = 0; j < 16; ++j) {
        const int pos = 16 * q + j;
        pick[q][j] = pos % L;
        shift[q][j] = pos / L;
        if (pos < 8 * L) valid[q] = static_cast<unsigned short>(valid[q] | (1u << j));
      }
    for (int k = 0; k < L; ++k)
      for (int p = 0; p < pairs; ++p)
        for (int r = 0; r < 8; ++r) {
          const int pos = L * r + k;
          lane[k][p][r] = pos & 15;
          if (pos / 16 == p) from_pair[k][p] = static_cast<unsigned char>(from_pair[k][p] | (1u << r));
        }
  }
};
template <int L>
inline constexpr band_tables<L> band{};

// The 8 L entries at val and ip, row after row, when every row's columns are the first row's
// plus the row: the entries k of the eight rows into w[k], true; false otherwise.
template <int L>
bool band_entries(const double* vp, const int* ip, __m512d* w) {
  const auto& t = band<L>;
  __m512i first = _mm512_setzero_si512();
  for (int q = 0; q < t.index_regs; ++q) {
    const __m512i got = _mm512_maskz_loadu_epi32(t.valid[q], ip + 16 * q);
    if (q == 0) first = got;
    const __m512i want = _mm512_add_epi32(
        _mm512_permutex2var_epi32(first, _mm512_load_si512(t.pick[q]), first), _mm512_load_si512(t.shift[q]));
    if (_mm512_mask_cmpneq_epi32_mask(t.valid[q], got, want)) return false;
  }
  __m512d rows[L];
  for (int q = 0; q < L; ++q) rows[q] = _mm512_loadu_pd(vp + 8 * q);
  for (int k = 0; k < L; ++k) {
    __m512d v = _mm512_setzero_pd();
    for (int p = 0; p < t.pairs; ++p) {
      if (!t.from_pair[k][p]) continue;
      const __m512i ix = _mm512_load_si512(t.lane[k][p]);
      // An odd last register pairs with itself; its lanes are below 8.
      const __m512d part = _mm512_permutex2var_pd(rows[2 * p], ix, rows[std::min(2 * p + 1, L - 1)]);
      v = _mm512_mask_mov_pd(v, t.from_pair[k][p], part);
    }
    w[k] = v;
  }
  return true;
}
#endif

}  // namespace
}  // namespace zvx::spblas::simd::ZVX_ISA_NS

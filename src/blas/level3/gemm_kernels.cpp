// The serial GEMM engines for one instruction set (this file is compiled once per set): the
// wrapper that takes scratch, the driver that owns the blocking, the packing routines, the
// microkernels and the small kernel (the fallback without scratch, and single complex's direct
// kernel), written once for s, d, c, z.
//
// Shape of every engine, outermost loop first: column block of C, row block of C (beta applied
// to the block once), depth step (pack the block of B), row tile (pack a tile of A), columns of
// the block in register tiles of nr. The depth is cut into as few steps as the main depth kb
// allows, all of nearly the same length (they differ by at most one): every step passes over
// the block of C once, so a short tail step would cost a pass over C for little work (k = 500
// in steps of 256, 128, 64, 32, 16 and 4 passed over C six times; as 250 + 250, twice).
//
// Problems whose three sizes are all at most 64, with op(A) = A and op(B) not conjugated, skip
// packing and scratch: the same register tiles read the caller's operands directly.
//
// Complex numbers stay interleaved (real part first) in the packed buffers. A kernel keeps two
// sums per vector of A: A times the real part of the B element and A times its imaginary part;
// one swap of the pairs and an alternating subtract-add at the end of the depth turn them into
// the complex product, so the inner loop is nothing but broadcasts and FMAs. Conjugation is
// applied while packing.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "blas/level3/gemm_isa.h"
#include "common/simd.h"
#include "blas/level3/gemm_transpose.h"
#include "blas/level3/tuning.h"
#include "common/options.h"
#include "service/service.h"

namespace ZVX_ISA_NS {
namespace {

using index_t = std::ptrdiff_t;

// How an operand enters: as it is, transposed, or conjugate-transposed. For the real types only
// the first two exist; only "N" and "n" mean no transpose, and for the complex types "T" and "t"
// transpose without conjugation; anything else is the conjugate transpose.
enum op_kind : int { op_n = 0, op_t = 1, op_c = 2 };

inline int fold_op(const char* t, bool complex) { return static_cast<int>(zvx::read_op(t, complex)); }

// How the finished sums of a tile reach C: added (alpha was folded into packed A, or alpha is
// 1), subtracted (alpha is -1), or multiplied by alpha first.
enum alpha_mode : int { alpha_add = 0, alpha_sub = 1, alpha_mul = 2 };

// ------------------------------------------------------------------------------------------
// Microkernel: C tile(s) += packed A tile * packed B block of depth d, for all columns of the
// block in register tiles of NR columns. Packed A: depth after depth, MV vectors each
// (element (i, l) at (l * TR + i) * E). Packed B: panels of NR columns, depth after depth
// within a panel (element (l, j) at panel * D * NR * E + (l * NR + j) * E). `rows` is the count
// of valid rows of the tile (below TR only in the last tile of a block, whose padding rows of
// packed A are zero); a panel with fewer than NR columns has zero columns in packed B.
// With BIN, B is the caller's op(B) = B itself, read in place: element (l, j) at l * E + j * bjs
// from pb; the columns of a narrow last panel repeat its last valid column, so nothing outside
// B is read, and their sums are dropped.
template <class R, int E, int MV, int NR, bool BIN>
void kernel(int D, int ncols, int rows, const R* __restrict pa, const R* __restrict pb, R* c,
            index_t ldc, int amode, const R* alpha, index_t bjs) {
  using S = simd<R>;
  using V = typename S::v;
  constexpr int L = S::lanes;
  constexpr int TR = MV * L / E;
  constexpr int EI = E == 2 ? 1 : 0;  // the imaginary sums exist for complex types only
  const index_t ldce = ldc * E;
  const bool far_b = static_cast<index_t>(D) * ncols * E * static_cast<index_t>(sizeof(R)) >=
                     gemm_b_far_fetch_bytes;
  for (int j0 = 0; j0 < ncols; j0 += NR, pb += BIN ? NR * bjs : static_cast<index_t>(D) * NR * E) {
    const int nc = std::min(NR, ncols - j0);
    R* cj = c + j0 * ldce;
    index_t boff[NR];
#pragma GCC unroll 16
    for (int j = 0; j < NR; ++j) boff[j] = BIN ? (j < nc ? j : nc - 1) * bjs : j * E;
    // C of this register tile is wanted after the depth loop, C of the next one a whole depth
    // later: fetch the next one now, so that a C far out in memory arrives in time also for the
    // short depths of a rank-k update.
    for (int jn = j0 == 0 ? 0 : NR; jn < 2 * NR; ++jn) {
      if (j0 + jn >= ncols) break;
      const R* p = c + (j0 + jn) * ldce;
      constexpr int line = 64 / static_cast<int>(sizeof(R));
#pragma GCC unroll 8
      for (int i = 0; i < TR * E + line - 1; i += line)
        _mm_prefetch(reinterpret_cast<const char*>(p + std::min(i, TR * E - 1)), _MM_HINT_T0);
    }
    V acc[MV][NR];
    V acci[EI ? MV : 1][EI ? NR : 1];
#pragma GCC unroll 16
    for (int v = 0; v < MV; ++v)
#pragma GCC unroll 16
      for (int j = 0; j < NR; ++j) {
        acc[v][j] = S::zero();
        if constexpr (EI) acci[v][j] = S::zero();
      }
    const R* a = pa;
    const R* b = pb;
#pragma GCC unroll 4
    for (int l = 0; l < D; ++l) {
      // The packed block of B is read once per row tile, mostly from L2 or L3: fetch it 16
      // depth steps ahead (one line per step for 8 columns), and, when the block streams from
      // L3, into L2 96 steps ahead, so that the near fetch finds it there (n = 2,000: 2-3 %
      // faster for all four types by the least CPU time of alternating calls, alike at 1,000).
      // A block that stays in L2 gains nothing from the far fetch, and a narrow one sends it
      // past its end: 20 x 2,000 x 2,000 in single, whose block is 48 KiB, lost 4 %.
      if constexpr (!BIN) {
        _mm_prefetch(reinterpret_cast<const char*>(b + 16 * NR * E), _MM_HINT_T0);
        if (far_b) _mm_prefetch(reinterpret_cast<const char*>(b + 96 * NR * E), _MM_HINT_T1);
      }
      V av[MV];
#pragma GCC unroll 16
      for (int v = 0; v < MV; ++v) av[v] = S::load(a + v * L);
#pragma GCC unroll 16
      for (int j = 0; j < NR; ++j) {
        const V br = S::set1(b[boff[j]]);
#pragma GCC unroll 16
        for (int v = 0; v < MV; ++v) acc[v][j] = S::fma(av[v], br, acc[v][j]);
        if constexpr (EI) {
          const V bi = S::set1(b[boff[j] + 1]);
#pragma GCC unroll 16
          for (int v = 0; v < MV; ++v) acci[v][j] = S::fma(av[v], bi, acci[v][j]);
        }
      }
      a += MV * L;
      b += BIN ? E : NR * E;
    }
    if constexpr (EI) {
      V ar = S::zero(), ai = S::zero();
      if (amode == alpha_mul) {
        ar = S::set1(alpha[0]);
        ai = S::set1(alpha[1]);
      }
#pragma GCC unroll 16
      for (int v = 0; v < MV; ++v)
#pragma GCC unroll 16
        for (int j = 0; j < NR; ++j) {
          V x = S::addsub(acc[v][j], S::swap_pairs(acci[v][j]));
          if (amode == alpha_mul) x = S::addsub(S::mul(ar, x), S::mul(ai, S::swap_pairs(x)));
          acc[v][j] = x;
        }
    }
    if (nc == NR && rows == TR) {
#pragma GCC unroll 16
      for (int j = 0; j < NR; ++j)
#pragma GCC unroll 16
        for (int v = 0; v < MV; ++v) {
          R* p = cj + j * ldce + v * L;
          const V x = S::loadu(p);
          S::storeu(p, amode == alpha_sub ? S::sub(x, acc[v][j]) : S::add(x, acc[v][j]));
        }
    } else {
      alignas(64) R tile[NR][MV * L];
#pragma GCC unroll 16
      for (int j = 0; j < NR; ++j)
#pragma GCC unroll 16
        for (int v = 0; v < MV; ++v) S::store(&tile[j][v * L], acc[v][j]);
      for (int j = 0; j < nc; ++j) {
        R* p = cj + j * ldce;
        if (amode == alpha_sub)
          for (int i = 0; i < rows * E; ++i) p[i] -= tile[j][i];
        else
          for (int i = 0; i < rows * E; ++i) p[i] += tile[j][i];
      }
    }
  }
}

// The valid part of a finished tile (cols x reals, column stride ldt in the buffer) added to C.
// Out of line: its loops would otherwise put their set-up into the prologue of every direct
// tile, which small calls pay in full.
template <class R>
[[gnu::noinline]] void add_part_of_tile(int cols, int reals, const R* tile, int ldt, R* c,
                                        index_t ldc) {
  for (int j = 0; j < cols; ++j)
    for (int i = 0; i < reals; ++i) c[j * ldc + i] += tile[j * ldt + i];
}

// Direct register tiles for small problems: the same tile as the packed kernels, fed straight
// from the caller's operands. op(A) must be A itself (its columns are the vectors) and op(B)
// not conjugated (B is only broadcast, through a depth stride `bls` and a column stride
// `bjs`). `rows` is a whole number of vectors. Columns of a narrow last panel repeat the last
// valid column, so nothing outside B is read; their sums are dropped. Alpha multiplies the
// finished sums.
template <class R, int E, int MV, int NR>
void direct_tile(int ncols, int rows, int depth, const R* a, index_t lda, const R* b,
                 index_t bls, index_t bjs, R* c, index_t ldc, const R* alpha) {
  using S = simd<R>;
  using V = typename S::v;
  constexpr int L = S::lanes;
  constexpr int EI = E == 2 ? 1 : 0;
  const index_t ldaE = lda * E, ldce = ldc * E;
  const int mv = rows * E / L;
  for (int j0 = 0; j0 < ncols; j0 += NR) {
    const int nc = std::min(NR, ncols - j0);
    index_t boff[NR];
    const R* bp = b + j0 * bjs;
#pragma GCC unroll 16
    for (int j = 0; j < NR; ++j) boff[j] = (j < nc ? j : nc - 1) * bjs;
    R* cj = c + j0 * ldce;
    V acc[MV][NR];
    V acci[EI ? MV : 1][EI ? NR : 1];
#pragma GCC unroll 16
    for (int v = 0; v < MV; ++v)
#pragma GCC unroll 16
      for (int j = 0; j < NR; ++j) {
        acc[v][j] = S::zero();
        if constexpr (EI) acci[v][j] = S::zero();
      }
    for (int l = 0; l < depth; ++l) {
      const R* al = a + l * ldaE;
      const R* bl = bp + l * bls;
      V av[MV];
#pragma GCC unroll 16
      for (int v = 0; v < MV; ++v) av[v] = S::loadu(al + v * L);
#pragma GCC unroll 16
      for (int j = 0; j < NR; ++j) {
        const V br = S::set1(bl[boff[j]]);
#pragma GCC unroll 16
        for (int v = 0; v < MV; ++v) acc[v][j] = S::fma(av[v], br, acc[v][j]);
        if constexpr (EI) {
          const V bi = S::set1(bl[boff[j] + 1]);
#pragma GCC unroll 16
          for (int v = 0; v < MV; ++v) acci[v][j] = S::fma(av[v], bi, acci[v][j]);
        }
      }
    }
    const V ar = S::set1(alpha[0]);
    const V ai = S::set1(EI ? alpha[EI] : R(0));
    // A real alpha of 1 leaves the sums as they are (the product would be exact).
    const bool alpha_one = !EI && alpha[0] == R(1);
#pragma GCC unroll 16
    for (int v = 0; v < MV; ++v)
#pragma GCC unroll 16
      for (int j = 0; j < NR; ++j) {
        if constexpr (EI) {
          const V x = S::addsub(acc[v][j], S::swap_pairs(acci[v][j]));
          acc[v][j] = S::addsub(S::mul(ar, x), S::mul(ai, S::swap_pairs(x)));
        } else {
          if (!alpha_one) acc[v][j] = S::mul(ar, acc[v][j]);
        }
      }
    if (nc == NR && mv == MV) {
#pragma GCC unroll 16
      for (int j = 0; j < NR; ++j)
#pragma GCC unroll 16
        for (int v = 0; v < MV; ++v) {
          R* p = cj + j * ldce + v * L;
          S::storeu(p, S::add(S::loadu(p), acc[v][j]));
        }
    } else {
      // Unaligned, so that the frame of the small calls needs no realignment.
      R tile[NR][MV * L];
#pragma GCC unroll 16
      for (int j = 0; j < NR; ++j)
#pragma GCC unroll 16
        for (int v = 0; v < MV; ++v) S::storeu(&tile[j][v * L], acc[v][j]);
      add_part_of_tile(nc, rows * E, &tile[0][0], MV * L, cj, ldce);
    }
  }
}

// The tuning of each engine.
template <class R, int E>
struct engine_traits;
template <>
struct engine_traits<double, 1> {
  static constexpr gemm_tuning t = gemm_tune_d;
};
template <>
struct engine_traits<float, 1> {
  static constexpr gemm_tuning t = gemm_tune_s;
};
template <>
struct engine_traits<double, 2> {
  static constexpr gemm_tuning t = gemm_tune_z;
};
template <>
struct engine_traits<float, 2> {
  static constexpr gemm_tuning t = gemm_tune_c;
};

// ------------------------------------------------------------------------------------------
// Packing. An operand is addressed by its op: element (i, l) of op(A) and (l, j) of op(B).

// Complex product x * y on interleaved pairs.
template <class R>
inline void cmul(R xr, R xi, R yr, R yi, R* out) {
  out[0] = xr * yr - xi * yi;
  out[1] = xr * yi + xi * yr;
}

// A tile of `rows` rows (of TR) and depth d into packed A, alpha folded in when `scale`.
template <class R, int E, int OP>
void pack_a(int rows, int tr, int d, const R* a, index_t lda, const R* alpha, bool scale,
            R* __restrict dst) {
  const index_t trE = static_cast<index_t>(tr) * E;
  const index_t ldaE = lda * E;
  if constexpr (OP == op_n) {
    for (int l = 0; l < d; ++l) {
      const R* src = a + l * ldaE;
      R* out = dst + l * trE;
      if constexpr (E == 1) {
        using S = simd<R>;
        int i = 0;
        if (scale) {
          const auto av = S::set1(alpha[0]);
          for (; i + S::lanes <= rows; i += S::lanes) S::store(out + i, S::mul(av, S::loadu(src + i)));
          for (; i < rows; ++i) out[i] = alpha[0] * src[i];
        } else {
          for (; i + S::lanes <= rows; i += S::lanes) S::store(out + i, S::loadu(src + i));
          for (; i < rows; ++i) out[i] = src[i];
        }
      } else {
        if (scale)
          for (int i = 0; i < rows; ++i) cmul(src[2 * i], src[2 * i + 1], alpha[0], alpha[1], out + 2 * i);
        else {
          using S = simd<R>;
          int i = 0;
          for (; i + S::lanes <= 2 * rows; i += S::lanes) S::store(out + i, S::loadu(src + i));
          for (; i < 2 * rows; ++i) out[i] = src[i];
        }
      }
      for (int i = rows * E; i < tr * E; ++i) out[i] = R(0);
    }
  } else {
    int i_vec = 0, d_vec = 0;  // rows and depth covered by whole blocks transposed in registers
    if constexpr (E == 1) {
      constexpr int L = block_transpose<R>::lanes;
      i_vec = rows / L * L;
      d_vec = d / L * L;
      for (int i0 = 0; i0 < i_vec; i0 += L)
        for (int l0 = 0; l0 < d_vec; l0 += L)
          block_transpose<R>::run(a + i0 * lda + l0, lda, dst + static_cast<index_t>(l0) * tr + i0,
                                  tr, scale ? alpha : nullptr);
    }
    for (int i = 0; i < rows; ++i) {
      const R* src = a + i * ldaE;
      R* out = dst + i * E;
      for (int l = i < i_vec ? d_vec : 0; l < d; ++l) {
        if constexpr (E == 1) {
          out[l * trE] = scale ? alpha[0] * src[l] : src[l];
        } else {
          const R re = src[2 * l];
          const R im = OP == op_c ? -src[2 * l + 1] : src[2 * l + 1];
          if (scale) {
            cmul(re, im, alpha[0], alpha[1], out + l * trE);
          } else {
            out[l * trE] = re;
            out[l * trE + 1] = im;
          }
        }
      }
    }
    for (int l = 0; l < d; ++l)
      for (int i = rows * E; i < tr * E; ++i) dst[l * trE + i] = R(0);
  }
}

// Rows of the row tile that starts `left` rows before the end of a block, for tiles of TR rows
// (per_vec rows a vector). Whole tiles but at the end: a tail of one vector more than a tile
// would leave a last tile of one vector, which loads as often as it multiplies (one vector of A
// and nr broadcasts for nr FMAs) and runs at about half the speed of the others; it is cut into
// two tiles of about half a tile each instead (for three-vector tiles, 2 + 2 in place of 3 + 1:
// cgemm at n = 128 spent 6 % of its time in the one-vector tile that held 1/16 of the rows).
inline int row_tile_rows(int left, int TR, int per_vec) {
  if (left <= TR) return left;
  const int mv = TR / per_vec;
  if ((left + per_vec - 1) / per_vec == mv + 1) return (mv + 2) / 2 * per_vec;
  return TR;
}

// Rows a packed tile of `rows` valid rows holds: whole vectors, the rest zero.
inline int padded_rows(int rows, int per_vec) { return (rows + per_vec - 1) / per_vec * per_vec; }

// The tiles of a block of `rows` rows of op(A), depth d, one after the other, as
// row_tile_rows cuts them (each as many vectors wide as its rows need, padded with zero rows,
// taking padded_rows * d * E reals).
// As columns, op(A) = A is packed a column at a time across all the tiles: each column is then
// read from start to end, a stream the processor fetches ahead by itself, where a tile at a
// time read a few lines of each of d columns and waited on every one (packing A was 3-5 % of
// sgemm at n = 1,000 and 2,000). As rows (transposed) each tile already reads whole rows.
template <class R, int E, int OP>
void pack_a_block(int rows, int TR, int d, const R* a, index_t lda, const R* alpha, bool scale,
                  R* __restrict dst) {
  constexpr int per_vec = simd<R>::lanes / E;
  if constexpr (OP == op_n) {
    for (int l = 0; l < d; ++l) {
      const R* src = a + l * lda * E;
      R* out = dst;
      for (int i0 = 0; i0 < rows;) {
        const int r = row_tile_rows(rows - i0, TR, per_vec);
        const int tr = padded_rows(r, per_vec);
        pack_a<R, E, OP>(r, tr, 1, src + i0 * E, lda, alpha, scale,
                         out + static_cast<index_t>(l) * tr * E);
        out += static_cast<index_t>(tr) * d * E;
        i0 += r;
      }
    }
  } else {
    for (int i0 = 0; i0 < rows;) {
      const int r = row_tile_rows(rows - i0, TR, per_vec);
      const int tr = padded_rows(r, per_vec);
      pack_a<R, E, OP>(r, tr, d, a + i0 * lda * E, lda, alpha, scale, dst);
      dst += static_cast<index_t>(tr) * d * E;
      i0 += r;
    }
  }
}

// A block of op(B), depth d by ncols, into panels of nr columns; a last narrow panel is
// completed with zero columns.
template <class R, int E, int OP>
void pack_b(int d, int ncols, int nr, const R* b, index_t ldb, R* __restrict dst) {
  const index_t ldbE = ldb * E;
  const index_t nrE = static_cast<index_t>(nr) * E;
  for (int j0 = 0; j0 < ncols; j0 += nr, dst += d * nrE) {
    const int nc = std::min(nr, ncols - j0);
    if constexpr (OP == op_n) {
      if (nc == nr) {
        // Whole panel: walk the depth once and read the nr columns side by side, so that the
        // writes are one contiguous stream; real panels nr deep at a time through a register
        // transpose, when the set has one of that size.
        const R* src = b + j0 * ldbE;
        int l = 0;
        if constexpr (E == 1) {
          constexpr int NR = engine_traits<R, 1>::t.nr;
          if constexpr (square_transpose<R, NR>::available) {
            if (nr == NR)
              for (; l + NR <= d; l += NR)
                square_transpose<R, NR>::run(src + l, ldb, dst + l * nrE, nrE, nullptr);
          }
        } else {
          // Complex panels likewise, a complex value moved as one unit (element by element
          // the copy of B was 4-8 % of cgemm at n = 128 and 500).
          constexpr int NR = engine_traits<R, 2>::t.nr;
          if constexpr (complex_square_transpose<R, NR>::available) {
            if (nr == NR)
              for (; l + NR <= d; l += NR)
                complex_square_transpose<R, NR>::run(src + l * E, ldbE, dst + l * nrE, nrE);
          }
        }
        for (; l < d; ++l) {
          R* out = dst + l * nrE;
          for (int j = 0; j < nr; ++j) {
            out[j * E] = src[j * ldbE + l * E];
            if constexpr (E == 2) out[j * E + 1] = src[j * ldbE + l * E + 1];
          }
        }
      } else {
        for (int j = 0; j < nc; ++j) {
          const R* src = b + (j0 + j) * ldbE;
          R* out = dst + j * E;
          for (int l = 0; l < d; ++l) {
            out[l * nrE] = src[l * E];
            if constexpr (E == 2) out[l * nrE + 1] = src[l * E + 1];
          }
        }
      }
    } else {
      for (int l = 0; l < d; ++l) {
        const R* src = b + l * ldbE + j0 * E;
        R* out = dst + l * nrE;
        if constexpr (E == 1) {
          for (int j = 0; j < nc; ++j) out[j] = src[j];
        } else {
          for (int j = 0; j < nc; ++j) {
            out[2 * j] = src[2 * j];
            out[2 * j + 1] = OP == op_c ? -src[2 * j + 1] : src[2 * j + 1];
          }
        }
      }
    }
    if (nc < nr)
      for (int l = 0; l < d; ++l)
        for (int j = nc * E; j < nrE; ++j) dst[l * nrE + j] = R(0);
  }
}

// ------------------------------------------------------------------------------------------
// Small kernel: C(rows, cols) += alpha * op(A)(rows, depth) *
// op(B)(depth, cols) on the unpacked operands. The sums of a column run over the depth first,
// alpha multiplies the finished sum (so results may differ in the last place from the packed
// path, where alpha is folded into A). It is the engine's path when no scratch could be had,
// and cgemm's direct kernel.
template <class R, int E, int TA, int TB>
void small_kernel(int rows, int cols, int depth, const R* alpha, const R* a, index_t lda,
                  const R* b, index_t ldb, R* c, index_t ldc) {
  constexpr int CH = 64;  // rows whose sums are kept at a time
  R acc[CH * E];
  const index_t ldaE = lda * E, ldbE = ldb * E, ldcE = ldc * E;
  for (int j = 0; j < cols; ++j) {
    for (int i0 = 0; i0 < rows; i0 += CH) {
      const int ni = std::min(CH, rows - i0);
      for (int i = 0; i < ni * E; ++i) acc[i] = R(0);
      for (int l = 0; l < depth; ++l) {
        const R* bp = TB == op_n ? b + l * E + j * ldbE : b + j * E + l * ldbE;
        if constexpr (E == 1) {
          const R bv = bp[0];
          if constexpr (TA == op_n) {
            const R* ap = a + i0 + l * ldaE;
            for (int i = 0; i < ni; ++i) acc[i] += ap[i] * bv;
          } else {
            const R* ap = a + l + i0 * ldaE;
            for (int i = 0; i < ni; ++i) acc[i] += ap[i * ldaE] * bv;
          }
        } else {
          const R br = bp[0];
          const R bi = TB == op_c ? -bp[1] : bp[1];
          for (int i = 0; i < ni; ++i) {
            const R* ap = TA == op_n ? a + (i0 + i) * E + l * ldaE : a + l * E + (i0 + i) * ldaE;
            const R ar = ap[0];
            const R ai = TA == op_c ? -ap[1] : ap[1];
            acc[2 * i] += ar * br - ai * bi;
            acc[2 * i + 1] += ar * bi + ai * br;
          }
        }
      }
      R* cp = c + i0 * E + j * ldcE;
      if constexpr (E == 1) {
        for (int i = 0; i < ni; ++i) cp[i] += alpha[0] * acc[i];
      } else {
        for (int i = 0; i < ni; ++i) {
          R t[2];
          cmul(alpha[0], alpha[1], acc[2 * i], acc[2 * i + 1], t);
          cp[2 * i] += t[0];
          cp[2 * i + 1] += t[1];
        }
      }
    }
  }
}

// ------------------------------------------------------------------------------------------
// Beta on a block of C, once: nothing for 1, a fill for 0 (NaNs in C do not survive), a
// multiply otherwise. A NaN beta compares unequal to both and multiplies.
// The work is out of line, so that the usual beta of 1 costs its callers no set-up.
template <class R, int E>
[[gnu::noinline]] void scale_block_by(int rows, int cols, const R* beta, R* c, index_t ldc) {
  const index_t ldcE = ldc * E;
  const bool zero = beta[0] == R(0) && (E == 1 || beta[E - 1] == R(0));
  for (int j = 0; j < cols; ++j) {
    R* p = c + j * ldcE;
    if (zero) {
      for (int i = 0; i < rows * E; ++i) p[i] = R(0);
    } else if constexpr (E == 1) {
      const R bv = beta[0];
      for (int i = 0; i < rows; ++i) p[i] *= bv;
    } else {
      for (int i = 0; i < rows; ++i) cmul(beta[0], beta[1], p[2 * i], p[2 * i + 1], p + 2 * i);
    }
  }
}

template <class R, int E>
inline void scale_block(int rows, int cols, const R* beta, R* c, index_t ldc) {
  const bool one = beta[0] == R(1) && (E == 1 || beta[E - 1] == R(0));
  if (!one) scale_block_by<R, E>(rows, cols, beta, c, ldc);
}

// Staged C (single complex): a block of C copied with beta applied into a buffer with a fixed,
// aligned column stride, and copied back after the whole depth. The kernels then see the same
// contiguous output whatever ldc and the alignment of C are; beta 0 writes zeros without
// reading C.
template <class R>
void stage_block(int rows, int cols, const R* beta, const R* c, index_t ldc, R* s, index_t lds) {
  const bool one = beta[0] == R(1) && beta[1] == R(0);
  const bool zero = beta[0] == R(0) && beta[1] == R(0);
  constexpr int line = 64 / static_cast<int>(sizeof(R));
  for (int j = 0; j < cols; ++j) {
    const R* p = c + j * ldc * 2;
    R* q = s + j * lds * 2;
    // The block of C comes from memory a column at a time: ask for the column after next while
    // this one is copied, so that the copy does not wait for each of its lines.
    if (!zero && j + 2 < cols)
      for (int i = 0; i < 2 * rows; i += line)
        _mm_prefetch(reinterpret_cast<const char*>(p + 2 * ldc * 2 + i), _MM_HINT_T0);
    if (zero)
      for (int i = 0; i < 2 * rows; ++i) q[i] = R(0);
    else if (one)
      for (int i = 0; i < 2 * rows; ++i) q[i] = p[i];
    else
      for (int i = 0; i < rows; ++i) cmul(beta[0], beta[1], p[2 * i], p[2 * i + 1], q + 2 * i);
  }
}

template <class R>
void unstage_block(int rows, int cols, const R* s, index_t lds, R* c, index_t ldc) {
  for (int j = 0; j < cols; ++j) {
    const R* q = s + j * lds * 2;
    R* p = c + j * ldc * 2;
    for (int i = 0; i < 2 * rows; ++i) p[i] = q[i];
  }
}

// ------------------------------------------------------------------------------------------
// The engine of one type: its tuning, its kernel table and its sections.

template <class R>
using kernel_fn = void (*)(int, int, int, const R*, const R*, R*, index_t, int, const R*,
                           index_t);

// kernels[mv - 1]: the tile of mv vectors.
template <class R, int E>
struct kernel_table {
  static constexpr gemm_tuning t = engine_traits<R, E>::t;
  kernel_fn<R> fn[t.mv];
  kernel_fn<R> fn_b[t.mv];  // B read in place
};

template <class R, int E, std::size_t... M>
constexpr kernel_table<R, E> make_kernel_table(std::index_sequence<M...>) {
  constexpr gemm_tuning t = engine_traits<R, E>::t;
  return kernel_table<R, E>{{&kernel<R, E, static_cast<int>(M) + 1, t.nr, false>...},
                            {&kernel<R, E, static_cast<int>(M) + 1, t.nr, true>...}};
}

template <class R, int E>
constexpr kernel_table<R, E> kernels =
    make_kernel_table<R, E>(std::make_index_sequence<engine_traits<R, E>::t.mv>{});

// A section: how A and B are brought in for one combination of ops.
template <class R>
struct section {
  void (*pack_a)(int, int, int, const R*, index_t, const R*, bool, R*);
  void (*pack_b)(int, int, int, const R*, index_t, R*);
  void (*small)(int, int, int, const R*, const R*, index_t, const R*, index_t, R*, index_t);
};

template <class R, int E, int TA, int TB>
constexpr section<R> make_section() {
  return {&pack_a_block<R, E, TA>, &pack_b<R, E, TB>, &small_kernel<R, E, TA, TB>};
}

// Four sections for the real types, nine for the complex ones, indexed [op(A)][op(B)].
template <class R, int E>
struct section_table;
template <class R>
struct section_table<R, 1> {
  static constexpr section<R> s[2][2] = {
      {make_section<R, 1, op_n, op_n>(), make_section<R, 1, op_n, op_t>()},
      {make_section<R, 1, op_t, op_n>(), make_section<R, 1, op_t, op_t>()}};
};
template <class R>
struct section_table<R, 2> {
  static constexpr section<R> s[3][3] = {
      {make_section<R, 2, op_n, op_n>(), make_section<R, 2, op_n, op_t>(),
       make_section<R, 2, op_n, op_c>()},
      {make_section<R, 2, op_t, op_n>(), make_section<R, 2, op_t, op_t>(),
       make_section<R, 2, op_t, op_c>()},
      {make_section<R, 2, op_c, op_n>(), make_section<R, 2, op_c, op_t>(),
       make_section<R, 2, op_c, op_c>()}};
};

// Scratch of one engine call, in reals.
template <class R, int E>
struct scratch_sizes {
  static constexpr gemm_tuning t = engine_traits<R, E>::t;
  static constexpr int lanes = simd<R>::lanes;
  static constexpr int tile_rows = t.mv * lanes / E;
  // Packed A: the tiles of a whole row block.
  static constexpr index_t a = static_cast<index_t>((t.mb + tile_rows - 1) / tile_rows) *
                               tile_rows * t.kb * E;
  static constexpr index_t b = static_cast<index_t>(t.kb) * t.nb * E;  // nb is a multiple of nr
  // Staged C: column stride rounded to a whole cache line.
  static constexpr index_t stage_ld = (t.mb + 64 / (E * static_cast<int>(sizeof(R))) - 1) /
                                      (64 / (E * static_cast<int>(sizeof(R)))) *
                                      (64 / (E * static_cast<int>(sizeof(R))));
  static constexpr index_t stage = stage_ld * t.nb * E;
};
static_assert(gemm_tune_d.nb % gemm_tune_d.nr == 0 && gemm_tune_s.nb % gemm_tune_s.nr == 0 &&
              gemm_tune_z.nb % gemm_tune_z.nr == 0 && gemm_tune_c.nb % gemm_tune_c.nr == 0,
              "a column block is a whole number of register tiles");

// The driver. `stage` is the staging buffer (single complex) or null (C updated in place).
// `alpha_folded`: alpha is multiplied into packed A; otherwise the kernels apply it (double
// complex) with the shortcuts for 1 and -1.
template <class R, int E>
void driver(int ta, int tb, int m, int n, int k, const R* alpha, const R* a, index_t lda,
            const R* b, index_t ldb, const R* beta, R* c, index_t ldc, R* pa, R* pb, R* stage,
            bool alpha_folded) {
  constexpr gemm_tuning t = engine_traits<R, E>::t;
  constexpr int L = simd<R>::lanes;
  constexpr int rows_per_vec = L / E;
  constexpr int TR = t.mv * rows_per_vec;
  const section<R>& sec = section_table<R, E>::s[ta][tb];
  const kernel_table<R, E>& kt = kernels<R, E>;

  const bool alpha_zero = alpha[0] == R(0) && (E == 1 || alpha[E - 1] == R(0));
  int amode = alpha_add;
  if (E == 2 && !alpha_folded) {
    if (alpha[1] == R(0) && alpha[0] == R(1)) amode = alpha_add;
    else if (alpha[1] == R(0) && alpha[0] == R(-1)) amode = alpha_sub;
    else amode = alpha_mul;
  }
  const R one[2] = {R(1), R(0)};
  const R* pack_alpha = alpha_folded ? alpha : one;
  const bool pack_scale = alpha_folded && !(alpha[0] == R(1) && (E == 1 || alpha[E - 1] == R(0)));

  // The depth steps: as few as kb allows, their lengths differing by at most one.
  const int steps = k > 0 ? (k + t.kb - 1) / t.kb : 0;

  const index_t ldaE = lda * E;
  // B as it is goes to the kernels unpacked when few row tiles share it (see tuning.h).
  const bool bin = tb == op_n && m <= gemm_b_in_place_rows;
  for (int jb = 0; jb < n; jb += t.nb) {
    const int nbk = std::min(t.nb, n - jb);
    for (int ib = 0; ib < m; ib += t.mb) {
      const int mbk = std::min(t.mb, m - ib);
      R* cb;
      index_t ldcb;
      if (stage) {
        stage_block(mbk, nbk, beta, c + (ib + jb * ldc) * E, ldc, stage,
                    scratch_sizes<R, E>::stage_ld);
        cb = stage;
        ldcb = scratch_sizes<R, E>::stage_ld;
      } else {
        cb = c + (ib + jb * ldc) * E;
        ldcb = ldc;
        scale_block<R, E>(mbk, nbk, beta, cb, ldcb);
      }
      if (!alpha_zero) {
        for (int s = 0, l0 = 0; s < steps; ++s) {
          const int d = k / steps + (s < k % steps ? 1 : 0);
          const R* bsrc = tb == op_n ? b + (l0 + static_cast<index_t>(jb) * ldb) * E
                                     : b + (jb + static_cast<index_t>(l0) * ldb) * E;
          if (!bin) sec.pack_b(d, nbk, t.nr, bsrc, ldb, pb);
          const R* asrc = ta == op_n ? a + ib * E + l0 * ldaE : a + l0 * E + ib * ldaE;
          sec.pack_a(mbk, TR, d, asrc, lda, pack_alpha, pack_scale, pa);
          const R* pat = pa;
          for (int i0 = 0; i0 < mbk;) {
            const int rows = row_tile_rows(mbk - i0, TR, rows_per_vec);
            const int mv = (rows + rows_per_vec - 1) / rows_per_vec;
            if (bin)
              kt.fn_b[mv - 1](d, nbk, rows, pat, bsrc, cb + i0 * E, ldcb, amode, alpha, ldb * E);
            else
              kt.fn[mv - 1](d, nbk, rows, pat, pb, cb + i0 * E, ldcb, amode, alpha, 0);
            pat += static_cast<index_t>(mv) * rows_per_vec * d * E;
            i0 += rows;
          }
          l0 += d;
        }
      }
      if (stage) unstage_block(mbk, nbk, stage, scratch_sizes<R, E>::stage_ld,
                               c + (ib + jb * ldc) * E, ldc);
    }
  }
}

// Small problems, all three sizes at most this, with op(A) = A and op(B) not conjugated, skip
// packing: for them the copies and the scratch cost as much as the product.
inline constexpr int gemm_direct_limit = 64;

template <class R>
using direct_fn = void (*)(int, int, int, const R*, index_t, const R*, index_t, index_t, R*,
                           index_t, const R*);

template <class R, int E, std::size_t... M>
constexpr auto make_direct_table(std::index_sequence<M...>) {
  constexpr gemm_tuning t = engine_traits<R, E>::t;
  struct table {
    direct_fn<R> fn[t.mv];
  };
  return table{{&direct_tile<R, E, static_cast<int>(M) + 1, t.nr>...}};
}

template <class R, int E>
constexpr auto direct_tiles = make_direct_table<R, E>(std::make_index_sequence<engine_traits<R, E>::t.mv>{});

template <class R, int E>
bool takes_direct_tiles(int ta, int tb, int m, int n, int k) {
  return ta == op_n && tb != op_c && m <= gemm_direct_limit && n <= gemm_direct_limit &&
         k <= gemm_direct_limit;
}

// The last rows of a direct problem, less than a vector: copied into one zero-padded vector per
// depth step, on the stack (the depth is at most 64), so that no load reaches past the end of a
// column. Kept out of line: its buffer would otherwise enlarge the frame of every small call.
template <class R, int E>
[[gnu::noinline]] void direct_tail_rows(int rows, int n, int k, const R* alpha, const R* a,
                                        index_t lda, const R* b, index_t bls, index_t bjs, R* c,
                                        index_t ldc) {
  constexpr int L = simd<R>::lanes;
  constexpr int rows_per_vec = L / E;
  alignas(64) R tail[L * gemm_direct_limit];
  for (int l = 0; l < k; ++l) {
    const R* src = a + static_cast<index_t>(l) * lda * E;
    for (int i = 0; i < rows * E; ++i) tail[l * L + i] = src[i];
    for (int i = rows * E; i < L; ++i) tail[l * L + i] = R(0);
  }
  direct_tiles<R, E>.fn[0](n, rows, k, tail, rows_per_vec, b, bls, bjs, c, ldc, alpha);
}

template <class R, int E>
void direct_tiles_run(int ta, int tb, int m, int n, int k, const R* alpha, const R* a,
                      index_t lda, const R* b, index_t ldb, const R* beta, R* c, index_t ldc) {
  constexpr gemm_tuning t = engine_traits<R, E>::t;
  constexpr int rows_per_vec = simd<R>::lanes / E;
  scale_block<R, E>(m, n, beta, c, ldc);
  if (k <= 0) return;
  const index_t bls = tb == op_n ? E : ldb * E;
  const index_t bjs = tb == op_n ? ldb * E : E;
  // The whole vectors of rows in as few tiles as the widest takes, shared out evenly: a tile of
  // one vector does as many broadcasts of B as FMAs and waits on its loads (sgemm at 64 rows as
  // 48 + 16 ran at 87 % of the speed of 32 + 32, dgemm at 32 rows as 24 + 8 at 94 % of 16 + 16).
  // Each element's sum runs over the depth in the same order whatever tile holds it.
  int i0 = 0;
  int vecs = m / rows_per_vec;
  if constexpr (E == 1 && gemm_direct_wide_mv > 0) {
    constexpr int W = std::max(gemm_direct_wide_mv, 1), WN = std::max(gemm_direct_wide_nr, 1);
    if (vecs % W == 0) {
      // Whole groups of W vectors: tiles of WN columns, and the columns past the last whole
      // one in tiles of 4, two of them when that leaves none idle (32 = 4 x 6 + 2 x 4), else one
      // or one more of WN, whose idle columns repeat the last valid one.
      int nwide = n / WN * WN, rest = n - nwide;
      if (rest == 2 && nwide >= WN) {
        nwide -= WN;
        rest += WN;
      }
      for (; vecs > 0; vecs -= W, i0 += W * rows_per_vec) {
        const int rows = W * rows_per_vec;
        if (nwide > 0)
          direct_tile<R, E, W, WN>(nwide, rows, k, a + i0, lda, b, bls, bjs, c + i0, ldc, alpha);
        const R* br = b + nwide * bjs;
        R* cr = c + i0 + static_cast<index_t>(nwide) * ldc;
        if (rest == 5)
          direct_tile<R, E, W, WN>(rest, rows, k, a + i0, lda, br, bls, bjs, cr, ldc, alpha);
        else if (rest > 0)
          direct_tile<R, E, W, 4>(rest, rows, k, a + i0, lda, br, bls, bjs, cr, ldc, alpha);
      }
    }
  }
  for (int tiles = (vecs + t.mv - 1) / t.mv; tiles > 0; --tiles) {
    const int mv = (vecs + tiles - 1) / tiles;
    const int rows = mv * rows_per_vec;
    direct_tiles<R, E>.fn[mv - 1](n, rows, k, a + i0 * E, lda, b, bls, bjs, c + i0 * E, ldc,
                                  alpha);
    i0 += rows;
    vecs -= mv;
  }
  if (i0 < m)
    direct_tail_rows<R, E>(m - i0, n, k, alpha, a + i0 * E, lda, b, bls, bjs, c + i0 * E, ldc);
}

// The path without scratch (and cgemm's direct kernel): beta on all of C, then the small kernel
// of the section over all of C, unless alpha is 0.
template <class R, int E>
void direct(int ta, int tb, int m, int n, int k, const R* alpha, const R* a, index_t lda,
            const R* b, index_t ldb, const R* beta, R* c, index_t ldc) {
  scale_block<R, E>(m, n, beta, c, ldc);
  const bool alpha_zero = alpha[0] == R(0) && (E == 1 || alpha[E - 1] == R(0));
  if (alpha_zero || k <= 0) return;
  section_table<R, E>::s[ta][tb].small(m, n, k, alpha, a, lda, b, ldb, c, ldc);
}

// The packed path of the real engines and of double complex: packed A and packed B from the
// memory manager (alignment 128), released before return, packed B first. Out of line, so that
// the small problems that take the direct tiles do not pay for its frame.
template <class R, int E>
[[gnu::noinline]] void packed(int ta, int tb, int m, int n, int k, const R* alpha, const R* a,
                              int lda, const R* b, int ldb, const R* beta, R* c, int ldc,
                              bool alpha_folded) {
  using Z = scratch_sizes<R, E>;
  R* pa = static_cast<R*>(zvx::scratch_allocate(static_cast<unsigned>(Z::a * sizeof(R)), 128));
  R* pb = static_cast<R*>(zvx::scratch_allocate(static_cast<unsigned>(Z::b * sizeof(R)), 128));
  if (pa && pb)
    driver<R, E>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, pa, pb, nullptr,
                 alpha_folded);
  else
    direct<R, E>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  zvx::scratch_free(pb);
  zvx::scratch_free(pa);
}

// Short, wide products: a C of few rows (below one row tile) fills the row tiles poorly, a row
// tile holding whole vectors of rows; as columns of C^T = op(B)^T op(A)^T the same rows fill
// register tiles of nr columns. For 20 single rows, say, a row tile of 32 idles 12 of its lanes
// while three column tiles of 8 idle 4 of 24 columns; 20 single complex rows fill five column
// tiles of 4 exactly. The product is then computed transposed, into a transposed copy of C (beta
// applied on the way in), which costs two passes over C: worth it only when the depth is long
// enough to amortise them. Measured on 20 single rows against 2,000 and 20,000 columns, the
// usual path (which packs B by register transposes) keeps up to depths of about 1,000; at
// 2,000 the transposed one is ahead. A conjugated operand has no transposed form among the ops,
// so such calls keep the usual path.
inline constexpr int gemm_transposed_min_depth = 1024;

template <class R, int E>
bool takes_transposed(int ta, int tb, int m, int n, int k) {
  constexpr gemm_tuning t = engine_traits<R, E>::t;
  constexpr int per_vec = simd<R>::lanes / E;
  if (ta == op_c || tb == op_c) return false;
  if (m >= t.mv * per_vec || n < 2 * t.mv * per_vec || k < gemm_transposed_min_depth)
    return false;
  const int row_slots = (m + per_vec - 1) / per_vec * per_vec;
  const int col_slots = (m + t.nr - 1) / t.nr * t.nr;
  return 8 * col_slots < 7 * row_slots;  // at least an eighth fewer idle lanes
}

template <class R, int E>
[[gnu::noinline]] void transposed(int ta, int tb, int m, int n, int k, const R* alpha,
                                  const R* a, int lda, const R* b, int ldb, const R* beta,
                                  R* c, int ldc, bool alpha_folded) {
  using Z = scratch_sizes<R, E>;
  constexpr gemm_tuning t = engine_traits<R, E>::t;
  constexpr int line = 64 / (E * static_cast<int>(sizeof(R)));
  // C^T is made in pieces of at most mb of its rows (columns of C), so the copy stays small;
  // its columns start on cache lines, as staged C's do.
  const int chunk = std::min(n, t.mb);
  const index_t lds = (chunk + line - 1) / line * line;
  R* pa = static_cast<R*>(zvx::scratch_allocate(static_cast<unsigned>(Z::a * sizeof(R)), 128));
  R* pb = static_cast<R*>(zvx::scratch_allocate(static_cast<unsigned>(Z::b * sizeof(R)), 128));
  R* s = static_cast<R*>(zvx::scratch_allocate(static_cast<unsigned>(lds * m * E * sizeof(R)), 128));
  if (pa && pb && s) {
    const bool one = beta[0] == R(1) && (E == 1 || beta[E - 1] == R(0));
    const bool zero = beta[0] == R(0) && (E == 1 || beta[E - 1] == R(0));
    const R unit[2] = {R(1), R(0)};
    const index_t ldcE = static_cast<index_t>(ldc) * E, ldsE = lds * E;
    for (int j0 = 0; j0 < n; j0 += chunk) {
      const int nc = std::min(chunk, n - j0);
      R* cj = c + j0 * ldcE;
      for (int j = 0; j < nc; ++j) {
        const R* p = cj + j * ldcE;
        for (int i = 0; i < m; ++i) {
          R* q = s + j * E + i * ldsE;
          if (zero) {
            for (int e = 0; e < E; ++e) q[e] = R(0);
          } else if (one) {
            for (int e = 0; e < E; ++e) q[e] = p[i * E + e];
          } else if constexpr (E == 1) {
            q[0] = beta[0] * p[i];
          } else {
            cmul(beta[0], beta[1], p[2 * i], p[2 * i + 1], q);
          }
        }
      }
      // op(B) rows become rows of the new left operand and op(A) columns those of the new
      // right operand, each with the other op.
      const R* bj = tb == op_n ? b + j0 * static_cast<index_t>(ldb) * E : b + j0 * E;
      driver<R, E>(tb ^ 1, ta ^ 1, nc, m, k, alpha, bj, ldb, a, lda, unit, s, lds, pa, pb,
                   nullptr, alpha_folded);
      for (int j = 0; j < nc; ++j) {
        R* p = cj + j * ldcE;
        for (int i = 0; i < m; ++i)
          for (int e = 0; e < E; ++e) p[i * E + e] = s[j * E + i * ldsE + e];
      }
    }
  } else {
    direct<R, E>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  }
  zvx::scratch_free(s);
  zvx::scratch_free(pb);
  zvx::scratch_free(pa);
}

// The wrapper of the real engines and of double complex: the direct tiles for small problems,
// the packed path for the rest.
template <class R, int E>
void wrapper(const char* transa, const char* transb, int m, int n, int k, const R* alpha,
             const R* a, int lda, const R* b, int ldb, const R* beta, R* c, int ldc,
             bool alpha_folded) {
  if (m <= 0 || n <= 0) return;
  const int ta = fold_op(transa, E == 2);
  const int tb = fold_op(transb, E == 2);
  const bool alpha_zero = alpha[0] == R(0) && (E == 1 || alpha[E - 1] == R(0));
  if (alpha_zero) {  // neither A nor B is read, and no scratch is taken
    scale_block<R, E>(m, n, beta, c, ldc);
    return;
  }
  if (takes_direct_tiles<R, E>(ta, tb, m, n, k)) {
    direct_tiles_run<R, E>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  if (takes_transposed<R, E>(ta, tb, m, n, k)) {
    transposed<R, E>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, alpha_folded);
    return;
  }
  packed<R, E>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, alpha_folded);
}

// Single complex chooses between its direct kernel and the packed path by the share of data
// in the work. The figures are 32-bit integers, as callers have always seen them decide: the
// direct kernel takes a size below 4, and small problems that are mostly data.
bool cgemm_takes_direct(int m, int n, int k) {
  if (m < 4 || n < 4 || k < 4) return true;
  if (m + n + k >= 50) return false;
  const auto mu = static_cast<uint32_t>(m), nu = static_cast<uint32_t>(n),
             ku = static_cast<uint32_t>(k);
  const auto data = static_cast<int32_t>(mu * nu + nu * ku + mu * ku);
  const auto work = static_cast<int32_t>(6u * mu * nu + 8u * mu * nu * (ku + 1u));
  return static_cast<double>(data) / static_cast<double>(work) >= 0.08;
}

// Single complex: one scratch block, cut into packed A, packed B and staged C.
void wrapper_c(const char* transa, const char* transb, int m, int n, int k, const float* alpha,
               const float* a, int lda, const float* b, int ldb, const float* beta, float* c,
               int ldc) {
  const int ta = fold_op(transa, true);
  const int tb = fold_op(transb, true);
  if (m <= 0 || n <= 0) return;
  if (cgemm_takes_direct(m, n, k)) {
    direct<float, 2>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  const bool alpha_zero = alpha[0] == 0.0f && alpha[1] == 0.0f;
  if (!alpha_zero && takes_direct_tiles<float, 2>(ta, tb, m, n, k)) {
    direct_tiles_run<float, 2>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  if (!alpha_zero && takes_transposed<float, 2>(ta, tb, m, n, k)) {
    transposed<float, 2>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, true);
    return;
  }
  using Z = scratch_sizes<float, 2>;
  constexpr index_t piece_a = (Z::a + 63) / 64 * 64;
  constexpr index_t piece_b = (Z::b + 63) / 64 * 64;
  constexpr index_t total = piece_a + piece_b + Z::stage;
  float* block = static_cast<float*>(zvx::scratch_allocate(static_cast<unsigned>(total * sizeof(float)), 128));
  // Staging gives the kernels columns that start on cache lines; it costs two copies of C outside
  // the kernels, which overlap C's memory traffic with their products. A C whose columns already
  // start on lines is updated in place, and so is any C whose whole depth is one step (measured
  // one thread, median CPU time, unstaged against staged: n = 100 and 128 (one step) 5-9 %
  // faster, 200 and 256 4-10 %, 1,000 4-7 %; 1,500 and 2,000 alike within the noise).
  const bool lines = (static_cast<index_t>(ldc) * 2 * sizeof(float)) % 64 == 0;
  const bool staged = k > gemm_tune_c.kb && !lines;
  if (block)
    driver<float, 2>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, block,
                     block + piece_a, staged ? block + piece_a + piece_b : nullptr, true);
  else
    direct<float, 2>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  zvx::scratch_free(block);
}

}  // namespace

void gemm_s(const char* transa, const char* transb, const int* m, const int* n, const int* k,
            const float* alpha, const float* a, const int* lda, const float* b, const int* ldb,
            const float* beta, float* c, const int* ldc) {
  wrapper<float, 1>(transa, transb, *m, *n, *k, alpha, a, *lda, b, *ldb, beta, c, *ldc, true);
}

void gemm_d(const char* transa, const char* transb, const int* m, const int* n, const int* k,
            const double* alpha, const double* a, const int* lda, const double* b,
            const int* ldb, const double* beta, double* c, const int* ldc) {
  wrapper<double, 1>(transa, transb, *m, *n, *k, alpha, a, *lda, b, *ldb, beta, c, *ldc, true);
}

void gemm_c(const char* transa, const char* transb, const int* m, const int* n, const int* k,
            const zvx_complex8* alpha, const zvx_complex8* a, const int* lda,
            const zvx_complex8* b, const int* ldb, const zvx_complex8* beta, zvx_complex8* c,
            const int* ldc) {
  wrapper_c(transa, transb, *m, *n, *k, reinterpret_cast<const float*>(alpha),
            reinterpret_cast<const float*>(a), *lda, reinterpret_cast<const float*>(b), *ldb,
            reinterpret_cast<const float*>(beta), reinterpret_cast<float*>(c), *ldc);
}

void gemm_z(const char* transa, const char* transb, const int* m, const int* n, const int* k,
            const zvx_complex16* alpha, const zvx_complex16* a, const int* lda,
            const zvx_complex16* b, const int* ldb, const zvx_complex16* beta,
            zvx_complex16* c, const int* ldc) {
  // Alpha is not folded into packed A: the kernels apply it to the finished sums.
  wrapper<double, 2>(transa, transb, *m, *n, *k, reinterpret_cast<const double*>(alpha),
                     reinterpret_cast<const double*>(a), *lda, reinterpret_cast<const double*>(b),
                     *ldb, reinterpret_cast<const double*>(beta), reinterpret_cast<double*>(c),
                     *ldc, false);
}

}  // namespace ZVX_ISA_NS

// The triangular kernels at the bottom of the trmm and trsm ladders, and zherk's direct
// diagonal blocks, for one instruction set.
// Each copies its triangle of op(A) into a local dense block (the diagonal as its reciprocal,
// computed once, for the solve; 1 for a unit diagonal, which is never read) so that every inner
// loop runs down a contiguous column.
#include "blas/level3/triangular_kernels.h"

#include <algorithm>
#include <utility>

#if ZVX_ISA_LEVEL >= 1
#include "common/simd.h"
#endif

namespace zvx::l3ops::ZVX_ISA_NS {
namespace {

// Columns of B handled together by the left-side kernels: the panel (order x width, turned so
// that rows are contiguous) stays in the first-level cache beside the local triangle, and its
// rows are long enough for full vectors of every width.
constexpr int panel_width = 32;

// B(0:bs, 0:w) into x with rows contiguous (x[i * panel_width + c] = B(i, c)), and back.
template <class T>
void load_panel(int bs, int w, const T* b, long ldb, T* x) {
  for (int c = 0; c < w; ++c)
    for (int i = 0; i < bs; ++i) x[i * panel_width + c] = b[i + c * ldb];
}
template <class T>
void store_panel(int bs, int w, const T* x, T* b, long ldb) {
  for (int c = 0; c < w; ++c)
    for (int i = 0; i < bs; ++i) b[i + c * ldb] = x[i * panel_width + c];
}

// The local dense copy of op(A) on a diagonal block of order bs: the triangle of op(A), the
// diagonal as its value (trmm; 1 when unit) or its reciprocal (trsm; 1 when unit).
template <bool solve, class T>
void copy_block(const tri_shape& s, int bs, const T* a, long lda, T* t) {
  constexpr int ld = tuning::tri_kernel_max;
  for (int j = 0; j < bs; ++j) {
    const int i0 = s.lower ? j + 1 : 0, i1 = s.lower ? bs : j;
    for (int i = i0; i < i1; ++i) {
      T v = *op_at(s, a, lda, i, j);
      if (s.a_op == op::c) v = conj(v);
      t[i + j * ld] = v;
    }
    if (s.unit) {
      t[j + j * ld] = from_real<T>(1);
    } else {
      T v = a[j + j * lda];
      if (s.a_op == op::c) v = conj(v);
      t[j + j * ld] = solve ? reciprocal(v) : v;
    }
  }
}

#if ZVX_ISA_LEVEL >= 1
// ------------------------------------------------------------------------------------------
// Vector kernels (AVX2 and AVX-512): register tiles that read B (trmm) or A (the rank updates)
// where they lie, with no turned panel and no dense product of a whole diagonal block.
template <class R>
using vec = ::ZVX_ISA_NS::simd<R>;

// The first n lanes of p (n may be 0 or past the width: then none or all), the others 0. Lanes
// past n are never read from memory.
#if ZVX_ISA_LEVEL == 2
inline __m512d load_part(const double* p, int n) {
  const int k = std::clamp(n, 0, 8);
  return _mm512_maskz_loadu_pd(static_cast<__mmask8>((1u << k) - 1), p);
}
#else
inline __m256d load_part(const double* p, int n) {
  const __m256i m = _mm256_cmpgt_epi64(_mm256_set1_epi64x(n), _mm256_setr_epi64x(0, 1, 2, 3));
  return _mm256_maskload_pd(p, m);
}
#endif

// Accumulators of the left multiply kernel: the local triangle has tri_kernel_max rows, NV
// vectors of them; NC columns of B at a time, so that NV * NC sums stay in registers (16 of the
// 32 AVX-512 registers, 8 of the 16 AVX2 ones, leaving room for the loads and broadcasts).
template <class R>
struct trmm_tile {
  static constexpr int lanes = vec<R>::lanes;
  static constexpr int nv = tuning::tri_kernel_max / lanes;
  static constexpr int budget = ZVX_ISA_LEVEL == 2 ? 16 : 8;
  static constexpr int nc = budget / nv > 0 ? budget / nv : 1;
};

// Rows [G * lanes, G * lanes + lanes) of the triangle's columns: column k of a lower op(A) has
// no element above row k, so vectors below G see it; an upper one has none below, so vectors up
// to G do. Columns of B past the end of the tile repeat its last column (read, never stored).
template <int G, bool lower, class R, class V, int NV, int NC>
[[gnu::always_inline]] inline void trmm_group(int bs, const R* t, const R* const* bc,
                                              V (&acc)[NV][NC]) {
  using S = vec<R>;
  constexpr int L = S::lanes, ld = tuning::tri_kernel_max;
  constexpr int v0 = lower ? G : 0, v1 = lower ? NV : G + 1;
  const int k1 = std::min((G + 1) * L, bs);
  for (int k = G * L; k < k1; ++k) {
    const R* tk = t + k * ld;
#pragma GCC unroll 16
    for (int c = 0; c < NC; ++c) {
      const V bk = S::set1(bc[c][k]);
#pragma GCC unroll 16
      for (int v = v0; v < v1; ++v) acc[v][c] = S::fma(S::load(tk + v * L), bk, acc[v][c]);
    }
  }
}

// B = alpha * op(A) * B on a block of order bs <= tri_kernel_max, op(A) in the local triangle t
// (zeros outside it and below row bs): each result column is a combination of the triangle's
// columns, summed in registers over the whole column before it is stored, so B is read before
// it is written.
template <bool lower, class R>
void trmm_left_vec(int bs, int cols, R alpha, const R* t, R* b, long ldb) {
  using S = vec<R>;
  using V = typename S::v;
  using shape = trmm_tile<R>;
  constexpr int L = S::lanes, NV = shape::nv, NC = shape::nc;
  const V va = S::set1(alpha);
  for (int c0 = 0; c0 < cols; c0 += NC) {
    const int nc = std::min(NC, cols - c0);
    const R* bc[NC];
    for (int c = 0; c < NC; ++c) bc[c] = b + (c0 + std::min(c, nc - 1)) * ldb;
    V acc[NV][NC];
    for (auto& row : acc)
      for (auto& x : row) x = S::zero();
    [&]<int... G>(std::integer_sequence<int, G...>) {
      ((G * L < bs ? trmm_group<G, lower>(bs, t, bc, acc) : void()), ...);
    }(std::make_integer_sequence<int, NV>{});
    for (int c = 0; c < nc; ++c) {
      R* out = b + (c0 + c) * ldb;
#pragma GCC unroll 16
      for (int v = 0; v < NV; ++v) {
        if (v * L >= bs) break;
        const V r = S::mul(va, acc[v][c]);
        if ((v + 1) * L <= bs) {
          S::storeu(out + v * L, r);
        } else {
          alignas(64) R tmp[L];
          S::store(tmp, r);
          for (int i = v * L; i < bs; ++i) out[i] = tmp[i - v * L];
        }
      }
    }
  }
}

// The diagonal block of a rank-k update without transpose, on the chosen triangle only:
// C(i, j) += alpha * sum over l of A(i, l) * A(j, l) (conjugated for herk), E = 1 for double,
// 2 for double complex (interleaved). Register tiles of MV vectors of rows and NC columns, over
// the whole depth; a tile is started only where it meets the triangle, so a block of 32 computes
// about a fifth more than its triangle where a dense product computes twice it. Complex tiles
// keep A times the real and A times the imaginary part of the broadcast element apart, and
// combine them once at the end.
template <int E, int MV, int NC, bool herm>
void rank_diagonal_vec(bool upper, int bs, int k, double alpha, const double* a, long lda,
                       double* c, long ldc) {
  using S = vec<double>;
  using V = typename S::v;
  constexpr int L = S::lanes;
  constexpr int TR = MV * L / E;  // rows of a tile
  const long la = lda * E, lc = ldc * E;
  const V va = S::set1(alpha);
  for (int j0 = 0; j0 < bs; j0 += NC) {
    const int nc = std::min(NC, bs - j0);
    const double* bj[NC];
    for (int q = 0; q < NC; ++q) bj[q] = a + (j0 + std::min(q, nc - 1)) * E;
    const int i_begin = upper ? 0 : j0, i_end = upper ? j0 + nc : bs;
    for (int i0 = i_begin; i0 < i_end; i0 += TR) {
      const int valid = (std::min(TR, bs - i0)) * E;  // reals of the tile's rows inside the block
      V acc[MV][NC], acci[MV][NC];
      for (int v = 0; v < MV; ++v)
        for (int q = 0; q < NC; ++q) acc[v][q] = acci[v][q] = S::zero();
      const double* ai = a + i0 * E;
      // The depth sweep of the tile, on whole vectors or, in a tile that runs past the
      // block, from vectors cut at its edge.
      auto sweep = [&](auto load_row) {
        for (int l = 0; l < k; ++l) {
          V x[MV];
#pragma GCC unroll 8
          for (int v = 0; v < MV; ++v) x[v] = load_row(ai + l * la + v * L, valid - v * L);
#pragma GCC unroll 16
          for (int q = 0; q < NC; ++q) {
            const V br = S::set1(bj[q][l * la]);
#pragma GCC unroll 8
            for (int v = 0; v < MV; ++v) acc[v][q] = S::fma(x[v], br, acc[v][q]);
            if constexpr (E == 2) {
              const V bi = S::set1(bj[q][l * la + 1]);
#pragma GCC unroll 8
              for (int v = 0; v < MV; ++v) acci[v][q] = S::fma(x[v], bi, acci[v][q]);
            }
          }
        }
      };
      if (valid == TR * E)
        sweep([](const double* p, int) { return S::loadu(p); });
      else
        sweep([](const double* p, int n) { return load_part(p, n); });
      for (int q = 0; q < nc; ++q) {
        const int j = j0 + q;
        double* cj = c + j * lc;
        // Rows of the tile that belong to column j's part of the triangle.
        const int r0 = upper ? i0 : std::max(i0, j);
        const int r1 = std::min({i0 + TR, bs, upper ? j + 1 : bs});
        if (r0 >= r1) continue;
        const bool whole = r0 == i0 && r1 == i0 + TR;
#pragma GCC unroll 8
        for (int v = 0; v < MV; ++v) {
          V r = acc[v][q];
          if constexpr (E == 2) {
            // a * conj(b) from a * re(b) and a * im(b): real parts add the swapped imaginary
            // sums, imaginary parts subtract them.
            r = S::sub(r, S::addsub(S::zero(), S::swap_pairs(acci[v][q])));
          }
          double* out = cj + i0 * E + v * L;
          if (whole) {
            S::storeu(out, S::fma(va, r, S::loadu(out)));
          } else {
            alignas(64) double tmp[L];
            S::store(tmp, r);
            for (int e = 0; e < L; ++e) {
              const int row = i0 + (v * L + e) / E;
              if (row >= r0 && row < r1) out[e] = out[e] + alpha * tmp[e];
            }
          }
        }
        if constexpr (herm) {
          if (j >= i0 && j < i0 + TR) cj[j * E + 1] = 0;
        }
      }
    }
  }
}
#endif  // ZVX_ISA_LEVEL >= 1

// Solve kernel: op(A) X = B (left, rows rows x cols) or X op(A) = B (right), order at most
// tri_kernel_max. Left: each column of B by substitution with columns of the local triangle;
// right: each column of X is a combination of the columns already solved, walked down the rows.
template <class T>
void trsm_kernel_t(const tri_shape& s, int rows, int cols, const T* a, long lda, T* b,
                   long ldb) {
  constexpr int ld = tuning::tri_kernel_max;
  alignas(64) T t[ld * ld];
  const int bs = s.left ? rows : cols;
  copy_block<true>(s, bs, a, lda, t);
  if (s.left) {
    // A panel of columns of B is turned so that each row is contiguous, then solved by whole
    // rows: every inner loop runs over panel_width columns, not down a short column.
    alignas(64) T x[ld * panel_width];
    for (int c0 = 0; c0 < cols; c0 += panel_width) {
      const int w = std::min(panel_width, cols - c0);
      load_panel(bs, w, b + c0 * ldb, ldb, x);
      for (int q = 0; q < bs; ++q) {
        const int i = s.lower ? q : bs - 1 - q;
        T* xi = x + i * panel_width;
        const T di = t[i + i * ld];
        for (int c = 0; c < w; ++c) xi[c] = xi[c] * di;
        const T* ti = t + i * ld;
        const int j0 = s.lower ? i + 1 : 0, j1 = s.lower ? bs : i;
        for (int j = j0; j < j1; ++j) {
          const T tji = ti[j];
          T* xj = x + j * panel_width;
          for (int c = 0; c < w; ++c) xj[c] = xj[c] - tji * xi[c];
        }
      }
      store_panel(bs, w, x, b + c0 * ldb, ldb);
    }
  } else {
    // X op(A) = B: column j of X is (B(:, j) - sum of X(:, i) op(A)(i, j) over the solved i)
    // times the reciprocal.
    for (int q = 0; q < bs; ++q) {
      const int j = s.lower ? bs - 1 - q : q;
      T* xj = b + j * ldb;
      const int i0 = s.lower ? j + 1 : 0, i1 = s.lower ? bs : j;
      for (int i = i0; i < i1; ++i) {
        const T tij = t[i + j * ld];
        const T* xi = b + i * ldb;
        for (int r = 0; r < rows; ++r) xj[r] = xj[r] - xi[r] * tij;
      }
      const T dj = t[j + j * ld];
      for (int r = 0; r < rows; ++r) xj[r] = xj[r] * dj;
    }
  }
}

// Multiply kernel: B = alpha * op(A) * B (left) or alpha * B * op(A) (right) in place, order at
// most tri_kernel_max; alpha is applied as each result column is complete.
template <class T>
void trmm_kernel_t(const tri_shape& s, int rows, int cols, T alpha, const T* a, long lda, T* b,
                 long ldb) {
  constexpr int ld = tuning::tri_kernel_max;
  alignas(64) T t[ld * ld];
  const int bs = s.left ? rows : cols;
#if ZVX_ISA_LEVEL >= 1
  if constexpr (!is_complex<T>) {
    if (s.left) {
      // The vector kernel reads whole vectors of the triangle's columns: where such a vector
      // reaches into the other triangle or past row bs it must read zeros.
      constexpr int L = vec<T>::lanes;
      for (int j = 0; j < bs; ++j) {
        T* tj = t + j * ld;
        const int v0 = j / L * L;
        if (s.lower) {
          std::fill(tj + v0, tj + j, T(0));
          std::fill(tj + bs, tj + ld, T(0));
        } else {
          std::fill(tj + j + 1, tj + v0 + L, T(0));
        }
      }
      copy_block<false>(s, bs, a, lda, t);
      if (s.lower) trmm_left_vec<true>(bs, cols, alpha, t, b, ldb);
      else trmm_left_vec<false>(bs, cols, alpha, t, b, ldb);
      return;
    }
  }
#endif
  copy_block<false>(s, bs, a, lda, t);
  if (s.left) {
    // By whole rows of a turned panel of B: row k feeds the rows it reaches before it is itself
    // scaled by its diagonal; the order (ascending for upper, descending for lower) reads every
    // row before it changes.
    alignas(64) T x[ld * panel_width];
    for (int c0 = 0; c0 < cols; c0 += panel_width) {
      const int w = std::min(panel_width, cols - c0);
      load_panel(bs, w, b + c0 * ldb, ldb, x);
      for (int q = 0; q < bs; ++q) {
        const int k = s.lower ? bs - 1 - q : q;
        T* xk = x + k * panel_width;
        const T* tk = t + k * ld;
        const int i0 = s.lower ? k + 1 : 0, i1 = s.lower ? bs : k;
        for (int i = i0; i < i1; ++i) {
          const T tik = tk[i];
          T* xi = x + i * panel_width;
          for (int c = 0; c < w; ++c) xi[c] = xi[c] + tik * xk[c];
        }
        const T tkk = tk[k];
        for (int c = 0; c < w; ++c) xk[c] = tkk * xk[c];
      }
      for (int i = 0; i < bs * panel_width; ++i) x[i] = alpha * x[i];
      store_panel(bs, w, x, b + c0 * ldb, ldb);
    }
  } else {
    // Column j of the result combines columns of B that are still unchanged: descending j for
    // upper, ascending for lower.
    for (int q = 0; q < bs; ++q) {
      const int j = s.lower ? q : bs - 1 - q;
      T* xj = b + j * ldb;
      const T djj = t[j + j * ld];
      for (int r = 0; r < rows; ++r) xj[r] = xj[r] * djj;
      const int i0 = s.lower ? j + 1 : 0, i1 = s.lower ? bs : j;
      for (int i = i0; i < i1; ++i) {
        const T tij = t[i + j * ld];
        const T* xi = b + i * ldb;
        for (int r = 0; r < rows; ++r) xj[r] = xj[r] + xi[r] * tij;
      }
      for (int r = 0; r < rows; ++r) xj[r] = alpha * xj[r];
    }
  }
}

// zherk's diagonal block by direct loops: C(i, j) += alpha * op(A)(i, :) * op(A)(j, :)^H on the
// chosen triangle. No transpose: rank-1 updates down the columns of A; transpose: dot products
// down the columns of A.
template <class T>
void herk_diagonal_t(bool upper, bool notrans, int bs, int k, real_t<T> alpha, const T* a,
                     long lda, T* c, long ldc) {
  for (int j = 0; j < bs; ++j) {
    T* cj = c + j * ldc;
    const int i0 = upper ? 0 : j, i1 = upper ? j + 1 : bs;
    if (notrans) {
      for (int l = 0; l < k; ++l) {
        const T* al = a + l * lda;
        const T t = alpha * conj(al[j]);
        for (int i = i0; i < i1; ++i) cj[i] = cj[i] + t * al[i];
      }
    } else {
      for (int i = i0; i < i1; ++i) {
        const T* ai = a + i * lda;
        const T* aj = a + j * lda;
        T s{};
        for (int l = 0; l < k; ++l) s = s + conj(ai[l]) * aj[l];
        cj[i] = cj[i] + alpha * s;
      }
    }
    cj[j] = from_real<T>(re(cj[j]));
  }
}

// C(i, j) += alpha * sum over l of A(l, i) * A(l, j) on the chosen triangle of a diagonal block
// of dsyrk with transpose: dot products down the columns of A.
void syrk_diagonal_dots(bool upper, int bs, int k, double alpha, const double* a, long lda,
                        double* c, long ldc) {
  for (int j = 0; j < bs; ++j) {
    double* cj = c + j * ldc;
    const int i0 = upper ? 0 : j, i1 = upper ? j + 1 : bs;
    const double* aj = a + j * lda;
    for (int i = i0; i < i1; ++i) {
      const double* ai = a + i * lda;
      double s = 0;
      for (int l = 0; l < k; ++l) s = s + ai[l] * aj[l];
      cj[i] = cj[i] + alpha * s;
    }
  }
}

// Tiles of the direct diagonal kernels: AVX-512 takes 8 rows x 8 columns of double (8 sums) and
// 8 x 4 of double complex (16 sums, two per vector); AVX2 8 x 4 and 4 x 2 (8 sums each), within
// 16 registers with the loads and broadcasts.
#if ZVX_ISA_LEVEL == 2
constexpr int syrk_mv = 1, syrk_nc = 8, herk_mv = 2, herk_nc = 4;
#elif ZVX_ISA_LEVEL == 1
constexpr int syrk_mv = 2, syrk_nc = 4, herk_mv = 2, herk_nc = 2;
#endif

}  // namespace

void herk_diagonal(bool upper, bool notrans, int bs, int k, double alpha, const zvx_complex16* a,
                   long lda, zvx_complex16* c, long ldc) {
#if ZVX_ISA_LEVEL >= 1
  if (notrans) {
    rank_diagonal_vec<2, herk_mv, herk_nc, true>(upper, bs, k, alpha,
                                                 reinterpret_cast<const double*>(a), lda,
                                                 reinterpret_cast<double*>(c), ldc);
    return;
  }
#endif
  herk_diagonal_t(upper, notrans, bs, k, alpha, a, lda, c, ldc);
}

void syrk_diagonal(bool upper, bool notrans, int bs, int k, double alpha, const double* a,
                   long lda, double* c, long ldc) {
#if ZVX_ISA_LEVEL >= 1
  if (notrans) {
    rank_diagonal_vec<1, syrk_mv, syrk_nc, false>(upper, bs, k, alpha, a, lda, c, ldc);
    return;
  }
#endif
  if (notrans) {
    for (int j = 0; j < bs; ++j) {
      double* cj = c + j * ldc;
      const int i0 = upper ? 0 : j, i1 = upper ? j + 1 : bs;
      for (int l = 0; l < k; ++l) {
        const double* al = a + l * lda;
        const double t = alpha * al[j];
        for (int i = i0; i < i1; ++i) cj[i] = cj[i] + t * al[i];
      }
    }
  } else {
    syrk_diagonal_dots(upper, bs, k, alpha, a, lda, c, ldc);
  }
}

#define ZVX_TRI_KERNELS(T)                                                                      \
  void trsm_kernel(const tri_shape& s, int rows, int cols, const T* a, long lda, T* b,          \
                   long ldb) {                                                                  \
    trsm_kernel_t<T>(s, rows, cols, a, lda, b, ldb);                                            \
  }                                                                                             \
  void trmm_kernel(const tri_shape& s, int rows, int cols, T alpha, const T* a, long lda, T* b, \
                   long ldb) {                                                                  \
    trmm_kernel_t<T>(s, rows, cols, alpha, a, lda, b, ldb);                                     \
  }
ZVX_TRI_KERNELS(float)
ZVX_TRI_KERNELS(double)
ZVX_TRI_KERNELS(zvx_complex8)
ZVX_TRI_KERNELS(zvx_complex16)
#undef ZVX_TRI_KERNELS

}  // namespace zvx::l3ops::ZVX_ISA_NS

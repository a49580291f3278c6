// Serial engines of the rank-k and rank-2k updates syrk, herk, syr2k, her2k: one triangle of C
// is updated, the other is never written.
//
// Beta goes to the triangle once, in a pass of its own. Then the triangle is cut into diagonal
// blocks, visited in ascending order: the GEMM engine computes each block's full square product
// into a dense buffer on the stack with beta 0, and only the chosen triangle of that product is
// added to C. The rest of the triangle goes to the GEMM engine with beta 1 in large rectangles:
// the order is split into two halves of whole blocks, the first half is done, then the
// rectangle between the halves (right of the first for upper, below it for lower), then the
// second half, each half split again the same way down to single blocks. Every element off the
// diagonal blocks is in exactly one rectangle; a rectangle of n/2 x n/2 packs its operands once
// where rectangles one block tall (or wide) would pack them once per block. zherk, and dsyrk
// without transpose, treat their diagonal blocks by direct register tiles on the triangle
// instead, with no dense buffer.
// Hermitian diagonals come out real: their imaginary parts are set to 0.
#include <algorithm>

#include "blas/level3/operations.h"
#include "blas/level3/tuning.h"
#include "blas/registry.h"
#include "blas/level3/triangular_kernels.h"

namespace zvx::l3ops {
namespace {

// beta * (triangle of C): 0 writes zeros, 1 does nothing, anything else multiplies; a
// Hermitian diagonal loses its imaginary part whenever the pass runs.
template <bool herm, class T, class S>
void scale_triangle(bool upper, int n, S beta, T* c, long ldc) {
  if (is_one(beta)) return;
  for (int j = 0; j < n; ++j) {
    T* cj = c + j * ldc;
    const int i0 = upper ? 0 : j, i1 = upper ? j + 1 : n;
    if (is_zero(beta)) {
      for (int i = i0; i < i1; ++i) cj[i] = T{};
    } else {
      for (int i = i0; i < i1; ++i) cj[i] = beta * cj[i];
      if constexpr (herm) cj[j] = from_real<T>(re(cj[j]));
    }
  }
}

// Adds the chosen triangle of the dense block W (syrk, herk) or of W + W^T / W + W^H (syr2k,
// her2k) to C's diagonal block, column by column.
template <bool herm, bool two, class T>
void add_triangle(bool upper, int bs, const T* w, long ldw, T* c, long ldc) {
  for (int j = 0; j < bs; ++j) {
    T* cj = c + j * ldc;
    const int i0 = upper ? 0 : j, i1 = upper ? j + 1 : bs;
    for (int i = i0; i < i1; ++i) {
      T v = w[i + j * ldw];
      if constexpr (two) v = v + (herm ? conj(w[j + i * ldw]) : w[j + i * ldw]);
      cj[i] = cj[i] + v;
    }
    if constexpr (herm) cj[j] = from_real<T>(re(cj[j]));
  }
}

// zherk's diagonal block by direct loops, in the instruction set chosen for this process.
void herk_diagonal_direct(bool upper, bool notrans, int bs, int k, double alpha,
                          const zvx_complex16* a, long lda, zvx_complex16* c, long ldc) {
  dense_registry().herk_diagonal(upper, notrans, bs, k, alpha, a, lda, c, ldc);
}
// dsyrk's diagonal block without transpose by direct register tiles, likewise.
void syrk_diagonal_direct(bool upper, bool notrans, int bs, int k, double alpha, const double* a,
                          long lda, double* c, long ldc) {
  dense_registry().syrk_diagonal(upper, notrans, bs, k, alpha, a, lda, c, ldc);
}

// kind: 0 syrk, 1 herk, 2 syr2k, 3 her2k. S is the type of beta (real for the Hermitian ones).
template <int kind, class T, class S>
void rank_update(const char* uplo, const char* trans, int n, int k, T alpha, const T* a, int lda,
                 const T* b, int ldb, S beta, T* c, int ldc) {
  constexpr bool herm = kind == 1 || kind == 3;
  constexpr bool two = kind >= 2;
  if (n == 0) return;
  if ((is_zero(alpha) || k == 0) && is_one(beta)) return;
  const bool upper = is_upper(uplo);
  const long la = lda, lb = ldb, lc = ldc;
  scale_triangle<herm>(upper, n, beta, c, lc);
  if (is_zero(alpha) || k == 0) return;
  const bool notrans = is_letter(trans, 'N');
  const char* ta = notrans ? "N" : (herm ? "C" : "T");
  const char* tb = notrans ? (herm ? "C" : "T") : "N";
  const T one = from_real<T>(1), zero{};
  const T alpha2 = herm ? conj(alpha) : alpha;  // of the second rectangle call of her2k
  constexpr int bsmax = kind == 0   ? tuning::syrk_block<T>
                        : kind == 1 ? tuning::herk_block<T>
                                    : tuning::syr2k_block;
  constexpr bool direct = kind == 1 && std::is_same_v<T, zvx_complex16>;
  alignas(64) T w[direct ? 1 : bsmax * bsmax];
  // The rows of op(A) from `off` on: rows of a without transpose, columns otherwise.
  auto rows = [&](const T* x, long ldx, int off) { return notrans ? x + off : x + off * ldx; };
  // The diagonal block of order bs at `off`.
  auto diagonal = [&](int off, int bs) {
    const T* ab = rows(a, la, off);
    T* cd = c + off + off * lc;
    if constexpr (direct) {
      herk_diagonal_direct(upper, notrans, bs, k, re(alpha), ab, la, cd, lc);
    } else {
      if constexpr (kind == 0 && std::is_same_v<T, double>) {
        if (notrans) {
          syrk_diagonal_direct(upper, notrans, bs, k, alpha, ab, la, cd, lc);
          return;
        }
      }
      const T* bb = two ? rows(b, lb, off) : ab;
      gemm_serial(ta, tb, bs, bs, k, alpha, ab, lda, bb, two ? ldb : lda, zero, w, bsmax);
      add_triangle<herm, two>(upper, bs, w, bsmax, cd, lc);
    }
  };
  // The rectangle that couples rows [off, off + n1) of op(A) with rows [off + n1, off + n1 + n2):
  // right of the first part for upper, below it for lower.
  auto rectangle = [&](int off, int n1, int n2) {
    const int next = off + n1;
    const T* ao = rows(a, la, off);
    const T* an = rows(a, la, next);
    if (upper) {
      T* cr = c + off + next * lc;
      if constexpr (two) {
        gemm_serial(ta, tb, n1, n2, k, alpha, ao, lda, rows(b, lb, next), ldb, one, cr, ldc);
        gemm_serial(ta, tb, n1, n2, k, alpha2, rows(b, lb, off), ldb, an, lda, one, cr, ldc);
      } else {
        gemm_serial(ta, tb, n1, n2, k, alpha, ao, lda, an, lda, one, cr, ldc);
      }
    } else {
      T* cr = c + next + off * lc;
      if constexpr (two) {
        gemm_serial(ta, tb, n2, n1, k, alpha, an, lda, rows(b, lb, off), ldb, one, cr, ldc);
        gemm_serial(ta, tb, n2, n1, k, alpha2, rows(b, lb, next), ldb, ao, lda, one, cr, ldc);
      } else {
        gemm_serial(ta, tb, n2, n1, k, alpha, an, lda, ao, lda, one, cr, ldc);
      }
    }
  };
  // The part [off, off + len) of the triangle: halves of whole blocks, the first half, the
  // rectangle between them, the second half, down to single blocks.
  auto part = [&](auto& self, int off, int len) -> void {
    const int blocks = (len + bsmax - 1) / bsmax;
    if (blocks <= 1) {
      diagonal(off, len);
      return;
    }
    const int n1 = (blocks + 1) / 2 * bsmax;
    self(self, off, n1);
    rectangle(off, n1, len - n1);
    self(self, off + n1, len - n1);
  };
  part(part, 0, n);
}

}  // namespace

template <class T>
void syrk_engine(const char* uplo, const char* trans, const int* n, const int* k, const T* alpha,
                 const T* a, const int* lda, const T* beta, T* c, const int* ldc) {
  rank_update<0>(uplo, trans, *n, *k, *alpha, a, *lda, a, *lda, *beta, c, *ldc);
}
template <class T>
void herk_engine(const char* uplo, const char* trans, const int* n, const int* k,
                 const real_t<T>* alpha, const T* a, const int* lda, const real_t<T>* beta, T* c,
                 const int* ldc) {
  rank_update<1>(uplo, trans, *n, *k, from_real<T>(*alpha), a, *lda, a, *lda, *beta, c, *ldc);
}
template <class T>
void syr2k_engine(const char* uplo, const char* trans, const int* n, const int* k,
                  const T* alpha, const T* a, const int* lda, const T* b, const int* ldb,
                  const T* beta, T* c, const int* ldc) {
  rank_update<2>(uplo, trans, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);
}
template <class T>
void her2k_engine(const char* uplo, const char* trans, const int* n, const int* k,
                  const T* alpha, const T* a, const int* lda, const T* b, const int* ldb,
                  const real_t<T>* beta, T* c, const int* ldc) {
  rank_update<3>(uplo, trans, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);
}

#define ZVX_SYM_RANK(T)                                                                        \
  template void syrk_engine<T>(const char*, const char*, const int*, const int*, const T*,     \
                               const T*, const int*, const T*, T*, const int*);                \
  template void syr2k_engine<T>(const char*, const char*, const int*, const int*, const T*,    \
                                const T*, const int*, const T*, const int*, const T*, T*,      \
                                const int*);
#define ZVX_HER_RANK(T)                                                                        \
  template void herk_engine<T>(const char*, const char*, const int*, const int*,               \
                               const real_t<T>*, const T*, const int*, const real_t<T>*, T*,   \
                               const int*);                                                    \
  template void her2k_engine<T>(const char*, const char*, const int*, const int*, const T*,    \
                                const T*, const int*, const T*, const int*, const real_t<T>*,  \
                                T*, const int*);
ZVX_SYM_RANK(float)
ZVX_SYM_RANK(double)
ZVX_SYM_RANK(zvx_complex8)
ZVX_SYM_RANK(zvx_complex16)
ZVX_HER_RANK(zvx_complex8)
ZVX_HER_RANK(zvx_complex16)
#undef ZVX_SYM_RANK
#undef ZVX_HER_RANK

}  // namespace zvx::l3ops

// Serial engines of symm and hemm: C = alpha * A * B + beta * C (left) or alpha * B * A + beta * C
// (right) with A symmetric (Hermitian) and only one triangle stored.
//
// A is walked in diagonal blocks in ascending order. Each block is expanded into a full dense
// matrix on the stack (the mirror conjugated for hemm, whose diagonal takes the real part only),
// and three GEMM calls treat it: the dense block against its rows (columns) of B, then the stored
// panel beside the block in both of its roles, as itself and as its mirror. Call 1 carries beta,
// and blocks go in ascending order, so every part of C receives beta once, before any other
// contribution. hemm scales C in a pass of its own first and then adds with beta 1.
#include <algorithm>

#include "blas/level3/operations.h"
#include "blas/level3/tuning.h"

namespace zvx::l3ops {
namespace {

// C(m x n) = beta * C: 0 writes zeros (NaN included), anything else multiplies; rows in fours,
// then the rest.
template <class T>
void scale_block(int m, int n, T beta, T* c, long ldc) {
  for (int j = 0; j < n; ++j) {
    T* cj = c + j * ldc;
    int i = 0;
    if (is_zero(beta)) {
      for (; i + 4 <= m; i += 4) cj[i] = cj[i + 1] = cj[i + 2] = cj[i + 3] = T{};
      for (; i < m; ++i) cj[i] = T{};
    } else {
      for (; i + 4 <= m; i += 4) {
        cj[i] = beta * cj[i];
        cj[i + 1] = beta * cj[i + 1];
        cj[i + 2] = beta * cj[i + 2];
        cj[i + 3] = beta * cj[i + 3];
      }
      for (; i < m; ++i) cj[i] = beta * cj[i];
    }
  }
}

// The stored triangle of a diagonal block as a full matrix: the other triangle is the mirror
// (conjugated for Hermitian), and a Hermitian diagonal is real: its imaginary parts are never
// read.
template <bool herm, class T>
void expand(bool upper, int bs, const T* a, long lda, T* d, long ldd) {
  for (int j = 0; j < bs; ++j)
    for (int i = 0; i < bs; ++i) {
      const bool stored = upper ? i <= j : i >= j;
      T v = stored ? a[i + j * lda] : a[j + i * lda];
      if constexpr (herm) {
        if (i == j) v = from_real<T>(re(v));
        else if (!stored) v = conj(v);
      }
      d[i + j * ldd] = v;
    }
}

template <bool herm, class T>
void symm_like(const char* side, const char* uplo, int m, int n, T alpha, const T* a, int lda,
               const T* b, int ldb, T beta, T* c, int ldc) {
  if (m == 0 || n == 0) return;
  if (is_zero(alpha)) {
    if (is_one(beta)) return;
    scale_block(m, n, beta, c, ldc);
    return;
  }
  const T one = from_real<T>(1);
  if constexpr (herm) {
    if (!is_one(beta)) scale_block(m, n, beta, c, ldc);
    beta = one;
  }
  const bool left = is_left(side);
  const bool upper = is_upper(uplo);
  const long la = lda, lb = ldb, lc = ldc;
  const char* mirror = herm ? "C" : "T";
  constexpr int bsmax = tuning::symm_block<T>;
  alignas(64) T d[bsmax * bsmax];
  const int order = left ? m : n;
  for (int off = 0; off < order; off += bsmax) {
    const int bs = std::min(bsmax, order - off);
    expand<herm>(upper, bs, a + off + off * la, la, d, bsmax);
    // The stored panel beside the block: rows 0..off of its columns (upper), or its rows in
    // columns 0..off (lower).
    const T* p = upper ? a + off * la : a + off;
    if (left) {
      gemm_serial(herm ? "N" : "T", "N", bs, n, bs, alpha, d, bsmax, b + off, ldb, beta, c + off,
                  ldc);
      if (off == 0) continue;
      if (upper) {
        gemm_serial("N", "N", off, n, bs, alpha, p, lda, b + off, ldb, one, c, ldc);
        gemm_serial(mirror, "N", bs, n, off, alpha, p, lda, b, ldb, one, c + off, ldc);
      } else {
        gemm_serial("N", "N", bs, n, off, alpha, p, lda, b, ldb, one, c + off, ldc);
        gemm_serial(mirror, "N", off, n, bs, alpha, p, lda, b + off, ldb, one, c, ldc);
      }
    } else {
      gemm_serial("N", "N", m, bs, bs, alpha, b + off * lb, ldb, d, bsmax, beta, c + off * lc,
                  ldc);
      if (off == 0) continue;
      if (upper) {
        gemm_serial("N", "N", m, bs, off, alpha, b, ldb, p, lda, one, c + off * lc, ldc);
        gemm_serial("N", mirror, m, off, bs, alpha, b + off * lb, ldb, p, lda, one, c, ldc);
      } else {
        gemm_serial("N", "N", m, off, bs, alpha, b + off * lb, ldb, p, lda, one, c, ldc);
        gemm_serial("N", mirror, m, bs, off, alpha, b, ldb, p, lda, one, c + off * lc, ldc);
      }
    }
  }
}

}  // namespace

template <class T>
void symm_engine(const char* side, const char* uplo, const int* m, const int* n, const T* alpha,
                 const T* a, const int* lda, const T* b, const int* ldb, const T* beta, T* c,
                 const int* ldc) {
  symm_like<false>(side, uplo, *m, *n, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);
}
template <class T>
void hemm_engine(const char* side, const char* uplo, const int* m, const int* n, const T* alpha,
                 const T* a, const int* lda, const T* b, const int* ldb, const T* beta, T* c,
                 const int* ldc) {
  symm_like<true>(side, uplo, *m, *n, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);
}

#define ZVX_SYMM_ENGINES(T)                                                                    \
  template void symm_engine<T>(const char*, const char*, const int*, const int*, const T*,     \
                               const T*, const int*, const T*, const int*, const T*, T*,       \
                               const int*);
ZVX_SYMM_ENGINES(float)
ZVX_SYMM_ENGINES(double)
ZVX_SYMM_ENGINES(zvx_complex8)
ZVX_SYMM_ENGINES(zvx_complex16)
template void hemm_engine<zvx_complex8>(const char*, const char*, const int*, const int*,
                                        const zvx_complex8*, const zvx_complex8*, const int*,
                                        const zvx_complex8*, const int*, const zvx_complex8*,
                                        zvx_complex8*, const int*);
template void hemm_engine<zvx_complex16>(const char*, const char*, const int*, const int*,
                                         const zvx_complex16*, const zvx_complex16*, const int*,
                                         const zvx_complex16*, const int*, const zvx_complex16*,
                                         zvx_complex16*, const int*);
#undef ZVX_SYMM_ENGINES

}  // namespace zvx::l3ops

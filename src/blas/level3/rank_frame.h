// The threaded frame of the rank updates syrk, herk, syr2k, her2k, in two steps: first a region
// in which each piece computes one diagonal block of C (equal orders, so equal work) with the
// serial engine; then, after the region has closed, the calling thread hands the rectangles off
// the diagonal, of decreasing size, one after another to the public threaded gemm, which spreads
// each over all threads again. herk and her2k apply their real beta to the triangle here, before
// any threading, and use beta 1 from then on.
#pragma once
#include "blas/level3/frames.h"
#include "service/service.h"

namespace zvx::l3ops {

// kind: 0 syrk, 1 herk, 2 syr2k, 3 her2k. S is the type of alpha and beta as published (real
// for herk, beta real for her2k); engine(n, a, b, beta, c) runs the serial engine on a block.
template <int kind, class T, class A, class S, class Engine>
void rank_frame(Engine engine, const char* uplo, const char* trans, const int* n, const int* k,
                const A* alpha, const T* a, const int* lda, const T* b, const int* ldb,
                const S* beta, T* c, const int* ldc) {
  constexpr bool herm = kind == 1 || kind == 3;
  constexpr bool two = kind >= 2;
  if (zvx::serial_policy() == 1) {
    engine(n, a, b, beta, c);
    return;
  }
  const bool upper = is_upper(uplo);
  const bool notrans = is_no_transpose(trans);
  const int nn = *n, kk = *k;
  const long la = *lda, lb = *ldb, lc = *ldc;
  if (nn == 0) return;
  const bool nothing = is_zero(*alpha) || kk == 0;
  if (nothing && is_one(*beta)) return;
  S real_one{};
  if constexpr (herm) real_one = 1;
  const S* beta_e = beta;
  if constexpr (herm) {
    // Beta 0 clears the triangle; otherwise every element is scaled (off the diagonal only
    // when beta is not 1), and the diagonal's imaginary parts become 0 whatever beta is.
    const S bv = *beta;
    for (int j = 0; j < nn; ++j) {
      T* cj = c + j * lc;
      const int i0 = upper ? 0 : j, i1 = upper ? j + 1 : nn;
      for (int i = i0; i < i1; ++i) {
        if (bv == 0) cj[i] = T{};
        else if (bv != 1) cj[i] = bv * cj[i];
      }
      cj[j] = from_real<T>(re(cj[j]));
    }
    beta_e = &real_one;
    if (nothing) return;
  }
  if (nn <= frame_serial_limit) {
    engine(n, a, b, beta_e, c);
    return;
  }
  const int nt = frame_threads();
  if (nt == 0) {
    engine(n, a, b, beta_e, c);
    return;
  }
  const int chunk = nn / nt;
  // The rows of op(A) (op(B)) from `off` on.
  auto rows = [&](const T* x, long ldx, int off) { return notrans ? x + off : x + off * ldx; };
#pragma omp parallel for schedule(static, 1)
  for (int i = 0; i < nt; ++i) {
    const auto [off, size] = piece_of(i, nt, nn);
    engine(&size, rows(a, la, off), two ? rows(b, lb, off) : nullptr, beta_e,
           c + off + off * lc);
  }
  const char* ta = notrans ? "N" : (herm ? "C" : "T");
  const char* tb = notrans ? (herm ? "C" : "T") : "N";
  const T one = from_real<T>(1);
  T alpha_g, alpha2, beta_g;
  if constexpr (kind == 1) alpha_g = from_real<T>(*alpha);
  else alpha_g = *alpha;
  alpha2 = herm ? conj(alpha_g) : alpha_g;  // formed once, for her2k's second call
  if constexpr (herm) beta_g = one;
  else beta_g = *beta;
  for (int i = 0; i + 1 < nt; ++i) {
    const int off = i * chunk, next = off + chunk, r = nn - next;
    const T* ao = rows(a, la, off);
    const T* an = rows(a, la, next);
    if (upper) {
      T* cr = c + off + next * lc;
      if constexpr (two) {
        gemm_threaded(ta, tb, &chunk, &r, k, &alpha_g, ao, lda, rows(b, lb, next), ldb, &beta_g,
                      cr, ldc);
        gemm_threaded(ta, tb, &chunk, &r, k, &alpha2, rows(b, lb, off), ldb, an, lda, &one, cr,
                      ldc);
      } else {
        gemm_threaded(ta, tb, &chunk, &r, k, &alpha_g, ao, lda, an, lda, &beta_g, cr, ldc);
      }
    } else {
      T* cr = c + next + off * lc;
      if constexpr (two) {
        gemm_threaded(ta, tb, &r, &chunk, k, &alpha_g, an, lda, rows(b, lb, off), ldb, &beta_g,
                      cr, ldc);
        gemm_threaded(ta, tb, &r, &chunk, k, &alpha2, rows(b, lb, next), ldb, ao, lda, &one, cr,
                      ldc);
      } else {
        gemm_threaded(ta, tb, &r, &chunk, k, &alpha_g, an, lda, ao, lda, &beta_g, cr, ldc);
      }
    }
  }
}

}  // namespace zvx::l3ops

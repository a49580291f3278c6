/* Level-3 BLAS: general, symmetric, Hermitian and triangular matrix products and solves. */
#ifndef ZVX_BLAS3_H
#define ZVX_BLAS3_H

#include "zvx_common.h"

ZVX_EXTERN_C_BEGIN

/* General matrix product C = alpha * op(A) * op(B) + beta * C, op(A) m x k, op(B) k x n.
 * transa, transb: "N" or "n" no transpose; for the real types anything else transposes; for
 * the complex types "T" or "t" transposes and anything else is the conjugate transpose.
 * Nothing is validated; m or n at most 0 returns. alpha 0 reads neither A nor B; beta 0
 * overwrites C, NaN included; k 0 scales C by beta. Threaded when the thread policy allows and
 * m, n or k exceeds 16. */
ZVX_API void sgemm(const char* transa, const char* transb, const int* m, const int* n,
                   const int* k, const float* alpha, const float* a, const int* lda,
                   const float* b, const int* ldb, const float* beta, float* c, const int* ldc);
ZVX_API void dgemm(const char* transa, const char* transb, const int* m, const int* n,
                   const int* k, const double* alpha, const double* a, const int* lda,
                   const double* b, const int* ldb, const double* beta, double* c,
                   const int* ldc);
ZVX_API void cgemm(const char* transa, const char* transb, const int* m, const int* n,
                   const int* k, const zvx_complex8* alpha, const zvx_complex8* a, const int* lda,
                   const zvx_complex8* b, const int* ldb, const zvx_complex8* beta,
                   zvx_complex8* c, const int* ldc);
ZVX_API void zgemm(const char* transa, const char* transb, const int* m, const int* n,
                   const int* k, const zvx_complex16* alpha, const zvx_complex16* a,
                   const int* lda, const zvx_complex16* b, const int* ldb,
                   const zvx_complex16* beta, zvx_complex16* c, const int* ldc);

/* Symmetric, Hermitian and triangular operations and the cross-product reductions. */

/* Symmetric (Hermitian) multiply: C = alpha * A * B + beta * C (side "L") or
 * alpha * B * A + beta * C, A of order m (left) or n (right) with the triangle uplo stored. The
 * imaginary parts of a Hermitian diagonal are not read. */
#define ZVX_SYMM_DECL(name, T)                                                                 \
  ZVX_API void name(const char* side, const char* uplo, const int* m, const int* n,            \
                    const T* alpha, const T* a, const int* lda, const T* b, const int* ldb,    \
                    const T* beta, T* c, const int* ldc);
ZVX_SYMM_DECL(ssymm, float)
ZVX_SYMM_DECL(dsymm, double)
ZVX_SYMM_DECL(csymm, zvx_complex8)
ZVX_SYMM_DECL(zsymm, zvx_complex16)
ZVX_SYMM_DECL(chemm, zvx_complex8)
ZVX_SYMM_DECL(zhemm, zvx_complex16)
#undef ZVX_SYMM_DECL

/* Rank-k update of the triangle uplo of C (n by n): alpha * op(A) * op(A)^T + beta * C with
 * op(A) n by k ("N") or its transpose; herk: op(A)^H, alpha and beta real, and the diagonal
 * comes out real. The other triangle is never written. */
ZVX_API void ssyrk(const char* uplo, const char* trans, const int* n, const int* k,
                   const float* alpha, const float* a, const int* lda, const float* beta,
                   float* c, const int* ldc);
ZVX_API void dsyrk(const char* uplo, const char* trans, const int* n, const int* k,
                   const double* alpha, const double* a, const int* lda, const double* beta,
                   double* c, const int* ldc);
ZVX_API void csyrk(const char* uplo, const char* trans, const int* n, const int* k,
                   const zvx_complex8* alpha, const zvx_complex8* a, const int* lda,
                   const zvx_complex8* beta, zvx_complex8* c, const int* ldc);
ZVX_API void zsyrk(const char* uplo, const char* trans, const int* n, const int* k,
                   const zvx_complex16* alpha, const zvx_complex16* a, const int* lda,
                   const zvx_complex16* beta, zvx_complex16* c, const int* ldc);
ZVX_API void cherk(const char* uplo, const char* trans, const int* n, const int* k,
                   const float* alpha, const zvx_complex8* a, const int* lda, const float* beta,
                   zvx_complex8* c, const int* ldc);
ZVX_API void zherk(const char* uplo, const char* trans, const int* n, const int* k,
                   const double* alpha, const zvx_complex16* a, const int* lda,
                   const double* beta, zvx_complex16* c, const int* ldc);

/* Rank-2k update: alpha * op(A) * op(B)^T + alpha * op(B) * op(A)^T + beta * C on the triangle;
 * her2k: alpha * op(A) * op(B)^H + conj(alpha) * op(B) * op(A)^H, beta real. */
#define ZVX_SYR2K_DECL(name, T, B)                                                             \
  ZVX_API void name(const char* uplo, const char* trans, const int* n, const int* k,           \
                    const T* alpha, const T* a, const int* lda, const T* b, const int* ldb,    \
                    const B* beta, T* c, const int* ldc);
ZVX_SYR2K_DECL(ssyr2k, float, float)
ZVX_SYR2K_DECL(dsyr2k, double, double)
ZVX_SYR2K_DECL(csyr2k, zvx_complex8, zvx_complex8)
ZVX_SYR2K_DECL(zsyr2k, zvx_complex16, zvx_complex16)
ZVX_SYR2K_DECL(cher2k, zvx_complex8, float)
ZVX_SYR2K_DECL(zher2k, zvx_complex16, double)
#undef ZVX_SYR2K_DECL

/* Triangular multiply B = alpha * op(A) * B (side "L") or alpha * B * op(A), and solve
 * op(A) * X = alpha * B or X * op(A) = alpha * B (X overwrites B). A unit diagonal ("U") is not
 * read; zeros on a non-unit diagonal give IEEE infinities and NaNs, with no report. alpha 0
 * fills B with zeros without reading A. */
#define ZVX_TRI_DECL(name, T)                                                                  \
  ZVX_API void name(const char* side, const char* uplo, const char* transa, const char* diag,  \
                    const int* m, const int* n, const T* alpha, const T* a, const int* lda,    \
                    T* b, const int* ldb);
ZVX_TRI_DECL(strmm, float)
ZVX_TRI_DECL(dtrmm, double)
ZVX_TRI_DECL(ctrmm, zvx_complex8)
ZVX_TRI_DECL(ztrmm, zvx_complex16)
ZVX_TRI_DECL(strsm, float)
ZVX_TRI_DECL(dtrsm, double)
ZVX_TRI_DECL(ctrsm, zvx_complex8)
ZVX_TRI_DECL(ztrsm, zvx_complex16)
#undef ZVX_TRI_DECL

/* Cross-product reductions: c = a^T * b with a and b k by n (leading dimension k) and c n by n
 * (leading dimension n). The inner dimension is cut into pieces (two under the serial policy,
 * one more than threads otherwise) whose products are summed in a fixed order. */
ZVX_API void xdsexy(const int* k, const int* n, const double* a, const double* b, double* c);
ZVX_API void xssexy(const int* k, const int* n, const float* a, const float* b, float* c);

ZVX_EXTERN_C_END

#endif

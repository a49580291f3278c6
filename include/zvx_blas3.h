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

ZVX_EXTERN_C_END

#endif

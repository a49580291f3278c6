/* LAPACK inner kernels: small factorizations, reflectors, rotations and tridiagonal solves. */
#ifndef ZVX_LAPACK_H
#define ZVX_LAPACK_H

#include "zvx_common.h"

ZVX_EXTERN_C_BEGIN

/* Small factorizations, unblocked, for the LAPACK layer that selects the triangle by the name.
 * potrf: A = L * L' (_l_) or U' * U (_u_); uplo is not read. info is written only on failure:
 * the order of the first pivot that compares below or equal to 0 (stored unrooted, and the
 * loop stops); the caller presets it. sytrf: Bunch-Kaufman A = L * D * L' or U * D * U' with
 * 1 by 1 and 2 by 2 pivots; info is 0 or the first zero column, and the factorization runs on;
 * uplo is passed on to the rank-1 update. */
ZVX_API void spotrf_l_small(const char* uplo, const int* n, float* a, const int* lda, int* info);
ZVX_API void dpotrf_l_small(const char* uplo, const int* n, double* a, const int* lda, int* info);
ZVX_API void cpotrf_l_small(const char* uplo, const int* n, zvx_complex8* a, const int* lda, int* info);
ZVX_API void zpotrf_l_small(const char* uplo, const int* n, zvx_complex16* a, const int* lda, int* info);
ZVX_API void spotrf_u_small(const char* uplo, const int* n, float* a, const int* lda, int* info);
ZVX_API void dpotrf_u_small(const char* uplo, const int* n, double* a, const int* lda, int* info);
ZVX_API void cpotrf_u_small(const char* uplo, const int* n, zvx_complex8* a, const int* lda, int* info);
ZVX_API void zpotrf_u_small(const char* uplo, const int* n, zvx_complex16* a, const int* lda, int* info);
ZVX_API void ssytrf_l_small(const char* uplo, const int* n, float* a, const int* lda, int* ipiv, int* info);
ZVX_API void dsytrf_l_small(const char* uplo, const int* n, double* a, const int* lda, int* ipiv, int* info);
ZVX_API void ssytrf_u_small(const char* uplo, const int* n, float* a, const int* lda, int* ipiv, int* info);
ZVX_API void dsytrf_u_small(const char* uplo, const int* n, double* a, const int* lda, int* ipiv, int* info);

/* H * C (side "L") or C * H with H = I - tau * v * v' (complex: v * v^H); orders 1 to 10 are
 * written out, larger ones use work (n elements for the left side, m for the right). tau 0
 * returns at once. */
ZVX_API void dlarfx(const char* side, const int* m, const int* n, const double* v, const double* tau,
                    double* c, const int* ldc, double* work);
ZVX_API void clarfx(const char* side, const int* m, const int* n, const zvx_complex8* v,
                    const zvx_complex8* tau, zvx_complex8* c, const int* ldc, zvx_complex8* work);

/* m - 1 plane rotations (c(j), s(j)) applied from the left to the rows of the m by n matrix A.
 * Second letter: pivot v (rows j, j + 1), t (rows 1, j + 1), b (rows j, m); third letter:
 * f forward, b backward. Every rotation is applied, identities included. */
#define ZVX_LASR_DECL(p, T, R)                                                                      \
  ZVX_API void p##lasr_lbb(const int* m, const int* n, const R* c, const R* s, T* a, const int* lda); \
  ZVX_API void p##lasr_lbf(const int* m, const int* n, const R* c, const R* s, T* a, const int* lda); \
  ZVX_API void p##lasr_ltb(const int* m, const int* n, const R* c, const R* s, T* a, const int* lda); \
  ZVX_API void p##lasr_ltf(const int* m, const int* n, const R* c, const R* s, T* a, const int* lda); \
  ZVX_API void p##lasr_lvb(const int* m, const int* n, const R* c, const R* s, T* a, const int* lda); \
  ZVX_API void p##lasr_lvf(const int* m, const int* n, const R* c, const R* s, T* a, const int* lda);
ZVX_LASR_DECL(s, float, float)
ZVX_LASR_DECL(d, double, double)
ZVX_LASR_DECL(c, zvx_complex8, float)
ZVX_LASR_DECL(z, zvx_complex16, double)
#undef ZVX_LASR_DECL

/* A vector of rotations: x(i) = c(i) * x(i) + s(i) * y(i); y(i) = c(i) * y(i) - conj(s(i)) * x(i)
 * (with the old x(i)); c real. */
ZVX_API void slartv(const int* n, float* x, const int* incx, float* y, const int* incy, const float* c,
                    const float* s, const int* incc);
ZVX_API void dlartv(const int* n, double* x, const int* incx, double* y, const int* incy,
                    const double* c, const double* s, const int* incc);
ZVX_API void clartv(const int* n, zvx_complex8* x, const int* incx, zvx_complex8* y, const int* incy,
                    const float* c, const zvx_complex8* s, const int* incc);
ZVX_API void zlartv(const int* n, zvx_complex16* x, const int* incx, zvx_complex16* y,
                    const int* incy, const double* c, const zvx_complex16* s, const int* incc);

/* General tridiagonal solve by Gaussian elimination with partial pivoting; dl, d, du are
 * overwritten by the factors. info: the first zero pivot (the system is not solved), else 0. */
ZVX_API void sgtsv(const int* n, const int* nrhs, float* dl, float* d, float* du, float* b,
                   const int* ldb, int* info);
ZVX_API void dgtsv(const int* n, const int* nrhs, double* dl, double* d, double* du, double* b,
                   const int* ldb, int* info);

/* Solve with a factored positive definite tridiagonal matrix L * D * L' (d diagonal of D, e
 * subdiagonal of L); complex: iuplo 1 for U^H * D * U (e superdiagonal of U), 0 for L * D * L^H. */
ZVX_API void sptts2(const int* n, const int* nrhs, const float* d, const float* e, float* b,
                    const int* ldb);
ZVX_API void dptts2(const int* n, const int* nrhs, const double* d, const double* e, double* b,
                    const int* ldb);
ZVX_API void cptts2(const int* iuplo, const int* n, const int* nrhs, const float* d,
                    const zvx_complex8* e, zvx_complex8* b, const int* ldb);
ZVX_API void zptts2(const int* iuplo, const int* n, const int* nrhs, const double* d,
                    const zvx_complex16* e, zvx_complex16* b, const int* ldb);

ZVX_EXTERN_C_END

#endif

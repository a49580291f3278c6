/* Level-1 and level-2 BLAS and the sparse-vector routines.
 *
 * Every argument by pointer, 32-bit integers; n below 1 makes a level-1 routine return at once
 * (functions return 0). A negative increment starts the vector at x + (1 - n) * incx. */
#ifndef ZVX_BLAS12_H
#define ZVX_BLAS12_H

#include "zvx_common.h"

ZVX_EXTERN_C_BEGIN

/* y := alpha * x + y */
ZVX_API void saxpy(const int* n, const float* alpha, const float* x, const int* incx, float* y, const int* incy);
ZVX_API void daxpy(const int* n, const double* alpha, const double* x, const int* incx, double* y, const int* incy);
ZVX_API void caxpy(const int* n, const zvx_complex8* alpha, const zvx_complex8* x, const int* incx, zvx_complex8* y, const int* incy);
ZVX_API void zaxpy(const int* n, const zvx_complex16* alpha, const zvx_complex16* x, const int* incx, zvx_complex16* y, const int* incy);

/* x := alpha * x; alpha 0 still multiplies (NaN stays) */
ZVX_API void sscal(const int* n, const float* alpha, float* x, const int* incx);
ZVX_API void dscal(const int* n, const double* alpha, double* x, const int* incx);
ZVX_API void cscal(const int* n, const zvx_complex8* alpha, zvx_complex8* x, const int* incx);
ZVX_API void zscal(const int* n, const zvx_complex16* alpha, zvx_complex16* x, const int* incx);
ZVX_API void csscal(const int* n, const float* alpha, zvx_complex8* x, const int* incx);
ZVX_API void zdscal(const int* n, const double* alpha, zvx_complex16* x, const int* incx);

/* copy and exchange */
ZVX_API void scopy(const int* n, const float* x, const int* incx, float* y, const int* incy);
ZVX_API void dcopy(const int* n, const double* x, const int* incx, double* y, const int* incy);
ZVX_API void ccopy(const int* n, const zvx_complex8* x, const int* incx, zvx_complex8* y, const int* incy);
ZVX_API void zcopy(const int* n, const zvx_complex16* x, const int* incx, zvx_complex16* y, const int* incy);
ZVX_API void sswap(const int* n, float* x, const int* incx, float* y, const int* incy);
ZVX_API void dswap(const int* n, double* x, const int* incx, double* y, const int* incy);
ZVX_API void cswap(const int* n, zvx_complex8* x, const int* incx, zvx_complex8* y, const int* incy);
ZVX_API void zswap(const int* n, zvx_complex16* x, const int* incx, zvx_complex16* y, const int* incy);

/* dot products; sdot sums up to 8 elements in extended precision, longer unit-stride vectors in single;
   dsdot and sdsdot sum in extended precision; complex results go through the first argument */
ZVX_API float sdot(const int* n, const float* x, const int* incx, const float* y, const int* incy);
ZVX_API double ddot(const int* n, const double* x, const int* incx, const double* y, const int* incy);
ZVX_API double dsdot(const int* n, const float* x, const int* incx, const float* y, const int* incy);
ZVX_API float sdsdot(const int* n, const float* sb, const float* x, const int* incx, const float* y, const int* incy);
ZVX_API void cdotc(zvx_complex8* result, const int* n, const zvx_complex8* x, const int* incx, const zvx_complex8* y, const int* incy);
ZVX_API void cdotu(zvx_complex8* result, const int* n, const zvx_complex8* x, const int* incx, const zvx_complex8* y, const int* incy);
ZVX_API void zdotc(zvx_complex16* result, const int* n, const zvx_complex16* x, const int* incx, const zvx_complex16* y, const int* incy);
ZVX_API void zdotu(zvx_complex16* result, const int* n, const zvx_complex16* x, const int* incx, const zvx_complex16* y, const int* incy);

/* norms, sums of magnitudes, positions of the extremes (1-based; 0 for n < 1 or incx < 1) */
ZVX_API float snrm2(const int* n, const float* x, const int* incx);
ZVX_API double dnrm2(const int* n, const double* x, const int* incx);
ZVX_API float scnrm2(const int* n, const zvx_complex8* x, const int* incx);
ZVX_API double dznrm2(const int* n, const zvx_complex16* x, const int* incx);
ZVX_API float sasum(const int* n, const float* x, const int* incx);
ZVX_API double dasum(const int* n, const double* x, const int* incx);
ZVX_API float scasum(const int* n, const zvx_complex8* x, const int* incx);
ZVX_API double dzasum(const int* n, const zvx_complex16* x, const int* incx);
ZVX_API int isamax(const int* n, const float* x, const int* incx);
ZVX_API int idamax(const int* n, const double* x, const int* incx);
ZVX_API int icamax(const int* n, const zvx_complex8* x, const int* incx);
ZVX_API int izamax(const int* n, const zvx_complex16* x, const int* incx);
ZVX_API int isamin(const int* n, const float* x, const int* incx);
ZVX_API int idamin(const int* n, const double* x, const int* incx);
ZVX_API int icamin(const int* n, const zvx_complex8* x, const int* incx);
ZVX_API int izamin(const int* n, const zvx_complex16* x, const int* incx);
ZVX_API double dcabs1(const zvx_complex16* z);

/* plane rotations: x := c x + s y, y := c y - conj(s) x */
ZVX_API void srot(const int* n, float* x, const int* incx, float* y, const int* incy, const float* c, const float* s);
ZVX_API void drot(const int* n, double* x, const int* incx, double* y, const int* incy, const double* c, const double* s);
ZVX_API void crot(const int* n, zvx_complex8* x, const int* incx, zvx_complex8* y, const int* incy, const float* c, const zvx_complex8* s);
ZVX_API void zrot(const int* n, zvx_complex16* x, const int* incx, zvx_complex16* y, const int* incy, const double* c, const zvx_complex16* s);
ZVX_API void csrot(const int* n, zvx_complex8* x, const int* incx, zvx_complex8* y, const int* incy, const float* c, const float* s);
ZVX_API void zdrot(const int* n, zvx_complex16* x, const int* incx, zvx_complex16* y, const int* incy, const double* c, const double* s);
ZVX_API void srotg(float* a, float* b, float* c, float* s);
ZVX_API void drotg(double* a, double* b, double* c, double* s);
ZVX_API void crotg(zvx_complex8* a, const zvx_complex8* b, float* c, zvx_complex8* s);
ZVX_API void zrotg(zvx_complex16* a, const zvx_complex16* b, double* c, zvx_complex16* s);
ZVX_API void srotm(const int* n, float* x, const int* incx, float* y, const int* incy, const float* param);
ZVX_API void drotm(const int* n, double* x, const int* incx, double* y, const int* incy, const double* param);
ZVX_API void srotmg(float* d1, float* d2, float* x1, const float* y1, float* param);
ZVX_API void drotmg(double* d1, double* d2, double* x1, const double* y1, double* param);

/* reflector of order three on three vectors: w = (v3 z + v2 y + x) t; x -= w; y -= v2 w; z -= w v3.
   drot3 takes x, y, z contiguous and does not read the increments; srot3 honours them */
ZVX_API void srot3(const int* n, float* x, const int* incx, float* y, const int* incy, float* z, const int* incz, const float* t, const float* v2, const float* v3);
ZVX_API void drot3(const int* n, double* x, const int* incx, double* y, const int* incy, double* z, const int* incz, const double* t, const double* v2, const double* v3);

/* sparse vectors: nz values of x at the 1-based positions indx of the dense y */
ZVX_API void saxpyi(const int* nz, const float* a, const float* x, const int* indx, float* y);
ZVX_API void daxpyi(const int* nz, const double* a, const double* x, const int* indx, double* y);
ZVX_API void caxpyi(const int* nz, const zvx_complex8* a, const zvx_complex8* x, const int* indx, zvx_complex8* y);
ZVX_API void zaxpyi(const int* nz, const zvx_complex16* a, const zvx_complex16* x, const int* indx, zvx_complex16* y);
ZVX_API float sdoti(const int* nz, const float* x, const int* indx, const float* y);
ZVX_API double ddoti(const int* nz, const double* x, const int* indx, const double* y);
ZVX_API void cdotui(zvx_complex8* pres, const int* nz, const zvx_complex8* x, const int* indx, const zvx_complex8* y);
ZVX_API void cdotci(zvx_complex8* pres, const int* nz, const zvx_complex8* x, const int* indx, const zvx_complex8* y);
ZVX_API void zdotui(zvx_complex16* pres, const int* nz, const zvx_complex16* x, const int* indx, const zvx_complex16* y);
ZVX_API void zdotci(zvx_complex16* pres, const int* nz, const zvx_complex16* x, const int* indx, const zvx_complex16* y);
ZVX_API void sgthr(const int* nz, const float* y, float* x, const int* indx);
ZVX_API void dgthr(const int* nz, const double* y, double* x, const int* indx);
ZVX_API void cgthr(const int* nz, const zvx_complex8* y, zvx_complex8* x, const int* indx);
ZVX_API void zgthr(const int* nz, const zvx_complex16* y, zvx_complex16* x, const int* indx);
ZVX_API void sgthrz(const int* nz, float* y, float* x, const int* indx);
ZVX_API void dgthrz(const int* nz, double* y, double* x, const int* indx);
ZVX_API void cgthrz(const int* nz, zvx_complex8* y, zvx_complex8* x, const int* indx);
ZVX_API void zgthrz(const int* nz, zvx_complex16* y, zvx_complex16* x, const int* indx);
ZVX_API void ssctr(const int* nz, const float* x, const int* indx, float* y);
ZVX_API void dsctr(const int* nz, const double* x, const int* indx, double* y);
ZVX_API void csctr(const int* nz, const zvx_complex8* x, const int* indx, zvx_complex8* y);
ZVX_API void zsctr(const int* nz, const zvx_complex16* x, const int* indx, zvx_complex16* y);
ZVX_API void sroti(const int* nz, float* x, const int* indx, float* y, const float* c, const float* s);
ZVX_API void droti(const int* nz, double* x, const int* indx, double* y, const double* c, const double* s);

/* y := alpha op(A) x + beta y; real entries read "N" else transposed, complex "N", "T", else conjugated */
ZVX_API void sgemv(const char* trans, const int* m, const int* n, const float* alpha, const float* a, const int* lda, const float* x, const int* incx, const float* beta, float* y, const int* incy);
ZVX_API void dgemv(const char* trans, const int* m, const int* n, const double* alpha, const double* a, const int* lda, const double* x, const int* incx, const double* beta, double* y, const int* incy);
ZVX_API void cgemv(const char* trans, const int* m, const int* n, const zvx_complex8* alpha, const zvx_complex8* a, const int* lda, const zvx_complex8* x, const int* incx, const zvx_complex8* beta, zvx_complex8* y, const int* incy);
ZVX_API void zgemv(const char* trans, const int* m, const int* n, const zvx_complex16* alpha, const zvx_complex16* a, const int* lda, const zvx_complex16* x, const int* incx, const zvx_complex16* beta, zvx_complex16* y, const int* incy);

/* A := alpha x y' + A */
ZVX_API void sger(const int* m, const int* n, const float* alpha, const float* x, const int* incx, const float* y, const int* incy, float* a, const int* lda);
ZVX_API void dger(const int* m, const int* n, const double* alpha, const double* x, const int* incx, const double* y, const int* incy, double* a, const int* lda);
ZVX_API void cgeru(const int* m, const int* n, const zvx_complex8* alpha, const zvx_complex8* x, const int* incx, const zvx_complex8* y, const int* incy, zvx_complex8* a, const int* lda);
ZVX_API void cgerc(const int* m, const int* n, const zvx_complex8* alpha, const zvx_complex8* x, const int* incx, const zvx_complex8* y, const int* incy, zvx_complex8* a, const int* lda);
ZVX_API void zgeru(const int* m, const int* n, const zvx_complex16* alpha, const zvx_complex16* x, const int* incx, const zvx_complex16* y, const int* incy, zvx_complex16* a, const int* lda);
ZVX_API void zgerc(const int* m, const int* n, const zvx_complex16* alpha, const zvx_complex16* x, const int* incx, const zvx_complex16* y, const int* incy, zvx_complex16* a, const int* lda);

/* triangular multiply and solve; unknown uplo counts as lower, unknown trans as transposed, unknown diag as unit */
ZVX_API void strmv(const char* uplo, const char* trans, const char* diag, const int* n, const float* a, const int* lda, float* x, const int* incx);
ZVX_API void dtrmv(const char* uplo, const char* trans, const char* diag, const int* n, const double* a, const int* lda, double* x, const int* incx);
ZVX_API void ctrmv(const char* uplo, const char* trans, const char* diag, const int* n, const zvx_complex8* a, const int* lda, zvx_complex8* x, const int* incx);
ZVX_API void ztrmv(const char* uplo, const char* trans, const char* diag, const int* n, const zvx_complex16* a, const int* lda, zvx_complex16* x, const int* incx);
ZVX_API void strsv(const char* uplo, const char* trans, const char* diag, const int* n, const float* a, const int* lda, float* x, const int* incx);
ZVX_API void dtrsv(const char* uplo, const char* trans, const char* diag, const int* n, const double* a, const int* lda, double* x, const int* incx);
ZVX_API void ctrsv(const char* uplo, const char* trans, const char* diag, const int* n, const zvx_complex8* a, const int* lda, zvx_complex8* x, const int* incx);
ZVX_API void ztrsv(const char* uplo, const char* trans, const char* diag, const int* n, const zvx_complex16* a, const int* lda, zvx_complex16* x, const int* incx);
ZVX_API void stbmv(const char* uplo, const char* trans, const char* diag, const int* n, const int* k, const float* a, const int* lda, float* x, const int* incx);
ZVX_API void dtbmv(const char* uplo, const char* trans, const char* diag, const int* n, const int* k, const double* a, const int* lda, double* x, const int* incx);
ZVX_API void ctbmv(const char* uplo, const char* trans, const char* diag, const int* n, const int* k, const zvx_complex8* a, const int* lda, zvx_complex8* x, const int* incx);
ZVX_API void ztbmv(const char* uplo, const char* trans, const char* diag, const int* n, const int* k, const zvx_complex16* a, const int* lda, zvx_complex16* x, const int* incx);
ZVX_API void stbsv(const char* uplo, const char* trans, const char* diag, const int* n, const int* k, const float* a, const int* lda, float* x, const int* incx);
ZVX_API void dtbsv(const char* uplo, const char* trans, const char* diag, const int* n, const int* k, const double* a, const int* lda, double* x, const int* incx);
ZVX_API void ctbsv(const char* uplo, const char* trans, const char* diag, const int* n, const int* k, const zvx_complex8* a, const int* lda, zvx_complex8* x, const int* incx);
ZVX_API void ztbsv(const char* uplo, const char* trans, const char* diag, const int* n, const int* k, const zvx_complex16* a, const int* lda, zvx_complex16* x, const int* incx);
ZVX_API void stpmv(const char* uplo, const char* trans, const char* diag, const int* n, const float* ap, float* x, const int* incx);
ZVX_API void dtpmv(const char* uplo, const char* trans, const char* diag, const int* n, const double* ap, double* x, const int* incx);
ZVX_API void ctpmv(const char* uplo, const char* trans, const char* diag, const int* n, const zvx_complex8* ap, zvx_complex8* x, const int* incx);
ZVX_API void ztpmv(const char* uplo, const char* trans, const char* diag, const int* n, const zvx_complex16* ap, zvx_complex16* x, const int* incx);
ZVX_API void stpsv(const char* uplo, const char* trans, const char* diag, const int* n, const float* ap, float* x, const int* incx);
ZVX_API void dtpsv(const char* uplo, const char* trans, const char* diag, const int* n, const double* ap, double* x, const int* incx);
ZVX_API void ctpsv(const char* uplo, const char* trans, const char* diag, const int* n, const zvx_complex8* ap, zvx_complex8* x, const int* incx);
ZVX_API void ztpsv(const char* uplo, const char* trans, const char* diag, const int* n, const zvx_complex16* ap, zvx_complex16* x, const int* incx);

/* symmetric and Hermitian multiplies: full, packed, band; and the general band multiply */
ZVX_API void ssymv(const char* uplo, const int* n, const float* alpha, const float* a, const int* lda, const float* x, const int* incx, const float* beta, float* y, const int* incy);
ZVX_API void dsymv(const char* uplo, const int* n, const double* alpha, const double* a, const int* lda, const double* x, const int* incx, const double* beta, double* y, const int* incy);
ZVX_API void chemv(const char* uplo, const int* n, const zvx_complex8* alpha, const zvx_complex8* a, const int* lda, const zvx_complex8* x, const int* incx, const zvx_complex8* beta, zvx_complex8* y, const int* incy);
ZVX_API void zhemv(const char* uplo, const int* n, const zvx_complex16* alpha, const zvx_complex16* a, const int* lda, const zvx_complex16* x, const int* incx, const zvx_complex16* beta, zvx_complex16* y, const int* incy);
ZVX_API void sspmv(const char* uplo, const int* n, const float* alpha, const float* ap, const float* x, const int* incx, const float* beta, float* y, const int* incy);
ZVX_API void dspmv(const char* uplo, const int* n, const double* alpha, const double* ap, const double* x, const int* incx, const double* beta, double* y, const int* incy);
ZVX_API void chpmv(const char* uplo, const int* n, const zvx_complex8* alpha, const zvx_complex8* ap, const zvx_complex8* x, const int* incx, const zvx_complex8* beta, zvx_complex8* y, const int* incy);
ZVX_API void zhpmv(const char* uplo, const int* n, const zvx_complex16* alpha, const zvx_complex16* ap, const zvx_complex16* x, const int* incx, const zvx_complex16* beta, zvx_complex16* y, const int* incy);
ZVX_API void ssbmv(const char* uplo, const int* n, const int* k, const float* alpha, const float* a, const int* lda, const float* x, const int* incx, const float* beta, float* y, const int* incy);
ZVX_API void dsbmv(const char* uplo, const int* n, const int* k, const double* alpha, const double* a, const int* lda, const double* x, const int* incx, const double* beta, double* y, const int* incy);
ZVX_API void chbmv(const char* uplo, const int* n, const int* k, const zvx_complex8* alpha, const zvx_complex8* a, const int* lda, const zvx_complex8* x, const int* incx, const zvx_complex8* beta, zvx_complex8* y, const int* incy);
ZVX_API void zhbmv(const char* uplo, const int* n, const int* k, const zvx_complex16* alpha, const zvx_complex16* a, const int* lda, const zvx_complex16* x, const int* incx, const zvx_complex16* beta, zvx_complex16* y, const int* incy);
ZVX_API void sgbmv(const char* trans, const int* m, const int* n, const int* kl, const int* ku, const float* alpha, const float* a, const int* lda, const float* x, const int* incx, const float* beta, float* y, const int* incy);
ZVX_API void dgbmv(const char* trans, const int* m, const int* n, const int* kl, const int* ku, const double* alpha, const double* a, const int* lda, const double* x, const int* incx, const double* beta, double* y, const int* incy);
ZVX_API void cgbmv(const char* trans, const int* m, const int* n, const int* kl, const int* ku, const zvx_complex8* alpha, const zvx_complex8* a, const int* lda, const zvx_complex8* x, const int* incx, const zvx_complex8* beta, zvx_complex8* y, const int* incy);
ZVX_API void zgbmv(const char* trans, const int* m, const int* n, const int* kl, const int* ku, const zvx_complex16* alpha, const zvx_complex16* a, const int* lda, const zvx_complex16* x, const int* incx, const zvx_complex16* beta, zvx_complex16* y, const int* incy);

/* rank updates: symmetric (real alpha), Hermitian (real alpha for her/hpr, complex for her2/hpr2) */
ZVX_API void ssyr(const char* uplo, const int* n, const float* alpha, const float* x, const int* incx, float* a, const int* lda);
ZVX_API void dsyr(const char* uplo, const int* n, const double* alpha, const double* x, const int* incx, double* a, const int* lda);
ZVX_API void cher(const char* uplo, const int* n, const float* alpha, const zvx_complex8* x, const int* incx, zvx_complex8* a, const int* lda);
ZVX_API void zher(const char* uplo, const int* n, const double* alpha, const zvx_complex16* x, const int* incx, zvx_complex16* a, const int* lda);
ZVX_API void sspr(const char* uplo, const int* n, const float* alpha, const float* x, const int* incx, float* ap);
ZVX_API void dspr(const char* uplo, const int* n, const double* alpha, const double* x, const int* incx, double* ap);
ZVX_API void chpr(const char* uplo, const int* n, const float* alpha, const zvx_complex8* x, const int* incx, zvx_complex8* ap);
ZVX_API void zhpr(const char* uplo, const int* n, const double* alpha, const zvx_complex16* x, const int* incx, zvx_complex16* ap);
ZVX_API void ssyr2(const char* uplo, const int* n, const float* alpha, const float* x, const int* incx, const float* y, const int* incy, float* a, const int* lda);
ZVX_API void dsyr2(const char* uplo, const int* n, const double* alpha, const double* x, const int* incx, const double* y, const int* incy, double* a, const int* lda);
ZVX_API void cher2(const char* uplo, const int* n, const zvx_complex8* alpha, const zvx_complex8* x, const int* incx, const zvx_complex8* y, const int* incy, zvx_complex8* a, const int* lda);
ZVX_API void zher2(const char* uplo, const int* n, const zvx_complex16* alpha, const zvx_complex16* x, const int* incx, const zvx_complex16* y, const int* incy, zvx_complex16* a, const int* lda);
ZVX_API void sspr2(const char* uplo, const int* n, const float* alpha, const float* x, const int* incx, const float* y, const int* incy, float* ap);
ZVX_API void dspr2(const char* uplo, const int* n, const double* alpha, const double* x, const int* incx, const double* y, const int* incy, double* ap);
ZVX_API void chpr2(const char* uplo, const int* n, const zvx_complex8* alpha, const zvx_complex8* x, const int* incx, const zvx_complex8* y, const int* incy, zvx_complex8* ap);
ZVX_API void zhpr2(const char* uplo, const int* n, const zvx_complex16* alpha, const zvx_complex16* x, const int* incx, const zvx_complex16* y, const int* incy, zvx_complex16* ap);

/* complex symmetric packed rank-1 update A := alpha x x.' + A; reports bad uplo (1), n (2), incx (5)
   through the error reporter */
ZVX_API void cspr(const char* uplo, const int* n, const zvx_complex8* alpha, const zvx_complex8* x, const int* incx, zvx_complex8* ap);

ZVX_EXTERN_C_END

#endif

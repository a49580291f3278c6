/* The C interface of the standard BLAS (the CBLAS names and enumerations), provided by
 * libzvx_blas.so.3. Matrices are column-major (CblasColMajor) or row-major (CblasRowMajor);
 * complex scalars and arrays are passed as pointers to interleaved (re, im) pairs. Arguments are
 * checked as the standard interface checks them; a bad one is reported to cblas_xerbla, which a
 * program may define itself, and the call changes nothing. */
#ifndef ZVX_CBLAS_H
#define ZVX_CBLAS_H
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

#define CBLAS_INDEX size_t

typedef enum CBLAS_LAYOUT { CblasRowMajor = 101, CblasColMajor = 102 } CBLAS_LAYOUT;
typedef enum CBLAS_TRANSPOSE { CblasNoTrans = 111, CblasTrans = 112, CblasConjTrans = 113 } CBLAS_TRANSPOSE;
typedef enum CBLAS_UPLO { CblasUpper = 121, CblasLower = 122 } CBLAS_UPLO;
typedef enum CBLAS_DIAG { CblasNonUnit = 131, CblasUnit = 132 } CBLAS_DIAG;
typedef enum CBLAS_SIDE { CblasLeft = 141, CblasRight = 142 } CBLAS_SIDE;
typedef CBLAS_LAYOUT CBLAS_ORDER;

/* Set to 1 while a CBLAS routine runs (0 otherwise); RowMajorStrg is 1 while a row-major call
 * runs, so that cblas_xerbla can number the arguments as the caller wrote them. */
extern int CBLAS_CallFromC;
extern int RowMajorStrg;

/* The error handler: info is the number of the bad argument, rout the routine's name
 * ("cblas_dgemm"), form a printf format for a further message. The default prints
 * "Parameter <info> to routine <rout> was incorrect" and the message on the standard error, then
 * ends the process with status -1. */
void cblas_xerbla(int info, const char* rout, const char* form, ...);

/* Level 1 */
float cblas_sdsdot(int N, float alpha, const float* X, int incX, const float* Y, int incY);
double cblas_dsdot(int N, const float* X, int incX, const float* Y, int incY);
float cblas_sdot(int N, const float* X, int incX, const float* Y, int incY);
double cblas_ddot(int N, const double* X, int incX, const double* Y, int incY);
void cblas_cdotu_sub(int N, const void* X, int incX, const void* Y, int incY, void* dotu);
void cblas_cdotc_sub(int N, const void* X, int incX, const void* Y, int incY, void* dotc);
void cblas_zdotu_sub(int N, const void* X, int incX, const void* Y, int incY, void* dotu);
void cblas_zdotc_sub(int N, const void* X, int incX, const void* Y, int incY, void* dotc);
float cblas_snrm2(int N, const float* X, int incX);
float cblas_sasum(int N, const float* X, int incX);
double cblas_dnrm2(int N, const double* X, int incX);
double cblas_dasum(int N, const double* X, int incX);
float cblas_scnrm2(int N, const void* X, int incX);
float cblas_scasum(int N, const void* X, int incX);
double cblas_dznrm2(int N, const void* X, int incX);
double cblas_dzasum(int N, const void* X, int incX);
float cblas_scabs1(const void* c);
double cblas_dcabs1(const void* z);
/* Position of the first element of largest |re| + |im| (0-based; 0 when N < 1 or incX < 1). */
CBLAS_INDEX cblas_isamax(int N, const float* X, int incX);
CBLAS_INDEX cblas_idamax(int N, const double* X, int incX);
CBLAS_INDEX cblas_icamax(int N, const void* X, int incX);
CBLAS_INDEX cblas_izamax(int N, const void* X, int incX);
void cblas_sswap(int N, float* X, int incX, float* Y, int incY);
void cblas_scopy(int N, const float* X, int incX, float* Y, int incY);
void cblas_saxpy(int N, float alpha, const float* X, int incX, float* Y, int incY);
void cblas_dswap(int N, double* X, int incX, double* Y, int incY);
void cblas_dcopy(int N, const double* X, int incX, double* Y, int incY);
void cblas_daxpy(int N, double alpha, const double* X, int incX, double* Y, int incY);
void cblas_cswap(int N, void* X, int incX, void* Y, int incY);
void cblas_ccopy(int N, const void* X, int incX, void* Y, int incY);
void cblas_caxpy(int N, const void* alpha, const void* X, int incX, void* Y, int incY);
void cblas_zswap(int N, void* X, int incX, void* Y, int incY);
void cblas_zcopy(int N, const void* X, int incX, void* Y, int incY);
void cblas_zaxpy(int N, const void* alpha, const void* X, int incX, void* Y, int incY);
void cblas_srotg(float* a, float* b, float* c, float* s);
void cblas_srotmg(float* d1, float* d2, float* b1, float b2, float* P);
void cblas_srot(int N, float* X, int incX, float* Y, int incY, float c, float s);
void cblas_srotm(int N, float* X, int incX, float* Y, int incY, const float* P);
void cblas_drotg(double* a, double* b, double* c, double* s);
void cblas_drotmg(double* d1, double* d2, double* b1, double b2, double* P);
void cblas_drot(int N, double* X, int incX, double* Y, int incY, double c, double s);
void cblas_drotm(int N, double* X, int incX, double* Y, int incY, const double* P);
void cblas_crotg(void* a, const void* b, float* c, void* s);
void cblas_zrotg(void* a, const void* b, double* c, void* s);
void cblas_csrot(int N, void* X, int incX, void* Y, int incY, float c, float s);
void cblas_zdrot(int N, void* X, int incX, void* Y, int incY, double c, double s);
void cblas_sscal(int N, float alpha, float* X, int incX);
void cblas_dscal(int N, double alpha, double* X, int incX);
void cblas_cscal(int N, const void* alpha, void* X, int incX);
void cblas_zscal(int N, const void* alpha, void* X, int incX);
void cblas_csscal(int N, float alpha, void* X, int incX);
void cblas_zdscal(int N, double alpha, void* X, int incX);

/* Level 2 and 3, for each type: S float, R its real type, P pointer to a scalar argument
 * (a value for the real types, a pointer for the complex ones). */
#define ZVX_CBLAS_L2(t, T, S)                                                                      \
  void cblas_##t##gemv(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE TransA, int M, int N, S alpha,     \
                       const T* A, int lda, const T* X, int incX, S beta, T* Y, int incY);     \
  void cblas_##t##gbmv(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE TransA, int M, int N, int KL,      \
                       int KU, S alpha, const T* A, int lda, const T* X, int incX, S beta,     \
                       T* Y, int incY);                                                        \
  void cblas_##t##trmv(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, CBLAS_TRANSPOSE TransA,           \
                       CBLAS_DIAG Diag, int N, const T* A, int lda, T* X, int incX);           \
  void cblas_##t##tbmv(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, CBLAS_TRANSPOSE TransA,           \
                       CBLAS_DIAG Diag, int N, int K, const T* A, int lda, T* X, int incX);    \
  void cblas_##t##tpmv(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, CBLAS_TRANSPOSE TransA,           \
                       CBLAS_DIAG Diag, int N, const T* Ap, T* X, int incX);                   \
  void cblas_##t##trsv(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, CBLAS_TRANSPOSE TransA,           \
                       CBLAS_DIAG Diag, int N, const T* A, int lda, T* X, int incX);           \
  void cblas_##t##tbsv(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, CBLAS_TRANSPOSE TransA,           \
                       CBLAS_DIAG Diag, int N, int K, const T* A, int lda, T* X, int incX);    \
  void cblas_##t##tpsv(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, CBLAS_TRANSPOSE TransA,           \
                       CBLAS_DIAG Diag, int N, const T* Ap, T* X, int incX);
ZVX_CBLAS_L2(s, float, float)
ZVX_CBLAS_L2(d, double, double)
ZVX_CBLAS_L2(c, void, const void*)
ZVX_CBLAS_L2(z, void, const void*)
#undef ZVX_CBLAS_L2

#define ZVX_CBLAS_L2_SYM(t, T, S, sy, s1)                                                          \
  void cblas_##t##sy##mv(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, int N, S alpha, const T* A,     \
                         int lda, const T* X, int incX, S beta, T* Y, int incY);               \
  void cblas_##t##s1##bmv(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, int N, int K, S alpha,         \
                          const T* A, int lda, const T* X, int incX, S beta, T* Y, int incY);  \
  void cblas_##t##s1##pmv(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, int N, S alpha, const T* Ap,   \
                          const T* X, int incX, S beta, T* Y, int incY);                       \
  void cblas_##t##sy##r2(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, int N, S alpha, const T* X,     \
                         int incX, const T* Y, int incY, T* A, int lda);                       \
  void cblas_##t##s1##pr2(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, int N, S alpha, const T* X,    \
                          int incX, const T* Y, int incY, T* A);
ZVX_CBLAS_L2_SYM(s, float, float, sy, s)
ZVX_CBLAS_L2_SYM(d, double, double, sy, s)
ZVX_CBLAS_L2_SYM(c, void, const void*, he, h)
ZVX_CBLAS_L2_SYM(z, void, const void*, he, h)
#undef ZVX_CBLAS_L2_SYM

void cblas_sger(CBLAS_LAYOUT layout, int M, int N, float alpha, const float* X, int incX,
                const float* Y, int incY, float* A, int lda);
void cblas_dger(CBLAS_LAYOUT layout, int M, int N, double alpha, const double* X, int incX,
                const double* Y, int incY, double* A, int lda);
void cblas_ssyr(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, int N, float alpha, const float* X,
                int incX, float* A, int lda);
void cblas_dsyr(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, int N, double alpha, const double* X,
                int incX, double* A, int lda);
void cblas_sspr(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, int N, float alpha, const float* X,
                int incX, float* Ap);
void cblas_dspr(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, int N, double alpha, const double* X,
                int incX, double* Ap);
#define ZVX_CBLAS_GER_HER(t, R)                                                                    \
  void cblas_##t##geru(CBLAS_LAYOUT layout, int M, int N, const void* alpha, const void* X,    \
                       int incX, const void* Y, int incY, void* A, int lda);                   \
  void cblas_##t##gerc(CBLAS_LAYOUT layout, int M, int N, const void* alpha, const void* X,    \
                       int incX, const void* Y, int incY, void* A, int lda);                   \
  void cblas_##t##her(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, int N, R alpha, const void* X,     \
                      int incX, void* A, int lda);                                             \
  void cblas_##t##hpr(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, int N, R alpha, const void* X,     \
                      int incX, void* A);
ZVX_CBLAS_GER_HER(c, float)
ZVX_CBLAS_GER_HER(z, double)
#undef ZVX_CBLAS_GER_HER

/* Level 3 */
#define ZVX_CBLAS_L3(t, T, S)                                                                      \
  void cblas_##t##gemm(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE TransA, CBLAS_TRANSPOSE TransB,    \
                       int M, int N, int K, S alpha, const T* A, int lda, const T* B, int ldb, \
                       S beta, T* C, int ldc);                                                 \
  void cblas_##t##symm(CBLAS_LAYOUT layout, CBLAS_SIDE Side, CBLAS_UPLO Uplo, int M, int N,    \
                       S alpha, const T* A, int lda, const T* B, int ldb, S beta, T* C,        \
                       int ldc);                                                               \
  void cblas_##t##syrk(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, CBLAS_TRANSPOSE Trans, int N,     \
                       int K, S alpha, const T* A, int lda, S beta, T* C, int ldc);            \
  void cblas_##t##syr2k(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, CBLAS_TRANSPOSE Trans, int N,    \
                        int K, S alpha, const T* A, int lda, const T* B, int ldb, S beta,      \
                        T* C, int ldc);                                                        \
  void cblas_##t##trmm(CBLAS_LAYOUT layout, CBLAS_SIDE Side, CBLAS_UPLO Uplo,                  \
                       CBLAS_TRANSPOSE TransA, CBLAS_DIAG Diag, int M, int N, S alpha,         \
                       const T* A, int lda, T* B, int ldb);                                    \
  void cblas_##t##trsm(CBLAS_LAYOUT layout, CBLAS_SIDE Side, CBLAS_UPLO Uplo,                  \
                       CBLAS_TRANSPOSE TransA, CBLAS_DIAG Diag, int M, int N, S alpha,         \
                       const T* A, int lda, T* B, int ldb);
ZVX_CBLAS_L3(s, float, float)
ZVX_CBLAS_L3(d, double, double)
ZVX_CBLAS_L3(c, void, const void*)
ZVX_CBLAS_L3(z, void, const void*)
#undef ZVX_CBLAS_L3

#define ZVX_CBLAS_HE3(t, R)                                                                        \
  void cblas_##t##hemm(CBLAS_LAYOUT layout, CBLAS_SIDE Side, CBLAS_UPLO Uplo, int M, int N,    \
                       const void* alpha, const void* A, int lda, const void* B, int ldb,      \
                       const void* beta, void* C, int ldc);                                    \
  void cblas_##t##herk(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, CBLAS_TRANSPOSE Trans, int N,     \
                       int K, R alpha, const void* A, int lda, R beta, void* C, int ldc);      \
  void cblas_##t##her2k(CBLAS_LAYOUT layout, CBLAS_UPLO Uplo, CBLAS_TRANSPOSE Trans, int N,    \
                        int K, const void* alpha, const void* A, int lda, const void* B,       \
                        int ldb, R beta, void* C, int ldc);
ZVX_CBLAS_HE3(c, float)
ZVX_CBLAS_HE3(z, double)
#undef ZVX_CBLAS_HE3

#ifdef __cplusplus
}
#endif
#endif

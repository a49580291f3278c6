// The serial engines of symm, hemm, syrk, herk, syr2k, her2k, trmm and trsm, with the argument
// lists of the published routines, and what their sources share: the typed calls of the serial
// GEMM engines and of the threaded GEMM frames.
//
// The engines validate nothing and report nothing. Each cuts its triangle into diagonal blocks
// and rectangles; every rectangle goes to the serial GEMM engine of its type, and the diagonal
// blocks go through a dense copy (symm, hemm, the rank updates) or down a ladder of levels to
// small triangular kernels (trmm, trsm). They keep all state on the calling thread's stack, so the
// threaded frames run them concurrently on disjoint parts of the output.
#pragma once
#include "blas/level3/gemm_engine.h"
#include "blas/level3/tuning.h"
#include "common/options.h"
#include "common/scalar.h"
#include "zvx_blas3.h"
#include "zvx_service.h"

namespace zvx::l3ops {

template <class T>
void symm_engine(const char* side, const char* uplo, const int* m, const int* n, const T* alpha,
                 const T* a, const int* lda, const T* b, const int* ldb, const T* beta, T* c,
                 const int* ldc);
template <class T>
void hemm_engine(const char* side, const char* uplo, const int* m, const int* n, const T* alpha,
                 const T* a, const int* lda, const T* b, const int* ldb, const T* beta, T* c,
                 const int* ldc);
template <class T>
void syrk_engine(const char* uplo, const char* trans, const int* n, const int* k, const T* alpha,
                 const T* a, const int* lda, const T* beta, T* c, const int* ldc);
template <class T>
void herk_engine(const char* uplo, const char* trans, const int* n, const int* k,
                 const real_t<T>* alpha, const T* a, const int* lda, const real_t<T>* beta, T* c,
                 const int* ldc);
template <class T>
void syr2k_engine(const char* uplo, const char* trans, const int* n, const int* k,
                  const T* alpha, const T* a, const int* lda, const T* b, const int* ldb,
                  const T* beta, T* c, const int* ldc);
template <class T>
void her2k_engine(const char* uplo, const char* trans, const int* n, const int* k,
                  const T* alpha, const T* a, const int* lda, const T* b, const int* ldb,
                  const real_t<T>* beta, T* c, const int* ldc);
template <class T>
void trmm_engine(const char* side, const char* uplo, const char* transa, const char* diag,
                 const int* m, const int* n, const T* alpha, const T* a, const int* lda, T* b,
                 const int* ldb);
template <class T>
void trsm_engine(const char* side, const char* uplo, const char* transa, const char* diag,
                 const int* m, const int* n, const T* alpha, const T* a, const int* lda, T* b,
                 const int* ldb);

// The serial GEMM engine of the type, sizes and scalars by value.
inline void gemm_serial(const char* ta, const char* tb, int m, int n, int k, float alpha,
                        const float* a, int lda, const float* b, int ldb, float beta, float* c,
                        int ldc) {
  zvx::gemm_engine_s(ta, tb, &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
}
inline void gemm_serial(const char* ta, const char* tb, int m, int n, int k, double alpha,
                        const double* a, int lda, const double* b, int ldb, double beta,
                        double* c, int ldc) {
  zvx::gemm_engine_d(ta, tb, &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
}
inline void gemm_serial(const char* ta, const char* tb, int m, int n, int k, zvx_complex8 alpha,
                        const zvx_complex8* a, int lda, const zvx_complex8* b, int ldb,
                        zvx_complex8 beta, zvx_complex8* c, int ldc) {
  zvx::gemm_engine_c(ta, tb, &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
}
inline void gemm_serial(const char* ta, const char* tb, int m, int n, int k, zvx_complex16 alpha,
                        const zvx_complex16* a, int lda, const zvx_complex16* b, int ldb,
                        zvx_complex16 beta, zvx_complex16* c, int ldc) {
  zvx::gemm_engine_z(ta, tb, &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
}

using tuning::frame_serial_limit;


}  // namespace zvx::l3ops

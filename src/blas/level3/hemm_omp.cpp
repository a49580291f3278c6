// Threaded frames of chemm and zhemm: the frame of symm (symm_omp.cpp) around the Hermitian
// engines. Alpha 0 needs both parts 0.
#include "blas/level3/frames.h"
#include "service/service.h"

using namespace zvx;
using namespace zvx::l3ops;

#define ZVX_HEMM(p, T)                                                                           \
  ZVX_EXPORT void p##hemm(const char* side, const char* uplo, const int* m, const int* n,        \
                          const T* alpha, const T* a, const int* lda, const T* b, const int* ldb, \
                          const T* beta, T* c, const int* ldc) {                                 \
    symm_frame<T>(hemm_engine<T>, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);        \
  }
ZVX_HEMM(c, zvx_complex8)
ZVX_HEMM(z, zvx_complex16)
#undef ZVX_HEMM

// Threaded frames of cher2k and zher2k (rank_frame.h): beta real and applied in the frame; the
// second gemm call of each rectangle takes the conjugate of alpha.
#include "blas/level3/rank_frame.h"

using namespace zvx;
using namespace zvx::l3ops;

#define ZVX_HER2K(p, T, R)                                                                      \
  ZVX_EXPORT void p##her2k(const char* uplo, const char* trans, const int* n, const int* k,     \
                           const T* alpha, const T* a, const int* lda, const T* b,              \
                           const int* ldb, const R* beta, T* c, const int* ldc) {               \
    auto engine = [&](const int* nb, const T* ab, const T* bb, const R* be, T* cb) {            \
      her2k_engine<T>(uplo, trans, nb, k, alpha, ab, lda, bb, ldb, be, cb, ldc);                \
    };                                                                                          \
    rank_frame<3>(engine, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);              \
  }
ZVX_HER2K(c, zvx_complex8, float)
ZVX_HER2K(z, zvx_complex16, double)
#undef ZVX_HER2K

// Threaded frames of cherk and zherk (rank_frame.h): alpha and beta real, beta applied to the
// triangle in the frame.
#include "blas/level3/rank_frame.h"

using namespace zvx;
using namespace zvx::l3ops;

#define ZVX_HERK(p, T, R)                                                                       \
  ZVX_EXPORT void p##herk(const char* uplo, const char* trans, const int* n, const int* k,      \
                          const R* alpha, const T* a, const int* lda, const R* beta, T* c,      \
                          const int* ldc) {                                                     \
    auto engine = [&](const int* nb, const T* ab, const T*, const R* be, T* cb) {               \
      herk_engine<T>(uplo, trans, nb, k, alpha, ab, lda, be, cb, ldc);                          \
    };                                                                                          \
    rank_frame<1>(engine, uplo, trans, n, k, alpha, a, lda, a, lda, beta, c, ldc);              \
  }
ZVX_HERK(c, zvx_complex8, float)
ZVX_HERK(z, zvx_complex16, double)
#undef ZVX_HERK

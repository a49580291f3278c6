// Threaded frames of ssyrk, dsyrk, csyrk, zsyrk (rank_frame.h).
#include "blas/level3/rank_frame.h"

using namespace zvx;
using namespace zvx::l3ops;

#define ZVX_SYRK(p, T)                                                                          \
  ZVX_EXPORT void p##syrk(const char* uplo, const char* trans, const int* n, const int* k,      \
                          const T* alpha, const T* a, const int* lda, const T* beta, T* c,      \
                          const int* ldc) {                                                     \
    auto engine = [&](const int* nb, const T* ab, const T*, const T* be, T* cb) {               \
      syrk_engine<T>(uplo, trans, nb, k, alpha, ab, lda, be, cb, ldc);                          \
    };                                                                                          \
    rank_frame<0>(engine, uplo, trans, n, k, alpha, a, lda, a, lda, beta, c, ldc);              \
  }
ZVX_SYRK(s, float)
ZVX_SYRK(d, double)
ZVX_SYRK(c, zvx_complex8)
ZVX_SYRK(z, zvx_complex16)
#undef ZVX_SYRK

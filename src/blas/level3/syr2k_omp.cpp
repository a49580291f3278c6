// Threaded frames of ssyr2k, dsyr2k, csyr2k, zsyr2k (rank_frame.h): two gemm calls per
// rectangle, A against B with the routine's beta, then B against A with beta 1.
#include "blas/level3/rank_frame.h"

using namespace zvx;
using namespace zvx::l3ops;

#define ZVX_SYR2K(p, T)                                                                         \
  ZVX_EXPORT void p##syr2k(const char* uplo, const char* trans, const int* n, const int* k,     \
                           const T* alpha, const T* a, const int* lda, const T* b,              \
                           const int* ldb, const T* beta, T* c, const int* ldc) {               \
    auto engine = [&](const int* nb, const T* ab, const T* bb, const T* be, T* cb) {            \
      syr2k_engine<T>(uplo, trans, nb, k, alpha, ab, lda, bb, ldb, be, cb, ldc);                \
    };                                                                                          \
    rank_frame<2>(engine, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);              \
  }
ZVX_SYR2K(s, float)
ZVX_SYR2K(d, double)
ZVX_SYR2K(c, zvx_complex8)
ZVX_SYR2K(z, zvx_complex16)
#undef ZVX_SYR2K

// Threaded frames of ssymm, dsymm, csymm, zsymm. The split goes by side alone: columns of B and C
// for the left side, rows for the right, so that A, the symmetric operand, stays whole in every
// piece and each thread reuses it through its own cache.
#include "blas/level3/frames.h"
#include "service/service.h"

namespace zvx::l3ops {

// Shared with hemm_omp.cpp: alpha 0 is settled on the calling thread, column by column.
template <class T>
void frame_scale(int m, int n, const T& beta, T* c, long ldc) {
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) c[i + j * ldc] = is_zero(beta) ? T{} : beta * c[i + j * ldc];
}

template <class T>
void symm_frame(multiply_engine<T> engine, const char* side, const char* uplo, const int* m,
                const int* n, const T* alpha, const T* a, const int* lda, const T* b,
                const int* ldb, const T* beta, T* c, const int* ldc) {
  if (zvx::serial_policy() == 1) {
    engine(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  const bool left = is_left(side);
  const int mm = *m, nn = *n;
  const long lb = *ldb, lc = *ldc;
  if (mm == 0 || nn == 0) return;
  if (is_zero(*alpha)) {
    if (is_one(*beta)) return;
    frame_scale(mm, nn, *beta, c, lc);
    return;
  }
  const int nt = mm <= frame_serial_limit && nn <= frame_serial_limit ? 0 : frame_threads();
  if (nt == 0) {
    engine(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  if (left) {
    split_region(nt, nn, [&](int off, int size) {
      engine(side, uplo, m, &size, alpha, a, lda, b + off * lb, ldb, beta, c + off * lc, ldc);
    });
  } else {
    split_region(nt, mm, [&](int off, int size) {
      engine(side, uplo, &size, n, alpha, a, lda, b + off, ldb, beta, c + off, ldc);
    });
  }
}

template void frame_scale<zvx_complex8>(int, int, const zvx_complex8&, zvx_complex8*, long);
template void frame_scale<zvx_complex16>(int, int, const zvx_complex16&, zvx_complex16*, long);
template void symm_frame<zvx_complex8>(multiply_engine<zvx_complex8>, const char*, const char*,
                                       const int*, const int*, const zvx_complex8*,
                                       const zvx_complex8*, const int*, const zvx_complex8*,
                                       const int*, const zvx_complex8*, zvx_complex8*,
                                       const int*);
template void symm_frame<zvx_complex16>(multiply_engine<zvx_complex16>, const char*, const char*,
                                        const int*, const int*, const zvx_complex16*,
                                        const zvx_complex16*, const int*, const zvx_complex16*,
                                        const int*, const zvx_complex16*, zvx_complex16*,
                                        const int*);

}  // namespace zvx::l3ops

using namespace zvx;
using namespace zvx::l3ops;

#define ZVX_SYMM(p, T)                                                                           \
  ZVX_EXPORT void p##symm(const char* side, const char* uplo, const int* m, const int* n,        \
                          const T* alpha, const T* a, const int* lda, const T* b, const int* ldb, \
                          const T* beta, T* c, const int* ldc) {                                 \
    symm_frame<T>(symm_engine<T>, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);        \
  }
ZVX_SYMM(s, float)
ZVX_SYMM(d, double)
ZVX_SYMM(c, zvx_complex8)
ZVX_SYMM(z, zvx_complex16)
#undef ZVX_SYMM

// Threaded frames of strsm, dtrsm, ctrsm, ztrsm: op(A) * X = alpha * B or X * op(A) = alpha * B. The triangular A stays whole in
// every piece, so the columns of B (left side) or its rows (right side) are independent and need
// no balancing; alpha is applied by the engine. A call with no rows and more than 16 columns still goes through the region.
#include "blas/level3/frames.h"
#include "service/service.h"

namespace {

using namespace zvx;
using namespace zvx::l3ops;

template <class T>
void trsm_frame(const char* side, const char* uplo, const char* transa, const char* diag,
                 const int* m, const int* n, const T* alpha, const T* a, const int* lda, T* b,
                 const int* ldb) {
  if (zvx::serial_policy() == 1) {
    trsm_engine<T>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
    return;
  }
  const bool left = is_left(side);
  const int mm = *m, nn = *n;
  const long lb = *ldb;
  if (nn == 0) return;
  // A solve with no rows goes on to the region, whose pieces return without work.
  if (mm <= frame_serial_limit && nn <= frame_serial_limit) {
    trsm_engine<T>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
    return;
  }
  const int nt = frame_threads();
  if (nt == 0) {
    trsm_engine<T>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
    return;
  }
  if (left) {
    split_region(nt, nn, [&](int off, int size) {
      trsm_engine<T>(side, uplo, transa, diag, m, &size, alpha, a, lda, b + off * lb, ldb);
    });
  } else {
    split_region(nt, mm, [&](int off, int size) {
      trsm_engine<T>(side, uplo, transa, diag, &size, n, alpha, a, lda, b + off, ldb);
    });
  }
}

}  // namespace

#define ZVX_TRI(p, T)                                                                          \
  ZVX_EXPORT void p##trsm(const char* side, const char* uplo, const char* transa,             \
                          const char* diag, const int* m, const int* n, const T* alpha,        \
                          const T* a, const int* lda, T* b, const int* ldb) {                  \
    trsm_frame<T>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);                     \
  }
ZVX_TRI(s, float)
ZVX_TRI(d, double)
ZVX_TRI(c, zvx_complex8)
ZVX_TRI(z, zvx_complex16)
#undef ZVX_TRI

// Threaded frames of strmm, dtrmm, ctrmm, ztrmm: B = alpha * op(A) * B or alpha * B * op(A). The triangular A stays whole in
// every piece, so the columns of B (left side) or its rows (right side) are independent and need
// no balancing; alpha is applied by the engine. With no rows the call stays serial.
#include "blas/level3/frames.h"
#include "service/service.h"

namespace {

using namespace zvx;
using namespace zvx::l3ops;

template <class T>
void trmm_frame(const char* side, const char* uplo, const char* transa, const char* diag,
                 const int* m, const int* n, const T* alpha, const T* a, const int* lda, T* b,
                 const int* ldb) {
  if (zvx::serial_policy() == 1) {
    trmm_engine<T>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
    return;
  }
  const bool left = is_left(side);
  const int mm = *m, nn = *n;
  const long lb = *ldb;
  if (nn == 0) return;
  // A multiply with no rows is left to the engine.
  if ((mm <= frame_serial_limit && nn <= frame_serial_limit) || mm == 0) {
    trmm_engine<T>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
    return;
  }
  const int nt = frame_threads();
  if (nt == 0) {
    trmm_engine<T>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
    return;
  }
  if (left) {
    split_region(nt, nn, [&](int off, int size) {
      trmm_engine<T>(side, uplo, transa, diag, m, &size, alpha, a, lda, b + off * lb, ldb);
    });
  } else {
    split_region(nt, mm, [&](int off, int size) {
      trmm_engine<T>(side, uplo, transa, diag, &size, n, alpha, a, lda, b + off, ldb);
    });
  }
}

}  // namespace

#define ZVX_TRI(p, T)                                                                          \
  ZVX_EXPORT void p##trmm(const char* side, const char* uplo, const char* transa,             \
                          const char* diag, const int* m, const int* n, const T* alpha,        \
                          const T* a, const int* lda, T* b, const int* ldb) {                  \
    trmm_frame<T>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);                     \
  }
ZVX_TRI(s, float)
ZVX_TRI(d, double)
ZVX_TRI(c, zvx_complex8)
ZVX_TRI(z, zvx_complex16)
#undef ZVX_TRI

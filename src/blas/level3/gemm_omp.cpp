// The threaded GEMM frames: sgemm, dgemm, cgemm, zgemm. A frame decides whether to use threads,
// cuts C into slices of whole rows or whole columns, and runs the serial engine on each slice;
// all arithmetic is in the engines.
//
// The decision, in this order: the process's thread policy (in_serial); problems with m, n and
// k all at most 16 stay serial, because a fork costs more than they do; a call from inside a
// parallel region stays serial, so that the library never nests its regions; and one thread
// available means serial. The count of pieces is the runtime's thread count; the region is not
// forced to that many threads, and a thread may take several pieces.
//
// The cut goes across the larger of m and n (columns when they are equal), so that each thread
// reuses the shared operand through its own cache and no two threads write the same part of C.
// Pieces are m / nt (or n / nt) long and the last takes the rest; the offset of an empty piece
// is capped at the last row (column) so that its pointers stay inside the arrays.
#include <omp.h>

#include "common/options.h"

#include <algorithm>

#include "blas/level3/gemm_engine.h"
#include "blas/level3/pieces.h"
#include "blas/level3/tuning.h"
#include "service/service.h"
#include "zvx_blas3.h"

namespace {

using zvx::gemm_engine_fn;

constexpr int gemm_serial_limit = zvx::l3ops::tuning::frame_serial_limit;


// The threaded part of the frame, out of line so that the serial calls do not pay for its
// frame.
template <class T>
[[gnu::noinline]] void gemm_threads(gemm_engine_fn<T> engine, const char* transa,
                                    const char* transb, const int* m, const int* n, const int* k,
                                    const T* alpha, const T* a, const int* lda, const T* b,
                                    const int* ldb, const T* beta, T* c, const int* ldc) {
  const int mm = *m, nn = *n;
  const long la = *lda, lb = *ldb, lc = *ldc;
  const int nt = omp_get_max_threads();
  if (nt <= 1) {
    engine(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  if (mm > nn) {
    const bool rows_of_a = zvx::is_no_transpose(transa);  // the rows of op(A) are rows of a
#pragma omp parallel for schedule(static, 1)
    for (int i = 0; i < nt; ++i) {
      const auto [off, piece] = zvx::piece_of(i, nt, mm);
      const T* ap = rows_of_a ? a + off : a + off * la;
      engine(transa, transb, &piece, n, k, alpha, ap, lda, b, ldb, beta, c + off, ldc);
    }
  } else {
    const bool cols_of_b = zvx::is_no_transpose(transb);  // the columns of op(B) are columns of b
#pragma omp parallel for schedule(static, 1)
    for (int i = 0; i < nt; ++i) {
      const auto [off, piece] = zvx::piece_of(i, nt, nn);
      const T* bp = cols_of_b ? b + off * lb : b + off;
      engine(transa, transb, m, &piece, k, alpha, a, lda, bp, ldb, beta, c + off * lc, ldc);
    }
  }
}

// The decision when it is not settled by the first two tests, out of line.
template <class T>
[[gnu::noinline]] void gemm_decide(gemm_engine_fn<T> engine, const char* transa,
                                   const char* transb, const int* m, const int* n, const int* k,
                                   const T* alpha, const T* a, const int* lda, const T* b,
                                   const int* ldb, const T* beta, T* c, const int* ldc) {
  const int mm = *m, nn = *n;
  if (mm <= 0 || nn <= 0) return;
  if (zvx::serial_policy() == 1 ||
      (mm <= gemm_serial_limit && nn <= gemm_serial_limit && *k <= gemm_serial_limit) ||
      omp_in_parallel()) {
    engine(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  gemm_threads<T>(engine, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

// A serial policy, or a problem at most 16 in every size once the policy is settled, goes
// straight to the engine: a tail call with no frame of its own, since for the small products
// the frame is a measurable share. The engine returns at once when m or n is at most 0.
template <class T>
inline void gemm_frame(const std::atomic<gemm_engine_fn<T>>& engine_ptr, const char* transa,
                       const char* transb, const int* m, const int* n, const int* k,
                       const T* alpha, const T* a, const int* lda, const T* b, const int* ldb,
                       const T* beta, T* c, const int* ldc) {
  const gemm_engine_fn<T> engine = engine_ptr.load(std::memory_order_relaxed);
  const int policy = zvx::serial_decision.load(std::memory_order_relaxed);
  if (policy == 1 || (policy == 0 && *m <= gemm_serial_limit && *n <= gemm_serial_limit &&
                      *k <= gemm_serial_limit)) {
    engine(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  gemm_decide<T>(engine, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

}  // namespace

namespace zvx {
void gemm_threaded(const char* transa, const char* transb, const int* m, const int* n, const int* k,
                   const float* alpha, const float* a, const int* lda, const float* b,
                   const int* ldb, const float* beta, float* c, const int* ldc) {
  gemm_frame<float>(gemm_engine_s_ptr, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void gemm_threaded(const char* transa, const char* transb, const int* m, const int* n, const int* k,
                   const double* alpha, const double* a, const int* lda, const double* b,
                   const int* ldb, const double* beta, double* c, const int* ldc) {
  gemm_frame<double>(gemm_engine_d_ptr, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c,
                     ldc);
}
void gemm_threaded(const char* transa, const char* transb, const int* m, const int* n, const int* k,
                   const zvx_complex8* alpha, const zvx_complex8* a, const int* lda,
                   const zvx_complex8* b, const int* ldb, const zvx_complex8* beta,
                   zvx_complex8* c, const int* ldc) {
  gemm_frame<zvx_complex8>(gemm_engine_c_ptr, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta,
                           c, ldc);
}
void gemm_threaded(const char* transa, const char* transb, const int* m, const int* n, const int* k,
                   const zvx_complex16* alpha, const zvx_complex16* a, const int* lda,
                   const zvx_complex16* b, const int* ldb, const zvx_complex16* beta,
                   zvx_complex16* c, const int* ldc) {
  gemm_frame<zvx_complex16>(gemm_engine_z_ptr, transa, transb, m, n, k, alpha, a, lda, b, ldb,
                            beta, c, ldc);
}
}  // namespace zvx

#define ZVX_GEMM_ENTRY(name, T)                                                                  \
  ZVX_EXPORT void name(const char* transa, const char* transb, const int* m, const int* n,       \
                       const int* k, const T* alpha, const T* a, const int* lda, const T* b,     \
                       const int* ldb, const T* beta, T* c, const int* ldc) {                    \
    zvx::gemm_threaded(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);            \
  }
ZVX_GEMM_ENTRY(sgemm, float)
ZVX_GEMM_ENTRY(dgemm, double)
ZVX_GEMM_ENTRY(cgemm, zvx_complex8)
ZVX_GEMM_ENTRY(zgemm, zvx_complex16)
#undef ZVX_GEMM_ENTRY

// The serial GEMM engines: C = alpha * op(A) * op(B) + beta * C on the calling thread, with the
// thirteen arguments of the published routine, all by pointer. The threaded frames (gemm_omp.cpp)
// call them on slices of C, and the other level-3 operations reduce to them.
//
// Each engine takes its scratch from the scratch cache (scratch_allocate) on the calling thread
// and gives it back before it returns, so it may run on several threads at once. It validates
// nothing; m or n at most 0 returns at once; alpha 0 reads neither A nor B; beta 0 overwrites C
// (NaN included) and k 0 still scales C by beta.
//
// The instruction set is chosen at the first call: each engine's pointer starts at a resolver
// that makes the choice, stores the chosen engine in its place and runs it. Later calls cost a
// load and an indirect call, which matters to the small products, whose whole cost is a few
// hundred cycles. Threads that race through the first call store the same pointer.
#pragma once
#include <atomic>

#include "zvx_common.h"

namespace zvx {

template <class T>
using gemm_engine_fn = void (*)(const char*, const char*, const int*, const int*, const int*,
                                const T*, const T*, const int*, const T*, const int*, const T*,
                                T*, const int*);

extern std::atomic<gemm_engine_fn<float>> gemm_engine_s_ptr;
extern std::atomic<gemm_engine_fn<double>> gemm_engine_d_ptr;
extern std::atomic<gemm_engine_fn<zvx_complex8>> gemm_engine_c_ptr;
extern std::atomic<gemm_engine_fn<zvx_complex16>> gemm_engine_z_ptr;

#define ZVX_GEMM_ENGINE_CALL(letter, T)                                                          \
  inline void gemm_engine_##letter(const char* transa, const char* transb, const int* m,       \
                                   const int* n, const int* k, const T* alpha, const T* a,     \
                                   const int* lda, const T* b, const int* ldb, const T* beta,  \
                                   T* c, const int* ldc) {                                     \
    gemm_engine_##letter##_ptr.load(std::memory_order_relaxed)(transa, transb, m, n, k, alpha,  \
                                                               a, lda, b, ldb, beta, c, ldc);   \
  }

ZVX_GEMM_ENGINE_CALL(s, float)
ZVX_GEMM_ENGINE_CALL(d, double)
ZVX_GEMM_ENGINE_CALL(c, zvx_complex8)
ZVX_GEMM_ENGINE_CALL(z, zvx_complex16)
#undef ZVX_GEMM_ENGINE_CALL

// The threaded GEMM frame of each type (gemm_omp.cpp), the body of the published entries: the
// level-3 operations call it for their large rectangles, so that no other library's gemm can
// stand in for it.
#define ZVX_GEMM_THREADED(T)                                                                    \
  void gemm_threaded(const char* transa, const char* transb, const int* m, const int* n,       \
                     const int* k, const T* alpha, const T* a, const int* lda, const T* b,     \
                     const int* ldb, const T* beta, T* c, const int* ldc);
ZVX_GEMM_THREADED(float)
ZVX_GEMM_THREADED(double)
ZVX_GEMM_THREADED(zvx_complex8)
ZVX_GEMM_THREADED(zvx_complex16)
#undef ZVX_GEMM_THREADED

}  // namespace zvx

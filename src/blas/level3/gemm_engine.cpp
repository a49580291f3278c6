// The serial engines' pointers and their resolvers (see gemm_engine.h), which take the engines
// from the registry. The pointers are constant-initialised to the resolvers, so no code runs when
// the library loads.
#include "blas/level3/gemm_engine.h"

#include "blas/registry.h"

namespace zvx {
namespace {

#define ZVX_GEMM_RESOLVER(letter, R)                                                             \
  void resolve_##letter(const char* transa, const char* transb, const int* m, const int* n,     \
                        const int* k, const R* alpha, const R* a, const int* lda, const R* b,   \
                        const int* ldb, const R* beta, R* c, const int* ldc) {                  \
    const gemm_engine_fn<R> engine = dense_registry().gemm_##letter;                             \
    gemm_engine_##letter##_ptr.store(engine, std::memory_order_relaxed);                         \
    engine(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                        \
  }

ZVX_GEMM_RESOLVER(s, float)
ZVX_GEMM_RESOLVER(d, double)
ZVX_GEMM_RESOLVER(c, zvx_complex8)
ZVX_GEMM_RESOLVER(z, zvx_complex16)

}  // namespace

std::atomic<gemm_engine_fn<float>> gemm_engine_s_ptr{&resolve_s};
std::atomic<gemm_engine_fn<double>> gemm_engine_d_ptr{&resolve_d};
std::atomic<gemm_engine_fn<zvx_complex8>> gemm_engine_c_ptr{&resolve_c};
std::atomic<gemm_engine_fn<zvx_complex16>> gemm_engine_z_ptr{&resolve_z};

}  // namespace zvx

// The serial engines' entry: the instruction set is chosen at the first call of each engine and
// kept in a function-local static, so later calls cost one load.
#include "blas/kernel/default/level3/gemm_engine.h"

#include "blas/kernel/default/level3/gemm_isa.h"
#include "service/cpu_features.h"

namespace zvx {

#define ZVX_GEMM_ENGINE(letter, R)                                                               \
  void gemm_engine_##letter(const char* transa, const char* transb, const int* m, const int* n, \
                            const int* k, const R* alpha, const R* a, const int* lda,           \
                            const R* b, const int* ldb, const R* beta, R* c, const int* ldc) {  \
    static const auto engine = select_by_isa(&isa_portable::gemm_##letter,                      \
                                             &isa_avx2::gemm_##letter,                          \
                                             &isa_avx512::gemm_##letter);                       \
    engine(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                       \
  }

ZVX_GEMM_ENGINE(s, float)
ZVX_GEMM_ENGINE(d, double)
ZVX_GEMM_ENGINE(c, zvx_complex8)
ZVX_GEMM_ENGINE(z, zvx_complex16)

}  // namespace zvx

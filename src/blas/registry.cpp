// One record per instruction-set level, constant-initialised from the addresses of the kernels
// each build defines, and the choice among them.
#include "blas/registry.h"

#include "blas/level3/gemm_isa.h"

namespace zvx {
namespace {

template <class T>
using trsm_fn = void (*)(const l3ops::tri_shape&, int, int, const T*, long, T*, long);
template <class T>
using trmm_fn = void (*)(const l3ops::tri_shape&, int, int, T, const T*, long, T*, long);

#define ZVX_TRIANGULAR_SLOTS(ns, T) \
  triangular_slots<T> { static_cast<trsm_fn<T>>(l3ops::ns::trsm_kernel), static_cast<trmm_fn<T>>(l3ops::ns::trmm_kernel) }
#define ZVX_DENSE_RECORD(ns, level)                                                              \
  dense_kernels {                                                                                \
    level, ns::gemm_s, ns::gemm_d, ns::gemm_c, ns::gemm_z, ZVX_TRIANGULAR_SLOTS(ns, float),      \
        ZVX_TRIANGULAR_SLOTS(ns, double), ZVX_TRIANGULAR_SLOTS(ns, zvx_complex8),                \
        ZVX_TRIANGULAR_SLOTS(ns, zvx_complex16), l3ops::ns::herk_diagonal,                       \
        l3ops::ns::syrk_diagonal, nullptr                                                        \
  }

// The level-1/2 tables are returned by functions of their builds; they are filled in at the
// choice, the rest is constant.
constexpr dense_kernels records[] = {
    ZVX_DENSE_RECORD(isa_portable, isa::portable),
    ZVX_DENSE_RECORD(isa_avx2, isa::avx2),
    ZVX_DENSE_RECORD(isa_avx512, isa::avx512),
};
#undef ZVX_DENSE_RECORD
#undef ZVX_TRIANGULAR_SLOTS

dense_kernels choose() {
  dense_kernels r = records[static_cast<int>(cpu_isa())];
  r.level12 = select_by_isa(blas12::isa_portable::kernel_table(), blas12::isa_avx2::kernel_table(),
                            blas12::isa_avx512::kernel_table());
  return r;
}

}  // namespace

const dense_kernels& dense_registry() {
  static const dense_kernels chosen = choose();
  return chosen;
}

}  // namespace zvx

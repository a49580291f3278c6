// The choice of the kernel table, once per process.
#include "blas/level12/kernels.h"
#include "service/cpu_features.h"

namespace zvx::blas12 {

const kernel_set& kernels() {
  static const kernel_set* chosen = zvx::select_by_isa(
      isa_portable::kernel_table(), isa_avx2::kernel_table(), isa_avx512::kernel_table());
  return *chosen;
}

}  // namespace zvx::blas12

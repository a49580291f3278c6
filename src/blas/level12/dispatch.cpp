// The level-1/2 table of this process, from the registry of the dense kernels.
#include "blas/registry.h"

namespace zvx::blas12 {

const kernel_set& kernels() {
  static const kernel_set* chosen = zvx::dense_registry().level12;
  return *chosen;
}

}  // namespace zvx::blas12

// Passes of the line engine with AVX2 and FMA: two complex doubles or four complex floats a
// vector, interleaved (real, imaginary).
#include "dft/engine_kernel_table.h"
#include "dft/vectors_avx2.h"

namespace zvx::dft::isa_avx2 {
namespace {

// Lines shorter than W * W points take the scalar kernels of the baseline.
constexpr engine_kernels table =
    engine_detail::kernels_for<avx2_single, avx2_double, isa_portable::dft_engine_kernels>();

}  // namespace

const engine_kernels& dft_engine_kernels() { return table; }

}  // namespace zvx::dft::isa_avx2

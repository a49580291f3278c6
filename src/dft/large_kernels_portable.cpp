// Passes of the large power-of-two engine for the x86-64 baseline: one complex element at a time,
// in whatever the compiler makes of plain code.
#include "dft/large_passes.h"

namespace zvx::dft::isa_portable {
namespace {

constexpr large_kernels table =
    large_detail::kernels_for<scalar_complex<float>, scalar_complex<double>>();

}  // namespace

const large_kernels& dft_large_kernels() { return table; }

}  // namespace zvx::dft::isa_portable

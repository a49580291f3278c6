// Passes of the large power-of-two engine with AVX2 and FMA: two complex doubles or four complex
// floats a vector, interleaved (real, imaginary).
#include "dft/large_passes.h"
#include "dft/vectors_avx2.h"

namespace zvx::dft::isa_avx2 {
namespace {

constexpr large_kernels table = large_detail::kernels_for<avx2_single, avx2_double>();

}  // namespace

const large_kernels& dft_large_kernels() { return table; }

}  // namespace zvx::dft::isa_avx2

// Passes of the large power-of-two engine with AVX-512 (F, DQ): four complex doubles or eight
// complex floats a vector, interleaved (real, imaginary).
// GCC 12 flags the self-initialised placeholder vectors inside its own AVX-512 intrinsics as
// maybe uninitialised; the warning says nothing about this file.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#include "dft/large_passes.h"
#include "dft/vectors_avx512.h"

namespace zvx::dft::isa_avx512 {
namespace {

constexpr large_kernels table = large_detail::kernels_for<avx512_single, avx512_double>();

}  // namespace

const large_kernels& dft_large_kernels() { return table; }

}  // namespace zvx::dft::isa_avx512

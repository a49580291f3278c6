// Passes of the line engine with AVX-512 (F, DQ): four complex doubles or eight complex floats a
// vector, interleaved (real, imaginary).
// GCC 12 flags the self-initialised placeholder vectors inside its own AVX-512 intrinsics as
// maybe uninitialised; the warning says nothing about this file.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#include "dft/engine_kernel_table.h"
#include "dft/vectors_avx512.h"

namespace zvx::dft::isa_avx512 {
namespace {

// Lines shorter than W * W points fill fewer vectors than a vector has lanes; they take the
// narrower vectors of the AVX2 kernels, which this processor has too.
constexpr engine_kernels table =
    engine_detail::kernels_for<avx512_single, avx512_double, isa_avx2::dft_engine_kernels>();

}  // namespace

const engine_kernels& dft_engine_kernels() { return table; }

}  // namespace zvx::dft::isa_avx512

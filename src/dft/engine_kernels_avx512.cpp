// Passes of the line engine with AVX-512 (F, DQ): four complex doubles or eight complex floats a
// vector, interleaved (real, imaginary).
// GCC 12 flags the self-initialised placeholder vectors inside its own AVX-512 intrinsics as
// maybe uninitialised; the warning says nothing about this file.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#include "dft/engine_passes.h"
#include "dft/engine_real_passes.h"
#include "dft/vectors_avx512.h"

namespace zvx::dft::isa_avx512 {
namespace {

void pass_single(const engine_pass& pass, const float* x, float* y, int inverse) {
  engine_detail::run_pass<avx512_single>(pass, x, y, inverse);
}
void pass_double(const engine_pass& pass, const double* x, double* y, int inverse) {
  engine_detail::run_pass<avx512_double>(pass, x, y, inverse);
}

void multiply_single(const float* a, const float* b, float* y, long n) {
  engine_detail::multiply<avx512_single>(a, b, y, n);
}
void multiply_double(const double* a, const double* b, double* y, long n) {
  engine_detail::multiply<avx512_double>(a, b, y, n);
}

void real_forward_single(float* z, const float* h, long n) {
  engine_detail::real_forward<avx512_single>(z, h, n);
}
void real_forward_double(double* z, const double* h, long n) {
  engine_detail::real_forward<avx512_double>(z, h, n);
}
void real_inverse_single(float* z, const float* x, const float* h, long n) {
  engine_detail::real_inverse<avx512_single>(z, x, h, n);
}
void real_inverse_double(double* z, const double* x, const double* h, long n) {
  engine_detail::real_inverse<avx512_double>(z, x, h, n);
}

// Lines shorter than W * W points fill fewer vectors than a vector has lanes; they take the
// narrower vectors of the AVX2 kernels, which this processor has too.
void short_single(const float* x, float* y, int n, int inverse) {
  if (engine_detail::short_line_serves<avx512_single>(n))
    engine_detail::run_short_line<avx512_single>(x, y, n, inverse);
  else
    isa_avx2::dft_engine_kernels().short_single(x, y, n, inverse);
}
void short_double(const double* x, double* y, int n, int inverse) {
  if (engine_detail::short_line_serves<avx512_double>(n))
    engine_detail::run_short_line<avx512_double>(x, y, n, inverse);
  else
    isa_avx2::dft_engine_kernels().short_double(x, y, n, inverse);
}

constexpr engine_kernels table{avx512_single::W, avx512_double::W, pass_single, pass_double,
                               multiply_single, multiply_double,
                               real_forward_single, real_forward_double,
                               real_inverse_single, real_inverse_double,
                               short_single, short_double};

}  // namespace

const engine_kernels& dft_engine_kernels() { return table; }

}  // namespace zvx::dft::isa_avx512

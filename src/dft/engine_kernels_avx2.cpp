// Passes of the line engine with AVX2 and FMA: two complex doubles or four complex floats a
// vector, interleaved (real, imaginary).
#include "dft/engine_passes.h"
#include "dft/engine_real_passes.h"
#include "dft/vectors_avx2.h"

namespace zvx::dft::isa_avx2 {
namespace {

void pass_single(const engine_pass& pass, const float* x, float* y, int inverse) {
  engine_detail::run_pass<avx2_single>(pass, x, y, inverse);
}
void pass_double(const engine_pass& pass, const double* x, double* y, int inverse) {
  engine_detail::run_pass<avx2_double>(pass, x, y, inverse);
}

void multiply_single(const float* a, const float* b, float* y, long n) {
  engine_detail::multiply<avx2_single>(a, b, y, n);
}
void multiply_double(const double* a, const double* b, double* y, long n) {
  engine_detail::multiply<avx2_double>(a, b, y, n);
}

void real_forward_single(float* z, const float* h, long n) {
  engine_detail::real_forward<avx2_single>(z, h, n);
}
void real_forward_double(double* z, const double* h, long n) {
  engine_detail::real_forward<avx2_double>(z, h, n);
}
void real_inverse_single(float* z, const float* x, const float* h, long n) {
  engine_detail::real_inverse<avx2_single>(z, x, h, n);
}
void real_inverse_double(double* z, const double* x, const double* h, long n) {
  engine_detail::real_inverse<avx2_double>(z, x, h, n);
}

// Lines shorter than W * W points take the scalar kernels of the baseline.
void short_single(const float* x, float* y, int n, int inverse) {
  if (engine_detail::short_line_serves<avx2_single>(n))
    engine_detail::run_short_line<avx2_single>(x, y, n, inverse);
  else
    isa_portable::dft_engine_kernels().short_single(x, y, n, inverse);
}
void short_double(const double* x, double* y, int n, int inverse) {
  if (engine_detail::short_line_serves<avx2_double>(n))
    engine_detail::run_short_line<avx2_double>(x, y, n, inverse);
  else
    isa_portable::dft_engine_kernels().short_double(x, y, n, inverse);
}

constexpr engine_kernels table{avx2_single::W, avx2_double::W, pass_single, pass_double,
                               multiply_single, multiply_double,
                               real_forward_single, real_forward_double,
                               real_inverse_single, real_inverse_double,
                               short_single, short_double};

}  // namespace

const engine_kernels& dft_engine_kernels() { return table; }

}  // namespace zvx::dft::isa_avx2

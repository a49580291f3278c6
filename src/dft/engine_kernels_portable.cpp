// Passes of the line engine for the x86-64 baseline: one complex element at a time, in whatever
// the compiler makes of plain code.
#include "dft/engine_passes.h"
#include "dft/engine_real_passes.h"
#include "dft/engine_real_short.h"

namespace zvx::dft::isa_portable {
namespace {

void pass_single(const engine_pass& pass, const float* x, float* y, int inverse) {
  engine_detail::run_pass<scalar_complex<float>>(pass, x, y, inverse);
}
void pass_double(const engine_pass& pass, const double* x, double* y, int inverse) {
  engine_detail::run_pass<scalar_complex<double>>(pass, x, y, inverse);
}

void multiply_single(const float* a, const float* b, float* y, long n) {
  engine_detail::multiply<scalar_complex<float>>(a, b, y, n);
}
void multiply_double(const double* a, const double* b, double* y, long n) {
  engine_detail::multiply<scalar_complex<double>>(a, b, y, n);
}

void real_forward_single(float* z, const float* x, const float* h, long n) {
  engine_detail::real_forward<scalar_complex<float>>(z, x, h, n);
}
void real_forward_double(double* z, const double* x, const double* h, long n) {
  engine_detail::real_forward<scalar_complex<double>>(z, x, h, n);
}
void real_inverse_single(float* z, const float* x, const float* h, long n) {
  engine_detail::real_inverse<scalar_complex<float>>(z, x, h, n);
}
void real_inverse_double(double* z, const double* x, const double* h, long n) {
  engine_detail::real_inverse<scalar_complex<double>>(z, x, h, n);
}

void short_single(const float* x, float* y, int n, int inverse) {
  engine_detail::run_short_line<scalar_complex<float>>(x, y, n, inverse);
}
void short_double(const double* x, double* y, int n, int inverse) {
  engine_detail::run_short_line<scalar_complex<double>>(x, y, n, inverse);
}

void real_short_forward_single(const float* x, float* y, const float* h, int n) {
  engine_detail::run_real_short_forward<scalar_complex<float>>(x, y, h, n);
}
void real_short_forward_double(const double* x, double* y, const double* h, int n) {
  engine_detail::run_real_short_forward<scalar_complex<double>>(x, y, h, n);
}
void real_short_inverse_single(const float* x, float* y, const float* h, int n, float r0,
                               float rn) {
  engine_detail::run_real_short_inverse<scalar_complex<float>>(x, y, h, n, r0, rn);
}
void real_short_inverse_double(const double* x, double* y, const double* h, int n, double r0,
                               double rn) {
  engine_detail::run_real_short_inverse<scalar_complex<double>>(x, y, h, n, r0, rn);
}

constexpr engine_kernels table{1, 1, pass_single, pass_double,
                               multiply_single, multiply_double,
                               real_forward_single, real_forward_double,
                               real_inverse_single, real_inverse_double,
                               short_single, short_double,
                               real_short_forward_single, real_short_forward_double,
                               real_short_inverse_single, real_short_inverse_double};

}  // namespace

const engine_kernels& dft_engine_kernels() { return table; }

}  // namespace zvx::dft::isa_portable

// Helpers of the large engine's tests: descriptors of long power-of-two lines, the reference
// spectrum from FFTW in long double, a naive long double sum at a few frequencies, and the
// comparison in natural or bit-reversed order.
#pragma once
#include <fftw3.h>
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <vector>

#include "dft/descriptor.h"
#include "dft/dft_reference.h"
#include "dft/dft_tuning.h"

namespace large_test {

using dft_test::cld;

inline long reverse_bits(long i, int bits) {
  long r = 0;
  for (int b = 0; b < bits; ++b) r |= ((i >> b) & 1L) << (bits - 1 - b);
  return r;
}
inline int log2_of(long n) {
  int l = 0;
  while ((1L << l) < n) ++l;
  return l;
}

// The unnormalised transform of x (sign -1 forward, +1 backward) by FFTW in long double.
template <class E>
std::vector<cld> spectrum(const std::vector<E>& x, int sign) {
  const long n = static_cast<long>(x.size());
  auto* a = static_cast<fftwl_complex*>(fftwl_malloc(sizeof(fftwl_complex) * n));
  for (long i = 0; i < n; ++i) {
    a[i][0] = x[static_cast<size_t>(i)].real;
    a[i][1] = x[static_cast<size_t>(i)].imag;
  }
  fftwl_plan plan = fftwl_plan_dft_1d(static_cast<int>(n), a, a,
                                      sign < 0 ? FFTW_FORWARD : FFTW_BACKWARD, FFTW_ESTIMATE);
  fftwl_execute(plan);
  std::vector<cld> y(static_cast<size_t>(n));
  for (long i = 0; i < n; ++i) y[static_cast<size_t>(i)] = cld(a[i][0], a[i][1]);
  fftwl_destroy_plan(plan);
  fftwl_free(a);
  return y;
}

// The array read in bit-reversed order, as a scrambled backward transform reads its input.
template <class E>
std::vector<E> reversed_order(const std::vector<E>& x) {
  const int bits = log2_of(static_cast<long>(x.size()));
  std::vector<E> y(x.size());
  for (size_t i = 0; i < x.size(); ++i)
    y[i] = x[static_cast<size_t>(reverse_bits(static_cast<long>(i), bits))];
  return y;
}

// Relative RMS difference of got (element i at got[i * stride]) from scale * want, read in
// bit-reversed order when `reversed`.
template <class E>
double difference(const E* got, long stride, const std::vector<cld>& want, long double scale,
                  bool reversed) {
  const long n = static_cast<long>(want.size());
  const int bits = log2_of(n);
  double err = 0, norm = 0;
  for (long i = 0; i < n; ++i) {
    const cld w = want[static_cast<size_t>(reversed ? reverse_bits(i, bits) : i)] * scale;
    const E& g = got[i * stride];
    err += static_cast<double>(std::norm(cld(g.real, g.imag) - w));
    norm += static_cast<double>(std::norm(w));
  }
  return norm > 0 ? std::sqrt(err / norm) : std::sqrt(err);
}

// A committed rank-1 descriptor of the given order, placement, strides and scale.
template <class E>
DFTI_DESCRIPTOR_HANDLE line_descriptor(long n, int ordering, bool in_place = true,
                                       double forward_scale = 1.0, double backward_scale = 1.0,
                                       int input_stride = 1, int output_stride = 1) {
  DFTI_DESCRIPTOR_HANDLE h = nullptr;
  const int precision = dft_test::precision_of<E>();
  const int domain = DFTI_COMPLEX, rank = 1, length = static_cast<int>(n);
  EXPECT_EQ(dfti_create_descriptor_highd(&h, &precision, &domain, &rank, &length), 0);
  auto set = [&](int p, int v) { EXPECT_EQ(dfti_set_value_intval(&h, &p, &v), 0) << p; };
  set(DFTI_ORDERING, ordering);
  set(DFTI_PLACEMENT, in_place ? DFTI_INPLACE : DFTI_NOT_INPLACE);
  int is[2] = {0, input_stride}, os[2] = {0, output_stride};
  int p = DFTI_INPUT_STRIDES;
  EXPECT_EQ(dfti_set_value_intvec(&h, &p, is), 0);
  p = DFTI_OUTPUT_STRIDES;
  EXPECT_EQ(dfti_set_value_intvec(&h, &p, os), 0);
  p = DFTI_FORWARD_SCALE;
  EXPECT_EQ(dfti_set_value_dblval(&h, &p, &forward_scale), 0);
  p = DFTI_BACKWARD_SCALE;
  EXPECT_EQ(dfti_set_value_dblval(&h, &p, &backward_scale), 0);
  EXPECT_EQ(dfti_commit_descriptor_external(&h), 0);
  return h;
}

template <class E>
int forward(DFTI_DESCRIPTOR_HANDLE& h, E* x) {
  if constexpr (sizeof(E) == sizeof(zvx_complex8)) return dfti_compute_forward_c(&h, x);
  else return dfti_compute_forward_z(&h, x);
}
template <class E>
int backward(DFTI_DESCRIPTOR_HANDLE& h, E* x) {
  if constexpr (sizeof(E) == sizeof(zvx_complex8)) return dfti_compute_backward_c(&h, x);
  else return dfti_compute_backward_z(&h, x);
}
template <class E>
int forward_out(DFTI_DESCRIPTOR_HANDLE& h, const E* in, E* out) {
  if constexpr (sizeof(E) == sizeof(zvx_complex8)) return dfti_compute_forward_c_out(&h, in, out);
  else return dfti_compute_forward_z_out(&h, in, out);
}
template <class E>
int backward_out(DFTI_DESCRIPTOR_HANDLE& h, const E* in, E* out) {
  if constexpr (sizeof(E) == sizeof(zvx_complex8)) return dfti_compute_backward_c_out(&h, in, out);
  else return dfti_compute_backward_z_out(&h, in, out);
}

// The elements of a line as long double values.
template <class E>
std::vector<cld> widened(const std::vector<E>& x) {
  std::vector<cld> y(x.size());
  for (size_t i = 0; i < x.size(); ++i) y[i] = cld(x[i].real, x[i].imag);
  return y;
}

// The record's slots of the precision.
template <class E>
auto line_slot(const DftiDimensionRecord* r, bool forward_direction) {
  if constexpr (sizeof(E) == sizeof(zvx_complex8))
    return forward_direction ? r->forward_c : r->backward_c;
  else
    return forward_direction ? r->forward_z : r->backward_z;
}
template <class E>
auto parallel_slot(const DftiDimensionRecord* r, bool forward_direction) {
  if constexpr (sizeof(E) == sizeof(zvx_complex8))
    return forward_direction ? r->parallel_forward_c : r->parallel_backward_c;
  else
    return forward_direction ? r->parallel_forward_z : r->parallel_backward_z;
}
template <class E>
const void* table_of(const DftiDimensionRecord* r) {
  return sizeof(E) == sizeof(zvx_complex8) ? r->large_table_single : r->large_table_double;
}

// The first power of two above the large engine's limit of the precision.
template <class E>
long first_large_length() {
  return 2L * (sizeof(E) == sizeof(zvx_complex8) ? zvx::dft::tuning::kLargeLengthSingle
                                                 : zvx::dft::tuning::kLargeLengthDouble);
}

}  // namespace large_test

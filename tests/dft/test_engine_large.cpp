// The line engine on long lines, against FFTW in long double as the oracle (a naive sum would be
// too slow): powers of two up to 2^20, products of 2, 3, 5 and 7 across the group limits, the
// primes and products around the direct limit, the chirp lengths; forward out of place, inverse
// in place.
#include <fftw3.h>

#include "dft/engine_test_support.h"

namespace {

using namespace engine_test;

template <class E>
std::vector<lc> oracle(const std::vector<E>& x) {
  const int n = static_cast<int>(x.size());
  auto* a = static_cast<fftwl_complex*>(fftwl_malloc(sizeof(fftwl_complex) * n));
  for (int k = 0; k < n; ++k) {
    a[k][0] = x[k].real;
    a[k][1] = x[k].imag;
  }
  fftwl_plan plan = fftwl_plan_dft_1d(n, a, a, FFTW_FORWARD, FFTW_ESTIMATE);
  fftwl_execute(plan);
  std::vector<lc> y(n);
  for (int k = 0; k < n; ++k) y[k] = lc(a[k][0], a[k][1]);
  fftwl_destroy_plan(plan);
  fftwl_free(a);
  return y;
}

template <class T>
class EngineLong : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(EngineLong, Precisions);

template <class T>
void check_length(int n, int type) {
  using P = precision<T>;
  using E = typename P::element;
  context ctx(type, n);
  ASSERT_EQ(ctx.status, engine_ok) << n;
  const auto x = random_line<T>(n, 5u * n + 1);
  // One oracle call serves both directions: the inverse transform is the forward one read
  // backwards, y(k) = X((n - k) mod n).
  const auto forward = oracle(x);
  std::vector<lc> backward(n);
  for (int k = 0; k < n; ++k) backward[k] = forward[(n - k) % n];
  // Forward out of place, inverse in place.
  for (int inverse = 0; inverse < 2; ++inverse) {
    std::vector<E> y(x);
    const int status = inverse ? P::inverse(type, y.data(), y.data(), ctx.c, nullptr)
                               : P::forward(type, x.data(), y.data(), ctx.c, nullptr);
    ASSERT_EQ(status, engine_ok);
    EXPECT_LE(relative_rms(y, inverse ? backward : forward), bound<T>(n))
        << "n " << n << " inverse " << inverse << " route " << primitive_dft_route(ctx.c);
  }
}

// Powers of two through every pass count and every remainder of the radix-8 plan, to 2^20.
TYPED_TEST(EngineLong, PowersOfTwo) {
  for (int k : {9, 10, 11, 12, 13, 14, 15, 16, 17, 20})
    check_length<TypeParam>(1 << k, precision<TypeParam>::ordered);
}

// Mixed radix: 2^a 3^b 5^c 7^d around and across the group limits of both precisions, and
// factors up to 149.
TYPED_TEST(EngineLong, MixedRadix) {
  const int lengths[] = {360,  500,  504,  1000, 1536, 2000, 2016, 2187, 3000, 4374,
                         6000, 10000, 15625, 16807, 19600, 44100, 2 * 149 * 3, 139 * 8 * 9,
                         96 * 131, 100000};
  for (int n : lengths) check_length<TypeParam>(n, precision<TypeParam>::ordered);
}

// The chirp route: primes above the direct limit, lengths whose factoring leaves a rest above
// it, and the largest prime factor case.
TYPED_TEST(EngineLong, Chirp) {
  const int lengths[] = {151, 157, 302, 1009, 4 * 151 * 3, 151 * 157, 8191, 65537};
  for (int n : lengths) check_length<TypeParam>(n, precision<TypeParam>::ordered);
}

// Scrambled contexts of lengths that keep natural order behave as ordered ones.
TYPED_TEST(EngineLong, ScrambledNaturalOrder) {
  for (int n : {1024, 1 << 16, 1009, 1000})
    check_length<TypeParam>(n, precision<TypeParam>::scrambled);
}

}  // namespace

// The large power-of-two engine through the descriptor, one thread: scrambled transforms against
// FFTW in long double read in bit-reversed order and against a naive long double sum at a few
// frequencies, the round trip without reordering, strides, `_out`, batches, the scale and the
// lengths 0 and 1 of its line entries, the ordered entries against the scrambled ones, and which
// engine commit chooses.
#include <cstring>

#include "dft/large_engine_support.h"

namespace {

using namespace large_test;
using dft_test::cld;
using dft_test::random_array;
using dft_test::tolerance;
namespace tuning = zvx::dft::tuning;

template <class E>
class LargeEngine : public ::testing::Test {};
using precisions = ::testing::Types<zvx_complex8, zvx_complex16>;
TYPED_TEST_SUITE(LargeEngine, precisions);

// The first length above the limit (a column pass down to the leaves) and one with a pass of two
// levels above the groups; the round trip, which needs no reference, goes up to 2^20.
template <class E>
std::vector<long> lengths() {
  const int group = sizeof(E) == sizeof(zvx_complex8) ? tuning::kLargeGroupLogSingle
                                                      : tuning::kLargeGroupLogDouble;
  return {first_large_length<E>(), 1L << (group + 2)};
}

TYPED_TEST(LargeEngine, ScrambledForwardIsTheBitReversedSpectrum) {
  using E = TypeParam;
  for (long n : lengths<E>()) {
    SCOPED_TRACE(n);
    DFTI_DESCRIPTOR_HANDLE h = line_descriptor<E>(n, DFTI_BACKWARD_SCRAMBLED);
    ASSERT_NE(h, nullptr);
    ASSERT_NE(table_of<E>(h), nullptr);
    std::vector<E> x = random_array<E>(n, 11);
    const std::vector<E> x0 = x;
    ASSERT_EQ(forward<E>(h, x.data()), 0);
    EXPECT_LE(difference(x.data(), 1, spectrum(x0, -1), 1.0L, true), tolerance<E>(n));
    // The same input backward, read as a spectrum in bit-reversed order: natural output.
    x = x0;
    ASSERT_EQ(backward<E>(h, x.data()), 0);
    EXPECT_LE(difference(x.data(), 1, spectrum(reversed_order(x0), +1), 1.0L, false),
              tolerance<E>(n));
    EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
  }
}

// An independent check of the reference itself: a naive sum in long double at a few frequencies.
TYPED_TEST(LargeEngine, ScrambledForwardMatchesNaiveSums) {
  using E = TypeParam;
  const long n = first_large_length<E>();
  const int bits = log2_of(n);
  DFTI_DESCRIPTOR_HANDLE h = line_descriptor<E>(n, DFTI_BACKWARD_SCRAMBLED);
  std::vector<E> x = random_array<E>(n, 12);
  const std::vector<E> x0 = x;
  ASSERT_EQ(forward<E>(h, x.data()), 0);
  const long double two_pi = 6.283185307179586476925286766559005768L;
  double worst = 0, norm = 0;
  for (long k : {0L, 1L, 7L, n / 2 - 1, n / 2, n / 3, n - 1}) {
    cld sum = 0;
    for (long j = 0; j < n; ++j)
      sum += cld(x0[static_cast<size_t>(j)].real, x0[static_cast<size_t>(j)].imag) *
             std::polar(1.0L, -two_pi * static_cast<long double>((j * k) % n) / n);
    const E& got = x[static_cast<size_t>(reverse_bits(k, bits))];
    worst = std::max(worst, static_cast<double>(std::abs(cld(got.real, got.imag) - sum)));
    norm = std::max(norm, static_cast<double>(std::abs(sum)));
  }
  // Each frequency against the RMS size of a coefficient, sqrt(n) times that of an element.
  EXPECT_LE(worst / std::sqrt(static_cast<double>(n)), 30 * tolerance<E>(n)) << norm;
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
}

TYPED_TEST(LargeEngine, ScrambledRoundTripGivesNTimesTheInput) {
  using E = TypeParam;
  for (long n : {first_large_length<E>(), 1L << 20}) {
    SCOPED_TRACE(n);
    DFTI_DESCRIPTOR_HANDLE h = line_descriptor<E>(n, DFTI_BACKWARD_SCRAMBLED);
    std::vector<E> x = random_array<E>(n, 13);
    const std::vector<E> x0 = x;
    ASSERT_EQ(forward<E>(h, x.data()), 0);
    ASSERT_EQ(backward<E>(h, x.data()), 0);
    EXPECT_LE(difference(x.data(), 1, widened(x0), static_cast<long double>(n), false),
              tolerance<E>(n));
    EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
  }
}

// Scales of both directions, strides through the buffer, out of place with and without unit
// strides (the engine transforms in place only, so `_out` copies first), input left untouched.
TYPED_TEST(LargeEngine, StridesOutOfPlaceAndScales) {
  using E = TypeParam;
  const long n = first_large_length<E>();
  const std::vector<E> x0 = random_array<E>(n, 14);
  const std::vector<cld> fwd = spectrum(x0, -1), bwd = spectrum(reversed_order(x0), +1);
  struct shape {
    bool in_place;
    int is, os;
  };
  for (const shape s : {shape{true, 1, 1}, shape{true, 3, 3}, shape{false, 1, 1},
                        shape{false, 2, 1}, shape{false, 1, 3}}) {
    SCOPED_TRACE(testing::Message() << s.in_place << " " << s.is << " " << s.os);
    DFTI_DESCRIPTOR_HANDLE h =
        line_descriptor<E>(n, DFTI_BACKWARD_SCRAMBLED, s.in_place, 0.5, 0.25, s.is, s.os);
    for (bool fw : {true, false}) {
      std::vector<E> in(static_cast<size_t>(n * s.is), E{9, 9});
      for (long i = 0; i < n; ++i) in[static_cast<size_t>(i * s.is)] = x0[static_cast<size_t>(i)];
      const std::vector<E> in0 = in;
      std::vector<E> out(static_cast<size_t>(n * s.os), E{7, 7});
      if (s.in_place)
        ASSERT_EQ(fw ? forward<E>(h, in.data()) : backward<E>(h, in.data()), 0);
      else
        ASSERT_EQ(fw ? forward_out<E>(h, in.data(), out.data())
                     : backward_out<E>(h, in.data(), out.data()),
                  0);
      const std::vector<E>& res = s.in_place ? in : out;
      const long stride = s.in_place ? s.is : s.os;
      EXPECT_LE(difference(res.data(), stride, fw ? fwd : bwd, fw ? 0.5L : 0.25L, fw),
                tolerance<E>(n));
      long stray = 0;
      for (long i = 0; i < static_cast<long>(res.size()); ++i)
        if (i % stride != 0 && (res[static_cast<size_t>(i)].real != (s.in_place ? 9 : 7))) ++stray;
      EXPECT_EQ(stray, 0);
      if (!s.in_place) EXPECT_EQ(std::memcmp(in.data(), in0.data(), in.size() * sizeof(E)), 0);
    }
    EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
  }
}

// Two transforms a call, at a distance: each line on its own through the engine.
TYPED_TEST(LargeEngine, BatchOfTwoLines) {
  using E = TypeParam;
  dft_test::config c;
  c.n = {first_large_length<E>()};
  c.count = 2;
  c.ordering = DFTI_BACKWARD_SCRAMBLED;
  DFTI_DESCRIPTOR_HANDLE h = dft_test::make_descriptor<E>(c);
  const long n = c.n[0];
  std::vector<E> x = random_array<E>(2 * n, 15);
  const std::vector<E> x0 = x;
  ASSERT_EQ(forward<E>(h, x.data()), 0);
  for (long t = 0; t < 2; ++t) {
    const std::vector<E> line(x0.begin() + t * n, x0.begin() + (t + 1) * n);
    EXPECT_LE(difference(x.data() + t * n, 1, spectrum(line, -1), 1.0L, true), tolerance<E>(n));
  }
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
}

// The ordered serial entries against the scrambled ones, exactly: forward, the ordered output at
// bit-reversed index i is the scrambled output at i (both times the same scale, 0.3, whose
// products round); backward, natural input gives what the scrambled entry gives from the
// bit-reversed input. Lengths with an even and an odd number of middle bits between the tiles,
// and one past a group.
TYPED_TEST(LargeEngine, OrderedEntriesAreTheScrambledOnesReordered) {
  using E = TypeParam;
  const int group = sizeof(E) == sizeof(zvx_complex8) ? tuning::kLargeGroupLogSingle
                                                      : tuning::kLargeGroupLogDouble;
  for (long n : {first_large_length<E>(), 2 * first_large_length<E>(), 2L << group}) {
    SCOPED_TRACE(n);
    const int bits = log2_of(n);
    DFTI_DESCRIPTOR_HANDLE h = line_descriptor<E>(n, DFTI_BACKWARD_SCRAMBLED, true, 0.3, 0.7);
    ASSERT_NE(h, nullptr);
    DftiDimensionRecord ordered = *h;
    ordered.ordering = DFTI_ORDERED;
    const std::vector<E> x0 = random_array<E>(n, 17);
    for (bool fw : {true, false}) {
      SCOPED_TRACE(fw);
      std::vector<E> a = x0, b = fw ? x0 : reversed_order(x0);
      ASSERT_EQ(line_slot<E>(&ordered, fw)(a.data(), a.data(), &ordered, nullptr), 0);
      ASSERT_EQ(line_slot<E>(h, fw)(b.data(), b.data(), h, nullptr), 0);
      long mismatches = 0;
      for (long i = 0; i < n; ++i) {
        const E& u = a[static_cast<size_t>(fw ? reverse_bits(i, bits) : i)];
        const E& v = b[static_cast<size_t>(i)];
        if (u.real != v.real || u.imag != v.imag) ++mismatches;
      }
      EXPECT_EQ(mismatches, 0);
    }
    EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
  }
}

// The line entries themselves: length 0 writes nothing, length 1 multiplies by the scale of the
// direction; two addresses: the input is copied to the output and transformed there.
TYPED_TEST(LargeEngine, LineEntriesAtLengthsZeroAndOne) {
  using E = TypeParam;
  DFTI_DESCRIPTOR_HANDLE h = line_descriptor<E>(first_large_length<E>(), DFTI_BACKWARD_SCRAMBLED,
                                                true, 2.0, -3.0);
  DftiDimensionRecord r = *h;
  for (bool fw : {true, false}) {
    auto slot = line_slot<E>(&r, fw);
    ASSERT_NE(slot, nullptr);
    r.length = 0;
    E a{5, -6}, b{1, 1};
    EXPECT_EQ(slot(&a, &b, &r, nullptr), 0);
    EXPECT_EQ(b.real, 1);
    EXPECT_EQ(b.imag, 1);
    r.length = 1;
    EXPECT_EQ(slot(&a, &a, &r, nullptr), 0);
    EXPECT_EQ(a.real, fw ? 10 : -15);
    EXPECT_EQ(a.imag, fw ? -12 : 18);
    EXPECT_EQ(slot(&a, &b, &r, nullptr), 0);
    EXPECT_EQ(b.real, fw ? 2 * a.real : -3 * a.real);
  }
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
}

// Which engine commit picks: scrambled above the limit of the precision goes to the large engine,
// at the limit to the line engine; ordered single lines never go to the large engine; with one
// thread an ordered double line stays on the line engine. No complex configuration is refused.
TYPED_TEST(LargeEngine, CommitRoutes) {
  using E = TypeParam;
  const long limit = first_large_length<E>() / 2;
  DFTI_DESCRIPTOR_HANDLE h = line_descriptor<E>(limit, DFTI_BACKWARD_SCRAMBLED);
  EXPECT_EQ(table_of<E>(h), nullptr);
  EXPECT_EQ(h->not_power_of_two, 1);
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
  h = line_descriptor<E>(2 * limit, DFTI_BACKWARD_SCRAMBLED);
  EXPECT_NE(table_of<E>(h), nullptr);
  EXPECT_EQ(h->not_power_of_two, 0);
  EXPECT_NE(parallel_slot<E>(h, true), nullptr);
  EXPECT_NE(parallel_slot<E>(h, false), nullptr);
  // A second commit rebuilds; the first tables were released (the sanitizer run sees leaks).
  EXPECT_EQ(dfti_commit_descriptor_external(&h), 0);
  EXPECT_NE(table_of<E>(h), nullptr);
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
  h = line_descriptor<E>(1L << 20, DFTI_ORDERED);
  EXPECT_EQ(table_of<E>(h), nullptr);
  EXPECT_EQ(h->not_power_of_two, 1);
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
  // Rank 2 with a long scrambled dimension: each row through the large engine.
  dft_test::config c;
  c.n = {2 * limit, 2};
  c.ordering = DFTI_BACKWARD_SCRAMBLED;
  h = dft_test::make_descriptor<E>(c);
  ASSERT_NE(h, nullptr);
  EXPECT_NE(table_of<E>(h), nullptr);
  EXPECT_EQ(table_of<E>(h->next), nullptr);
  std::vector<E> x = random_array<E>(4 * limit, 16);
  const std::vector<E> x0 = x;
  ASSERT_EQ(forward<E>(h, x.data()), 0);
  // Columns of two: the sum and difference of the two rows' bit-reversed spectra.
  const std::vector<E> r0(x0.begin(), x0.begin() + 2 * limit), r1(x0.begin() + 2 * limit, x0.end());
  const std::vector<cld> s0 = spectrum(r0, -1), s1 = spectrum(r1, -1);
  std::vector<cld> sum(s0.size()), dif(s0.size());
  for (size_t i = 0; i < s0.size(); ++i) {
    sum[i] = s0[i] + s1[i];
    dif[i] = s0[i] - s1[i];
  }
  EXPECT_LE(difference(x.data(), 1, sum, 1.0L, true), tolerance<E>(4 * limit));
  EXPECT_LE(difference(x.data() + 2 * limit, 1, dif, 1.0L, true), tolerance<E>(4 * limit));
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
}

}  // namespace

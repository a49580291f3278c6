// The large engine with threads (run with OMP_NUM_THREADS=2; the thread count of a descriptor is
// fixed at its commit, so the cases with three and four threads set it before committing): the
// threaded entries against the serial one, the ordered hybrid of double precision and the slots
// its scales leave, and the compute dispatch with strides and `_out` against FFTW.
#include <omp.h>

#include <cstring>

#include "dft/large_engine_support.h"

namespace {

using namespace large_test;
using dft_test::cld;
using dft_test::random_array;
using dft_test::tolerance;

template <class E>
class LargeThreads : public ::testing::Test {};
using precisions = ::testing::Types<zvx_complex8, zvx_complex16>;
TYPED_TEST_SUITE(LargeThreads, precisions);

// A team runs the serial transform's passes split among its threads, so 1 to 4 threads give the
// serial entry's result to the bit: both directions, scrambled and ordered, scales 1 and 0.3 (and
// 0.9 backward), whose products round, so a scale applied at another point would show.
// Lengths: the first above the limit; one past a group, whose first pass leaves two blocks, so
// that three and four threads share a second pass; and one whose first pass leaves eight.
TYPED_TEST(LargeThreads, ThreadedEntriesEqualTheSerialOneToTheBit) {
  using E = TypeParam;
  const bool is_double = sizeof(E) == sizeof(zvx_complex16);
  ASSERT_EQ(in_serial(), 0);
  omp_set_num_threads(4);
  const int group = is_double ? zvx::dft::tuning::kLargeGroupLogDouble
                              : zvx::dft::tuning::kLargeGroupLogSingle;
  for (long n : {first_large_length<E>(), 2L << group, 1L << 18}) {
    for (int ordering : {DFTI_BACKWARD_SCRAMBLED, DFTI_ORDERED}) {
      for (double scale : {1.0, 0.3}) {
        SCOPED_TRACE(testing::Message() << n << " ordering " << ordering << " scale " << scale);
        DFTI_DESCRIPTOR_HANDLE h =
            line_descriptor<E>(n, DFTI_BACKWARD_SCRAMBLED, true, scale, 3.0 * scale);
        ASSERT_EQ(h->thread_count, 4);
        // The entries read the order from the record: the ordered line of the same table.
        DftiDimensionRecord r = *h;
        r.ordering = ordering;
        const std::vector<E> x0 = random_array<E>(n, 21);
        for (bool fw : {true, false}) {
          std::vector<E> serial = x0;
          ASSERT_EQ(line_slot<E>(&r, fw)(serial.data(), serial.data(), &r, nullptr), 0);
          for (int threads : {1, 2, 3, 4}) {
            SCOPED_TRACE(threads);
            std::vector<E> x = x0;
            ASSERT_EQ(parallel_slot<E>(&r, fw)(x.data(), threads, &r), 0);
            EXPECT_EQ(std::memcmp(x.data(), serial.data(), sizeof(E) * x.size()), 0);
          }
        }
        EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
      }
    }
  }
  omp_set_num_threads(2);
}

// Many calls in a row on one record, alternating directions and team sizes: each call's barrier
// rounds start afresh, so the tenth call of a team of three equals the serial chain of ten calls
// to the bit (a round left open by one call would let a thread run ahead into the next phase).
TYPED_TEST(LargeThreads, ConsecutiveCallsEqualTheSerialChain) {
  using E = TypeParam;
  omp_set_num_threads(3);
  const long n = first_large_length<E>() * 2;
  DFTI_DESCRIPTOR_HANDLE h = line_descriptor<E>(n, DFTI_BACKWARD_SCRAMBLED, true, 0.5, 1.0 / n);
  DftiDimensionRecord r = *h;
  r.ordering = DFTI_ORDERED;
  const std::vector<E> x0 = random_array<E>(n, 26);
  std::vector<E> serial = x0, x = x0;
  for (int call = 0; call < 10; ++call) {
    SCOPED_TRACE(call);
    const bool fw = call % 2 == 0;
    ASSERT_EQ(line_slot<E>(&r, fw)(serial.data(), serial.data(), &r, nullptr), 0);
    ASSERT_EQ(parallel_slot<E>(&r, fw)(x.data(), 2 + call % 2, &r), 0);
    ASSERT_EQ(std::memcmp(x.data(), serial.data(), sizeof(E) * x.size()), 0);
  }
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
  omp_set_num_threads(2);
}

// The threaded entries against FFTW in long double: a team of two and of three (whose blocks do
// not divide evenly among it), ordered and scrambled, both directions.
TYPED_TEST(LargeThreads, ThreadedEntriesAgainstFftw) {
  using E = TypeParam;
  omp_set_num_threads(3);
  const long n = first_large_length<E>() * 4;
  const std::vector<E> x0 = random_array<E>(n, 25);
  const std::vector<cld> fwd = spectrum(x0, -1), bwd = spectrum(x0, +1);
  const std::vector<cld> bwd_scrambled = spectrum(reversed_order(x0), +1);
  DFTI_DESCRIPTOR_HANDLE h = line_descriptor<E>(n, DFTI_BACKWARD_SCRAMBLED, true, 0.25, 2.0);
  for (int ordering : {DFTI_BACKWARD_SCRAMBLED, DFTI_ORDERED}) {
    DftiDimensionRecord r = *h;
    r.ordering = ordering;
    const bool reversed = ordering == DFTI_BACKWARD_SCRAMBLED;
    for (int threads : {2, 3}) {
      SCOPED_TRACE(testing::Message() << "ordering " << ordering << ", " << threads << " threads");
      std::vector<E> x = x0;
      ASSERT_EQ(parallel_slot<E>(&r, true)(x.data(), threads, &r), 0);
      EXPECT_LE(difference(x.data(), 1, fwd, 0.25L, reversed), tolerance<E>(n));
      x = x0;
      ASSERT_EQ(parallel_slot<E>(&r, false)(x.data(), threads, &r), 0);
      EXPECT_LE(difference(x.data(), 1, reversed ? bwd_scrambled : bwd, 2.0L, false),
                tolerance<E>(n));
    }
  }
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
  omp_set_num_threads(2);
}

// Ordered double lines above the limit with two threads or more, one dimension, not out of place
// with unit strides: both engines are built; a direction whose scale is exactly 1 keeps the line
// engine's wrapper and then the flag says the line engine; only both scales unequal 1 leave the
// flag 0, so that compute runs the threaded entry.
TEST(LargeThreadsHybrid, ScalesDecideTheSlots) {
  ASSERT_EQ(omp_get_max_threads(), 2);
  const long n = first_large_length<zvx_complex16>();
  DFTI_DESCRIPTOR_HANDLE scrambled = line_descriptor<zvx_complex16>(n, DFTI_BACKWARD_SCRAMBLED);
  const auto large_forward = scrambled->forward_z, large_backward = scrambled->backward_z;
  struct rule {
    double fs, bs;
    int flag;
    bool forward_large, backward_large;
  };
  for (const rule r : {rule{1.0, 1.0, 1, false, false}, rule{0.5, 0.5, 0, true, true},
                       rule{0.5, 1.0, 1, true, false}, rule{1.0, 2.0, 1, false, true}}) {
    SCOPED_TRACE(testing::Message() << r.fs << " " << r.bs);
    DFTI_DESCRIPTOR_HANDLE h = line_descriptor<zvx_complex16>(n, DFTI_ORDERED, true, r.fs, r.bs);
    EXPECT_NE(h->large_table_double, nullptr);
    EXPECT_NE(h->context_z, nullptr);
    EXPECT_EQ(h->not_power_of_two, r.flag);
    EXPECT_EQ(h->forward_z == large_forward, r.forward_large);
    EXPECT_EQ(h->backward_z == large_backward, r.backward_large);
    EXPECT_EQ(h->parallel_forward_z, scrambled->parallel_forward_z);
    // Whichever slot runs, the result is the ordered transform with its scale.
    std::vector<zvx_complex16> x = random_array<zvx_complex16>(n, 22);
    const std::vector<zvx_complex16> x0 = x;
    ASSERT_EQ(forward(h, x.data()), 0);
    EXPECT_LE(difference(x.data(), 1, spectrum(x0, -1), r.fs, false), tolerance<zvx_complex16>(n));
    x = x0;
    ASSERT_EQ(backward(h, x.data()), 0);
    EXPECT_LE(difference(x.data(), 1, spectrum(x0, +1), r.bs, false), tolerance<zvx_complex16>(n));
    EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
  }
  // Out of place with unit strides, single precision, and one length at the limit: no hybrid.
  DFTI_DESCRIPTOR_HANDLE h = line_descriptor<zvx_complex16>(n, DFTI_ORDERED, false, 0.5, 0.5);
  EXPECT_EQ(h->large_table_double, nullptr);
  EXPECT_EQ(h->not_power_of_two, 1);
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
  h = line_descriptor<zvx_complex16>(n, DFTI_ORDERED, false, 0.5, 0.5, 1, 2);
  EXPECT_NE(h->large_table_double, nullptr);
  EXPECT_EQ(h->not_power_of_two, 0);
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
  h = line_descriptor<zvx_complex16>(n / 2, DFTI_ORDERED, true, 0.5, 0.5);
  EXPECT_EQ(h->large_table_double, nullptr);
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
  h = line_descriptor<zvx_complex8>(first_large_length<zvx_complex8>(), DFTI_ORDERED, true, 0.5,
                                    0.5);
  EXPECT_EQ(h->large_table_single, nullptr);
  EXPECT_EQ(h->not_power_of_two, 1);
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
  EXPECT_EQ(dfti_free_descriptor_external(&scrambled), 0);
}

// The ordered serial entry is the scrambled one followed by the ordering step: the two outputs
// are the same values, one in bit-reversed order of the other, and the ordered backward entry
// takes natural order where the scrambled one takes bit-reversed order.
TEST(LargeThreadsHybrid, ScrambledIsTheBitReversalOfOrdered) {
  using E = zvx_complex16;
  const long n = first_large_length<E>() * 2;
  const int bits = log2_of(n);
  DFTI_DESCRIPTOR_HANDLE ordered = line_descriptor<E>(n, DFTI_ORDERED, true, 0.5, 0.25);
  DFTI_DESCRIPTOR_HANDLE scrambled =
      line_descriptor<E>(n, DFTI_BACKWARD_SCRAMBLED, true, 0.5, 0.25);
  ASSERT_EQ(ordered->forward_z, scrambled->forward_z);
  const std::vector<E> x0 = random_array<E>(n, 24);
  std::vector<E> a = x0, b = x0;
  ASSERT_EQ(ordered->forward_z(a.data(), a.data(), ordered, nullptr), 0);
  ASSERT_EQ(scrambled->forward_z(b.data(), b.data(), scrambled, nullptr), 0);
  long mismatches = 0;
  for (long i = 0; i < n; ++i) {
    const E& u = a[static_cast<size_t>(reverse_bits(i, bits))];
    const E& v = b[static_cast<size_t>(i)];
    if (u.real != v.real || u.imag != v.imag) ++mismatches;
  }
  EXPECT_EQ(mismatches, 0);
  // Backward from those outputs: both give the input times n * 0.5 * 0.25.
  ASSERT_EQ(ordered->backward_z(a.data(), a.data(), ordered, nullptr), 0);
  ASSERT_EQ(scrambled->backward_z(b.data(), b.data(), scrambled, nullptr), 0);
  EXPECT_LE(difference(a.data(), 1, widened(x0), n * 0.125L, false), tolerance<E>(n));
  EXPECT_LE(difference(b.data(), 1, widened(x0), n * 0.125L, false), tolerance<E>(n));
  EXPECT_EQ(dfti_free_descriptor_external(&ordered), 0);
  EXPECT_EQ(dfti_free_descriptor_external(&scrambled), 0);
}

// Through the compute entries with 2, 3 and 4 threads: scrambled lines of both precisions and the
// threaded hybrid, in place, strided (through a buffer) and out of place (copied first).
TYPED_TEST(LargeThreads, ComputeDispatchAgainstFftw) {
  using E = TypeParam;
  const bool is_double = sizeof(E) == sizeof(zvx_complex16);
  const long n = first_large_length<E>();
  const std::vector<E> x0 = random_array<E>(n, 23);
  const std::vector<cld> fwd = spectrum(x0, -1);
  const std::vector<cld> bwd = spectrum(x0, +1), bwd_scrambled = spectrum(reversed_order(x0), +1);
  struct shape {
    int ordering;
    bool in_place;
    int is, os;
  };
  std::vector<shape> shapes{{DFTI_BACKWARD_SCRAMBLED, true, 1, 1},
                            {DFTI_BACKWARD_SCRAMBLED, true, 2, 2},
                            {DFTI_BACKWARD_SCRAMBLED, false, 1, 1},
                            {DFTI_BACKWARD_SCRAMBLED, false, 3, 2}};
  if (is_double) {
    shapes.push_back({DFTI_ORDERED, true, 1, 1});
    shapes.push_back({DFTI_ORDERED, false, 2, 1});
    shapes.push_back({DFTI_ORDERED, false, 1, 3});
  }
  for (int threads : {2, 3, 4}) {
    omp_set_num_threads(threads);
    for (const shape s : shapes) {
      SCOPED_TRACE(testing::Message() << threads << " threads, ordering " << s.ordering << " "
                                      << s.in_place << " " << s.is << " " << s.os);
      DFTI_DESCRIPTOR_HANDLE h =
          line_descriptor<E>(n, s.ordering, s.in_place, 2.0, 0.5, s.is, s.os);
      ASSERT_EQ(h->not_power_of_two, 0);
      const bool reversed = s.ordering == DFTI_BACKWARD_SCRAMBLED;
      for (bool fw : {true, false}) {
        std::vector<E> in(static_cast<size_t>(n * s.is), E{9, 9});
        for (long i = 0; i < n; ++i) in[static_cast<size_t>(i * s.is)] = x0[static_cast<size_t>(i)];
        std::vector<E> out(static_cast<size_t>(n * s.os), E{7, 7});
        if (s.in_place)
          ASSERT_EQ(fw ? forward<E>(h, in.data()) : backward<E>(h, in.data()), 0);
        else
          ASSERT_EQ(fw ? forward_out<E>(h, in.data(), out.data())
                       : backward_out<E>(h, in.data(), out.data()),
                    0);
        const std::vector<E>& res = s.in_place ? in : out;
        EXPECT_LE(difference(res.data(), s.in_place ? s.is : s.os,
                             fw ? fwd : (reversed ? bwd_scrambled : bwd), fw ? 2.0L : 0.5L,
                             reversed && fw),
                  tolerance<E>(n));
      }
      EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
    }
  }
  omp_set_num_threads(2);
}

}  // namespace

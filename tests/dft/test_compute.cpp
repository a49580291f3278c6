// Complex transforms through the descriptor against a naive long double DFT: lengths, strides,
// distances, batches, ranks 2 to 4, in place and out of place, scales, and round trips.
#include "dft/dft_reference.h"

#include "dft/dft_tuning.h"

namespace {

using namespace dft_test;
namespace tuning = zvx::dft::tuning;

template <class E>
class DftCompute : public ::testing::Test {};
using precisions = ::testing::Types<zvx_complex8, zvx_complex16>;
TYPED_TEST_SUITE(DftCompute, precisions);

TYPED_TEST(DftCompute, OneLineEveryShortLengthAndChosenLongOnes) {
  using E = TypeParam;
  std::vector<long> lengths;
  for (long n = 1; n <= 64; ++n) lengths.push_back(n);
  // Around the direct-call limits of both precisions, primes and mixed factors.
  for (long n : {100L, 127L, 128L, 151L, 243L, 300L, 302L, long(tuning::kDirectLengthDouble) - 1,
                 long(tuning::kDirectLengthDouble), long(tuning::kDirectLengthDouble) + 1, 1000L,
                 long(tuning::kDirectLengthSingle) - 1, long(tuning::kDirectLengthSingle),
                 long(tuning::kDirectLengthSingle) + 1})
    lengths.push_back(n);
  for (long n : lengths)
    for (bool in_place : {true, false})
      for (bool forward : {true, false}) {
        config c;
        c.n = {n};
        c.in_place = in_place;
        c.forward = forward;
        check_against_reference<E>(c, static_cast<unsigned>(n));
      }
}

TYPED_TEST(DftCompute, StridedLinesWithOffsetsAndDistances) {
  using E = TypeParam;
  config c;
  c.n = {12};
  c.count = 3;
  c.in_place = false;
  c.input = {5, {3}, 40};
  c.output = {1, {2}, 30};
  check_against_reference<E>(c);
  // Output unit stride from a strided input, and the reverse.
  c.output = {0, {1}, 12};
  check_against_reference<E>(c);
  c.input = {2, {1}, 13};
  c.output = {3, {4}, 50};
  check_against_reference<E>(c);
  // In place, strided, with a gap between transforms.
  c.in_place = true;
  c.input = {4, {2}, 25};
  c.count = 4;
  check_against_reference<E>(c);
  // Negative stride walks the line backwards from its offset.
  c.count = 1;
  c.input = {22, {-2}, 0};
  check_against_reference<E>(c);
}

TYPED_TEST(DftCompute, InterleavedBatchesEveryTail) {
  using E = TypeParam;
  // Distance 1: transforms side by side, moved in batches of 2^level and tails of 8, 4, 2, 1.
  for (long n : {7L, 10L, 33L})
    for (long count : {1L, 2L, 3L, 5L, 8L, 13L, 17L, 31L, 40L}) {
      config c;
      c.n = {n};
      c.count = count;
      c.input = {0, {count}, 1};
      check_against_reference<E>(c);
      c.in_place = false;
      c.output = {3, {count + 1}, 1};
      check_against_reference<E>(c);
      // Only the input interleaved: transforms one after the other.
      c.output = {0, {1}, n};
      check_against_reference<E>(c);
    }
}

TYPED_TEST(DftCompute, RankTwo) {
  using E = TypeParam;
  struct shape { long n1, n2; };
  for (const shape& s : {shape{8, 6}, shape{1, 5}, shape{5, 1}, shape{40, 60}, shape{33, 70},
                         shape{64, 40}}) {
    for (bool in_place : {true, false}) {
      config c;
      c.n = {s.n1, s.n2};
      c.in_place = in_place;
      check_against_reference<E>(c);
      c.forward = false;
      c.scale = 1.0 / static_cast<double>(s.n1 * s.n2);
      check_against_reference<E>(c);
      // Padded rows, and a non-unit first stride.
      c.input = {3, {1, s.n1 + 3}, 0};
      c.output = {1, {1, s.n1 + 1}, 0};
      check_against_reference<E>(c);
      c.input = {0, {2, 2 * s.n1 + 1}, 0};
      c.output = {2, {3, 3 * s.n1}, 0};
      check_against_reference<E>(c);
      // Batches of rank-2 transforms, and interleaved ones.
      c.count = 3;
      c.input = {1, {1, s.n1}, s.n1 * s.n2 + 5};
      c.output = {0, {1, s.n1 + 2}, (s.n1 + 2) * s.n2};
      check_against_reference<E>(c);
      c.input = {0, {3, 3 * s.n1}, 1};
      c.output = {0, {3, 3 * s.n1}, 1};
      check_against_reference<E>(c);
    }
  }
}

TYPED_TEST(DftCompute, RankThreeAndUp) {
  using E = TypeParam;
  for (const std::vector<long>& n : {std::vector<long>{4, 1, 6}, std::vector<long>{6, 5, 7},
                                     std::vector<long>{1, 3, 20}, std::vector<long>{3, 4, 2, 5},
                                     std::vector<long>{2, 3, 1, 2, 3}, std::vector<long>{40, 30, 30}}) {
    for (bool in_place : {true, false}) {
      config c;
      c.n = n;
      c.in_place = in_place;
      check_against_reference<E>(c);
      c.forward = false;
      c.scale = 0.5;
      // Padded first dimension and a gap between slices.
      std::vector<long> strides{1};
      long s = n[0] + 2;
      for (size_t d = 1; d < n.size(); ++d) {
        strides.push_back(s);
        s *= n[d] + (d == 1 ? 1 : 0);
      }
      c.input = {2, strides, 0};
      c.output = {0, strides, 0};
      if (product(n) < 5000) {
        check_against_reference<E>(c);
        c.count = 2;
        c.input.distance = c.output.distance = s + 3;
        check_against_reference<E>(c);
        // First stride not 1: every line moves one at a time through a buffer.
        c.count = 1;
        for (long& v : c.input.strides) v *= 2;
        check_against_reference<E>(c);
      }
    }
  }
}

TYPED_TEST(DftCompute, ThreadedFunctionsOnOneThread) {
  using E = TypeParam;
  // Called on their own, the threaded functions check, apply the offsets and, on a serial
  // process, run the serial frame.
  for (const std::vector<long>& n : {std::vector<long>{50}, std::vector<long>{12, 9},
                                     std::vector<long>{4, 5, 6}})
    for (bool in_place : {true, false})
      for (bool forward : {true, false}) {
        config c;
        c.n = n;
        c.in_place = in_place;
        c.forward = forward;
        c.count = 2;
        c.threaded_function = true;
        c.input = {4, {}, product(n) + 3};
        c.output = {1, {}, product(n) + 1};
        check_against_reference<E>(c);
      }
}

TYPED_TEST(DftCompute, ForwardThenBackwardGivesNTimesTheInput) {
  using E = TypeParam;
  using R = typename real_of<E>::type;
  for (int ordering : {DFTI_ORDERED, DFTI_BACKWARD_SCRAMBLED})
    for (const std::vector<long>& n : {std::vector<long>{1}, std::vector<long>{97},
                                       std::vector<long>{256}, std::vector<long>{12, 18},
                                       std::vector<long>{5, 6, 7}}) {
      config f;
      f.n = n;
      f.count = 2;
      f.ordering = ordering;
      config b = f;
      b.forward = false;
      const long total = product(n);
      std::vector<E> x = random_array<E>(2 * total, 7);
      const std::vector<E> x0 = x;
      DFTI_DESCRIPTOR_HANDLE h = make_descriptor<E>(f);
      ASSERT_EQ(compute<E>(h, f, x.data(), x.data()), 0);
      ASSERT_EQ(compute<E>(h, b, x.data(), x.data()), 0);
      EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
      double err = 0, norm = 0;
      for (size_t i = 0; i < x.size(); ++i) {
        const double wr = static_cast<double>(x0[i].real) * static_cast<double>(total);
        const double wi = static_cast<double>(x0[i].imag) * static_cast<double>(total);
        err += (x[i].real - wr) * (x[i].real - wr) + (x[i].imag - wi) * (x[i].imag - wi);
        norm += wr * wr + wi * wi;
      }
      EXPECT_LE(std::sqrt(err / norm), 2 * tolerance<E>(total)) << total << " " << ordering;
      (void)sizeof(R);
    }
}

}  // namespace

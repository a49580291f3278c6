// Threaded transforms (run with two threads): the same configuration committed for two threads
// and for one gives the same result, bit for bit, because every chunk runs the same line routines
// as the serial frame; and user-thread mode serves concurrent callers.
#include <omp.h>

#include <atomic>
#include <cstring>

#include "dft/descriptor.h"
#include "dft/dft_reference.h"
#include "dft/dft_tuning.h"

namespace {

using namespace dft_test;
namespace tuning = zvx::dft::tuning;

// Commit inside a parallel region of the caller: the descriptor then keeps to one thread.
template <class E>
DFTI_DESCRIPTOR_HANDLE make_serial_descriptor(const config& c) {
  DFTI_DESCRIPTOR_HANDLE h = nullptr;
#pragma omp parallel num_threads(2)
  {
#pragma omp single
    h = make_descriptor<E>(c);
  }
  return h;
}

template <class E>
void threaded_equals_serial(const config& c) {
  SCOPED_TRACE(describe(c));
  DFTI_DESCRIPTOR_HANDLE threaded = make_descriptor<E>(c);
  DFTI_DESCRIPTOR_HANDLE serial = make_serial_descriptor<E>(c);
  ASSERT_NE(threaded, nullptr);
  ASSERT_NE(serial, nullptr);
  ASSERT_EQ(threaded->thread_count, 2);
  ASSERT_EQ(serial->thread_count, 1);
  const layout in = resolved(c.input, c.n);
  const layout out = c.in_place ? in : resolved(c.output, c.n);
  const long isize = extent(positions(in, c.n, c.count)) + 3;
  const long osize = extent(positions(out, c.n, c.count)) + 3;
  std::vector<E> a = random_array<E>(isize, 3), b = a;
  std::vector<E> oa(static_cast<size_t>(osize), E{5, 5}), ob = oa;
  ASSERT_EQ(compute<E>(threaded, c, a.data(), c.in_place ? a.data() : oa.data()), 0);
  ASSERT_EQ(compute<E>(serial, c, b.data(), c.in_place ? b.data() : ob.data()), 0);
  const std::vector<E>& ra = c.in_place ? a : oa;
  const std::vector<E>& rb = c.in_place ? b : ob;
  EXPECT_EQ(memcmp(ra.data(), rb.data(), ra.size() * sizeof(E)), 0);
  EXPECT_EQ(dfti_free_descriptor_external(&threaded), 0);
  EXPECT_EQ(dfti_free_descriptor_external(&serial), 0);
  // And both are right.
  check_against_reference<E>(c);
}

template <class E>
class DftThreads : public ::testing::Test {};
using precisions = ::testing::Types<zvx_complex8, zvx_complex16>;
TYPED_TEST_SUITE(DftThreads, precisions);

TYPED_TEST(DftThreads, ThreadedResultsEqualSerialOnes) {
  using E = TypeParam;
  ASSERT_EQ(in_serial(), 0);
  ASSERT_EQ(omp_get_max_threads(), 2);
  for (bool in_place : {true, false}) {
    config c;
    c.in_place = in_place;
    c.n = {48, 50};  // above the 2-D direct limit: rows and columns regions
    threaded_equals_serial<E>(c);
    c.n = {3, 1};  // one row: only the rows region, in place
    threaded_equals_serial<E>(c);
    c.n = {40, 30, 30};  // above the rank-3 serial limit: slabs and last dimension
    threaded_equals_serial<E>(c);
    c.n = {9, 8, 7, 60};  // rank 4: the inner-dimension region too
    c.forward = false;
    c.scale = 0.25;
    threaded_equals_serial<E>(c);
    c.n = {30};  // batches: one chunk per thread, odd count
    c.count = 5;
    c.input = {2, {3}, 100};
    c.output = {1, {1}, 31};
    threaded_equals_serial<E>(c);
    c.input = {0, {5}, 1};  // interleaved batches split between the threads
    c.output = {0, {5}, 1};
    threaded_equals_serial<E>(c);
  }
}

TYPED_TEST(DftThreads, ThreadedFunctionsCalledDirectlyMatchTheEntries) {
  using E = TypeParam;
  for (bool in_place : {true, false})
    for (bool forward : {true, false}) {
      config c;
      c.in_place = in_place;
      c.forward = forward;
      c.n = {20, 30};  // small: the entries stay serial, the threaded functions fork all the same
      c.input = {3, {1, 21}, 0};
      c.output = {2, {1, 22}, 0};
      SCOPED_TRACE(describe(c));
      DFTI_DESCRIPTOR_HANDLE h = make_descriptor<E>(c);
      std::vector<E> a = random_array<E>(700, 9), b = a;
      std::vector<E> oa(700, E{1, 1}), ob = oa;
      ASSERT_EQ(compute<E>(h, c, a.data(), in_place ? a.data() : oa.data()), 0);
      ASSERT_EQ(compute_par<E>(h, c, b.data(), in_place ? b.data() : ob.data()), 0);
      EXPECT_EQ(memcmp(a.data(), b.data(), a.size() * sizeof(E)), 0);
      EXPECT_EQ(memcmp(oa.data(), ob.data(), oa.size() * sizeof(E)), 0);
      EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
    }
}

TYPED_TEST(DftThreads, SmallProblemsStaySerial) {
  using E = TypeParam;
  // Below the limits the entries never fork; the committed descriptor still records two threads.
  config c;
  c.n = {32, 60};
  static_assert(32 * 60 < tuning::kTwoDDirectElements);
  DFTI_DESCRIPTOR_HANDLE h = make_descriptor<E>(c);
  EXPECT_EQ(h->thread_count, 2);
  EXPECT_EQ(h->two_d_direct, 1);
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
  check_against_reference<E>(c);
}

TYPED_TEST(DftThreads, UserThreadsServeConcurrentCallers) {
  using E = TypeParam;
  config c;
  c.n = {24, 10};
  DFTI_DESCRIPTOR_HANDLE h = make_descriptor<E>(c);
  int p = DFTI_NUMBER_OF_USER_THREADS, two = 2;
  ASSERT_EQ(dfti_set_value_intval(&h, &p, &two), 0);
  ASSERT_EQ(dfti_commit_descriptor_external(&h), 0);
  const long total = product(c.n);
  std::vector<E> x0 = random_array<E>(total, 11);
  std::vector<E> ref = x0;
  DFTI_DESCRIPTOR_HANDLE serial = make_serial_descriptor<E>(c);
  ASSERT_EQ(compute<E>(serial, c, ref.data(), ref.data()), 0);
  EXPECT_EQ(dfti_free_descriptor_external(&serial), 0);
  std::atomic<int> failures{0};
#pragma omp parallel num_threads(2)
  for (int round = 0; round < 20; ++round) {
    std::vector<E> x = x0;
    const int status = compute<E>(h, c, x.data(), x.data());
    // Two callers and two slots: nobody is turned away.
    if (status != 0 || memcmp(x.data(), ref.data(), x.size() * sizeof(E)) != 0) ++failures;
  }
  EXPECT_EQ(failures.load(), 0);
  EXPECT_EQ(h->user_thread_flags[0], 0);
  EXPECT_EQ(h->user_thread_flags[1], 0);
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
}

}  // namespace

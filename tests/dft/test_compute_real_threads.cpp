// Threaded real transforms (run with two threads): the same configuration committed for two
// threads and for one gives the same result, bit for bit, since every chunk of a region runs the
// stages of the serial frame; both agree with the naive spectrum. The threaded functions called
// on their own, and user-thread mode, give the same numbers too.
#include <omp.h>

#include "dft/descriptor.h"
#include "dft/dft_tuning.h"
#include "dft/real_reference.h"

namespace {

using namespace dft_real_test;
namespace tuning = zvx::dft::tuning;

// Commit inside a parallel region of the caller: the descriptor then keeps to one thread.
int commit_serial(DFTI_DESCRIPTOR_HANDLE* h) {
  int status = -1;
#pragma omp parallel num_threads(2)
  {
#pragma omp single
    status = dfti_commit_descriptor_external(h);
  }
  EXPECT_EQ((*h)->thread_count, 1);
  return status;
}

int commit_user_threads(DFTI_DESCRIPTOR_HANDLE* h) {
  const int param = DFTI_NUMBER_OF_USER_THREADS, value = 2;
  EXPECT_EQ(dfti_set_value_intval(h, &param, &value), 0);
  return dfti_commit_descriptor_external(h);
}

int commit_threaded(DFTI_DESCRIPTOR_HANDLE* h) {
  const int status = dfti_commit_descriptor_external(h);
  EXPECT_EQ((*h)->thread_count, 2);
  return status;
}

template <class R>
void threaded_equals_serial(rconfig c) {
  SCOPED_TRACE(describe(c));
  commit_hook = commit_threaded;
  const auto threaded = check_real<R>(c, 21);
  commit_hook = commit_serial;
  const auto serial = check_real<R>(c, 21);
  commit_hook = commit_user_threads;
  const auto user = check_real<R>(c, 21);
  c.threaded_function = true;
  commit_hook = commit_threaded;
  const auto direct = check_real<R>(c, 21);
  commit_hook = dfti_commit_descriptor_external;
  EXPECT_TRUE(threaded == serial) << "threaded and serial results differ";
  EXPECT_TRUE(user == serial) << "user-thread and serial results differ";
  EXPECT_TRUE(direct == serial) << "threaded function and serial results differ";
}

template <class R>
class DftRealThreads : public ::testing::Test {};
using precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(DftRealThreads, precisions);

// Rank 2 above the serial limit, every format, both directions, in place and out of place.
TYPED_TEST(DftRealThreads, RankTwo) {
  const long n1 = 64, n2 = tuning::kTwoDDirectElements / 64 + 3;
  for (int fmt : {DFTI_CCS_FORMAT, DFTI_PACK_FORMAT, DFTI_PERM_FORMAT, DFTI_CCE_FORMAT})
    for (bool forward : {true, false})
      for (bool in_place : {false, true}) {
        rconfig c;
        c.n = {n1, n2};
        c.fmt = fmt;
        c.forward = forward;
        c.in_place = in_place;
        if (in_place && fmt != DFTI_CCE_FORMAT) {
          const long p1 = packed_reals(fmt, n1);
          c.real_side = c.packed_side = {0, {1, p1}, 0};
        } else if (in_place) {
          c.real_side = {0, {1, n1 + 2}, 0};
          c.packed_side = {0, {1, n1 / 2 + 1}, 0};
        }
        threaded_equals_serial<TypeParam>(c);
      }
}

// Rank 3 above its serial limit (conjugate-even storage), and batches of lines and planes.
TYPED_TEST(DftRealThreads, RankThreeAndBatches) {
  const long n = 32;
  ASSERT_GE(n * n * n, tuning::kHighRankSerialElements);
  for (bool forward : {true, false}) {
    rconfig c;
    c.n = {n, 33, n};
    c.fmt = DFTI_CCE_FORMAT;
    c.forward = forward;
    threaded_equals_serial<TypeParam>(c);
    for (int fmt : {DFTI_CCS_FORMAT, DFTI_PACK_FORMAT, DFTI_CCE_FORMAT}) {
      rconfig b;
      b.n = {100};
      b.fmt = fmt;
      b.forward = forward;
      b.count = 7;
      threaded_equals_serial<TypeParam>(b);
      b.n = {12, 10};
      b.count = 5;
      threaded_equals_serial<TypeParam>(b);
    }
  }
}

}  // namespace

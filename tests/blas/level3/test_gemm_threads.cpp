// The threaded GEMM frame, run in processes whose environment asks for threads
// (OMP_NUM_THREADS set): the result of every cut (rows when m exceeds n, columns otherwise;
// uneven pieces, empty pieces, pieces with the whole rest) equals the serial engine's result.
// The serial result comes from the same routine called inside a parallel region of the test,
// where the library does not open a region of its own.
#include <omp.h>

#include "blas/level3/gemm_reference.h"

namespace {

using namespace gemm_test;

template <class T>
class GemmThreads : public ::testing::Test {};
using GemmTypes = ::testing::Types<float, double, zvx_complex8, zvx_complex16>;
TYPED_TEST_SUITE(GemmThreads, GemmTypes);

template <class T>
void serial_call(const char* ta, const char* tb, int m, int n, int k, const T* alpha,
                 const T* a, int lda, const T* b, int ldb, const T* beta, T* c, int ldc) {
  bool nested = false;
#pragma omp parallel num_threads(2)
  {
    if (omp_get_thread_num() == 0) {
      nested = omp_in_parallel() != 0;
      call(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    }
  }
  ASSERT_TRUE(nested) << "the serial reference needs an active parallel region";
}

template <class T>
void threaded_equals_serial(char ta, char tb, int m, int n, int k, unsigned seed) {
  std::mt19937 g(seed);
  const op oa = read_op<T>(ta), ob = read_op<T>(tb);
  matrix<T> a(oa == op::n ? m : k, oa == op::n ? k : m, 2);
  matrix<T> b(ob == op::n ? k : n, ob == op::n ? n : k, 3);
  matrix<T> c(m, n, 1);
  a.randomise(g);
  b.randomise(g);
  c.randomise(g);
  const matrix<T> corig = c;
  matrix<T> c_serial = c;
  const T alpha = make<T>(-0.75, 0.5), beta = make<T>(1.5, -0.25);
  const char sa[2] = {ta, 0}, sb[2] = {tb, 0};
  call(sa, sb, m, n, k, &alpha, a.v.data(), a.ld, b.v.data(), b.ld, &beta, c.v.data(), c.ld);
  serial_call(sa, sb, m, n, k, &alpha, a.v.data(), a.ld, b.v.data(), b.ld, &beta,
              c_serial.v.data(), c_serial.ld);
  std::vector<lc> want;
  std::vector<long double> bound;
  reference(oa, ob, m, n, k, alpha, a, b, beta, corig, want, bound);
  EXPECT_TRUE(matches(c, corig, want, bound)) << ta << tb << " " << m << "x" << n << "x" << k;
  // The engine's result does not depend on where the cut falls, up to rounding of the order of
  // the sums within a tile, which the cut does not change.
  long double worst = 0;
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) {
      const long double d = std::abs(widen(c.at(i, j)) - widen(c_serial.at(i, j)));
      worst = std::max(worst, d / bound[static_cast<size_t>(i) + static_cast<size_t>(j) * m]);
    }
  EXPECT_LE(worst, 1.0L) << ta << tb << " " << m << "x" << n << "x" << k;
}

TEST(GemmThreadPolicy, ThreadsAreAllowed) {
  EXPECT_EQ(in_serial(), 0);
  EXPECT_GT(omp_get_max_threads(), 1);
}

// Rows: m above n. With two threads 17 rows go 8 and 9, with three 5, 5 and 7.
TYPED_TEST(GemmThreads, RowCuts) {
  using T = TypeParam;
  threaded_equals_serial<T>('N', 'N', 17, 1, 1, 1);
  threaded_equals_serial<T>('T', 'N', 17, 1, 1, 2);
  threaded_equals_serial<T>('N', 'T', 301, 77, 50, 3);
  threaded_equals_serial<T>('C', 'C', 131, 20, 300, 4);
}

// Columns: n above m, and m equal to n.
TYPED_TEST(GemmThreads, ColumnCuts) {
  using T = TypeParam;
  threaded_equals_serial<T>('N', 'N', 1, 17, 1, 11);
  threaded_equals_serial<T>('N', 'T', 64, 64, 64, 12);
  threaded_equals_serial<T>('T', 'N', 50, 263, 31, 13);
  threaded_equals_serial<T>('C', 'T', 77, 77, 129, 14);
}

// More pieces than rows: with m of 3, n below 3 and k above 16, every piece but the last is
// empty (with eight threads) and the last takes all of m.
TYPED_TEST(GemmThreads, EmptyPieces) {
  using T = TypeParam;
  threaded_equals_serial<T>('N', 'N', 3, 2, 20, 21);
  threaded_equals_serial<T>('T', 'T', 3, 1, 40, 22);
  threaded_equals_serial<T>('N', 'N', 2, 3, 20, 23);
}

// Small problems stay on the calling thread; the result is the same.
TYPED_TEST(GemmThreads, SmallProblems) {
  using T = TypeParam;
  threaded_equals_serial<T>('N', 'N', 16, 16, 16, 31);
  threaded_equals_serial<T>('T', 'N', 16, 9, 12, 32);
}

}  // namespace

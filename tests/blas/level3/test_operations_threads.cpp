// The threaded frames of symm, hemm, the rank updates, trmm, trsm and the cross products, run in
// processes whose environment asks for threads: each result equals the serial one (the same
// routine called inside a parallel region of the test, where the library opens no region of its
// own) up to rounding, and the triangle of C outside the result is untouched. Sizes sit around
// the 16 of the frames, with pieces that are empty or take the whole rest.
#include <omp.h>

#include "blas/level3/operations_reference.h"

namespace {

using namespace ops_test;

template <class F>
void in_region(F f) {
  bool nested = false;
#pragma omp parallel num_threads(2)
  {
    if (omp_get_thread_num() == 0) {
      nested = omp_in_parallel() != 0;
      f();
    }
  }
  ASSERT_TRUE(nested) << "the serial reference needs an active parallel region";
}

// Threaded and serial results agree: within a few units of rounding of the magnitudes, and
// bitwise where either is not a number.
template <class T>
::testing::AssertionResult agree(const matrix<T>& x, const matrix<T>& y, long double scale) {
  const long double eps = std::numeric_limits<R<T>>::epsilon();
  for (size_t i = 0; i < x.v.size(); ++i) {
    const lc a = widen(x.v[i]), b = widen(y.v[i]);
    if (!(std::abs(a - b) <= 64 * eps * scale) && !(a == b))
      return ::testing::AssertionFailure() << "element " << i << " differs: " << (double)a.real()
                                           << " vs " << (double)b.real();
  }
  return ::testing::AssertionSuccess();
}

template <class T>
class OperationThreads : public ::testing::Test {};
using AllTypes = ::testing::Types<float, double, zvx_complex8, zvx_complex16>;
TYPED_TEST_SUITE(OperationThreads, AllTypes);

TYPED_TEST(OperationThreads, SymmetricMultiply) {
  using T = TypeParam;
  std::mt19937 g(1);
  for (bool herm : {false, true}) {
    if (herm && !traits<T>::complex) continue;
    for (char side : {'L', 'R'})
      for (auto [m, n] : {std::pair{16, 16}, {17, 3}, {3, 17}, {40, 101}, {101, 40}}) {
        const int order = side == 'L' ? m : n;
        matrix<T> a(order, order, 1), b(m, n, 2), c(m, n, 1);
        a.randomise(g);
        b.randomise(g);
        c.randomise(g);
        matrix<T> cs = c;
        const T alpha = make<T>(0.5, -1), beta = make<T>(-0.5, 0.25);
        symm(herm, side, 'U', m, n, alpha, a.v.data(), a.ld, b.v.data(), b.ld, beta, c.v.data(), c.ld);
        in_region([&] {
          symm(herm, side, 'U', m, n, alpha, a.v.data(), a.ld, b.v.data(), b.ld, beta,
               cs.v.data(), cs.ld);
        });
        EXPECT_TRUE(agree(c, cs, order)) << side << " " << m << "x" << n;
      }
  }
}

TYPED_TEST(OperationThreads, RankUpdates) {
  using T = TypeParam;
  std::mt19937 g(2);
  for (int kind = 0; kind < 4; ++kind) {
    const bool herm = kind == 1 || kind == 3;
    if (herm && !traits<T>::complex) continue;
    for (char uplo : {'U', 'L'})
      for (char trans : {'N', herm ? 'C' : 'T'})
        for (auto [n, k] : {std::pair{16, 40}, {17, 5}, {100, 30}, {67, 0}}) {
          const bool nt = trans == 'N';
          matrix<T> a(nt ? n : k, nt ? k : n, 1), b(nt ? n : k, nt ? k : n, 2), c(n, n, 1);
          a.randomise(g);
          b.randomise(g);
          c.randomise(g);
          matrix<T> cs = c;
          const T alpha = make<T>(0.75, 0.5), beta = make<T>(0.5, -0.5);
          rank<T>(kind, uplo, trans, n, k, alpha, a.v.data(), a.ld, b.v.data(), b.ld, beta,
                  c.v.data(), c.ld);
          in_region([&] {
            rank<T>(kind, uplo, trans, n, k, alpha, a.v.data(), a.ld, b.v.data(), b.ld, beta,
                    cs.v.data(), cs.ld);
          });
          EXPECT_TRUE(agree(c, cs, k + 2)) << kind << uplo << trans << " n=" << n << " k=" << k;
        }
  }
}

TYPED_TEST(OperationThreads, Triangular) {
  using T = TypeParam;
  std::mt19937 g(3);
  for (bool solve : {false, true})
    for (char side : {'L', 'R'})
      for (char uplo : {'U', 'L'})
        for (auto [m, n] : {std::pair{16, 16}, {17, 2}, {2, 17}, {70, 45}, {0, 40}}) {
          const int order = side == 'L' ? m : n;
          matrix<T> a(order, order, 1), b(m, n, 1);
          a.randomise(g);
          for (int i = 0; i < order; ++i) a.at(i, i) = make<T>(2, 0.5);
          for (int j = 0; j < order; ++j)
            for (int i = 0; i < order; ++i)
              if (i != j) a.at(i, j) = narrow<T>(widen(a.at(i, j)) * (1.0L / order));
          b.randomise(g);
          matrix<T> bs = b;
          const T alpha = make<T>(1.5, 0.5);
          tri<T>(solve, side, uplo, 'T', 'N', m, n, alpha, a.v.data(), a.ld, b.v.data(), b.ld);
          in_region([&] {
            tri<T>(solve, side, uplo, 'T', 'N', m, n, alpha, a.v.data(), a.ld, bs.v.data(), bs.ld);
          });
          EXPECT_TRUE(agree(b, bs, order + 2))
              << (solve ? "trsm " : "trmm ") << side << uplo << " " << m << "x" << n;
        }
}

TEST(OperationThreadsFrame, ThreadsAreAvailable) {
  // These cases mean nothing without a team: the CTest entry sets OMP_NUM_THREADS.
  EXPECT_GE(omp_get_max_threads(), 2);
}

TEST(OperationThreadsFrame, CrossProductsMatchTheReference) {
  std::mt19937 g(4);
  const int k = 999, n = 6;
  matrix<double> a(k, n), b(k, n), c(n, n);
  a.randomise(g);
  b.randomise(g);
  xdsexy(&k, &n, a.v.data(), b.v.data(), c.v.data());
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i) {
      long double s = 0, mag = 0;
      for (int l = 0; l < k; ++l) {
        s += (long double)a.at(l, i) * b.at(l, j);
        mag += std::abs((long double)a.at(l, i) * b.at(l, j));
      }
      EXPECT_LE(std::abs(c.at(i, j) - s), 1e-15L * mag * 8 + 1e-30L);
    }
}

}  // namespace

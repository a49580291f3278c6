// xdsexy and xssexy: c = a^T b against a long double reference, for inner lengths that leave
// pieces empty (k 1 with two pieces) or uneven, and n 0, which writes nothing.
#include "blas/level3/operations_reference.h"

namespace {

using namespace ops_test;

void cross(int k, int n, const double* a, const double* b, double* c) { xdsexy(&k, &n, a, b, c); }
void cross(int k, int n, const float* a, const float* b, float* c) { xssexy(&k, &n, a, b, c); }

template <class T>
class CrossProducts : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(CrossProducts, RealTypes);

TYPED_TEST(CrossProducts, AgainstReference) {
  using T = TypeParam;
  std::mt19937 g(12);
  for (int k : {1, 2, 7, 1001})
    for (int n : {1, 5, 33}) {
      matrix<T> a(k, n), b(k, n), c(n, n);
      a.randomise(g);
      b.randomise(g);
      for (auto& x : c.v) x = nan_value<T>();  // c is overwritten, never read
      cross(k, n, a.v.data(), b.v.data(), c.v.data());
      const long double eps = std::numeric_limits<T>::epsilon();
      for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) {
          long double s = 0, mag = 0;
          for (int l = 0; l < k; ++l) {
            s += (long double)a.at(l, i) * b.at(l, j);
            mag += std::abs((long double)a.at(l, i) * b.at(l, j));
          }
          EXPECT_LE(std::abs(c.at(i, j) - s), 8 * eps * (k + 4) * mag + 1e-30L)
              << "k=" << k << " n=" << n << " (" << i << "," << j << ")";
        }
    }
}

TYPED_TEST(CrossProducts, EmptyResultWritesNothing) {
  using T = TypeParam;
  T a[4] = {1, 2, 3, 4}, b[4] = {1, 2, 3, 4}, c[2] = {7, 8};
  cross(4, 0, a, b, c);
  EXPECT_EQ(c[0], T(7));
  EXPECT_EQ(c[1], T(8));
}

}  // namespace

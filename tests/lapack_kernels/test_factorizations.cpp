// Small Cholesky and Bunch-Kaufman factorizations: the factors reproduce A (Cholesky) or solve
// with A (Bunch-Kaufman, pivots included); the triangle not named is never written; info
// follows the rules of each family.
#include "lapack_kernels/lapack_reference.h"

namespace {

using namespace lapack_test;

void potrf(bool lower, int n, float* a, int lda, int* info) {
  (lower ? spotrf_l_small : spotrf_u_small)("X", &n, a, &lda, info);
}
void potrf(bool lower, int n, double* a, int lda, int* info) {
  (lower ? dpotrf_l_small : dpotrf_u_small)("X", &n, a, &lda, info);
}
void potrf(bool lower, int n, zvx_complex8* a, int lda, int* info) {
  (lower ? cpotrf_l_small : cpotrf_u_small)("X", &n, a, &lda, info);
}
void potrf(bool lower, int n, zvx_complex16* a, int lda, int* info) {
  (lower ? zpotrf_l_small : zpotrf_u_small)("X", &n, a, &lda, info);
}

template <class T>
class Potrf : public ::testing::Test {};
using AllTypes = ::testing::Types<float, double, zvx_complex8, zvx_complex16>;
TYPED_TEST_SUITE(Potrf, AllTypes);

// A Hermitian positive definite matrix: B^H B + n I, stored whole with a leading dimension
// beyond n; the diagonal's imaginary parts hold garbage that must not be read. The whole matrix
// is multiplied by `scale`.
template <class T>
std::vector<T> hpd(int n, int lda, std::mt19937& g, std::vector<lc>& dense, long double scale = 1) {
  const auto b = random_vector<T>(static_cast<size_t>(n) * n, g);
  dense.assign(static_cast<size_t>(n) * n, 0);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i) {
      lc s = i == j ? lc(n) : lc(0);
      for (int l = 0; l < n; ++l) s += std::conj(widen(b[l + i * n])) * widen(b[l + j * n]);
      dense[i + j * n] = s * scale;
    }
  auto a = random_vector<T>(static_cast<size_t>(lda) * n, g);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i) {
      lc v = dense[i + j * n];
      if (i == j) v = lc(v.real(), traits<T>::complex ? 0.5 : 0);
      a[i + j * lda] = narrow<T>(v);
      if (i == j) dense[i + j * n] = lc(widen(a[i + j * lda]).real(), 0);
      else dense[i + j * n] = widen(a[i + j * lda]);
    }
  return a;
}

// Scaled near the ends of the exponent range too (1e300 and 1e-300 in double, 1e35 and 1e-35 in
// single): the factor's elements are square roots of the matrix's, so nothing the factorization
// forms leaves the range.
TYPED_TEST(Potrf, FactorsReproduceTheMatrix) {
  using T = TypeParam;
  std::mt19937 g(11);
  const long double big = (std::is_same_v<T, double> || std::is_same_v<T, zvx_complex16>) ? 1e300L : 1e35L;
  for (long double scale : {1.0L, big, 1 / big})
  for (bool lower : {true, false})
    for (int n : {1, 2, 5, 17}) {
      const int lda = n + 2;
      std::vector<lc> dense;
      auto a = hpd<T>(n, lda, g, dense, scale);
      const auto before = a;
      int info = 77;
      potrf(lower, n, a.data(), lda, &info);
      EXPECT_EQ(info, 77) << "info is written only on failure";
      // L L^H or U^H U from the stored triangle.
      auto f = [&](int i, int j) -> lc {  // the factor L (lower) or U^H (upper)
        if (lower) return i >= j ? widen(a[i + j * lda]) : lc(0);
        return i >= j ? std::conj(widen(a[j + i * lda])) : lc(0);
      };
      long double worst = 0;
      for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) {
          lc s = 0;
          for (int l = 0; l <= std::min(i, j); ++l) s += f(i, l) * std::conj(f(j, l));
          worst = std::max(worst, std::abs(s - dense[i + j * n]) / (n * n * scale));
        }
      EXPECT_LT(worst, 50 * eps<T>()) << (lower ? "lower" : "upper") << " n=" << n << " scale " << (double)scale;
      for (int j = 0; j < n; ++j)
        for (int i = 0; i < lda; ++i) {
          const bool stored = i < n && (lower ? i >= j : i <= j);
          if (!stored) {
            EXPECT_EQ(widen(a[i + j * lda]), widen(before[i + j * lda])) << i << "," << j;
          } else if (i == j && traits<T>::complex) {
            EXPECT_EQ(widen(a[i + j * lda]).imag(), 0) << "diagonal imaginary part";
          }
        }
    }
}

TYPED_TEST(Potrf, StopsAtTheFirstPivotNotAboveZero) {
  using T = TypeParam;
  for (bool lower : {true, false}) {
    // [[1, 2], [2, 1]] and the identity below: the second pivot is 1 - 4 = -3.
    const int n = 3, lda = 3;
    std::vector<T> a(9, narrow<T>(0));
    a[0] = a[4] = a[8] = narrow<T>(1);
    a[lower ? 1 : 3] = narrow<T>(2);
    a[8] = narrow<T>(lc(5, 0));
    int info = 0;
    potrf(lower, n, a.data(), lda, &info);
    EXPECT_EQ(info, 2);
    EXPECT_EQ(widen(a[4]), lc(-3, 0)) << "the pivot is stored, not its root";
    EXPECT_EQ(widen(a[8]), lc(5, 0)) << "the loop stops";
    // A zero pivot stops too; n 0 leaves info alone.
    std::vector<T> z(1, narrow<T>(0));
    info = 0;
    potrf(lower, 1, z.data(), 1, &info);
    EXPECT_EQ(info, 1);
    info = 9;
    potrf(lower, 0, z.data(), 1, &info);
    EXPECT_EQ(info, 9);
  }
}

TYPED_TEST(Potrf, NaNPivotDoesNotStop) {
  using T = TypeParam;
  const int n = 2, lda = 2;
  std::vector<T> a(4, narrow<T>(0));
  a[0] = narrow<T>(lc(std::numeric_limits<long double>::quiet_NaN(), 0));
  a[3] = narrow<T>(4);
  int info = 5;
  potrf(true, n, a.data(), lda, &info);
  EXPECT_EQ(info, 5);
  EXPECT_TRUE(std::isnan(static_cast<double>(widen(a[0]).real())));
}

void sytrf(bool lower, int n, float* a, int lda, int* ipiv, int* info) {
  (lower ? ssytrf_l_small : ssytrf_u_small)(lower ? "L" : "U", &n, a, &lda, ipiv, info);
}
void sytrf(bool lower, int n, double* a, int lda, int* ipiv, int* info) {
  (lower ? dsytrf_l_small : dsytrf_u_small)(lower ? "L" : "U", &n, a, &lda, ipiv, info);
}

// Solves A x = b with the factors and pivots in long double, as the LAPACK solve with these
// factors does.
template <class T>
void solve_with_factors(bool lower, int n, const std::vector<T>& a, int lda,
                        const std::vector<int>& ipiv, std::vector<long double>& b) {
  auto A = [&](int i, int j) -> long double { return a[(i - 1) + (j - 1) * lda]; };
  auto B = [&](int i) -> long double& { return b[i - 1]; };
  if (lower) {
    int k = 1;
    while (k <= n) {
      if (ipiv[k - 1] > 0) {
        std::swap(B(k), B(ipiv[k - 1]));
        for (int i = k + 1; i <= n; ++i) B(i) -= A(i, k) * B(k);
        B(k) /= A(k, k);
        k += 1;
      } else {
        std::swap(B(k + 1), B(-ipiv[k - 1]));
        for (int i = k + 2; i <= n; ++i) B(i) -= A(i, k) * B(k) + A(i, k + 1) * B(k + 1);
        const long double d11 = A(k, k), d21 = A(k + 1, k), d22 = A(k + 1, k + 1);
        const long double det = d11 * d22 - d21 * d21;
        const long double x1 = (d22 * B(k) - d21 * B(k + 1)) / det;
        const long double x2 = (d11 * B(k + 1) - d21 * B(k)) / det;
        B(k) = x1;
        B(k + 1) = x2;
        k += 2;
      }
    }
    k = n;
    while (k >= 1) {
      if (ipiv[k - 1] > 0) {
        for (int i = k + 1; i <= n; ++i) B(k) -= A(i, k) * B(i);
        std::swap(B(k), B(ipiv[k - 1]));
        k -= 1;
      } else {
        for (int i = k + 1; i <= n; ++i) {
          B(k) -= A(i, k) * B(i);
          B(k - 1) -= A(i, k - 1) * B(i);
        }
        std::swap(B(k), B(-ipiv[k - 1]));
        k -= 2;
      }
    }
  } else {
    int k = n;
    while (k >= 1) {
      if (ipiv[k - 1] > 0) {
        std::swap(B(k), B(ipiv[k - 1]));
        for (int i = 1; i < k; ++i) B(i) -= A(i, k) * B(k);
        B(k) /= A(k, k);
        k -= 1;
      } else {
        std::swap(B(k - 1), B(-ipiv[k - 1]));
        for (int i = 1; i < k - 1; ++i) B(i) -= A(i, k) * B(k) + A(i, k - 1) * B(k - 1);
        const long double d11 = A(k - 1, k - 1), d12 = A(k - 1, k), d22 = A(k, k);
        const long double det = d11 * d22 - d12 * d12;
        const long double x1 = (d22 * B(k - 1) - d12 * B(k)) / det;
        const long double x2 = (d11 * B(k) - d12 * B(k - 1)) / det;
        B(k - 1) = x1;
        B(k) = x2;
        k -= 2;
      }
    }
    k = 1;
    while (k <= n) {
      if (ipiv[k - 1] > 0) {
        for (int i = 1; i < k; ++i) B(k) -= A(i, k) * B(i);
        std::swap(B(k), B(ipiv[k - 1]));
        k += 1;
      } else {
        for (int i = 1; i < k; ++i) {
          B(k) -= A(i, k) * B(i);
          B(k + 1) -= A(i, k + 1) * B(i);
        }
        std::swap(B(k), B(-ipiv[k - 1]));
        k += 2;
      }
    }
  }
}

template <class T>
class Sytrf : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Sytrf, RealTypes);

TYPED_TEST(Sytrf, FactorsSolveTheSystem) {
  using T = TypeParam;
  std::mt19937 g(5);
  std::uniform_real_distribution<double> d(-1, 1);
  for (bool lower : {true, false})
    for (int n : {1, 2, 6, 13, 24})
      for (int variant = 0; variant < 2; ++variant) {
        const int lda = n + 1;
        std::vector<T> a(static_cast<size_t>(lda) * n, T(99));
        std::vector<long double> dense(static_cast<size_t>(n) * n);
        for (int j = 0; j < n; ++j)
          for (int i = j; i < n; ++i) {
            // variant 1: a small diagonal forces interchanges and 2 by 2 pivots.
            T v = T(d(g));
            if (i == j && variant == 1) v = T(d(g) * 1e-3);
            dense[i + j * n] = dense[j + i * n] = v;
          }
        for (int j = 0; j < n; ++j)
          for (int i = 0; i < n; ++i)
            if (lower ? i >= j : i <= j) a[i + j * lda] = T(dense[i + j * n]);
        const auto before = a;
        std::vector<int> ipiv(n, 0);
        int info = 3;
        sytrf(lower, n, a.data(), lda, ipiv.data(), &info);
        EXPECT_EQ(info, 0);
        std::vector<long double> x(n), b(n);
        for (int i = 0; i < n; ++i) x[i] = d(g);
        for (int i = 0; i < n; ++i) {
          b[i] = 0;
          for (int l = 0; l < n; ++l) b[i] += dense[i + l * n] * x[l];
        }
        solve_with_factors(lower, n, a, lda, ipiv, b);
        long double err = 0, mag = 0;
        for (int i = 0; i < n; ++i) {
          err = std::max(err, std::abs(b[i] - x[i]));
          mag = std::max(mag, std::abs(x[i]));
        }
        EXPECT_LT(err, 1e5 * eps<T>() * n * mag) << (lower ? "L" : "U") << " n=" << n;
        for (int j = 0; j < n; ++j)
          for (int i = 0; i < lda; ++i)
            if (i >= n || (lower ? i < j : i > j))
              EXPECT_EQ(a[i + j * lda], before[i + j * lda]) << "untouched " << i << "," << j;
      }
}

TYPED_TEST(Sytrf, TwoByTwoPivotAndZeroColumn) {
  using T = TypeParam;
  for (bool lower : {true, false}) {
    // [[0, 1], [1, 0]]: one 2 by 2 pivot, both entries negative.
    std::vector<T> a = {0, 1, 1, 0};
    std::vector<int> ipiv(2);
    int info = 7;
    sytrf(lower, 2, a.data(), 2, ipiv.data(), &info);
    EXPECT_EQ(info, 0);
    EXPECT_LT(ipiv[0], 0);
    EXPECT_EQ(ipiv[0], ipiv[1]);
    // A zero second column (and row): info names it, and the factorization goes on.
    std::vector<T> z = {2, 0, 1, 0, 0, 0, 1, 0, 3};
    std::vector<int> ip(3);
    sytrf(lower, 3, z.data(), 3, ip.data(), &info);
    EXPECT_EQ(info, 2);
    EXPECT_EQ(ip[1], 2);
    // n 0 sets info to 0.
    info = 4;
    sytrf(lower, 0, z.data(), 1, ip.data(), &info);
    EXPECT_EQ(info, 0);
  }
}

}  // namespace

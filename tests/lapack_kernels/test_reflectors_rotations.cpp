// Reflectors against the explicit product with H = I - tau v v^H, rotation sequences and
// vectors of rotations against explicit rotations in long double, tridiagonal solves against a
// dense solve.
#include "lapack_kernels/lapack_reference.h"

namespace {

using namespace lapack_test;

void larfx(const char* side, int m, int n, const double* v, double tau, double* c, int ldc,
           double* work) {
  dlarfx(side, &m, &n, v, &tau, c, &ldc, work);
}
void larfx(const char* side, int m, int n, const zvx_complex8* v, zvx_complex8 tau,
           zvx_complex8* c, int ldc, zvx_complex8* work) {
  clarfx(side, &m, &n, v, &tau, c, &ldc, work);
}

template <class T>
class Larfx : public ::testing::Test {};
using LarfxTypes = ::testing::Types<double, zvx_complex8>;
TYPED_TEST_SUITE(Larfx, LarfxTypes);

TYPED_TEST(Larfx, EveryOrderOnBothSides) {
  using T = TypeParam;
  std::mt19937 g(3);
  for (bool left : {true, false})
    for (int order = 1; order <= 13; ++order) {
      const int other = 5;
      const int m = left ? order : other, n = left ? other : order, ldc = m + 2;
      const auto v = random_vector<T>(order, g);
      const T tau = random_value<T>(g);
      auto c = random_vector<T>(static_cast<size_t>(ldc) * n, g);
      const auto c0 = c;
      // Orders up to 10 never touch work: a null pointer proves it.
      std::vector<T> work(other);
      larfx(left ? "L" : "R", m, n, v.data(), tau, c.data(), ldc,
            order <= 10 ? nullptr : work.data());
      const lc t = widen(tau);
      long double worst = 0;
      for (int j = 0; j < n; ++j)
        for (int i = 0; i < m; ++i) {
          lc want = 0;
          if (left) {
            for (int l = 0; l < m; ++l) {
              const lc h = (i == l ? lc(1) : lc(0)) - t * widen(v[i]) * std::conj(widen(v[l]));
              want += h * widen(c0[l + j * ldc]);
            }
          } else {
            for (int l = 0; l < n; ++l) {
              const lc h = (l == j ? lc(1) : lc(0)) - t * widen(v[l]) * std::conj(widen(v[j]));
              want += widen(c0[i + l * ldc]) * h;
            }
          }
          worst = std::max(worst, std::abs(widen(c[i + j * ldc]) - want));
        }
      EXPECT_LT(worst, 64 * order * eps<T>()) << (left ? "left" : "right") << " order " << order;
      for (int j = 0; j < n; ++j)
        for (int i = m; i < ldc; ++i) EXPECT_EQ(widen(c[i + j * ldc]), widen(c0[i + j * ldc]));
    }
}

TYPED_TEST(Larfx, TauZeroTouchesNothing) {
  using T = TypeParam;
  std::mt19937 g(4);
  const int m = 12, n = 3;
  const auto v = random_vector<T>(m, g);
  auto c = random_vector<T>(static_cast<size_t>(m) * n, g);
  const auto c0 = c;
  larfx("L", m, n, v.data(), narrow<T>(0), c.data(), m, nullptr);
  for (size_t i = 0; i < c.size(); ++i) EXPECT_EQ(widen(c[i]), widen(c0[i]));
}

using lasr_fn = void (*)(const int*, const int*, const void*, const void*, void*, const int*);

template <class T>
struct lasr_set;
#define LASR_SET(T, R, p)                                                                   \
  template <>                                                                               \
  struct lasr_set<T> {                                                                      \
    using real = R;                                                                         \
    static constexpr void (*fn[6])(const int*, const int*, const R*, const R*, T*,          \
                                   const int*) = {p##lasr_lvf, p##lasr_lvb, p##lasr_ltf,    \
                                                  p##lasr_ltb, p##lasr_lbf, p##lasr_lbb};   \
  };
LASR_SET(float, float, s)
LASR_SET(double, double, d)
LASR_SET(zvx_complex8, float, c)
LASR_SET(zvx_complex16, double, z)
#undef LASR_SET

template <class T>
class Rotations : public ::testing::Test {};
using AllTypes = ::testing::Types<float, double, zvx_complex8, zvx_complex16>;
TYPED_TEST_SUITE(Rotations, AllTypes);

TYPED_TEST(Rotations, SequencesFromTheLeft) {
  using T = TypeParam;
  using R = typename lasr_set<T>::real;
  std::mt19937 g(8);
  std::uniform_real_distribution<double> ang(0, 6.283);
  const char* names[6] = {"lvf", "lvb", "ltf", "ltb", "lbf", "lbb"};
  for (int f = 0; f < 6; ++f)
    for (int m : {1, 2, 5, 9})
      for (int n : {0, 1, 4, 5, 7}) {
        const int lda = m + 1;
        std::vector<R> c(std::max(m, 1)), s(std::max(m, 1));
        for (int j = 0; j + 1 < m; ++j) {
          const double t = ang(g);
          c[j] = R(std::cos(t));
          s[j] = R(std::sin(t));
        }
        if (m > 2) {  // an identity rotation is applied like any other
          c[1] = 1;
          s[1] = 0;
        }
        auto a = random_vector<T>(static_cast<size_t>(lda) * std::max(n, 1), g);
        std::vector<lc> want(a.size());
        for (size_t i = 0; i < a.size(); ++i) want[i] = widen(a[i]);
        const bool forward = f % 2 == 0;
        for (int q = 0; q + 1 < m; ++q) {
          const int j = forward ? q : m - 2 - q;
          int r0, r1;
          if (f < 2) { r0 = j; r1 = j + 1; }
          else if (f < 4) { r0 = 0; r1 = j + 1; }
          else { r0 = j; r1 = m - 1; }
          for (int col = 0; col < n; ++col) {
            lc& x0 = want[r0 + col * lda];
            lc& x1 = want[r1 + col * lda];
            const lc o0 = x0, o1 = x1;
            if (f >= 4) {  // pivot at the bottom: row j is the first of the pair
              x0 = (long double)s[j] * o1 + (long double)c[j] * o0;
              x1 = (long double)c[j] * o1 - (long double)s[j] * o0;
            } else {
              x1 = (long double)c[j] * o1 - (long double)s[j] * o0;
              x0 = (long double)s[j] * o1 + (long double)c[j] * o0;
            }
          }
        }
        lasr_set<T>::fn[f](&m, &n, c.data(), s.data(), a.data(), &lda);
        long double worst = 0;
        for (size_t i = 0; i < a.size(); ++i) worst = std::max(worst, std::abs(widen(a[i]) - want[i]));
        EXPECT_LT(worst, 8 * m * eps<T>()) << names[f] << " m=" << m << " n=" << n;
      }
}

void lartv(int n, float* x, int ix, float* y, int iy, const float* c, const float* s, int ic) {
  slartv(&n, x, &ix, y, &iy, c, s, &ic);
}
void lartv(int n, double* x, int ix, double* y, int iy, const double* c, const double* s, int ic) {
  dlartv(&n, x, &ix, y, &iy, c, s, &ic);
}
void lartv(int n, zvx_complex8* x, int ix, zvx_complex8* y, int iy, const float* c,
           const zvx_complex8* s, int ic) {
  clartv(&n, x, &ix, y, &iy, c, s, &ic);
}
void lartv(int n, zvx_complex16* x, int ix, zvx_complex16* y, int iy, const double* c,
           const zvx_complex16* s, int ic) {
  zlartv(&n, x, &ix, y, &iy, c, s, &ic);
}

TYPED_TEST(Rotations, VectorOfRotations) {
  using T = TypeParam;
  using R = typename lasr_set<T>::real;
  std::mt19937 g(9);
  for (int stride : {1, 2})
    for (int n : {0, 1, 7}) {
      const int ix = stride, iy = stride + 1, ic = stride;
      auto x = random_vector<T>(static_cast<size_t>(n) * ix + 1, g);
      auto y = random_vector<T>(static_cast<size_t>(n) * iy + 1, g);
      const auto s = random_vector<T>(static_cast<size_t>(n) * ic + 1, g);
      std::vector<R> c(static_cast<size_t>(n) * ic + 1);
      for (auto& v : c) v = R(widen(random_value<T>(g)).real());
      const auto x0 = x, y0 = y;
      lartv(n, x.data(), ix, y.data(), iy, c.data(), s.data(), ic);
      for (int i = 0; i < n; ++i) {
        const lc a = widen(x0[i * ix]), b = widen(y0[i * iy]), si = widen(s[i * ic]);
        const long double ci = c[i * ic];
        EXPECT_LT(std::abs(widen(x[i * ix]) - (ci * a + si * b)), 8 * eps<T>());
        EXPECT_LT(std::abs(widen(y[i * iy]) - (ci * b - std::conj(si) * a)), 8 * eps<T>());
      }
      // Elements between the strides are untouched.
      if (stride == 2 && n > 0) EXPECT_EQ(widen(x[1]), widen(x0[1]));
    }
}

void gtsv(int n, int nrhs, float* dl, float* d, float* du, float* b, int ldb, int* info) {
  sgtsv(&n, &nrhs, dl, d, du, b, &ldb, info);
}
void gtsv(int n, int nrhs, double* dl, double* d, double* du, double* b, int ldb, int* info) {
  dgtsv(&n, &nrhs, dl, d, du, b, &ldb, info);
}

template <class T>
class Gtsv : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Gtsv, RealTypes);

TYPED_TEST(Gtsv, AgainstDenseSolve) {
  using T = TypeParam;
  std::mt19937 g(21);
  for (int n : {1, 2, 3, 10, 31})
    for (int nrhs : {1, 3}) {
      // Diagonal not dominant, so rows change places; the first pivot 0 with dl(1) non-zero
      // swaps and goes on.
      auto dl = random_vector<T>(n, g), d = random_vector<T>(n, g), du = random_vector<T>(n, g);
      for (auto& x : d) x *= T(0.3);
      d[0] = 0;
      if (n > 1) dl[0] = T(0.9);
      if (n == 1) d[0] = T(0.7);
      const int ldb = n + 1;
      auto b = random_vector<T>(static_cast<size_t>(ldb) * nrhs, g);
      std::vector<lc> dense(static_cast<size_t>(n) * n, 0), rhs(static_cast<size_t>(n) * nrhs);
      for (int i = 0; i < n; ++i) {
        dense[i + i * n] = widen(d[i]);
        if (i + 1 < n) {
          dense[i + 1 + i * n] = widen(dl[i]);
          dense[i + (i + 1) * n] = widen(du[i]);
        }
      }
      for (int j = 0; j < nrhs; ++j)
        for (int i = 0; i < n; ++i) rhs[i + j * n] = widen(b[i + j * ldb]);
      dense_solve(n, nrhs, dense, rhs);
      int info = -5;
      gtsv(n, nrhs, dl.data(), d.data(), du.data(), b.data(), ldb, &info);
      EXPECT_EQ(info, 0);
      long double worst = 0, mag = 1;
      for (int j = 0; j < nrhs; ++j)
        for (int i = 0; i < n; ++i) {
          worst = std::max(worst, std::abs(widen(b[i + j * ldb]) - rhs[i + j * n]));
          mag = std::max(mag, std::abs(rhs[i + j * n]));
        }
      EXPECT_LT(worst, 1e4 * eps<T>() * mag) << "n=" << n << " nrhs=" << nrhs;
    }
}

TYPED_TEST(Gtsv, ZeroPivotReportsAndStops) {
  using T = TypeParam;
  // First pivot 0 with dl(1) 0 as well: info 1, b untouched.
  std::vector<T> dl = {0, 1}, d = {0, 1, 1}, du = {1, 1}, b = {1, 2, 3};
  int info = 0;
  gtsv(3, 1, dl.data(), d.data(), du.data(), b.data(), 3, &info);
  EXPECT_EQ(info, 1);
  EXPECT_EQ(b[0], T(1));
  // A singular matrix: the last pivot is 0, and info names it.
  std::vector<T> dl2 = {1}, d2 = {1, 1}, du2 = {1}, b2 = {1, 1, 1, 1};
  info = 0;
  gtsv(2, 2, dl2.data(), d2.data(), du2.data(), b2.data(), 2, &info);
  EXPECT_EQ(info, 2);
  info = 8;
  gtsv(0, 1, dl2.data(), d2.data(), du2.data(), b2.data(), 1, &info);
  EXPECT_EQ(info, 0);
}

void ptts2(int iuplo, int n, int nrhs, const float* d, const float* e, float* b, int ldb) {
  sptts2(&n, &nrhs, d, e, b, &ldb);
}
void ptts2(int iuplo, int n, int nrhs, const double* d, const double* e, double* b, int ldb) {
  dptts2(&n, &nrhs, d, e, b, &ldb);
}
void ptts2(int iuplo, int n, int nrhs, const float* d, const zvx_complex8* e, zvx_complex8* b,
           int ldb) {
  cptts2(&iuplo, &n, &nrhs, d, e, b, &ldb);
}
void ptts2(int iuplo, int n, int nrhs, const double* d, const zvx_complex16* e,
           zvx_complex16* b, int ldb) {
  zptts2(&iuplo, &n, &nrhs, d, e, b, &ldb);
}

TYPED_TEST(Rotations, FactoredTridiagonalSolve) {
  using T = TypeParam;
  using R = typename lasr_set<T>::real;
  std::mt19937 g(31);
  for (int iuplo : {0, 1}) {
    if (!traits<T>::complex && iuplo == 1) continue;
    for (int n : {1, 2, 9})
      for (int nrhs : {1, 3}) {
        std::vector<R> d(n);
        for (auto& x : d) x = R(1.5 + widen(random_value<T>(g)).real());
        const auto e = random_vector<T>(n, g);
        // The bidiagonal factor: L unit lower with subdiagonal e (iuplo 0), or U unit upper
        // with superdiagonal e (iuplo 1); A = L D L^H or U^H D U.
        std::vector<lc> f(static_cast<size_t>(n) * n, 0), dense(static_cast<size_t>(n) * n, 0);
        for (int i = 0; i < n; ++i) {
          f[i + i * n] = 1;
          if (i + 1 < n) {
            if (iuplo == 0) f[i + 1 + i * n] = widen(e[i]);
            else f[i + (i + 1) * n] = widen(e[i]);
          }
        }
        for (int i = 0; i < n; ++i)
          for (int j = 0; j < n; ++j) {
            lc s = 0;
            for (int l = 0; l < n; ++l) {
              if (iuplo == 0) s += f[i + l * n] * (long double)d[l] * std::conj(f[j + l * n]);
              else s += std::conj(f[l + i * n]) * (long double)d[l] * f[l + j * n];
            }
            dense[i + j * n] = s;
          }
        const int ldb = n + 2;
        auto b = random_vector<T>(static_cast<size_t>(ldb) * nrhs, g);
        std::vector<lc> rhs(static_cast<size_t>(n) * nrhs);
        for (int j = 0; j < nrhs; ++j)
          for (int i = 0; i < n; ++i) rhs[i + j * n] = widen(b[i + j * ldb]);
        dense_solve(n, nrhs, dense, rhs);
        ptts2(iuplo, n, nrhs, d.data(), e.data(), b.data(), ldb);
        long double worst = 0;
        for (int j = 0; j < nrhs; ++j)
          for (int i = 0; i < n; ++i)
            worst = std::max(worst, std::abs(widen(b[i + j * ldb]) - rhs[i + j * n]));
        EXPECT_LT(worst, 1e3 * eps<T>()) << "iuplo " << iuplo << " n=" << n;
      }
  }
}

}  // namespace

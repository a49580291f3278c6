// Level-1 routines in all four types against long double loops: every increment combination
// (negative and zero included where the routine defines them) over lengths around the unroll and
// vector boundaries, and the special values the routines pin.
#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "blas/level12/tuning.h"
#include "reference.h"

using namespace ref;

namespace {

template <class T> struct api;
#define API_COMMON(p, T)                                              \
  static constexpr auto axpy = p##axpy;                               \
  static constexpr auto scal = p##scal;                               \
  static constexpr auto copy = p##copy;                               \
  static constexpr auto swap = p##swap;                               \
  static constexpr auto iamax = i##p##amax;                           \
  static constexpr auto iamin = i##p##amin;
template <> struct api<float> { API_COMMON(s, float) static constexpr auto nrm2 = snrm2; static constexpr auto asum = sasum; };
template <> struct api<double> { API_COMMON(d, double) static constexpr auto nrm2 = dnrm2; static constexpr auto asum = dasum; };
template <> struct api<zvx_complex8> { API_COMMON(c, zvx_complex8) static constexpr auto nrm2 = scnrm2; static constexpr auto asum = scasum; };
template <> struct api<zvx_complex16> { API_COMMON(z, zvx_complex16) static constexpr auto nrm2 = dznrm2; static constexpr auto asum = dzasum; };

const int lengths[] = {0, 1, 2, 3, 4, 7, 8, 9, 15, 16, 17, 31, 33, 63, 64, 65, 100, 257, 300};
const int increments[] = {1, -1, 2, -3};

template <class T> long double abs1(lc v) { return std::fabs(v.real()) + std::fabs(v.imag()); }

template <class T> void check_axpy_scal_copy_swap() {
  SCOPED_TRACE(info<T>::name);
  for (int n : lengths)
    for (int incx : increments)
      for (int incy : increments) {
        SCOPED_TRACE(::testing::Message() << "n " << n << " incx " << incx << " incy " << incy);
        auto x = random_vector<T>(storage(n, incx));
        auto y = random_vector<T>(storage(n, incy));
        const T alpha = random_value<T>();
        auto y1 = y;
        api<T>::axpy(&n, &alpha, x.data(), &incx, y1.data(), &incy);
        for (int k = 0; k < n; ++k) {
          const lc want = L(alpha) * L(x[at(k, n, incx)]) + L(y[at(k, n, incy)]);
          ASSERT_TRUE(close<T>(L(y1[at(k, n, incy)]), want, 4)) << k;
        }
        auto y2 = y;
        api<T>::copy(&n, x.data(), &incx, y2.data(), &incy);
        for (int k = 0; k < n; ++k) ASSERT_TRUE(same_bits(y2[at(k, n, incy)], x[at(k, n, incx)]));
        auto x3 = x, y3 = y;
        api<T>::swap(&n, x3.data(), &incx, y3.data(), &incy);
        for (int k = 0; k < n; ++k) {
          ASSERT_TRUE(same_bits(y3[at(k, n, incy)], x[at(k, n, incx)]));
          ASSERT_TRUE(same_bits(x3[at(k, n, incx)], y[at(k, n, incy)]));
        }
      }
  for (int n : lengths)
    for (int incx : increments) {
      auto x = random_vector<T>(storage(n, incx));
      const T alpha = random_value<T>();
      auto x1 = x;
      api<T>::scal(&n, &alpha, x1.data(), &incx);
      for (int k = 0; k < n; ++k)
        ASSERT_TRUE(close<T>(L(x1[at(k, n, incx)]), L(alpha) * L(x[at(k, n, incx)]), 2));
    }
}

TEST(Level1, AxpyScalCopySwapAllTypes) {
  check_axpy_scal_copy_swap<float>();
  check_axpy_scal_copy_swap<double>();
  check_axpy_scal_copy_swap<zvx_complex8>();
  check_axpy_scal_copy_swap<zvx_complex16>();
}

// Complex axpy on vectors longer than the caches (over 4 MiB) takes a loop of its own; every
// element, the tail after its last full pass included, against the long double product.
template <class T> void check_long_axpy(int n) {
  SCOPED_TRACE(::testing::Message() << info<T>::name << " n " << n);
  auto x = random_vector<T>(n), y = random_vector<T>(n + 1);
  const T alpha = random_value<T>();
  auto y1 = y;
  const int one = 1;
  api<T>::axpy(&n, &alpha, x.data(), &one, y1.data(), &one);
  for (int k = 0; k < n; ++k) ASSERT_TRUE(close<T>(L(y1[k]), L(alpha) * L(x[k]) + L(y[k]), 4)) << k;
  ASSERT_TRUE(same_bits(y1[n], y[n]));  // nothing written past the end
}

// Every start within a 64-byte vector for x and y (equal and different), long enough for the
// loops that first bring their data to a vector boundary: axpy, scal and dot against long double.
template <class T> void check_starts(int n) {
  SCOPED_TRACE(info<T>::name);
  const int one = 1;
  const int per_vector = 64 / (int)sizeof(T);
  for (int ox = 0; ox < per_vector; ++ox)
    for (int oy : {ox, (ox + 1) % per_vector}) {
      SCOPED_TRACE(::testing::Message() << "x at " << ox << " y at " << oy);
      auto xb = random_vector<T>(n + per_vector), yb = random_vector<T>(n + per_vector + 1);
      const T alpha = random_value<T>();
      auto y1 = yb;
      api<T>::axpy(&n, &alpha, xb.data() + ox, &one, y1.data() + oy, &one);
      for (int k = 0; k < n; ++k)
        ASSERT_TRUE(close<T>(L(y1[oy + k]), L(alpha) * L(xb[ox + k]) + L(yb[oy + k]), 4)) << k;
      ASSERT_TRUE(same_bits(y1[oy + n], yb[oy + n]));
      if (oy > 0) ASSERT_TRUE(same_bits(y1[oy - 1], yb[oy - 1]));
      auto x2 = xb;
      api<T>::scal(&n, &alpha, x2.data() + ox, &one);
      for (int k = 0; k < n; ++k) ASSERT_TRUE(close<T>(L(x2[ox + k]), L(alpha) * L(xb[ox + k]), 2)) << k;
      if (ox > 0) ASSERT_TRUE(same_bits(x2[ox - 1], xb[ox - 1]));
      if constexpr (!info<T>::cx) {
        lc want = 0;
        long double mag = 0;
        for (int k = 0; k < n; ++k) {
          want += L(xb[ox + k]) * L(yb[oy + k]);
          mag += std::abs(L(xb[ox + k]) * L(yb[oy + k]));
        }
        const T got = std::is_same_v<T, float> ? (T)sdot(&n, (const float*)xb.data() + ox, &one, (const float*)yb.data() + oy, &one)
                                               : (T)ddot(&n, (const double*)xb.data() + ox, &one, (const double*)yb.data() + oy, &one);
        ASSERT_TRUE(close<T>(L(got), want, mag, 2 * n));
      }
    }
}

TEST(Level1, EveryStartWithinAVector) {
  check_starts<float>(1003);
  check_starts<double>(1003);
  check_starts<zvx_complex8>(1003);
  check_starts<zvx_complex16>(1003);
}

TEST(Level1, ComplexAxpyBeyondTheCaches) {
  for (int extra : {0, 1, 3, 7}) {
    check_long_axpy<zvx_complex16>((4 << 20) / 16 + 64 + extra);
    check_long_axpy<zvx_complex8>((4 << 20) / 8 + 64 + extra);
  }
}

TEST(Level1, ZeroIncrementsAndShortLengths) {
  // axpy with incx 0 adds the same x(1) everywhere; incy 0 accumulates into one element.
  int n = 5, one = 1, zero = 0;
  double x[5] = {2, 9, 9, 9, 9}, y[5] = {1, 1, 1, 1, 1}, alpha = 3;
  daxpy(&n, &alpha, x, &zero, y, &one);
  for (double v : y) EXPECT_EQ(v, 7);
  double acc = 0;
  double xs[5] = {1, 2, 3, 4, 5};
  daxpy(&n, &alpha, xs, &one, &acc, &zero);
  EXPECT_EQ(acc, 45);
  // scal with incx 0 multiplies the first element n times.
  double s = 1;
  double two = 2;
  dscal(&n, &two, &s, &zero);
  EXPECT_EQ(s, 32);
  // n below 1: nothing happens, functions return 0.
  int nn = -1;
  double v[2] = {1, 2};
  dscal(&nn, &two, v, &one);
  EXPECT_EQ(v[0], 1);
  EXPECT_EQ(ddot(&nn, v, &one, v, &one), 0);
  EXPECT_EQ(dnrm2(&nn, v, &one), 0);
  EXPECT_EQ(dasum(&nn, v, &one), 0);
  float fsb = 5, fv[1] = {1};
  EXPECT_EQ(sdsdot(&nn, &fsb, fv, &one, fv, &one), 0);
}

TEST(Level1, SpecialValuesOfScalAndAxpy) {
  int n = 4, one = 1;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  double x[4] = {nan, 1, -2, 3};
  double zero = 0;
  dscal(&n, &zero, x, &one);  // always multiplies: NaN stays
  EXPECT_TRUE(std::isnan(x[0]));
  EXPECT_EQ(x[1], 0);
  // alpha of -0: nothing changes, even where x holds infinity.
  double inf = std::numeric_limits<double>::infinity();
  double xi[4] = {inf, inf, nan, 1}, y[4] = {1, 2, 3, 4};
  double mz = -0.0;
  daxpy(&n, &mz, xi, &one, y, &one);
  EXPECT_EQ(y[0], 1);
  EXPECT_EQ(y[3], 4);
  float fx[4] = {INFINITY, 1, 1, 1}, fy[4] = {1, 2, 3, 4}, fmz = -0.0f;
  saxpy(&n, &fmz, fx, &one, fy, &one);
  EXPECT_EQ(fy[0], 1);
  zvx_complex16 zx[2] = {{inf, 0}, {nan, nan}}, zy[2] = {{1, 1}, {2, 2}}, za = {-0.0, 0.0};
  int two = 2;
  zaxpy(&two, &za, zx, &one, zy, &one);
  EXPECT_EQ(zy[0].real, 1);
  EXPECT_EQ(zy[1].imag, 2);
}

template <class T, class F> void check_real_dot(F dot, long double ulps) {
  for (int n : lengths)
    for (int incx : increments)
      for (int incy : increments) {
        auto x = random_vector<T>(storage(n, incx)), y = random_vector<T>(storage(n, incy));
        long double want = 0, mag = 0;
        for (int k = 0; k < n; ++k) {
          want += (long double)x[at(k, n, incx)] * y[at(k, n, incy)];
          mag += std::fabs((long double)x[at(k, n, incx)] * y[at(k, n, incy)]);
        }
        EXPECT_TRUE(close<T>(dot(&n, x.data(), &incx, y.data(), &incy), want, mag, ulps + 4 + n))
            << "n " << n << " incx " << incx << " incy " << incy;
      }
}

TEST(Level1, RealDotProducts) {
  check_real_dot<double>(ddot, 0);
  check_real_dot<float>(sdot, 0);
  // dsdot and sdsdot sum in extended precision: with float data the result is the rounded sum.
  for (int n : lengths)
    for (int inc : increments) {
      auto x = random_vector<float>(storage(n, inc)), y = random_vector<float>(storage(n, inc));
      long double want = 0;
      for (int k = 0; k < n; ++k) want += (long double)x[at(k, n, inc)] * y[at(k, n, inc)];
      EXPECT_EQ(dsdot(&n, x.data(), &inc, y.data(), &inc), (double)want);
      const float sb = 0.25f;
      if (n > 0) EXPECT_EQ(sdsdot(&n, &sb, x.data(), &inc, y.data(), &inc), (float)(want + 0.25L));
    }
}

TEST(Level1, SdotRoundsInExtendedPrecisionUpToEight) {
  // 1 + 2^-24 - 1: single-precision sums lose the small term, extended ones keep it.
  float x[9] = {1, 0x1p-24f, -1, 0, 0, 0, 0, 0, 0};
  float y[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
  int one = 1;
  int n8 = 8, n9 = 9;
  EXPECT_EQ(sdot(&n8, x, &one, y, &one), 0x1p-24f);
  EXPECT_EQ(sdot(&n9, x, &one, y, &one), 0.0f);
  // dsdot and sdsdot keep it at any length.
  EXPECT_EQ(dsdot(&n9, x, &one, y, &one), 0x1p-24);
  float sb = 0;
  EXPECT_EQ(sdsdot(&n9, &sb, x, &one, y, &one), 0x1p-24f);
}

template <class T, class F> void check_complex_dot(F dotu, F dotc) {
  for (int n : lengths)
    for (int incx : increments)
      for (int incy : increments) {
        auto x = random_vector<T>(storage(n, incx)), y = random_vector<T>(storage(n, incy));
        lc wu = 0, wc = 0;
        long double mag = 0;
        for (int k = 0; k < n; ++k) {
          wu += L(x[at(k, n, incx)]) * L(y[at(k, n, incy)]);
          wc += std::conj(L(x[at(k, n, incx)])) * L(y[at(k, n, incy)]);
          mag += std::abs(L(x[at(k, n, incx)])) * std::abs(L(y[at(k, n, incy)]));
        }
        T ru, rc;
        dotu(&ru, &n, x.data(), &incx, y.data(), &incy);
        dotc(&rc, &n, x.data(), &incx, y.data(), &incy);
        EXPECT_TRUE(close<T>(L(ru), wu, mag, 8 + n)) << n << " " << incx << " " << incy;
        EXPECT_TRUE(close<T>(L(rc), wc, mag, 8 + n)) << n << " " << incx << " " << incy;
      }
}

TEST(Level1, ComplexDotProductsThroughTheHiddenResult) {
  check_complex_dot<zvx_complex8>(cdotu, cdotc);
  check_complex_dot<zvx_complex16>(zdotu, zdotc);
}

// Unit-stride complex dots from every start within a 64-byte vector, x and y at the same and at
// different offsets, over lengths around the four-vector pass and around the length from which
// the kernels first bring x to a vector boundary.
template <class T, class F> void check_complex_dot_starts(F dotu, F dotc) {
  SCOPED_TRACE(info<T>::name);
  const int one = 1;
  const int per_vector = 64 / (int)sizeof(T);
  for (int n : {1, 5, 15, 16, 17, 31, 32, 33, 34, 35, 47, 48, 49, 63, 64, 65, 66, 67, 95, 129, 1003})
    for (int ox = 0; ox < per_vector; ++ox)
      for (int oy : {ox, (ox + 1) % per_vector, (ox + per_vector / 2) % per_vector}) {
        auto xb = random_vector<T>(n + per_vector), yb = random_vector<T>(n + per_vector);
        const T* x = xb.data() + ox;
        const T* y = yb.data() + oy;
        lc wu = 0, wc = 0;
        long double mag = 0;
        for (int k = 0; k < n; ++k) {
          wu += L(x[k]) * L(y[k]);
          wc += std::conj(L(x[k])) * L(y[k]);
          mag += std::abs(L(x[k])) * std::abs(L(y[k]));
        }
        T ru, rc;
        dotu(&ru, &n, x, &one, y, &one);
        dotc(&rc, &n, x, &one, y, &one);
        EXPECT_TRUE(close<T>(L(ru), wu, mag, 8 + n)) << n << " x at " << ox << " y at " << oy;
        EXPECT_TRUE(close<T>(L(rc), wc, mag, 8 + n)) << n << " x at " << ox << " y at " << oy;
      }
}

TEST(Level1, ComplexDotsFromEveryStartWithinAVector) {
  check_complex_dot_starts<zvx_complex8>(cdotu, cdotc);
  check_complex_dot_starts<zvx_complex16>(zdotu, zdotc);
}

template <class T> void check_norms_sums_positions() {
  SCOPED_TRACE(info<T>::name);
  for (int n : lengths)
    for (int inc : {1, -1, 2, -3, 0}) {
      auto x = random_vector<T>(storage(n, inc));
      long double ss = 0, s1 = 0;
      for (int k = 0; k < n; ++k) {
        ss += std::norm(L(x[at(k, n, inc)]));
        s1 += abs1<T>(L(x[at(k, n, inc)]));
      }
      EXPECT_TRUE(close<T>(api<T>::nrm2(&n, x.data(), &inc), std::sqrt(ss), 0, 4 + n)) << n << " " << inc;
      EXPECT_TRUE(close<T>(api<T>::asum(&n, x.data(), &inc), s1, 0, 4 + n)) << n << " " << inc;
      // Positions: first of the largest (smallest) |re| + |im|; 0 for n < 1 or inc < 1.
      int want_max = 0, want_min = 0;
      if (n >= 1 && inc >= 1) {
        want_max = want_min = 1;
        long double mx = abs1<T>(L(x[0])), mn = mx;
        for (int k = 1; k < n; ++k) {
          const long double v = abs1<T>(L(x[(size_t)k * inc]));
          if (v > mx) { mx = v; want_max = k + 1; }
          if (v < mn) { mn = v; want_min = k + 1; }
        }
      }
      EXPECT_EQ(api<T>::iamax(&n, x.data(), &inc), want_max) << n << " " << inc;
      EXPECT_EQ(api<T>::iamin(&n, x.data(), &inc), want_min) << n << " " << inc;
    }
}

TEST(Level1, NormsSumsAndPositionsAllTypes) {
  check_norms_sums_positions<float>();
  check_norms_sums_positions<double>();
  check_norms_sums_positions<zvx_complex8>();
  check_norms_sums_positions<zvx_complex16>();
}

TEST(Level1, PositionsWithTiesAndNaN) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  int one = 1;
  for (int n : {2, 5, 40, 100}) {
    std::vector<double> x(n, -3.0);
    EXPECT_EQ(idamax(&n, x.data(), &one), 1);  // all equal: the first
    EXPECT_EQ(idamin(&n, x.data(), &one), 1);
    x[n - 1] = 3.0;
    EXPECT_EQ(idamax(&n, x.data(), &one), 1);  // equal magnitude later: still the first
    x[0] = nan;
    EXPECT_EQ(idamax(&n, x.data(), &one), 1);  // NaN first stays the maximum
    EXPECT_EQ(idamin(&n, x.data(), &one), 1);
    x[0] = 1;
    x[1] = nan;
    EXPECT_EQ(idamax(&n, x.data(), &one), n > 2 ? 3 : 1);  // NaN elsewhere is skipped
    std::vector<float> f(n, 1.0f);
    f[n / 2] = -7.0f;
    f[n - 1] = 7.0f;
    EXPECT_EQ(isamax(&n, f.data(), &one), n / 2 + 1);
  }
  // Long vectors (the one-pass form): ties, NaN, and the last element.
  for (int n : {200000, 300001}) {
    std::vector<double> x(n, 0.5);
    std::vector<float> f(n, 0.5f);
    x[1] = nan;
    f[2] = std::numeric_limits<float>::quiet_NaN();
    x[n / 2] = -4;
    x[n / 2 + 9] = 4;
    f[n / 3] = 4;
    f[n - 1] = -4;
    EXPECT_EQ(idamax(&n, x.data(), &one), n / 2 + 1);
    EXPECT_EQ(isamax(&n, f.data(), &one), n / 3 + 1);
    x[n - 1] = 5;
    EXPECT_EQ(idamax(&n, x.data(), &one), n);
    std::vector<zvx_complex16> z(n, zvx_complex16{0.25, 0.25});
    std::vector<zvx_complex8> c(n, zvx_complex8{0.25f, 0.25f});
    z[3] = {nan, 0};
    z[n / 2] = {-1, 2};
    z[n / 2 + 5] = {3, 0};
    c[n / 4] = {0, -3};
    c[n - 2] = {2, 1};
    EXPECT_EQ(izamax(&n, z.data(), &one), n / 2 + 1);
    EXPECT_EQ(icamax(&n, c.data(), &one), n / 4 + 1);
  }
  // Complex forms over the vector paths: ties on |re| + |im|, NaN skipped unless first.
  for (int n : {3, 9, 37, 64}) {
    std::vector<zvx_complex16> zv(n, zvx_complex16{0.5, -0.25});
    std::vector<zvx_complex8> cv(n, zvx_complex8{0.5f, -0.25f});
    zv[n / 3] = {-1.0, 2.0};
    zv[n - 1] = {2.0, -1.0};
    cv[n / 2] = {0.0f, -3.0f};
    cv[n - 1] = {3.0f, 0.0f};
    EXPECT_EQ(izamax(&n, zv.data(), &one), n / 3 + 1);
    EXPECT_EQ(icamax(&n, cv.data(), &one), n / 2 + 1);
    zv[1] = {nan, 0.0};
    EXPECT_EQ(izamax(&n, zv.data(), &one), n / 3 == 1 ? n : n / 3 + 1);
    zv[0] = {0.0, nan};
    EXPECT_EQ(izamax(&n, zv.data(), &one), 1);
    EXPECT_EQ(izamin(&n, zv.data(), &one), 1);
  }
  zvx_complex16 z[3] = {{1, -2}, {-2, 1}, {0, 2.5}};
  int three = 3;
  EXPECT_EQ(izamax(&three, z, &one), 1);  // |re| + |im| ties at 3: the first
  int zero = 0;
  EXPECT_EQ(izamax(&three, z, &zero), 0);
  int neg = -1;
  EXPECT_EQ(idamax(&three, &z[0].real, &neg), 0);
}

// Sums of magnitudes and positions of the largest from every start within a 64-byte vector: the
// loops first take the elements up to a vector boundary, the positions by the scalar rule. Lengths
// around the eight-vector pass of the sums (and its four-, two- and one-vector rests), and for
// the positions the one-pass length, with the largest in the first elements, tied between them
// and a later lane, and in the tail.
template <class T> void check_sum_and_position_starts() {
  SCOPED_TRACE(info<T>::name);
  const int one = 1;
  const int per_vector = 64 / (int)sizeof(T);
  const int reals = info<T>::cx ? 2 : 1;
  const int lanes = 64 / (int)sizeof(R_t<T>);  // a vector of the sum kernels, in reals
  const int one_pass = (int)(zvx::blas12::iamax_one_pass_bytes / (long)sizeof(T)) + 3;
  for (int n : {1003, (16 * lanes + 7 * lanes + 5) / reals, one_pass})
    for (int ox = 0; ox < per_vector; ++ox) {
      SCOPED_TRACE(::testing::Message() << "n " << n << " x at " << ox);
      auto xb = random_vector<T>(n + per_vector);
      const T* x = xb.data() + ox;
      long double s1 = 0;
      for (int k = 0; k < n; ++k) s1 += abs1<T>(L(x[k]));
      ASSERT_TRUE(close<T>(api<T>::asum(&n, x, &one), s1, 0, 4 + n / 8));
      const int head = per_vector - ox;  // at least: the elements before the first boundary
      for (int where : {0, head - 1, n - 1}) {
        auto v = xb;
        T* y = v.data() + ox;
        y[where] = make<T>(lc(3, 0));
        ASSERT_EQ(api<T>::iamax(&n, y, &one), where + 1) << where;
        y[head + 2 * per_vector + 1] = make<T>(lc(-3, 0));  // a tie in a later lane: the first stays
        ASSERT_EQ(api<T>::iamax(&n, y, &one), std::min(where, head + 2 * per_vector + 1) + 1) << where;
      }
    }
}

TEST(Level1, SumsAndPositionsFromEveryStartWithinAVector) {
  check_sum_and_position_starts<float>();
  check_sum_and_position_starts<double>();
  check_sum_and_position_starts<zvx_complex8>();
  check_sum_and_position_starts<zvx_complex16>();
}

TEST(Level1, Nrm2KeepsTheRange) {
  int one = 1, n = 3, zero = 0;
  double big[3] = {1e200, 0, 0};
  EXPECT_EQ(dnrm2(&n, big, &one), 1e200);
  double tiny[3] = {3e-200, 4e-200, 0};
  EXPECT_NEAR(dnrm2(&n, tiny, &one) / 5e-200, 1, 1e-15);
  double many[40];
  for (double& v : many) v = 1e300;
  int n40 = 40;
  EXPECT_NEAR(dnrm2(&n40, many, &one) / (1e300 * std::sqrt(40.0)), 1, 1e-15);
  int two = 2, n20 = 20;
  EXPECT_NEAR(dnrm2(&n20, many, &two) / (1e300 * std::sqrt(20.0)), 1, 1e-15);
  // incx 0: sqrt(n) * |x(1)|.
  double x0 = -3;
  int n4 = 4;
  EXPECT_EQ(dnrm2(&n4, &x0, &zero), 6);
  zvx_complex16 zb[2] = {{3e200, 4e200}, {0, 0}};
  EXPECT_NEAR(dznrm2(&two, zb, &one) / 5e200, 1, 1e-15);
  float fb[2] = {3e30f, 4e30f};
  EXPECT_NEAR(snrm2(&two, fb, &one) / 5e30f, 1, 1e-6);
  // dasum with -2 sums the same elements as with 2.
  double v[7] = {1, 100, -2, 100, 4, 100, -8};
  int m2 = -2;
  EXPECT_EQ(dasum(&n4, v, &two), 15);
  EXPECT_EQ(dasum(&n4, v, &m2), 15);
  EXPECT_EQ(dcabs1(&zb[0]), 7e200);
}

template <class T, class S> void check_rot(void (*rot)(const int*, T*, const int*, T*, const int*, const R_t<T>*, const S*)) {
  for (int n : lengths)
    for (int incx : increments)
      for (int incy : increments) {
        auto x = random_vector<T>(storage(n, incx)), y = random_vector<T>(storage(n, incy));
        const R_t<T> c = (R_t<T>)0.6;
        const S s = random_value<S>();
        auto x1 = x, y1 = y;
        rot(&n, x1.data(), &incx, y1.data(), &incy, &c, &s);
        for (int k = 0; k < n; ++k) {
          const lc xv = L(x[at(k, n, incx)]), yv = L(y[at(k, n, incy)]);
          ASSERT_TRUE(close<T>(L(x1[at(k, n, incx)]), (long double)c * xv + L(s) * yv, 4));
          ASSERT_TRUE(close<T>(L(y1[at(k, n, incy)]), (long double)c * yv - std::conj(L(s)) * xv, 4));
        }
      }
}

TEST(Level1, RotationsAllForms) {
  check_rot<float, float>(srot);
  check_rot<double, double>(drot);
  check_rot<zvx_complex8, zvx_complex8>(crot);
  check_rot<zvx_complex16, zvx_complex16>(zrot);
  check_rot<zvx_complex8, float>(csrot);
  check_rot<zvx_complex16, double>(zdrot);
}

TEST(Level1, RotationGenerators) {
  for (auto [a0, b0] : {std::pair{3.0, 4.0}, {-3.0, 4.0}, {5.0, -1.0}, {0.0, 2.0}, {2.0, 0.0}, {0.0, 0.0}, {-1e-300, 1e-300}}) {
    double a = a0, b = b0, c, s;
    drotg(&a, &b, &c, &s);
    // The rotation annihilates b and a carries r.
    EXPECT_NEAR(c * a0 + s * b0, a, 1e-15 * std::fabs(a) + 1e-300);
    EXPECT_NEAR(-s * a0 + c * b0, 0, 1e-15 * std::fabs(a) + 1e-300);
    if (a0 == 0 && b0 == 0) {
      EXPECT_EQ(c, 1);
      EXPECT_EQ(s, 0);
      EXPECT_EQ(b, 0);
    } else {
      EXPECT_NEAR(c * c + s * s, 1, 1e-15);
      const double z = std::fabs(a0) > std::fabs(b0) ? s : (c != 0 ? 1 / c : 1);
      EXPECT_EQ(b, z);
      EXPECT_EQ(a < 0, (std::fabs(a0) > std::fabs(b0) ? a0 : b0) < 0);
    }
    float fa = (float)a0, fb = (float)b0, fc, fs;
    srotg(&fa, &fb, &fc, &fs);
    if (a0 != 0 || b0 != 0) EXPECT_NEAR(fc * fc + fs * fs, 1, 1e-6);
  }
  for (auto [ar, ai, br, bi] : {std::array{3.0, 1.0, -2.0, 4.0}, {0.0, 0.0, 1.0, 2.0}, {1.0, 0.0, 0.0, 0.0}}) {
    zvx_complex16 a = {ar, ai}, b = {br, bi}, s;
    double c;
    zrotg(&a, &b, &c, &s);
    const lc A(ar, ai), B(br, bi), S(s.real, s.imag);
    EXPECT_NEAR(std::abs((long double)c * A + S * B - L(a)), 0, 1e-14);
    EXPECT_NEAR(std::abs(-std::conj(S) * A + (long double)c * B), 0, 1e-14);
    zvx_complex8 ca = {(float)ar, (float)ai}, cb = {(float)br, (float)bi}, cs;
    float cc;
    crotg(&ca, &cb, &cc, &cs);
    EXPECT_NEAR(std::abs((long double)cc * A + L(cs) * B - L(ca)), 0, 1e-5);
  }
}

template <class R> void check_rotm_rotmg(void (*rotm)(const int*, R*, const int*, R*, const int*, const R*),
                                        void (*rotmg)(R*, R*, R*, const R*, R*), long double tol) {
  // rotmg: H applied to (x1, y1) zeroes the second component and d1' x1'^2 = d1 x1^2 + d2 y1^2.
  for (auto v : {std::array<R, 4>{2, 3, 1, 0.5}, {1, 1, 1e-5, 3}, {1e-9, 1, 1, 1}, {4, 1e10, 1, 1}, {-1, 1, 1, 1}, {1, 1, 1, 0}, {1, 2, 3, 4}}) {
    R d1 = v[0], d2 = v[1], x1 = v[2], y1 = v[3], p[5] = {0, 0, 0, 0, 0};
    rotmg(&d1, &d2, &x1, &y1, p);
    R h11, h12, h21, h22;
    if (p[0] == -2) continue;  // identity, y1 d2 was 0
    if (p[0] == -1) { h11 = p[1]; h21 = p[2]; h12 = p[3]; h22 = p[4]; }
    else if (p[0] == 0) { h11 = 1; h21 = p[2]; h12 = p[3]; h22 = 1; }
    else { h11 = p[1]; h21 = -1; h12 = 1; h22 = p[4]; }
    if (v[0] < 0) {
      EXPECT_EQ(d1, 0);
      EXPECT_EQ(p[0], -1);
      continue;
    }
    const long double nx = (long double)h11 * v[2] + (long double)h12 * v[3];
    const long double ny = (long double)h21 * v[2] + (long double)h22 * v[3];
    EXPECT_NEAR(ny, 0, tol * std::fabs(nx));
    EXPECT_NEAR(nx, x1, tol * std::fabs(nx));
    const long double before = (long double)v[0] * v[2] * v[2] + (long double)v[1] * v[3] * v[3];
    EXPECT_NEAR((long double)d1 * x1 * x1, before, tol * before);
  }
  // rotm with each flag against the explicit matrix.
  for (R flag : {R(-2), R(-1), R(0), R(1)}) {
    const R param[5] = {flag, R(0.5), R(-0.25), R(2), R(1.5)};
    R h11 = param[1], h21 = param[2], h12 = param[3], h22 = param[4];
    if (flag == 0) h11 = h22 = 1;
    if (flag == 1) { h21 = -1; h12 = 1; }
    for (int n : {0, 1, 5, 17})
      for (int incx : increments)
        for (int incy : increments) {
          auto x = random_vector<R>(storage(n, incx)), y = random_vector<R>(storage(n, incy));
          auto x1 = x, y1 = y;
          rotm(&n, x1.data(), &incx, y1.data(), &incy, param);
          for (int k = 0; k < n; ++k) {
            const long double w = x[at(k, n, incx)], z = y[at(k, n, incy)];
            const long double wx = flag == -2 ? w : h11 * w + h12 * z, wy = flag == -2 ? z : h21 * w + h22 * z;
            EXPECT_NEAR(x1[at(k, n, incx)], wx, 8 * tol);
            EXPECT_NEAR(y1[at(k, n, incy)], wy, 8 * tol);
          }
        }
  }
}

TEST(Level1, ModifiedGivens) {
  check_rotm_rotmg<double>(drotm, drotmg, 1e-13);
  check_rotm_rotmg<float>(srotm, srotmg, 1e-5);
}

TEST(Level1, ReflectorOfOrderThree) {
  for (int n : {0, 1, 5, 33}) {
    auto x = random_vector<double>(n + 1), y = random_vector<double>(n + 1), z = random_vector<double>(n + 1);
    const double t = 0.7, v2 = -0.3, v3 = 1.1;
    auto x1 = x, y1 = y, z1 = z;
    int bogus = 99;  // drot3 walks contiguously whatever the increments say
    drot3(&n, x1.data(), &bogus, y1.data(), &bogus, z1.data(), &bogus, &t, &v2, &v3);
    for (int i = 0; i < n; ++i) {
      const long double w = ((long double)v3 * z[i] + (long double)v2 * y[i] + x[i]) * t;
      EXPECT_NEAR(x1[i], x[i] - w, 1e-15);
      EXPECT_NEAR(y1[i], y[i] - v2 * w, 1e-15);
      EXPECT_NEAR(z1[i], z[i] - w * v3, 1e-15);
    }
    for (int inc : increments) {
      auto fx = random_vector<float>(storage(n, inc)), fy = random_vector<float>(storage(n, inc)), fz = random_vector<float>(storage(n, inc));
      const float ft = 0.7f, fv2 = -0.3f, fv3 = 1.1f;
      auto gx = fx, gy = fy, gz = fz;
      srot3(&n, gx.data(), &inc, gy.data(), &inc, gz.data(), &inc, &ft, &fv2, &fv3);
      for (int k = 0; k < n; ++k) {
        const size_t i = at(k, n, inc);
        const long double w = ((long double)fv3 * fz[i] + (long double)fv2 * fy[i] + fx[i]) * ft;
        EXPECT_NEAR(gx[i], fx[i] - w, 1e-6);
        EXPECT_NEAR(gy[i], fy[i] - fv2 * w, 1e-6);
        EXPECT_NEAR(gz[i], fz[i] - w * fv3, 1e-6);
      }
    }
  }
}

TEST(Level1, RealScalingOfComplexAndCopyAlignment) {
  for (int n : lengths)
    for (int inc : increments) {
      auto x = random_vector<zvx_complex16>(storage(n, inc));
      auto x1 = x;
      const double a = -1.5;
      zdscal(&n, &a, x1.data(), &inc);
      auto c = random_vector<zvx_complex8>(storage(n, inc));
      auto c1 = c;
      const float fa = 0.5f;
      csscal(&n, &fa, c1.data(), &inc);
      for (int k = 0; k < n; ++k) {
        EXPECT_EQ(x1[at(k, n, inc)].imag, a * x[at(k, n, inc)].imag);
        EXPECT_EQ(c1[at(k, n, inc)].real, fa * c[at(k, n, inc)].real);
      }
    }
  // Cached copies to every misalignment of y within a vector, and float copies.
  const int unit = 1;
  for (int off = 0; off < 8; ++off) {
    int n = 1001;
    std::vector<double> src(n + 8), dst(n + 16, -1.0);
    for (int i = 0; i < n + 8; ++i) src[i] = i + 0.5;
    dcopy(&n, src.data() + 1, &unit, dst.data() + off, &unit);
    EXPECT_TRUE(std::equal(src.begin() + 1, src.begin() + 1 + n, dst.begin() + off)) << off;
    if (off > 0) EXPECT_EQ(dst[off - 1], -1.0);
    EXPECT_EQ(dst[off + n], -1.0);
    std::vector<float> fs(n + 8, 2.5f), fd(n + 16, -1.0f);
    scopy(&n, fs.data(), &unit, fd.data() + off, &unit);
    EXPECT_EQ(fd[off + n - 1], 2.5f);
    EXPECT_EQ(fd[off + n], -1.0f);
  }
  // Copies from every misalignment, long enough for the streaming path.
  const int big = (5 << 20) / 8 + 13;
  std::vector<double> src(big + 8), dst(big + 8);
  for (int i = 0; i < big + 8; ++i) src[i] = i;
  int one = 1;
  for (int off = 0; off < 3; ++off) {
    std::fill(dst.begin(), dst.end(), -1.0);
    dcopy(&big, src.data() + off, &one, dst.data() + 1 + off, &one);
    EXPECT_EQ(dst[off], -1.0);
    EXPECT_EQ(dst[1 + off], off);
    EXPECT_EQ(dst[big + off], big - 1 + off);
    EXPECT_EQ(dst[big + 1 + off], -1.0);
    EXPECT_TRUE(std::equal(src.begin() + off, src.begin() + off + big, dst.begin() + 1 + off));
  }
}

}  // namespace

// Vectors from the size where the unit paths ask for their pages' translations ahead, placed so
// that the last element ends right before an inaccessible page: the requests stay within the
// vectors, and the results are those of long double loops.
TEST(Level1, LongVectorsEndingAtAnInaccessiblePage) {
  const long page = sysconf(_SC_PAGESIZE);
  for (long n : {zvx::blas12::translation_request_from_bytes / 8, zvx::blas12::translation_request_from_bytes / 8 + 37}) {
    SCOPED_TRACE(::testing::Message() << "n " << n);
    const long bytes = n * 8, span = (bytes + page - 1) / page * page;
    auto map = [&](long len) {
      char* p = static_cast<char*>(mmap(nullptr, len + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
      EXPECT_NE(p, MAP_FAILED);
      EXPECT_EQ(mprotect(p + len, page, PROT_NONE), 0);
      return p;
    };
    char* xm = map(span);
    char* ym = map(span);
    double* x = reinterpret_cast<double*>(xm + span - bytes);
    double* y = reinterpret_cast<double*>(ym + span - bytes);
    long double dot = 0, asum = 0;
    for (long i = 0; i < n; ++i) {
      x[i] = std::sin(0.37 * i);
      y[i] = std::cos(0.11 * i);
      dot += (long double)x[i] * y[i];
      asum += std::fabs((long double)x[i]);
    }
    const int len = (int)n, one = 1;
    EXPECT_NEAR(ddot(&len, x, &one, y, &one), (double)dot, 1e-12 * n);
    EXPECT_NEAR(dasum(&len, x, &one), (double)asum, 1e-12 * n);
    const double alpha = 0.5;
    std::vector<double> y0(y, y + n);
    daxpy(&len, &alpha, x, &one, y, &one);
    for (long i = 0; i < n; ++i) ASSERT_NEAR(y[i], (double)(y0[i] + (long double)alpha * x[i]), 4e-16) << i;
    dcopy(&len, x, &one, y, &one);
    EXPECT_EQ(std::memcmp(x, y, bytes), 0);
    munmap(xm, span + page);
    munmap(ym, span + page);
  }
}

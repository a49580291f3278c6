// Sparse-vector routines against plain loops over (value, position) pairs, repeated positions
// included, in all four types.
#include "reference.h"

using namespace ref;

namespace {

template <class T> struct sp;
#define SP(p, T)                                   \
  template <> struct sp<T> {                       \
    static constexpr auto axpyi = p##axpyi;        \
    static constexpr auto gthr = p##gthr;          \
    static constexpr auto gthrz = p##gthrz;        \
    static constexpr auto sctr = p##sctr;          \
  };
SP(s, float)
SP(d, double)
SP(c, zvx_complex8)
SP(z, zvx_complex16)

// Positions with repeats, ascending and scrambled.
std::vector<int> positions(int nz, int len) {
  std::vector<int> p(nz);
  for (int i = 0; i < nz; ++i) p[i] = 1 + (int)((i * 7 + (i % 3) * 5) % len);
  return p;
}

template <class T> void check_family() {
  SCOPED_TRACE(info<T>::name);
  const int len = 23;
  for (int nz : {-1, 0, 1, 5, 40}) {
    const auto indx = positions(std::max(nz, 0), len);
    auto x = random_vector<T>(std::max(nz, 1)), y = random_vector<T>(len);
    const T a = random_value<T>();
    // axpyi: additions to a repeated position add up.
    auto y1 = y;
    sp<T>::axpyi(&nz, &a, x.data(), indx.data(), y1.data());
    std::vector<lc> want(len);
    for (int i = 0; i < len; ++i) want[i] = L(y[i]);
    for (int i = 0; i < nz; ++i) want[indx[i] - 1] += L(a) * L(x[i]);
    for (int i = 0; i < len; ++i) EXPECT_TRUE(close<T>(L(y1[i]), want[i], 4, 8)) << nz << " " << i;
    // gthr and sctr: later writes win.
    auto g = x;
    sp<T>::gthr(&nz, y.data(), g.data(), indx.data());
    for (int i = 0; i < nz; ++i) EXPECT_TRUE(same_bits(g[i], y[indx[i] - 1]));
    auto ys = y;
    sp<T>::sctr(&nz, x.data(), indx.data(), ys.data());
    auto yw = y;
    for (int i = 0; i < nz; ++i) yw[indx[i] - 1] = x[i];
    for (int i = 0; i < len; ++i) EXPECT_TRUE(same_bits(ys[i], yw[i]));
    // gthrz: a repeated position gathers the zero left by its first gather.
    auto gz = x;
    auto yz = y;
    sp<T>::gthrz(&nz, yz.data(), gz.data(), indx.data());
    std::vector<bool> seen(len, false);
    for (int i = 0; i < nz; ++i) {
      const int p = indx[i] - 1;
      if (seen[p]) EXPECT_EQ(L(gz[i]), lc(0));
      else EXPECT_TRUE(same_bits(gz[i], y[p]));
      seen[p] = true;
      EXPECT_EQ(L(yz[p]), lc(0));
    }
  }
}

TEST(SparseVector, AxpyiGatherScatterAllTypes) {
  check_family<float>();
  check_family<double>();
  check_family<zvx_complex8>();
  check_family<zvx_complex16>();
}

TEST(SparseVector, DotProducts) {
  const int len = 31;
  for (int nz : {0, 1, 7, 50}) {
    const auto indx = positions(nz, len);
    auto xd = random_vector<double>(nz + 1), yd = random_vector<double>(len);
    long double want = 0;
    for (int i = 0; i < nz; ++i) want += (long double)xd[i] * yd[indx[i] - 1];
    EXPECT_EQ(ddoti(&nz, xd.data(), indx.data(), yd.data()), (double)want);  // extended sum, rounded once
    auto xs = random_vector<float>(nz + 1), ys = random_vector<float>(len);
    long double wants = 0;
    for (int i = 0; i < nz; ++i) wants += (long double)xs[i] * ys[indx[i] - 1];
    EXPECT_EQ(sdoti(&nz, xs.data(), indx.data(), ys.data()), (float)wants);
    auto xc = random_vector<zvx_complex8>(nz + 1), yc = random_vector<zvx_complex8>(len);
    auto xz = random_vector<zvx_complex16>(nz + 1), yz = random_vector<zvx_complex16>(len);
    lc cu = 0, cc = 0, zu = 0, zc = 0;
    for (int i = 0; i < nz; ++i) {
      cu += L(xc[i]) * L(yc[indx[i] - 1]);
      cc += std::conj(L(xc[i])) * L(yc[indx[i] - 1]);
      zu += L(xz[i]) * L(yz[indx[i] - 1]);
      zc += std::conj(L(xz[i])) * L(yz[indx[i] - 1]);
    }
    zvx_complex8 rcu, rcc;
    zvx_complex16 rzu, rzc;
    cdotui(&rcu, &nz, xc.data(), indx.data(), yc.data());
    cdotci(&rcc, &nz, xc.data(), indx.data(), yc.data());
    zdotui(&rzu, &nz, xz.data(), indx.data(), yz.data());
    zdotci(&rzc, &nz, xz.data(), indx.data(), yz.data());
    EXPECT_TRUE(close<zvx_complex8>(L(rcu), cu, 2.0L * nz, 8));
    EXPECT_TRUE(close<zvx_complex8>(L(rcc), cc, 2.0L * nz, 8));
    EXPECT_TRUE(close<zvx_complex16>(L(rzu), zu, 2.0L * nz, 8));
    EXPECT_TRUE(close<zvx_complex16>(L(rzc), zc, 2.0L * nz, 8));
  }
}

TEST(SparseVector, RotationsAndShortCuts) {
  const int len = 19;
  for (int nz : {0, 1, 6, 12}) {
    std::vector<int> indx(nz);
    for (int i = 0; i < nz; ++i) indx[i] = 1 + (i * 3) % len;  // distinct positions
    auto x = random_vector<double>(nz + 1), y = random_vector<double>(len);
    const double c = 0.8, s = -0.6;
    auto x1 = x, y1 = y;
    droti(&nz, x1.data(), indx.data(), y1.data(), &c, &s);
    for (int i = 0; i < nz; ++i) {
      const double t = y[indx[i] - 1];
      EXPECT_NEAR(y1[indx[i] - 1], c * t - s * x[i], 1e-15);
      EXPECT_NEAR(x1[i], c * x[i] + s * t, 1e-15);
    }
    auto fx = random_vector<float>(nz + 1), fy = random_vector<float>(len);
    const float fc = 0.8f, fs = 0.6f;
    auto fx1 = fx, fy1 = fy;
    sroti(&nz, fx1.data(), indx.data(), fy1.data(), &fc, &fs);
    for (int i = 0; i < nz; ++i) EXPECT_NEAR(fx1[i], fc * fx[i] + fs * fy[indx[i] - 1], 1e-6);
  }
  // c 1 and s 0, or a 0: nothing is read, so NaN in x doesn't spread and bad positions are safe.
  const double nan = std::numeric_limits<double>::quiet_NaN();
  double x[2] = {nan, nan}, y[3] = {1, 2, 3};
  int bad[2] = {1000000, -1000000}, two = 2;
  const double one = 1, zero = 0;
  droti(&two, x, bad, y, &one, &zero);
  daxpyi(&two, &zero, x, bad, y);
  const zvx_complex16 czero = {0, 0};
  zvx_complex16 zx[2] = {{nan, nan}, {nan, nan}}, zy[1] = {{1, 1}};
  zaxpyi(&two, &czero, zx, bad, zy);
  EXPECT_EQ(y[0], 1);
  EXPECT_EQ(zy[0].real, 1);
}

}  // namespace

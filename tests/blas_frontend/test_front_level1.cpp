// Every level-1 routine of the Fortran interface of libzvx_blas.so.3 against the reference BLAS
// (Debian's libblas3, the oracle), both loaded privately with dlopen: lengths below 1, zero,
// negative and positive increments, results and every element the routine may write. The
// standard interface fixes what a routine does with n < 1 or a non-positive increment, so the
// two must agree there exactly; elsewhere up to rounding.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdlib>
#include <string>
#include <vector>

#ifndef ZVX_FRONT_LIBRARY
#error "ZVX_FRONT_LIBRARY names the library under test"
#endif

namespace {

const char* reference_path = "/usr/lib/x86_64-linux-gnu/blas/libblas.so.3";

struct libs {
  void* ours = nullptr;
  void* ref = nullptr;
  libs() {
    ours = dlopen(ZVX_FRONT_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ref = dlopen(reference_path, RTLD_NOW | RTLD_LOCAL);
  }
};
libs& handles() {
  static libs l;
  return l;
}

template <class F> F sym(void* h, const char* name) {
  return reinterpret_cast<F>(dlsym(h, name));
}

using c8 = std::complex<float>;
using c16 = std::complex<double>;
template <class T> struct real_of { using type = T; };
template <class R> struct real_of<std::complex<R>> { using type = R; };
template <class T> using R = typename real_of<T>::type;

template <class T> double tol() { return sizeof(R<T>) == 4 ? 2e-5 : 1e-13; }
template <class T> double mag(T v) { return std::abs(v); }

template <class T> std::vector<T> data(int len, int seed) {
  std::vector<T> v(len);
  for (int i = 0; i < len; ++i) {
    double a = std::sin(1.7 * (i + 1) + seed), b = std::cos(0.9 * (i + 3) * seed + 1);
    if constexpr (std::is_same_v<T, c8> || std::is_same_v<T, c16>) v[i] = T(a, b);
    else v[i] = T(a);
  }
  return v;
}

template <class T> void expect_close(const std::vector<T>& a, const std::vector<T>& b,
                                     const std::string& what) {
  ASSERT_EQ(a.size(), b.size());
  for (size_t i = 0; i < a.size(); ++i)
    EXPECT_LE(mag(T(a[i] - b[i])), tol<T>() * (1 + mag(b[i]))) << what << " element " << i;
}
template <class S> void expect_close(S a, S b, const std::string& what) {
  EXPECT_LE(mag(a - b), tol<S>() * (1 + mag(b))) << what;
}

const int lengths[] = {-1, 0, 1, 4, 7};
const int incs[] = {-2, -1, 0, 1, 3};
constexpr int room = 32;  // every vector below has room for 7 elements at increment 3

std::string where(const char* name, int n, int incx, int incy = 1) {
  return std::string(name) + " n=" + std::to_string(n) + " incx=" + std::to_string(incx) +
         " incy=" + std::to_string(incy);
}

// Routines of (n, x, incx, y, incy) that write x and/or y: swap, copy, axpy, rot, rotm.
template <class T, class... Extra>
void two_vectors(const char* name, const Extra*... extra) {
  using F = void (*)(const int*, T*, const int*, T*, const int*, const Extra*...);
  auto fo = sym<F>(handles().ours, name), fr = sym<F>(handles().ref, name);
  ASSERT_TRUE(fo && fr) << name;
  for (int n : lengths)
    for (int ix : incs)
      for (int iy : {-1, 2}) {
        auto x1 = data<T>(room, 1), y1 = data<T>(room, 2), x2 = x1, y2 = y1;
        fo(&n, x1.data(), &ix, y1.data(), &iy, extra...);
        fr(&n, x2.data(), &ix, y2.data(), &iy, extra...);
        expect_close(x1, x2, where(name, n, ix, iy));
        expect_close(y1, y2, where(name, n, ix, iy));
      }
}

// axpy and copy read x; their signatures put alpha first (axpy) or nothing (copy).
template <class T> void axpy(const char* name, T alpha) {
  using F = void (*)(const int*, const T*, const T*, const int*, T*, const int*);
  auto fo = sym<F>(handles().ours, name), fr = sym<F>(handles().ref, name);
  ASSERT_TRUE(fo && fr) << name;
  for (int n : lengths)
    for (int ix : incs)
      for (int iy : {-2, 1, 3}) {
        auto x = data<T>(room, 1), y1 = data<T>(room, 2), y2 = y1;
        fo(&n, &alpha, x.data(), &ix, y1.data(), &iy);
        fr(&n, &alpha, x.data(), &ix, y2.data(), &iy);
        expect_close(y1, y2, where(name, n, ix, iy));
      }
}
template <class T> void copy(const char* name) {
  using F = void (*)(const int*, const T*, const int*, T*, const int*);
  auto fo = sym<F>(handles().ours, name), fr = sym<F>(handles().ref, name);
  ASSERT_TRUE(fo && fr) << name;
  for (int n : lengths)
    for (int ix : incs)
      for (int iy : {-2, 1, 3}) {
        auto x = data<T>(room, 1), y1 = data<T>(room, 2), y2 = y1;
        fo(&n, x.data(), &ix, y1.data(), &iy);
        fr(&n, x.data(), &ix, y2.data(), &iy);
        expect_close(y1, y2, where(name, n, ix, iy));
      }
}
// scal: (n, alpha, x, incx) with alpha of type A.
template <class T, class A> void scal(const char* name, A alpha) {
  using F = void (*)(const int*, const A*, T*, const int*);
  auto fo = sym<F>(handles().ours, name), fr = sym<F>(handles().ref, name);
  ASSERT_TRUE(fo && fr) << name;
  for (int n : lengths)
    for (int ix : incs) {
      auto x1 = data<T>(room, 3), x2 = x1;
      fo(&n, &alpha, x1.data(), &ix);
      fr(&n, &alpha, x2.data(), &ix);
      expect_close(x1, x2, where(name, n, ix));
    }
}
// Reductions of one vector with result S: nrm2, asum, iamax.
template <class T, class S> void reduce(const char* name) {
  using F = S (*)(const int*, const T*, const int*);
  auto fo = sym<F>(handles().ours, name), fr = sym<F>(handles().ref, name);
  ASSERT_TRUE(fo && fr) << name;
  for (int n : lengths)
    for (int ix : incs) {
      auto x = data<T>(room, 4);
      S a = fo(&n, x.data(), &ix), b = fr(&n, x.data(), &ix);
      if constexpr (std::is_integral_v<S>) EXPECT_EQ(a, b) << where(name, n, ix);
      else expect_close(a, b, where(name, n, ix));
    }
}
// Dot products with result S (complex results by value, as the Fortran compiler returns them).
template <class T, class S> void dot(const char* name) {
  using F = S (*)(const int*, const T*, const int*, const T*, const int*);
  auto fo = sym<F>(handles().ours, name), fr = sym<F>(handles().ref, name);
  ASSERT_TRUE(fo && fr) << name;
  for (int n : lengths)
    for (int ix : incs)
      for (int iy : {-2, 1}) {
        auto x = data<T>(room, 5), y = data<T>(room, 6);
        expect_close(fo(&n, x.data(), &ix, y.data(), &iy), fr(&n, x.data(), &ix, y.data(), &iy),
                     where(name, n, ix, iy));
      }
}

TEST(Level1AgainstReference, VectorUpdates) {
  ASSERT_TRUE(handles().ours) << dlerror();
  if (!handles().ref) GTEST_SKIP() << "reference BLAS " << reference_path << " missing";
  two_vectors<float>("sswap_");
  two_vectors<double>("dswap_");
  two_vectors<c8>("cswap_");
  two_vectors<c16>("zswap_");
  const float sc = 0.6f, ss = 0.8f, cc = 0.28f, cs = 0.96f;
  const double dc = 0.6, ds = -0.8, zc = -0.28, zs = 0.96;
  two_vectors<float>("srot_", &sc, &ss);
  two_vectors<double>("drot_", &dc, &ds);
  two_vectors<c8>("csrot_", &cc, &cs);
  two_vectors<c16>("zdrot_", &zc, &zs);
  // The modified rotation for each of its four forms (flag -2, -1, 0, 1).
  for (double flag : {-2.0, -1.0, 0.0, 1.0}) {
    const float ps[5] = {float(flag), 0.5f, -0.25f, 2.0f, 1.5f};
    const double pd[5] = {flag, 0.5, -0.25, 2.0, 1.5};
    two_vectors<float>("srotm_", static_cast<const float*>(ps));
    two_vectors<double>("drotm_", static_cast<const double*>(pd));
  }
  axpy<float>("saxpy_", 0.75f);
  axpy<double>("daxpy_", -1.25);
  axpy<c8>("caxpy_", c8(0.5f, -1.0f));
  axpy<c16>("zaxpy_", c16(-0.5, 2.0));
  axpy<double>("daxpy_", 0.0);
  copy<float>("scopy_");
  copy<double>("dcopy_");
  copy<c8>("ccopy_");
  copy<c16>("zcopy_");
  scal<float, float>("sscal_", 1.5f);
  scal<double, double>("dscal_", -0.5);
  scal<c8, c8>("cscal_", c8(0.5f, 0.5f));
  scal<c16, c16>("zscal_", c16(0.0, -2.0));
  scal<c8, float>("csscal_", 3.0f);
  scal<c16, double>("zdscal_", -0.25);
}

TEST(Level1AgainstReference, Reductions) {
  ASSERT_TRUE(handles().ours) << dlerror();
  if (!handles().ref) GTEST_SKIP() << "reference BLAS " << reference_path << " missing";
  reduce<float, float>("snrm2_");
  reduce<double, double>("dnrm2_");
  reduce<c8, float>("scnrm2_");
  reduce<c16, double>("dznrm2_");
  reduce<float, float>("sasum_");
  reduce<double, double>("dasum_");
  reduce<c8, float>("scasum_");
  reduce<c16, double>("dzasum_");
  reduce<float, int>("isamax_");
  reduce<double, int>("idamax_");
  reduce<c8, int>("icamax_");
  reduce<c16, int>("izamax_");
  dot<float, float>("sdot_");
  dot<double, double>("ddot_");
  dot<float, double>("dsdot_");
  dot<c8, c8>("cdotu_");
  dot<c8, c8>("cdotc_");
  dot<c16, c16>("zdotu_");
  dot<c16, c16>("zdotc_");
  // sdsdot: sb plus the dot product, sb alone for n < 1.
  using FS = float (*)(const int*, const float*, const float*, const int*, const float*, const int*);
  auto fo = sym<FS>(handles().ours, "sdsdot_"), fr = sym<FS>(handles().ref, "sdsdot_");
  ASSERT_TRUE(fo && fr);
  const float sb = 1.25f;
  for (int n : lengths)
    for (int ix : incs) {
      auto x = data<float>(room, 7), y = data<float>(room, 8);
      const int iy = 1;
      expect_close(fo(&n, &sb, x.data(), &ix, y.data(), &iy),
                   fr(&n, &sb, x.data(), &ix, y.data(), &iy), where("sdsdot_", n, ix));
    }
  // |re| + |im|.
  using FC = float (*)(const c8*);
  using FZ = double (*)(const c16*);
  const c8 a(-1.5f, 2.25f);
  const c16 b(3.0, -0.5);
  EXPECT_EQ(sym<FC>(handles().ours, "scabs1_")(&a), sym<FC>(handles().ref, "scabs1_")(&a));
  EXPECT_EQ(sym<FZ>(handles().ours, "dcabs1_")(&b), sym<FZ>(handles().ref, "dcabs1_")(&b));
}

TEST(Level1AgainstReference, RotationGenerators) {
  ASSERT_TRUE(handles().ours) << dlerror();
  if (!handles().ref) GTEST_SKIP() << "reference BLAS " << reference_path << " missing";
  const double pairs[][2] = {{3, 4}, {-4, 3}, {0, 2}, {2, 0}, {0, 0}, {1e-20, 3e-20}, {5, -1e3}};
  for (auto& p : pairs) {
    using FD = void (*)(double*, double*, double*, double*);
    double a1 = p[0], b1 = p[1], c1, s1, a2 = p[0], b2 = p[1], c2, s2;
    sym<FD>(handles().ours, "drotg_")(&a1, &b1, &c1, &s1);
    sym<FD>(handles().ref, "drotg_")(&a2, &b2, &c2, &s2);
    expect_close(std::vector<double>{a1, b1, c1, s1}, std::vector<double>{a2, b2, c2, s2}, "drotg");
    using FF = void (*)(float*, float*, float*, float*);
    float fa1 = p[0], fb1 = p[1], fc1, fs1, fa2 = p[0], fb2 = p[1], fc2, fs2;
    sym<FF>(handles().ours, "srotg_")(&fa1, &fb1, &fc1, &fs1);
    sym<FF>(handles().ref, "srotg_")(&fa2, &fb2, &fc2, &fs2);
    expect_close(std::vector<float>{fa1, fb1, fc1, fs1}, std::vector<float>{fa2, fb2, fc2, fs2}, "srotg");
    using FZ = void (*)(c16*, const c16*, double*, c16*);
    c16 za1(p[0], 0.5 * p[1]), zb(p[1], -p[0]), zs1, za2 = za1, zs2;
    double zc1, zc2;
    sym<FZ>(handles().ours, "zrotg_")(&za1, &zb, &zc1, &zs1);
    sym<FZ>(handles().ref, "zrotg_")(&za2, &zb, &zc2, &zs2);
    expect_close(std::vector<c16>{za1, zs1, zc1}, std::vector<c16>{za2, zs2, zc2}, "zrotg");
    using FCg = void (*)(c8*, const c8*, float*, c8*);
    c8 ca1(p[0], 0.5 * p[1]), cb(p[1], -p[0]), cs1, ca2 = ca1, cs2;
    float cc1, cc2;
    sym<FCg>(handles().ours, "crotg_")(&ca1, &cb, &cc1, &cs1);
    sym<FCg>(handles().ref, "crotg_")(&ca2, &cb, &cc2, &cs2);
    expect_close(std::vector<c8>{ca1, cs1, cc1}, std::vector<c8>{ca2, cs2, cc2}, "crotg");
    using FM = void (*)(double*, double*, double*, const double*, double*);
    double d1a = 2.0, d2a = 0.5, x1a = p[0], y1 = p[1], pa[5] = {}, d1b = 2.0, d2b = 0.5,
           x1b = p[0], pb[5] = {};
    sym<FM>(handles().ours, "drotmg_")(&d1a, &d2a, &x1a, &y1, pa);
    sym<FM>(handles().ref, "drotmg_")(&d1b, &d2b, &x1b, &y1, pb);
    expect_close(std::vector<double>{d1a, d2a, x1a, pa[0], pa[1], pa[2], pa[3], pa[4]},
                 std::vector<double>{d1b, d2b, x1b, pb[0], pb[1], pb[2], pb[3], pb[4]}, "drotmg");
    using FMs = void (*)(float*, float*, float*, const float*, float*);
    float e1a = 2.0f, e2a = 0.5f, u1a = p[0], v1 = p[1], qa[5] = {}, e1b = 2.0f, e2b = 0.5f,
          u1b = p[0], qb[5] = {};
    sym<FMs>(handles().ours, "srotmg_")(&e1a, &e2a, &u1a, &v1, qa);
    sym<FMs>(handles().ref, "srotmg_")(&e1b, &e2b, &u1b, &v1, qb);
    expect_close(std::vector<float>{e1a, e2a, u1a, qa[0], qa[1], qa[2], qa[3], qa[4]},
                 std::vector<float>{e1b, e2b, u1b, qb[0], qb[1], qb[2], qb[3], qb[4]}, "srotmg");
  }
}

}  // namespace

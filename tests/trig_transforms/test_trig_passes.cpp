// The passes and tables on their own: each transform is run as pre-pass, a naive long double
// real DFT in the PERM packing, post-pass and scaling, and compared with the defining sums. This
// pins the arithmetic of the passes independently of the library's DFT.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "trig_reference.h"
#include "trig_transforms/trig_messages.h"
#include "trig_transforms/trig_passes.h"
#include "zvx_nvo.h"

namespace tt = zvx::trig;
using namespace trig_test;

// The passes are linked here on their own, outside the library, whose internal sine and cosine
// are hidden: the tables take their values through the exported entries of the same functions.
namespace zvx::nvo {
void vector_sin(int n, const double* a, double* r) { vdSin(n, a, r); }
void vector_sin(int n, const float* a, float* r) { vsSin(n, a, r); }
void vector_cos(int n, const double* a, double* r) { vdCos(n, a, r); }
void vector_cos(int n, const float* a, float* r) { vsCos(n, a, r); }
}  // namespace zvx::nvo

namespace {

template <class R>
std::vector<R> table_for(kind k, int n) {
  std::vector<R> dpar(3 * n / 2 + 2, R(-7));
  if (k == sine) tt::fill_sine_table(dpar.data(), n);
  if (k == cosine && n >= 4) tt::fill_cosine_table(dpar.data(), n);
  if (k == staggered) tt::fill_staggered_tables(dpar.data(), n);
  return dpar;
}

// One transform through the passes with the naive DFT; returns false on a bad divisor.
template <class R>
bool run(kind k, bool forward, std::vector<R>& f, int n, const std::vector<R>& dpar) {
  const R* t = dpar.data() + 2;
  R* x = f.data();
  switch (k) {
    case sine:
      tt::sine_pre(x, n, t);
      perm_dft(x, n, true);
      tt::sine_post(x, n);
      if (forward) tt::scale(x, 1, n - 1, R(2) / R(n));
      return true;
    case cosine: {
      const R s = tt::cosine_pre(x, n, t);
      perm_dft(x, n, true);
      tt::cosine_post(x, n, s);
      if (forward) tt::scale(x, 0, n, R(2) / R(n));
      return true;
    }
    case staggered:
      if (forward) {
        tt::staggered_forward_pre(x, n, t);
        perm_dft(x, n, false);
        if (!tt::staggered_forward_post(x, n, t)) return false;
        tt::scale(x, 0, n, R(2) / R(n));
      } else {
        tt::staggered_backward_pre(x, n, t);
        perm_dft(x, n, true);
        tt::staggered_backward_post(x, n, t);
      }
      return true;
  }
  return false;
}

template <class R>
void check_all_sizes(int max_n) {
  for (int n = 2; n <= max_n; n += (n < 64 ? 2 : 22)) {
    for (kind k : {sine, cosine, staggered}) {
      const std::vector<R> dpar = table_for<R>(k, n);
      for (bool forward : {false, true}) {
        std::vector<R> f = random_vector<R>(n + 1, 1000u * n + 10u * k + forward);
        const std::vector<ld> want = reference(k, forward, f, n);
        ASSERT_TRUE(run(k, forward, f, n, dpar));
        EXPECT_LE(relative_error(f, want), tolerance<R>(k, forward, n))
            << "type " << k << (forward ? " forward" : " backward") << " n " << n;
      }
    }
  }
}

}  // namespace

TEST(TrigPasses, EveryTypeAndDirectionMatchesTheSumsDouble) { check_all_sizes<double>(262); }
TEST(TrigPasses, EveryTypeAndDirectionMatchesTheSumsSingle) { check_all_sizes<float>(262); }

// The smallest size by hand: n = 2 has one sine value, a three-point cosine, and a staggered
// pair with the one half-odd sine sin(pi/4).
TEST(TrigPasses, SizeTwo) {
  std::vector<double> dpar = table_for<double>(sine, 2);
  std::vector<double> f = {5, 3, 9};
  run(sine, false, f, 2, dpar);
  EXPECT_EQ(f[0], 0.0);
  EXPECT_DOUBLE_EQ(f[1], 3.0);
  EXPECT_EQ(f[2], 9.0);

  dpar = table_for<double>(cosine, 2);
  f = {4, 3, 2};
  run(cosine, false, f, 2, dpar);
  EXPECT_DOUBLE_EQ(f[0], 2 + 3 + 1);  // f0/2 + f1 + f2/2
  EXPECT_DOUBLE_EQ(f[1], 2 + 0 - 1);  // cos(pi/2) = 0
  EXPECT_DOUBLE_EQ(f[2], 2 - 3 + 1);

  dpar = table_for<double>(staggered, 2);
  EXPECT_DOUBLE_EQ(dpar[2], std::sqrt(0.5));
  f = {4, 3, 7};
  run(staggered, false, f, 2, dpar);
  EXPECT_DOUBLE_EQ(f[0], 7.0);
  EXPECT_NEAR(f[1], (4 - 3) * std::sqrt(0.5), 1e-15);
  EXPECT_EQ(f[2], 7.0);
}

// The tables against long double sines and cosines of the angles the layout names. The
// staggered tables accumulate their angle in working precision, which the reference repeats.
TEST(TrigPasses, TablesHoldTheirSinesAndCosines) {
  const ld pi = 3.141592653589793238462643383279502884L;
  for (int n : {2, 4, 6, 16, 250, 512, 4096}) {
    std::vector<double> d = table_for<double>(sine, n);
    for (int j = 1; j <= n / 2; ++j) EXPECT_NEAR(d[1 + j], std::sin(pi * j / n), 2e-16) << n;
    d = table_for<double>(cosine, n);
    for (int j = 1; j < n / 2; ++j) {
      EXPECT_NEAR(d[2 * j], std::cos(pi * j / n), 2e-16) << n;
      EXPECT_NEAR(d[2 * j + 1], std::sin(pi * j / n), 2e-16) << n;
    }
    if (n == 2) EXPECT_EQ(d[2], -7.0);  // no table at all
    // The staggered angles are running sums in working precision; the reference repeats them.
    d = table_for<double>(staggered, n);
    const double dhalf = 3.141592653589793 / n * 0.5;
    double dangle = 0;
    for (int k = 1; k < n / 2; ++k) {
      dangle += dhalf + dhalf;
      EXPECT_NEAR(d[2 * k], std::cos(ld(dangle)), 2e-16) << n;
      EXPECT_NEAR(d[2 * k + 1], std::sin(ld(dangle)), 2e-16) << n;
    }
    dangle = -dhalf;
    for (int m = 1; m <= n / 2; ++m) {
      dangle += dhalf + dhalf;
      EXPECT_NEAR(d[n - 1 + m], std::sin(ld(dangle)), 2e-16) << n;
      EXPECT_NEAR(d[n - 1 + m], std::sin(pi * (m - 0.5L) / n), 1e-14) << n;  // drift stays small
    }
    EXPECT_EQ(d[3 * n / 2], -7.0) << "written past the last table entry";

    std::vector<float> s = table_for<float>(sine, n);
    const float step = 3.1415927f / float(n);
    for (int j = 1; j <= n / 2; ++j) EXPECT_NEAR(s[1 + j], std::sin(ld(float(j) * step)), 1.2e-7);
    s = table_for<float>(staggered, n);
    const float half = step * 0.5f;
    float angle = -half;
    for (int m = 1; m <= n / 2; ++m) {
      angle += half + half;
      EXPECT_NEAR(s[n - 1 + m], std::sin(ld(angle)), 1.2e-7) << n << " " << m;
    }
  }
}

// A damaged half-odd sine stops the forward staggered post-pass at that pair, with the pairs
// before it done and the rest as the reversal left them; a NaN counts as a zero.
TEST(TrigPasses, StaggeredForwardStopsAtABadDivisor) {
  const int n = 16;
  for (double bad : {0.0, std::nan("")}) {
    std::vector<double> dpar = table_for<double>(staggered, n);
    std::vector<double> f = random_vector<double>(n + 1, 7);
    dpar[n + 3] = bad;  // sin((j + 1/2) pi/n) of j = 3
    tt::staggered_forward_pre(f.data(), n, dpar.data() + 2);
    std::vector<double> reversed = f;
    EXPECT_FALSE(tt::staggered_forward_post(f.data(), n, dpar.data() + 2));
    // The reversal alone: f[0] halved, f[j] <- f[n-j]/2.
    EXPECT_EQ(f[3], 0.5 * reversed[n - 3]);
    EXPECT_EQ(f[n - 4], 0.5 * reversed[4]);
    EXPECT_NE(f[2], 0.5 * reversed[n - 2]);  // pair 2 was done
    // The backward staggered pass never divides by that entry.
    std::vector<double> g = random_vector<double>(n + 1, 8);
    tt::staggered_backward_pre(g.data(), n, dpar.data() + 2);
    tt::staggered_backward_post(g.data(), n, dpar.data() + 2);
    for (double v : g) EXPECT_FALSE(std::isinf(v));
  }
}

// Texts the entries cannot reach: an unknown number, and the bound on inserted values.
TEST(TrigMessages, UnknownNumberAndBoundedArguments) {
  int ipar[10] = {8, 1, 1, 0, 0, 0, 0, 1, 1, 1};
  const double dpar[1] = {1.0};
  char out[1024];
  const std::string rule =
      "\n------------------------------------------------------------------------------\n";
  tt::format_message<double>(77, ipar, dpar, nullptr, out, sizeof out);
  EXPECT_EQ(std::string(out), rule + "ZVX TRIG TRANSFORMS WARNING: " +
                                  "\nWrong message request. This should never happen in a normal "
                                  "situation...\n");
  tt::format_message<double>(302, ipar, dpar, "12345678901234567890", out, sizeof out);
  EXPECT_NE(std::string(out).find("|f[0]|=12345678901234 is bigger"), std::string::npos) << out;
  const std::string long_text(60, 'x');
  tt::format_message<double>(1001, ipar, dpar, long_text.c_str(), out, sizeof out);
  EXPECT_EQ(std::string(out), rule + "ZVX TRIG TRANSFORMS ERROR: \nFatal error (error message = " +
                                  std::string(40, 'x') + "). \n");
  // A short buffer is cut, never overrun.
  std::memset(out, 'z', sizeof out);
  EXPECT_EQ(tt::format_message<double>(1001, ipar, dpar, "t", out, 10), 9);
  EXPECT_EQ(out[9], '\0');
  EXPECT_EQ(out[10], 'z');
}

// Values of the vector sine and cosine against long double sinl/cosl, in both accuracy modes, over
// arguments from subnormals to the largest doubles; the wrappers' argument checks; the random-bit
// streams. The companion file is the one the library chooses for this processor.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "common/capture.h"
#include "nvo_test_support.h"

namespace {

using set_mode_fn = unsigned (*)(unsigned);
using set_status_fn = int (*)(int);
using vector_d = void (*)(int, const double*, double*);
using vector_s = void (*)(int, const float*, float*);

constexpr unsigned kHighAccuracy = 2, kLowAccuracy = 1;

// Arguments over many scales: small, around the first periods, the range where the reduction
// needs more than one constant, huge, and multiples of pi/2 where the result nearly vanishes.
template <class T>
std::vector<T> wide_arguments() {
  std::mt19937_64 rng(20261122);
  std::vector<T> x = {T(0), -T(0), std::numeric_limits<T>::denorm_min(), std::numeric_limits<T>::min(),
                      T(1e-8), T(0.5), T(1), T(-1), std::numeric_limits<T>::max(),
                      -std::numeric_limits<T>::max()};
  for (int k = -40; k <= 40; ++k) x.push_back(static_cast<T>(k * 1.5707963267948966));
  for (double scale : {3.2, 1e3, 1e6, 1e9, 1e15}) {
    std::uniform_real_distribution<double> u(-scale, scale);
    for (int i = 0; i < 3000; ++i) x.push_back(static_cast<T>(u(rng)));
  }
  std::uniform_real_distribution<double> exponent(-300, 300);
  for (int i = 0; i < 3000; ++i) {
    const double v = std::pow(10.0, exponent(rng)) * (i % 2 ? -1 : 1);
    if (std::isfinite(static_cast<T>(v))) x.push_back(static_cast<T>(v));
  }
  return x;
}

struct function_case {
  const char* name;
  bool sine;
  unsigned mode;
  double bound_ulp;  // the accuracy the header states for this mode
};

void PrintTo(const function_case& c, std::ostream* os) { *os << c.name << (c.mode == kHighAccuracy ? " HA" : " LA"); }

class Accuracy : public ::testing::TestWithParam<function_case> {
 protected:
  void SetUp() override {
    set_mode_ = nvo_test::companion_entry<set_mode_fn>("_nvoSetMode");
    ASSERT_NE(set_mode_, nullptr);
    saved_ = set_mode_(GetParam().mode);
  }
  void TearDown() override {
    if (set_mode_) set_mode_(saved_);
  }
  set_mode_fn set_mode_ = nullptr;
  unsigned saved_ = 0;
};

TEST_P(Accuracy, Double) {
  const function_case c = GetParam();
  const std::vector<double> x = wide_arguments<double>();
  std::vector<double> r(x.size(), -7.0);
  (c.sine ? vdSin : vdCos)(static_cast<int>(x.size()), x.data(), r.data());
  double worst = 0;
  for (size_t i = 0; i < x.size(); ++i) {
    const long double xl = x[i];
    const double e = nvo_test::ulp_error(r[i], c.sine ? sinl(xl) : cosl(xl));
    worst = std::max(worst, e);
    ASSERT_LE(e, c.bound_ulp) << c.name << "(" << x[i] << ") = " << r[i];
  }
  EXPECT_GT(worst, 0.0) << "results cannot all be correctly rounded at this size";
}

TEST_P(Accuracy, Single) {
  const function_case c = GetParam();
  const std::vector<float> x = wide_arguments<float>();
  std::vector<float> r(x.size(), -7.0f);
  (c.sine ? vsSin : vsCos)(static_cast<int>(x.size()), x.data(), r.data());
  for (size_t i = 0; i < x.size(); ++i) {
    const long double xl = x[i];
    ASSERT_LE(nvo_test::ulp_error(r[i], c.sine ? sinl(xl) : cosl(xl)), c.bound_ulp)
        << c.name << "(" << x[i] << ") = " << r[i];
  }
}

// Every length from 1 to 70 from an odd offset: the ragged ends of each vector width, with a
// guard after the last result that must stay untouched.
TEST_P(Accuracy, RaggedLengthsStayInsideTheArrays) {
  const function_case c = GetParam();
  std::vector<double> xd(80), rd(80);
  std::vector<float> xs(80), rs(80);
  for (int i = 0; i < 80; ++i) xs[i] = static_cast<float>(xd[i] = 0.37 * i - 9.0);
  for (int n = 1; n <= 70; ++n) {
    std::fill(rd.begin(), rd.end(), 42.0);
    std::fill(rs.begin(), rs.end(), 42.0f);
    (c.sine ? vdSin : vdCos)(n, xd.data() + 1, rd.data() + 1);
    (c.sine ? vsSin : vsCos)(n, xs.data() + 1, rs.data() + 1);
    EXPECT_EQ(rd[0], 42.0);
    EXPECT_EQ(rd[n + 1], 42.0) << n;
    EXPECT_EQ(rs[n + 1], 42.0f) << n;
    for (int i = 1; i <= n; ++i) {
      const long double xl = xd[i];
      ASSERT_LE(nvo_test::ulp_error(rd[i], c.sine ? sinl(xl) : cosl(xl)), c.bound_ulp) << n;
      ASSERT_LE(nvo_test::ulp_error(rs[i], c.sine ? sinl((long double)xs[i]) : cosl((long double)xs[i])),
                c.bound_ulp) << n;
    }
  }
}

TEST_P(Accuracy, SpecialValues) {
  const function_case c = GetParam();
  const double x[] = {INFINITY, -INFINITY, NAN, -0.0, 0.0};
  double r[5];
  (c.sine ? vdSin : vdCos)(5, x, r);
  EXPECT_TRUE(std::isnan(r[0]) && std::isnan(r[1]) && std::isnan(r[2]));
  if (c.sine) {
    EXPECT_TRUE(r[3] == 0.0 && std::signbit(r[3]));
    EXPECT_TRUE(r[4] == 0.0 && !std::signbit(r[4]));
  } else {
    EXPECT_EQ(r[3], 1.0);
    EXPECT_EQ(r[4], 1.0);
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, Accuracy,
                         ::testing::Values(function_case{"sin", true, kHighAccuracy, 1.0},
                                           function_case{"cos", false, kHighAccuracy, 1.0},
                                           function_case{"sin", true, kLowAccuracy, 3.5},
                                           function_case{"cos", false, kLowAccuracy, 3.5}),
                         [](const auto& info) {
                           return std::string(info.param.name) + (info.param.mode == kHighAccuracy ? "_high" : "_low");
                         });

// The mode word picks the entry: in each mode the wrapper gives exactly what the companion's own
// entry of that accuracy gives, and the two accuracies are different functions.
TEST(Mode, SelectsTheEntry) {
  auto set_mode = nvo_test::companion_entry<set_mode_fn>("_nvoSetMode");
  ASSERT_NE(set_mode, nullptr);
  struct pair_d { void (*wrapper)(int, const double*, double*); const char* high; const char* low; };
  struct pair_s { void (*wrapper)(int, const float*, float*); const char* high; const char* low; };
  const pair_d doubles[] = {{vdSin, "_nvodSin_HA", "_nvodSin_50"}, {vdCos, "_nvodCos_HA", "_nvodCos_50"}};
  const pair_s singles[] = {{vsSin, "_nvosSin_HA", "_nvosSin_21"}, {vsCos, "_nvosCos_HA", "_nvosCos_21"}};
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> u(-1e4, 1e4);
  std::vector<double> x(4000), got(4000), high(4000), low(4000);
  std::vector<float> xs(4000), gots(4000), highs(4000), lows(4000);
  for (size_t i = 0; i < x.size(); ++i) xs[i] = static_cast<float>(x[i] = u(rng));
  const unsigned saved = set_mode(kHighAccuracy);
  for (const auto& p : doubles) {
    nvo_test::companion_entry<vector_d>(p.high)(4000, x.data(), high.data());
    nvo_test::companion_entry<vector_d>(p.low)(4000, x.data(), low.data());
    EXPECT_NE(high, low) << p.high;
    set_mode(kHighAccuracy);
    p.wrapper(4000, x.data(), got.data());
    EXPECT_EQ(got, high) << p.high;
    set_mode(kLowAccuracy | 0x30);  // only the low four bits count
    p.wrapper(4000, x.data(), got.data());
    EXPECT_EQ(got, low) << p.low;
    set_mode(kHighAccuracy | 0x100);
    p.wrapper(4000, x.data(), got.data());
    EXPECT_EQ(got, high) << p.high;
  }
  for (const auto& p : singles) {
    nvo_test::companion_entry<vector_s>(p.high)(4000, xs.data(), highs.data());
    nvo_test::companion_entry<vector_s>(p.low)(4000, xs.data(), lows.data());
    EXPECT_NE(highs, lows) << p.high;
    set_mode(kHighAccuracy);
    p.wrapper(4000, xs.data(), gots.data());
    EXPECT_EQ(gots, highs) << p.high;
    set_mode(kLowAccuracy);
    p.wrapper(4000, xs.data(), gots.data());
    EXPECT_EQ(gots, lows) << p.low;
  }
  set_mode(saved);
}

TEST(Mode, DefaultIsHighAccuracyOnEveryThread) {
  auto get_mode = nvo_test::companion_entry<unsigned (*)()>("_nvoGetMode");
  ASSERT_NE(get_mode, nullptr);
  unsigned seen = 0;
  std::thread([&] { seen = get_mode(); }).join();
  EXPECT_EQ(seen & 0xF, kHighAccuracy);
}

// The sine forms with the count by reference give what the by-value forms give.
TEST(ByReference, SameAsByValue) {
  std::vector<double> x(257), a(257), b(257);
  std::vector<float> xs(257), as(257), bs(257);
  for (int i = 0; i < 257; ++i) xs[i] = static_cast<float>(x[i] = 0.1 * i - 12.0);
  const int n = 257;
  vdSin(n, x.data(), a.data());
  vdsin(&n, x.data(), b.data());
  EXPECT_EQ(a, b);
  vsSin(n, xs.data(), as.data());
  vssin(&n, xs.data(), bs.data());
  EXPECT_EQ(as, bs);
}

// ---- argument checks ---------------------------------------------------------------------------

struct wrapper_case {
  const char* reported_name;
  void (*call)(int n, bool null_a, bool null_r);
};

double g_x[4] = {1, 2, 3, 4}, g_r[4];
float g_xs[4] = {1, 2, 3, 4}, g_rs[4];

const wrapper_case kWrappers[] = {
    {"vdCos", [](int n, bool na, bool nr) { vdCos(n, na ? nullptr : g_x, nr ? nullptr : g_r); }},
    {"vdSin", [](int n, bool na, bool nr) { vdSin(n, na ? nullptr : g_x, nr ? nullptr : g_r); }},
    {"vsCos", [](int n, bool na, bool nr) { vsCos(n, na ? nullptr : g_xs, nr ? nullptr : g_rs); }},
    {"vsSin", [](int n, bool na, bool nr) { vsSin(n, na ? nullptr : g_xs, nr ? nullptr : g_rs); }},
    {"vdSin", [](int n, bool na, bool nr) { vdsin(&n, na ? nullptr : g_x, nr ? nullptr : g_r); }},
    {"vsSin", [](int n, bool na, bool nr) { vssin(&n, na ? nullptr : g_xs, nr ? nullptr : g_rs); }},
};

class ArgumentChecks : public ::testing::TestWithParam<wrapper_case> {};

// A bad argument is reported through the library's error reporter and leaves its status in the
// companion's per-thread store: -1 for the count, -2 for either array. A zero count is no error.
TEST_P(ArgumentChecks, ReportAndStatus) {
  const wrapper_case w = GetParam();
  auto set_status = nvo_test::companion_entry<set_status_fn>("_nvoSetErrStatus");
  ASSERT_NE(set_status, nullptr);
  struct bad { int n; bool null_a, null_r; int parameter, status; };
  const bad cases[] = {{-1, false, false, 1, -1}, {-5, true, true, 1, -1}, {3, true, false, 2, -2},
                       {3, true, true, 2, -2},    {3, false, true, 3, -2}};
  for (const bad& b : cases) {
    set_status(0);
    const std::string text = zvx_test::capture_stderr([&] { w.call(b.n, b.null_a, b.null_r); });
    EXPECT_EQ(text, "ZVX ERROR : Parameter " + std::to_string(b.parameter) + " was incorrect on entry to " +
                        w.reported_name + "\n");
    EXPECT_EQ(set_status(0), b.status);
  }
  set_status(0);
  g_r[0] = 99.0;
  g_rs[0] = 99.0f;
  EXPECT_EQ(zvx_test::capture_stderr([&] { w.call(0, true, true); }), "");
  EXPECT_EQ(zvx_test::capture_stderr([&] { w.call(0, false, false); }), "");
  EXPECT_EQ(set_status(0), 0);
  EXPECT_EQ(g_r[0], 99.0);
  EXPECT_EQ(g_rs[0], 99.0f);
}

INSTANTIATE_TEST_SUITE_P(Wrappers, ArgumentChecks, ::testing::ValuesIn(kWrappers));

// ---- random-bit streams ------------------------------------------------------------------------

// The library's reporter shows at most 12 characters of a routine's name.
std::string report_line(int parameter, const std::string& name) {
  return "ZVX ERROR : Parameter " + std::to_string(parameter) + " was incorrect on entry to " +
         name.substr(0, 12) + "\n";
}

TEST(Streams, EveryBitPositionIsFair) {
  zvx_sgx_stream s = nullptr;
  ASSERT_EQ(sgxNewStream(&s, ZVX_SGX_BRNG_UNIFORM_BITS, 12345u), 0);
  ASSERT_NE(s, nullptr);
  constexpr int kWords = 1 << 18;
  std::vector<unsigned> w(kWords);
  ASSERT_EQ(viRngUniformBits(0, s, kWords, w.data()), 0);
  // Ones per bit position: binomial(kWords, 1/2), standard deviation 256; allow 5 of them.
  // Also pairs of neighbouring words must agree in each bit half the time.
  for (int bit = 0; bit < 32; ++bit) {
    long ones = 0, agree = 0;
    for (int i = 0; i < kWords; ++i) {
      ones += w[i] >> bit & 1;
      if (i > 0) agree += ((w[i] ^ w[i - 1]) >> bit & 1) == 0;
    }
    EXPECT_NEAR(static_cast<double>(ones), kWords / 2.0, 5 * 256.0) << "bit " << bit;
    EXPECT_NEAR(static_cast<double>(agree), (kWords - 1) / 2.0, 5 * 256.0) << "bit " << bit;
  }
  // A call continues the sequence where the last one stopped.
  std::vector<unsigned> more(16);
  ASSERT_EQ(viRngUniformBits(0, s, 16, more.data()), 0);
  EXPECT_NE(std::vector<unsigned>(w.end() - 16, w.end()), more);
  EXPECT_EQ(sgxDeleteStream(&s), 0);
  EXPECT_EQ(s, nullptr);
}

TEST(Streams, SeedsReproduceAndDiffer) {
  auto first_words = [](unsigned seed) {
    zvx_sgx_stream s = nullptr;
    EXPECT_EQ(sgxNewStream(&s, ZVX_SGX_BRNG_UNIFORM_BITS, seed), 0);
    std::vector<unsigned> w(64);
    EXPECT_EQ(viRngUniformBits(0, s, 64, w.data()), 0);
    EXPECT_EQ(sgxDeleteStream(&s), 0);
    return w;
  };
  EXPECT_EQ(first_words(1), first_words(1));
  EXPECT_NE(first_words(1), first_words(2));
  EXPECT_NE(first_words(0), first_words(0x80000000u));
}

TEST(Streams, ArgumentChecks) {
  zvx_sgx_stream s = nullptr;
  std::string text = zvx_test::capture_stderr([&] { EXPECT_EQ(sgxNewStream(&s, 0x100001, 1), -1000); });
  EXPECT_EQ(text, report_line(2, "sgxNewStream"));
  ASSERT_EQ(sgxNewStream(&s, ZVX_SGX_BRNG_UNIFORM_BITS, 1), 0);

  unsigned w[4] = {0, 0, 0, 0};
  // A record whose validity byte is not 1, and no record at all.
  unsigned char fake[32] = {};
  struct bad { int method; zvx_sgx_stream stream; int n; unsigned* r; int result; int parameter; };
  const bad cases[] = {
      {-1, nullptr, -1, nullptr, -3, 1},  // the method comes first
      {0, nullptr, 4, w, -5, 2},
      {0, fake, 4, w, -1006, 2},
      {1, fake, 4, w, -1006, 2},         // a positive method is checked last
      {0, s, -1, w, -3, 3},
      {0, s, 4, nullptr, -3, 4},
      {2, s, 4, w, -3, 1},
  };
  for (const bad& b : cases) {
    text = zvx_test::capture_stderr([&] { EXPECT_EQ(viRngUniformBits(b.method, b.stream, b.n, b.r), b.result); });
    EXPECT_EQ(text, report_line(b.parameter, "viRngUniformBits")) << b.method << " " << b.n;
  }
  // A zero count succeeds before the array and the method are looked at.
  text = zvx_test::capture_stderr([&] {
    EXPECT_EQ(viRngUniformBits(0, s, 0, nullptr), 0);
    EXPECT_EQ(viRngUniformBits(5, s, 0, nullptr), 0);
  });
  EXPECT_EQ(text, "");

  text = zvx_test::capture_stderr([&] {
    zvx_sgx_stream none = nullptr;
    EXPECT_EQ(sgxDeleteStream(&none), -5);
    zvx_sgx_stream invalid = fake;
    EXPECT_EQ(sgxDeleteStream(&invalid), -1006);
  });
  EXPECT_EQ(text, report_line(1, "sgxDeleteStream") + report_line(1, "sgxDeleteStream"));
  EXPECT_EQ(sgxDeleteStream(&s), 0);
}

}  // namespace

// The transforms through the public entries on the library's real DFT, against long double
// evaluations of the defining sums: every type and direction, both precisions, every even size
// up to 512 and a few larger ones; the tables commit leaves in dpar; the failures that need a
// working DFT (a damaged staggered table, a size cleared after commit); user threads.
#include <cmath>
#include <thread>

#include "trig_reference.h"
#include "trig_test_support.h"

using namespace trig_test;

namespace {

template <class R>
void check_sizes(const std::vector<int>& sizes) {
  for (int n : sizes)
    for (kind k : {sine, cosine, staggered}) {
      state<R> s(n, k);
      std::vector<R> zero(n + 1, R(0));
      s.commit(zero.data());
      ASSERT_EQ(s.stat, 0) << "n " << n << " type " << k;
      for (bool forward : {true, false}) {
        // Sine data with nonzero ends: the transform ignores both, and leaves f[0] at 0 and
        // f[n] as it was.
        std::vector<R> f = random_vector<R>(n + 1, 977u * n + 3u * k + forward);
        const std::vector<ld> want = reference(k, forward, f, n);
        if (forward)
          s.forward(f.data());
        else
          s.backward(f.data());
        ASSERT_EQ(s.stat, 0);
        ASSERT_EQ(s.ipar[6], 0);
        EXPECT_LE(relative_error(f, want), tolerance<R>(k, forward, n))
            << "n " << n << " type " << k << (forward ? " forward" : " backward");
        if (k == sine) EXPECT_EQ(f[0], R(0));
      }
      s.release();
      EXPECT_EQ(s.stat, 0);
    }
}

// Every even size to `dense`, then every `stride`-th even size to `last`.
std::vector<int> even_sizes(int dense, int last, int stride) {
  std::vector<int> v;
  for (int n = 2; n <= last; n += (n < dense ? 2 : 2 * stride)) v.push_back(n);
  return v;
}

}  // namespace

TEST(TrigTransforms, EvenSizesTo512Double) { check_sizes<double>(even_sizes(192, 512, 3)); }
TEST(TrigTransforms, EvenSizesTo512Single) { check_sizes<float>(even_sizes(128, 512, 5)); }
TEST(TrigTransforms, LargerSizes) {
  check_sizes<double>({1000, 1024, 2310});
  check_sizes<float>({1024});
}

// Forward then backward returns the input, at lengths too long for the direct sums.
TEST(TrigTransforms, ForwardThenBackwardReturnsTheInput) {
  for (int n : {8192, 65536, 3 * 5 * 7 * 64}) {
    for (kind k : {sine, cosine, staggered}) {
      state<double> s(n, k);
      std::vector<double> f = random_vector<double>(n + 1, n + k);
      if (k == sine) f[0] = f[n] = 0;
      if (k == staggered) f[n] = 0;
      const std::vector<double> input = f;
      s.commit(f.data());
      ASSERT_EQ(s.stat, 0);
      s.forward(f.data());
      s.backward(f.data());
      ASSERT_EQ(s.stat, 0);
      double err = 0;
      for (int i = 0; i <= n; ++i) err = std::max(err, std::fabs(f[i] - input[i]));
      EXPECT_LE(err, round_trip_tolerance<double>(k, n)) << "n " << n << " type " << k;
      s.release();
    }
  }
}

// The tables of commit against long double values of their angles, and nothing written past
// them; the staggered angles are running sums, whose drift the bound allows for.
TEST(TrigTransforms, TablesInDparAfterCommit) {
  const ld pi = 3.141592653589793238462643383279502884L;
  for (int n : {2, 4, 16, 64, 512}) {
    const int last_index[3] = {n / 2 + 1, n - 1, 3 * n / 2 - 1};
    for (kind k : {sine, cosine, staggered}) {
      state<double> s(n, k);
      std::vector<double> zero(n + 1, 0.0);
      s.commit(zero.data());
      ASSERT_EQ(s.stat, 0);
      const std::vector<double>& d = s.dpar;
      const double tol = k == staggered ? 1e-15 * (1 + n / 64.0) : 2.3e-16;
      if (k == sine)
        for (int j = 1; j <= n / 2; ++j) EXPECT_NEAR(d[1 + j], std::sin(pi * j / n), tol);
      for (int j = 1; k != sine && j < n / 2; ++j) {
        EXPECT_NEAR(d[2 * j], std::cos(pi * j / n), tol) << n << " " << j;
        EXPECT_NEAR(d[2 * j + 1], std::sin(pi * j / n), tol) << n << " " << j;
      }
      if (k == staggered)
        for (int m = 1; m <= n / 2; ++m)
          EXPECT_NEAR(d[n - 1 + m], std::sin(pi * (m - 0.5L) / n), tol) << n << " " << m;
      if (k == cosine && n == 2) EXPECT_EQ(d[2], -7.0);
      EXPECT_EQ(d[last_index[k] + 1], -7.0) << "n " << n << " type " << k;
      EXPECT_EQ(d[1], -7.0);
      s.release();
    }
  }
}

// A zero or NaN in the half-odd sines stops the forward staggered transform with -200 and
// message 4 in each form; the backward transform never divides by them.
TEST(TrigTransforms, DamagedStaggeredTable) {
  const int n = 32;
  const char* names[2][2] = {{"spar", "s_"}, {"dpar", "d_"}};
  for (int single = 0; single < 2; ++single)
    for (int c_form : {0, 1}) {
      const std::string p = names[single == 0][0], r = names[single == 0][1];
      const std::string body =
          "\nDivision by zero occured. Computations have been stopped. The result may be\n"
          "wrong. Probably, the data in parameter " + p + " were altered by mistake before\n"
          "the call to " + r + "forward_trig_transform/" + r + "backward_trig_transform routine\n";
      std::string out;
      int stat = 0, status6 = 0;
      auto run = [&](auto& s, auto& f) {
        s.ipar[8] = c_form;
        s.commit(f.data());
        ASSERT_EQ(s.stat, 0);
        s.dpar[n - 1 + 5] = c_form ? 0 : std::nan("");
        s.backward(f.data());
        ASSERT_EQ(s.stat, 0);
        out = console_of([&] { s.forward(f.data()); });
        stat = s.stat;
        status6 = s.ipar[6];
        s.release();
      };
      if (single) {
        state<float> s(n, staggered);
        std::vector<float> f(n + 1, 0.0f);
        run(s, f);
      } else {
        state<double> s(n, staggered);
        std::vector<double> f(n + 1, 0.0);
        run(s, f);
      }
      EXPECT_EQ(out, error_text(body));
      EXPECT_EQ(stat, -200);
      EXPECT_EQ(status6, -200);
    }
}

// ipar[0] cleared after commit: the forward pass runs, then stops with message 6 before the
// scaling; the backward transform has no such test.
TEST(TrigTransforms, SizeClearedAfterCommit) {
  for (int c_form : {1, 0}) {
    state<double> s(8, cosine);
    s.ipar[8] = c_form;
    std::vector<double> f(9, 1.0);
    s.commit(f.data());
    ASSERT_EQ(s.stat, 0);
    s.ipar[0] = 0;
    s.backward(f.data());
    EXPECT_EQ(s.stat, 0);
    const std::string i0 = c_form ? "ipar[0]" : "ipar(1)";
    EXPECT_EQ(console_of([&] { s.forward(f.data()); }),
              error_text("\nDivision by zero occured. The d_commit_trig_transform routine was "
                         "not called,\nor the parameter " + i0 + "=0 was altered by mistake "
                         "outside the\nd_forward_trig_transform/d_backward_trig_transform "
                         "routine\n"));
    EXPECT_EQ(s.stat, -10000);
    EXPECT_EQ(s.ipar[6], -10000);
    s.release();
  }
}

// Two user threads transform distinct vectors with one descriptor; the results are those of
// one thread.
TEST(TrigTransforms, UserThreadsShareOneDescriptor) {
  const int n = 4096;
  state<double> s(n, cosine);
  s.ipar[9] = 2;
  std::vector<double> zero(n + 1, 0.0);
  s.commit(zero.data());
  ASSERT_EQ(s.stat, 0);
  std::vector<std::vector<double>> data, serial;
  for (int t = 0; t < 2; ++t) data.push_back(random_vector<double>(n + 1, 50 + t));
  serial = data;
  for (auto& v : serial) s.forward(v.data());
  int stats[2] = {1, 1};
  std::vector<std::thread> threads;
  for (int t = 0; t < 2; ++t)
    threads.emplace_back([&, t] {
      for (int rep = 0; rep < 20; ++rep) {
        std::vector<double> v = data[t];
        d_forward_trig_transform(v.data(), &s.handle, s.ipar, s.dpar.data(), &stats[t]);
        if (stats[t] != 0 || v != serial[t]) {
          stats[t] = -1;
          break;
        }
      }
    });
  for (auto& th : threads) th.join();
  EXPECT_EQ(stats[0], 0);
  EXPECT_EQ(stats[1], 0);
  s.release();
}

// The 2-D solver against the discrete problem it inverts, for every boundary combination, in
// both precisions; second-order convergence to smooth solutions; the degenerate problem; threads.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "pde_poisson/poisson_support.h"
#include "pde_poisson/tuning.h"
#include "zvx_service.h"

// Under AddressSanitizer an allocation that cannot be had returns null, as without it, so that
// the solver's own answer to it is what the test sees.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }

namespace {

using pt::ld;

std::string letters(int code, int sides) {
  std::string s;
  for (int i = sides - 1; i >= 0; --i) s += ((code >> i) & 1) ? 'N' : 'D';
  return s;
}

// Runs init, commit, solve and free on p; returns the solution and the statuses.
template <class T> struct run_result {
  std::vector<T> u;
  int commit_stat = 0, solve_stat = 0, free_stat = 0;
};

template <class T>
run_result<T> run2(pt::problem2& p, const std::string& bc, int threads = 1, T ax = T(0.25),
                   T ay = T(-0.5), int solve_threads = 0) {
  run_result<T> r;
  std::vector<int> ipar(128, 0);
  std::vector<T> dpar(5 * (p.nx + p.ny) + 64, 0);
  int stat = 0;
  pt::api<T>::init2(ax, ax + T(p.lx), ay, ay + T(p.ly), p.nx, p.ny, bc.c_str(), T(p.q),
                    ipar.data(), dpar.data(), &stat);
  EXPECT_EQ(stat, 0);
  ipar[22] = threads;
  std::vector<T> bd[4];
  for (int s = 0; s < 4; ++s) {
    const int len = (s < 2 ? p.ny : p.nx) + 1;
    bd[s].resize(len);
    for (int t = 0; t < len; ++t) {
      if (p.side[s] == 1) {
        bd[s][t] = T(p.g[s][t]);
      } else {
        const int j = s < 2 ? t : (s == 2 ? 0 : p.ny);
        const int i = s < 2 ? (s == 0 ? 0 : p.nx) : t;
        bd[s][t] = T(p.U(j, i));
      }
    }
  }
  r.u.assign(p.f.begin(), p.f.end());
  DFTI_DESCRIPTOR_HANDLE h = nullptr;
  pt::api<T>::commit2(r.u.data(), bd[0].data(), bd[1].data(), bd[2].data(), bd[3].data(), &h,
                      ipar.data(), dpar.data(), &stat);
  r.commit_stat = stat;
  if (solve_threads > 0) ipar[22] = solve_threads;
  pt::api<T>::solve2(r.u.data(), bd[0].data(), bd[1].data(), bd[2].data(), bd[3].data(), &h,
                     ipar.data(), dpar.data(), &stat);
  r.solve_stat = stat;
  free_helmholtz_2d(&h, ipar.data(), &stat);
  r.free_stat = stat;
  return r;
}

template <class T> ld max_error(const std::vector<T>& got, const std::vector<ld>& want) {
  ld e = 0;
  for (size_t k = 0; k < want.size(); ++k) e = std::max(e, std::fabs(got[k] - want[k]));
  return e;
}

pt::problem2 random_problem(int code, int nx, int ny, ld lx, ld ly, ld q, uint64_t seed) {
  pt::problem2 p;
  p.nx = nx;
  p.ny = ny;
  p.lx = lx;
  p.ly = ly;
  p.q = q;
  for (int s = 0; s < 4; ++s) p.side[s] = (code >> (3 - s)) & 1;
  pt::rng g(seed);
  p.u.resize(static_cast<size_t>(nx + 1) * (ny + 1));
  for (auto& v : p.u) v = g.next();
  for (int s = 0; s < 4; ++s) {
    p.g[s].resize((s < 2 ? ny : nx) + 1);
    for (auto& v : p.g[s]) v = g.next();
  }
  p.form_rhs();
  return p;
}

template <class T> void every_combination_exact() {
  for (int code = 0; code < 16; ++code) {
    // q = 0 too where a Dirichlet side keeps the problem regular; the pure Neumann one needs q.
    for (ld q : {ld(0.8), ld(0)}) {
      if (code == 15 && q == 0) continue;
      pt::problem2 p = random_problem(code, 12, 9, 1.7L, 0.6L, q, code + 17);
      auto r = run2<T>(p, letters(code, 4));
      EXPECT_EQ(r.commit_stat, 0) << code;
      EXPECT_EQ(r.solve_stat, 0) << code;
      EXPECT_EQ(r.free_stat, 0) << code;
      EXPECT_LT(max_error(r.u, p.u), pt::api<T>::tol) << "code " << code << " q " << (double)q;
    }
  }
}

TEST(Solve2D, EveryCombinationSolvesItsDiscreteProblemDouble) { every_combination_exact<double>(); }
TEST(Solve2D, EveryCombinationSolvesItsDiscreteProblemSingle) { every_combination_exact<float>(); }

TEST(Solve2D, SmallestGrids) {
  // nx = 2 with ny = 1 and 2: the shortest transforms and sweeps of one unknown row.
  for (int code = 0; code < 16; ++code)
    for (int ny : {1, 2}) {
      pt::problem2 p = random_problem(code, 2, ny, 1, 1, 1.5L, 3 + code);
      auto r = run2<double>(p, letters(code, 4));
      EXPECT_EQ(r.solve_stat, 0);
      EXPECT_LT(max_error(r.u, p.u), 1e-12) << "code " << code << " ny " << ny;
    }
}

// A smooth solution on the unit square: f = -lap u + q u, Dirichlet values of u, Neumann data
// the outward normal derivative along y and half of it along x.
ld smooth_u(ld x, ld y) { return std::cos(1.3L * x + 0.4L) * std::sin(0.9L * y + 0.7L) + 0.3L * x * y; }
ld smooth_ux(ld x, ld y) { return -1.3L * std::sin(1.3L * x + 0.4L) * std::sin(0.9L * y + 0.7L) + 0.3L * y; }
ld smooth_uy(ld x, ld y) { return 0.9L * std::cos(1.3L * x + 0.4L) * std::cos(0.9L * y + 0.7L) + 0.3L * x; }
ld smooth_f(ld x, ld y, ld q) {
  return (1.69L + 0.81L) * std::cos(1.3L * x + 0.4L) * std::sin(0.9L * y + 0.7L) + q * smooth_u(x, y);
}

ld smooth_error(int code, int n, ld q) {
  pt::problem2 p;
  p.nx = p.ny = n;
  p.lx = p.ly = 1;
  p.q = q;
  for (int s = 0; s < 4; ++s) p.side[s] = (code >> (3 - s)) & 1;
  const ld h = 1.0L / n;
  p.u.resize(static_cast<size_t>(n + 1) * (n + 1));
  p.f.resize(p.u.size());
  for (int j = 0; j <= n; ++j)
    for (int i = 0; i <= n; ++i) {
      p.U(j, i) = smooth_u(i * h, j * h);
      p.f[j * (n + 1) + i] = smooth_f(i * h, j * h, q);
    }
  for (int s = 0; s < 4; ++s) p.g[s].resize(n + 1);
  for (int t = 0; t <= n; ++t) {
    p.g[0][t] = -smooth_ux(0, t * h) / 2;
    p.g[1][t] = smooth_ux(1, t * h) / 2;
    p.g[2][t] = -smooth_uy(t * h, 0);
    p.g[3][t] = smooth_uy(t * h, 1);
  }
  auto r = run2<double>(p, letters(code, 4), 1, 0.0, 0.0);
  EXPECT_EQ(r.solve_stat, 0);
  return max_error(r.u, p.u);
}

TEST(Solve2D, SecondOrderConvergenceForEveryCombination) {
  for (int code = 0; code < 16; ++code) {
    const ld e1 = smooth_error(code, 16, 1.0L);
    const ld e2 = smooth_error(code, 32, 1.0L);
    EXPECT_LT(e1, 5e-3) << code;
    EXPECT_GT(e1 / e2, 3.3) << "code " << code << " errors " << (double)e1 << " " << (double)e2;
  }
}

TEST(Solve2D, AllNeumannWithoutShiftIsSolvedUpToTheMean) {
  testing::internal::CaptureStdout();
  pt::problem2 p = random_problem(15, 10, 8, 1, 1, 0, 99);
  auto r = run2<double>(p, "NNNN");
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(r.solve_stat, 1);
  EXPECT_NE(out.find("The problem is degenerate up to rounding errors!"), std::string::npos);
  ld mean_u = 0, mean_r = 0;
  for (size_t k = 0; k < p.u.size(); ++k) {
    mean_u += p.u[k];
    mean_r += r.u[k];
  }
  mean_u /= p.u.size();
  mean_r /= p.u.size();
  EXPECT_LT(std::fabs(mean_r), 1e-13);
  for (size_t k = 0; k < p.u.size(); ++k) EXPECT_NEAR(r.u[k], p.u[k] - mean_u, 1e-10);
  // With q = 1 the same sides give a regular problem and no warning.
  pt::problem2 p1 = random_problem(15, 10, 8, 1, 1, 1, 99);
  testing::internal::CaptureStdout();
  auto r1 = run2<double>(p1, "nnnn");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(r1.solve_stat, 0);
  EXPECT_LT(max_error(r1.u, p1.u), 1e-10);
}

// Run in an entry of its own with OMP_NUM_THREADS=2: two threads give the serial result.
TEST(Solve2DThreads, TwoThreadsEqualOne) {
  for (int code : {0, 5, 10, 15}) {
    pt::problem2 p = random_problem(code, 14, 11, 1, 1, 0.5L, 7 + code);
    auto serial = run2<double>(p, letters(code, 4), 1);
    auto threaded = run2<double>(p, letters(code, 4), 2);
    EXPECT_EQ(threaded.solve_stat, 0);
    for (size_t k = 0; k < p.u.size(); ++k) ASSERT_EQ(serial.u[k], threaded.u[k]) << code;
    auto fs = run2<float>(p, letters(code, 4), 1);
    auto ft = run2<float>(p, letters(code, 4), 2);
    for (size_t k = 0; k < p.u.size(); ++k) ASSERT_EQ(fs.u[k], ft.u[k]) << code;
  }
}

// Run with threads allowed: several column blocks, the last one partial, and rows not a whole
// number of cache lines, shared by 2 and 3 threads; every count gives the one-thread result,
// which solves the problem.
TEST(Solve2DThreads, ColumnBlocksSharedUnevenly) {
  const int nx = 5 * zvx::poisson::kColumnBlock + 2, ny = 37;
  for (int code : {0, 6, 9, 15}) {
    pt::problem2 p = random_problem(code, nx, ny, 1.3L, 0.8L, 0.5L, 50 + code);
    auto serial = run2<double>(p, letters(code, 4), 1);
    EXPECT_LT(max_error(serial.u, p.u), 1e-9) << code;
    auto fs = run2<float>(p, letters(code, 4), 1);
    for (int threads : {2, 3}) {
      auto many = run2<double>(p, letters(code, 4), threads);
      EXPECT_EQ(many.solve_stat, 0) << code;
      for (size_t k = 0; k < p.u.size(); ++k)
        ASSERT_EQ(serial.u[k], many.u[k]) << code << " on " << threads << " threads";
      auto fm = run2<float>(p, letters(code, 4), threads);
      for (size_t k = 0; k < p.u.size(); ++k)
        ASSERT_EQ(fs.u[k], fm.u[k]) << code << " on " << threads << " threads";
    }
  }
}

// Run with threads allowed: a solve asked for more threads than commit prepared the transforms
// for (one, or two user threads) runs on no more than those, and gives the one-thread result.
TEST(Solve2DThreads, MoreThreadsAtSolveThanAtCommit) {
  for (int code : {0, 10}) {
    pt::problem2 p = random_problem(code, 40, 9, 1, 1, 0.5L, 30 + code);
    auto serial = run2<double>(p, letters(code, 4), 1);
    EXPECT_LT(max_error(serial.u, p.u), 1e-10) << code;
    for (int committed : {1, 2}) {
      auto more = run2<double>(p, letters(code, 4), committed, 0.25, -0.5, 4);
      EXPECT_EQ(more.solve_stat, 0) << code << " committed for " << committed;
      for (size_t k = 0; k < p.u.size(); ++k)
        ASSERT_EQ(serial.u[k], more.u[k]) << code << " committed for " << committed;
    }
  }
}

// Run with threads allowed: work memory for more threads than can be had fails cleanly.
TEST(Solve2DThreads, WorkMemoryThatCannotBeHad) {
  std::vector<int> ipar(128, 0);
  std::vector<double> dpar(128, 0), f(15 * 15, 1.0), bd(15, 0);
  int stat = 0;
  const double a = 0, b = 1, q = 1;
  const int n = 14;
  d_init_helmholtz_2d(&a, &b, &a, &b, &n, &n, "DDDD", &q, ipar.data(), dpar.data(), &stat);
  DFTI_DESCRIPTOR_HANDLE h = nullptr;
  d_commit_helmholtz_2d(f.data(), bd.data(), bd.data(), bd.data(), bd.data(), &h, ipar.data(),
                        dpar.data(), &stat);
  ASSERT_EQ(stat, 0);
  ipar[22] = 1 << 30;
  testing::internal::CaptureStdout();
  d_helmholtz_2d(f.data(), bd.data(), bd.data(), bd.data(), bd.data(), &h, ipar.data(),
                 dpar.data(), &stat);
  const std::string out = testing::internal::GetCapturedStdout();
  const int solve_stat = stat, state = ipar[0];
  free_helmholtz_2d(&h, ipar.data(), &stat);
  if (in_serial() == 1) GTEST_SKIP() << "threads are not allowed in this process";
  EXPECT_EQ(solve_stat, -3);
  EXPECT_EQ(state, -3);
  EXPECT_NE(out.find("\nFatal error: Memory cannot be allocated/deallocated. Computations have "
                     "been stopped. The\nresult may be wrong.\n"),
            std::string::npos);
}

}  // namespace

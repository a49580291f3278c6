// The 3-D solver against the discrete problem it inverts, for all 64 boundary combinations in
// both precisions, second-order convergence to a smooth solution, the degenerate problem, threads.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "pde_poisson/poisson_support.h"
#include "pde_poisson/tuning.h"

namespace {

using pt::ld;

std::string letters(int code) {
  std::string s;
  for (int i = 5; i >= 0; --i) s += ((code >> i) & 1) ? 'N' : 'D';
  return s;
}

template <class T> struct result3 {
  std::vector<T> u;
  int commit_stat = 0, solve_stat = 0, free_stat = 0;
};

// Dirichlet faces carry u, Neumann faces their data.
template <class T> result3<T> run3(pt::problem3& p, int threads = 1) {
  result3<T> r;
  const int nx = p.n[0], ny = p.n[1], nz = p.n[2];
  std::vector<int> ipar(128, 0);
  std::vector<T> dpar(4 * (nx + ny + nz) + 64, 0);
  int stat = 0;
  pt::api<T>::init3(T(0.5), T(0.5 + p.len[0]), T(-1), T(-1 + p.len[1]), T(0), T(p.len[2]), nx,
                    ny, nz, letters((p.side[0] << 5) | (p.side[1] << 4) | (p.side[2] << 3) |
                                    (p.side[3] << 2) | (p.side[4] << 1) | p.side[5]).c_str(),
                    T(p.q), ipar.data(), dpar.data(), &stat);
  EXPECT_EQ(stat, 0);
  ipar[22] = threads;
  std::vector<T> bd[6];
  for (int s = 0; s < 6; ++s) {
    const int d = s / 2;
    const int slow = d == 2 ? 1 : 2, fast = d == 0 ? 1 : 0;
    bd[s].resize(static_cast<size_t>(p.n[slow] + 1) * (p.n[fast] + 1));
    for (int a = 0; a <= p.n[slow]; ++a)
      for (int b = 0; b <= p.n[fast]; ++b) {
        const size_t idx = static_cast<size_t>(a) * (p.n[fast] + 1) + b;
        if (p.side[s] == 1) {
          bd[s][idx] = T(p.g[s][idx]);
        } else {
          int pt3[3];
          pt3[d] = (s % 2) ? p.n[d] : 0;
          pt3[slow] = a;
          pt3[fast] = b;
          bd[s][idx] = T(p.u[p.at(pt3[2], pt3[1], pt3[0])]);
        }
      }
  }
  const T* bp[6] = {bd[0].data(), bd[1].data(), bd[2].data(), bd[3].data(), bd[4].data(),
                    bd[5].data()};
  r.u.assign(p.f.begin(), p.f.end());
  DFTI_DESCRIPTOR_HANDLE xh = nullptr, yh = nullptr;
  pt::api<T>::commit3(r.u.data(), bp, &xh, &yh, ipar.data(), dpar.data(), &stat);
  r.commit_stat = stat;
  pt::api<T>::solve3(r.u.data(), bp, &xh, &yh, ipar.data(), dpar.data(), &stat);
  r.solve_stat = stat;
  free_helmholtz_3d(&xh, &yh, ipar.data(), &stat);
  r.free_stat = stat;
  return r;
}

template <class T> ld max_error(const std::vector<T>& got, const std::vector<ld>& want) {
  ld e = 0;
  for (size_t k = 0; k < want.size(); ++k) e = std::max(e, std::fabs(got[k] - want[k]));
  return e;
}

pt::problem3 random3(int code, int nx, int ny, int nz, ld q, uint64_t seed) {
  pt::problem3 p;
  p.n[0] = nx;
  p.n[1] = ny;
  p.n[2] = nz;
  p.len[0] = 1.3L;
  p.len[1] = 0.7L;
  p.len[2] = 0.9L;
  p.q = q;
  for (int s = 0; s < 6; ++s) p.side[s] = (code >> (5 - s)) & 1;
  pt::rng g(seed);
  p.u.resize(static_cast<size_t>(nx + 1) * (ny + 1) * (nz + 1));
  for (auto& v : p.u) v = g.next();
  for (int s = 0; s < 6; ++s) {
    const int d = s / 2;
    const int slow = d == 2 ? 1 : 2, fast = d == 0 ? 1 : 0;
    p.g[s].resize(static_cast<size_t>(p.n[slow] + 1) * (p.n[fast] + 1));
    for (auto& v : p.g[s]) v = g.next();
  }
  p.form_rhs();
  return p;
}

template <class T> void all_combinations() {
  for (int code = 0; code < 64; ++code) {
    pt::problem3 p = random3(code, 6, 4, 5, code == 63 ? 0.7L : (code % 2 ? 0.7L : 0), code);
    auto r = run3<T>(p);
    EXPECT_EQ(r.commit_stat, 0) << code;
    EXPECT_EQ(r.solve_stat, 0) << code;
    EXPECT_EQ(r.free_stat, 0) << code;
    EXPECT_LT(max_error(r.u, p.u), pt::api<T>::tol) << "code " << code;
  }
}

TEST(Solve3D, EveryCombinationSolvesItsDiscreteProblemDouble) { all_combinations<double>(); }
TEST(Solve3D, EveryCombinationSolvesItsDiscreteProblemSingle) { all_combinations<float>(); }

// The y lines are transformed a cache line of neighbours at a time: rows of two full batches and
// a part of three, in either precision, against the discrete problem.
template <class T> void lines_in_batches() {
  const int nx = 2 * zvx::poisson::kLineBatch<T> + 2;
  for (int code : {0, 21, 42, 63}) {
    pt::problem3 p = random3(code, nx, 6, 5, 0.4L, 40 + code);
    auto r = run3<T>(p);
    EXPECT_EQ(r.solve_stat, 0) << code;
    EXPECT_LT(max_error(r.u, p.u), pt::api<T>::tol) << "code " << code;
  }
}
TEST(Solve3D, LinesInFullAndPartBatchesDouble) { lines_in_batches<double>(); }
TEST(Solve3D, LinesInFullAndPartBatchesSingle) { lines_in_batches<float>(); }

TEST(Solve3D, OneIntervalAlongZ) {
  for (int code : {0, 1, 2, 3, 21, 42, 63}) {
    pt::problem3 p = random3(code, 4, 2, 1, 1, 5 + code);
    auto r = run3<double>(p);
    EXPECT_EQ(r.solve_stat, 0);
    EXPECT_LT(max_error(r.u, p.u), 1e-12) << code;
  }
}

// u = cos(x + 0.3) cos(0.8 y - 0.2) sin(0.6 z + 0.5) on the unit cube, -lap u = 2 u.
ld cube_error(int code, int n) {
  pt::problem3 p;
  for (int d = 0; d < 3; ++d) {
    p.n[d] = n;
    p.len[d] = 1;
  }
  p.q = 0.5L;
  for (int s = 0; s < 6; ++s) p.side[s] = (code >> (5 - s)) & 1;
  const ld h = 1.0L / n;
  const auto U = [](ld x, ld y, ld z) {
    return std::cos(x + 0.3L) * std::cos(0.8L * y - 0.2L) * std::sin(0.6L * z + 0.5L);
  };
  const auto grad = [](ld x, ld y, ld z, int d) {
    const ld a = std::cos(x + 0.3L), b = std::cos(0.8L * y - 0.2L), c = std::sin(0.6L * z + 0.5L);
    if (d == 0) return -std::sin(x + 0.3L) * b * c;
    if (d == 1) return -0.8L * a * std::sin(0.8L * y - 0.2L) * c;
    return 0.6L * a * b * std::cos(0.6L * z + 0.5L);
  };
  p.u.resize(static_cast<size_t>(n + 1) * (n + 1) * (n + 1));
  p.f.resize(p.u.size());
  for (int k = 0; k <= n; ++k)
    for (int j = 0; j <= n; ++j)
      for (int i = 0; i <= n; ++i) {
        p.u[p.at(k, j, i)] = U(i * h, j * h, k * h);
        p.f[p.at(k, j, i)] = (2.0L + p.q) * U(i * h, j * h, k * h);
      }
  for (int s = 0; s < 6; ++s) {
    const int d = s / 2;
    const int slow = d == 2 ? 1 : 2, fast = d == 0 ? 1 : 0;
    p.g[s].resize(static_cast<size_t>(n + 1) * (n + 1));
    for (int a = 0; a <= n; ++a)
      for (int b = 0; b <= n; ++b) {
        ld x[3];
        x[d] = (s % 2) ? 1 : 0;
        x[slow] = a * h;
        x[fast] = b * h;
        // Outward normal derivative; half of it on the x and y faces.
        const ld dn = ((s % 2) ? 1 : -1) * grad(x[0], x[1], x[2], d);
        p.g[s][static_cast<size_t>(a) * (n + 1) + b] = d == 2 ? dn : dn / 2;
      }
  }
  auto r = run3<double>(p);
  EXPECT_EQ(r.solve_stat, 0);
  return max_error(r.u, p.u);
}

// Where a Neumann face meets another Neumann face, the data along the edge are averaged with
// their neighbours, an O(h) change on a line of points: the error goes as h^2 log(1/h), whose
// ratio between 8 and 16 intervals is near 3 (and 3.3 between 16 and 32); first order gives 2.
TEST(Solve3D, SecondOrderConvergenceForEveryCombination) {
  for (int code = 0; code < 64; ++code) {
    const ld e1 = cube_error(code, 8);
    const ld e2 = cube_error(code, 16);
    EXPECT_GT(e1 / e2, 2.8) << "code " << code << " errors " << (double)e1 << " " << (double)e2;
  }
}

TEST(Solve3D, AllNeumannWithoutShiftIsSolvedUpToTheMean) {
  pt::problem3 p = random3(63, 4, 6, 3, 0, 11);
  testing::internal::CaptureStdout();
  auto r = run3<double>(p);
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(r.solve_stat, 1);
  EXPECT_NE(out.find("degenerate"), std::string::npos);
  ld mean = 0;
  for (ld v : p.u) mean += v;
  mean /= p.u.size();
  for (size_t k = 0; k < p.u.size(); ++k) EXPECT_NEAR(r.u[k], p.u[k] - mean, 1e-10);
}

TEST(Solve3DThreads, TwoThreadsEqualOne) {
  for (int code : {0, 27, 45, 63}) {
    pt::problem3 p = random3(code, 6, 8, 7, 0.3L, code);
    auto a = run3<double>(p, 1);
    auto b = run3<double>(p, 2);
    EXPECT_EQ(b.solve_stat, 0);
    for (size_t k = 0; k < p.u.size(); ++k) ASSERT_EQ(a.u[k], b.u[k]) << code;
  }
}

// Planes shared unevenly (7 planes on 2 and 3 threads), rows of full and part batches, both
// precisions: every thread count gives the one-thread result, and that result solves the problem.
template <class T> void threads_split_planes() {
  const int nx = 2 * zvx::poisson::kLineBatch<T> + 2;
  for (int code : {0, 22, 63}) {
    pt::problem3 p = random3(code, nx, 4, 6, 0.6L, 70 + code);
    auto one = run3<T>(p, 1);
    EXPECT_LT(max_error(one.u, p.u), pt::api<T>::tol) << code;
    for (int threads : {2, 3}) {
      auto many = run3<T>(p, threads);
      EXPECT_EQ(many.solve_stat, 0) << code;
      for (size_t k = 0; k < p.u.size(); ++k)
        ASSERT_EQ(one.u[k], many.u[k]) << code << " on " << threads << " threads";
    }
  }
}
TEST(Solve3DThreads, UnevenPlanesAndBatchesEqualOneThreadDouble) {
  threads_split_planes<double>();
}
TEST(Solve3DThreads, UnevenPlanesAndBatchesEqualOneThreadSingle) {
  threads_split_planes<float>();
}

}  // namespace

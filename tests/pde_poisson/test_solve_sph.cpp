// The spherical solvers against the difference form of the Laplace-Beltrami operator they invert
// (see the header of src/pde_poisson/solve_sph.cpp), on patches and on the whole globe, both
// precisions; convergence to spherical harmonics; the degenerate globe; threads.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "pde_poisson/poisson_support.h"

namespace {

using pt::ld;
const ld kPi = 3.141592653589793238462643383279503L;

struct sph_problem {
  bool periodic;
  int np, nt;
  ld ap, bp, at, bt, q;
  std::vector<ld> u, f;
  ld& U(int j, int i) { return u[static_cast<size_t>(j) * (np + 1) + i]; }
  bool globe() const {
    return periodic && std::fabs(at) <= 1e-10 && std::fabs(kPi - bt) <= 1e-10;
  }
  ld s(int j) const { return std::sin(static_cast<double>(at + j * ((bt - at) / nt))); }
  ld S(int j) const { return (j < 0 || j >= nt) ? 0 : (s(j) + s(j + 1)) / 2; }
  // Row means and the pole values of the globe that the pole equations (with f = 0) demand.
  void set_poles() {
    const ld ht = (bt - at) / nt, qq = ht * ht * q;
    ld m1 = 0, m2 = 0;
    for (int i = 0; i < np; ++i) {
      m1 += U(1, i);
      m2 += U(nt - 1, i);
    }
    m1 /= np;
    m2 /= np;
    const ld p0 = S(0) * m1 / (S(0) + qq * s(0));
    const ld pn = S(nt - 1) * m2 / (S(nt - 1) + qq * s(nt));
    for (int i = 0; i <= np; ++i) {
      U(0, i) = p0;
      U(nt, i) = pn;
    }
  }
  void form_rhs() {
    const ld hp = (bp - ap) / np, ht = (bt - at) / nt;
    const ld r = (ht / hp) * (ht / hp), qq = ht * ht * q;
    f.assign(u.size(), 0);
    for (int j = 1; j < nt; ++j)
      for (int i = 0; i <= np; ++i) {
        if (!periodic && (i == 0 || i == np)) continue;
        const int il = periodic ? (i + np - 1) % np : i - 1;
        const int ir = periodic ? (i + 1) % np : i + 1;
        const ld ui = U(j, i % (periodic ? np : np + 1));
        const ld l = -S(j - 1) * U(j - 1, i) + (S(j - 1) + S(j) + qq * s(j)) * ui -
                     S(j) * U(j + 1, i) + r / s(j) * (2 * ui - U(j, il) - U(j, ir));
        f[static_cast<size_t>(j) * (np + 1) + i] = l / (ht * ht * s(j));
      }
  }
};

template <class T> struct sph_result {
  std::vector<T> u;
  int commit_stat = 0, solve_stat = 0, free_stat = 0;
};

template <class T> sph_result<T> run_sph(sph_problem& p, int threads = 1) {
  sph_result<T> r;
  std::vector<int> ipar(128, 0);
  std::vector<T> dpar(4 * (p.np + p.nt) + 64, 0);
  int stat = 0;
  pt::api<T>::init_sph(p.periodic, T(p.ap), T(p.bp), T(p.at), T(p.bt), p.np, p.nt, T(p.q),
                       ipar.data(), dpar.data(), &stat);
  EXPECT_EQ(stat, 0);
  ipar[22] = threads;
  r.u.assign(p.f.begin(), p.f.end());
  DFTI_DESCRIPTOR_HANDLE h1 = nullptr, h2 = nullptr;
  pt::api<T>::commit_sph(p.periodic, r.u.data(), &h1, &h2, ipar.data(), dpar.data(), &stat);
  r.commit_stat = stat;
  pt::api<T>::solve_sph(p.periodic, r.u.data(), &h1, &h2, ipar.data(), dpar.data(), &stat);
  r.solve_stat = stat;
  if (p.periodic) {
    free_sph_p(&h1, &h2, ipar.data(), &stat);
  } else {
    free_sph_np(&h1, ipar.data(), &stat);
  }
  r.free_stat = stat;
  return r;
}

// Largest difference over the grid; the edges of a band or patch hold u = 0.
template <class T> ld sph_error(const sph_problem& p, const std::vector<T>& got, ld shift = 0) {
  ld e = 0;
  for (int j = 0; j <= p.nt; ++j)
    for (int i = 0; i <= p.np; ++i) {
      const size_t k = static_cast<size_t>(j) * (p.np + 1) + i;
      e = std::max(e, std::fabs(got[k] - (p.u[k] - shift)));
    }
  return e;
}

sph_problem random_sph(bool periodic, int np, int nt, ld ap, ld bp, ld at, ld bt, ld q,
                       uint64_t seed) {
  sph_problem p{periodic, np, nt, ap, bp, at, bt, q, {}, {}};
  pt::rng g(seed);
  p.u.assign(static_cast<size_t>(np + 1) * (nt + 1), 0);
  for (int j = 1; j < nt; ++j)
    for (int i = 0; i <= np; ++i) p.U(j, i) = g.next();
  for (int j = 0; j <= nt; ++j) {
    if (periodic) {
      p.U(j, np) = p.U(j, 0);
    } else {
      p.U(j, 0) = 0;
      p.U(j, np) = 0;
    }
  }
  if (p.globe()) p.set_poles();
  p.form_rhs();
  return p;
}

template <class T> void discrete_problems() {
  const double tol = pt::api<T>::tol * 10;
  struct c { bool periodic; int np, nt; ld ap, bp, at, bt, q; };
  const c cases[] = {
      {true, 16, 10, 0, 2 * kPi, 0.4L, 2.5L, 1.5L},      // a band, both edges fixed
      {true, 12, 8, 0, 2 * kPi, 0, kPi, 2.0L},           // the globe
      {true, 8, 9, 1, 1 + 2 * kPi, 0, kPi, 0.5L},        // the globe, odd row count
      {false, 10, 7, 0.2L, 1.4L, 0.3L, 1.9L, 1.0L},      // a patch with fixed sides
      {false, 6, 6, 0, 1, 0.5L, 1.0L, 0},                // no shift
  };
  for (const c& k : cases) {
    sph_problem p = random_sph(k.periodic, k.np, k.nt, k.ap, k.bp, k.at, k.bt, k.q, k.np + k.nt);
    auto r = run_sph<T>(p);
    EXPECT_EQ(r.commit_stat, 0);
    EXPECT_EQ(r.solve_stat, 0);
    EXPECT_EQ(r.free_stat, 0);
    EXPECT_LT(sph_error(p, r.u), tol) << k.periodic << " " << k.np << " " << k.nt;
  }
}

TEST(SolveSph, DiscreteProblemsDouble) { discrete_problems<double>(); }
TEST(SolveSph, DiscreteProblemsSingle) { discrete_problems<float>(); }

TEST(SolveSph, GlobeWithoutShiftIsSolvedUpToTheMean) {
  sph_problem p = random_sph(true, 16, 8, 0, 2 * kPi, 0, kPi, 0, 5);
  testing::internal::CaptureStdout();
  auto r = run_sph<double>(p);
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(r.solve_stat, 1);
  EXPECT_NE(out.find("The problem is degenerate"), std::string::npos);
  ld mean = 0, got_mean = 0;
  for (size_t k = 0; k < p.u.size(); ++k) {
    mean += p.u[k];
    got_mean += r.u[k];
  }
  mean /= p.u.size();
  EXPECT_LT(std::fabs(got_mean / p.u.size()), 1e-14);
  EXPECT_LT(sph_error(p, r.u, mean), 1e-10);
}

TEST(SolveSph, SmallestPeriodicGrid) {
  // np = 4: transforms of length 2; nt = 1 leaves no row to solve on a band.
  sph_problem p = random_sph(true, 4, 3, 0, 2 * kPi, 0.5L, 2.0L, 1, 3);
  auto r = run_sph<double>(p);
  EXPECT_EQ(r.solve_stat, 0);
  EXPECT_LT(sph_error(p, r.u), 1e-12);
  sph_problem q = random_sph(true, 4, 1, 0, 2 * kPi, 0.5L, 2.0L, 1, 3);
  auto rq = run_sph<double>(q);
  EXPECT_EQ(rq.solve_stat, 0);
}

// Spherical harmonics of degree 1 and 2 on the globe: -lap Y = l(l+1) Y.
ld harmonic(ld t, ld ph) { return std::cos(t) + std::sin(t) * std::sin(ph) + 0.5L * std::sin(t) * std::sin(t) * std::cos(2 * ph); }
ld harmonic_f(ld t, ld ph, ld q) {
  return (2 + q) * (std::cos(t) + std::sin(t) * std::sin(ph)) +
         (6 + q) * 0.5L * std::sin(t) * std::sin(t) * std::cos(2 * ph);
}

ld globe_error(int nt, ld q) {
  sph_problem p{true, 2 * nt, nt, 0, 2 * kPi, 0, kPi, q, {}, {}};
  p.u.resize(static_cast<size_t>(p.np + 1) * (nt + 1));
  p.f.resize(p.u.size());
  for (int j = 0; j <= nt; ++j)
    for (int i = 0; i <= p.np; ++i) {
      const ld t = kPi * j / nt, ph = 2 * kPi * i / p.np;
      p.U(j, i) = harmonic(t, ph);
      p.f[static_cast<size_t>(j) * (p.np + 1) + i] = harmonic_f(t, ph, q);
    }
  auto r = run_sph<double>(p);
  ld mean = 0;
  if (q == 0) {
    for (ld v : p.u) mean += v;
    mean /= p.u.size();
  }
  return sph_error(p, r.u, mean);
}

TEST(SolveSph, SecondOrderOnTheGlobe) {
  for (ld q : {ld(1), ld(0)}) {
    const ld e1 = globe_error(24, q), e2 = globe_error(48, q);
    EXPECT_LT(e1, 0.05);
    EXPECT_GT(e1 / e2, 3.3) << (double)e1 << " " << (double)e2;
  }
}

// u = sin(4 phi) sin(pi (theta - 0.3) / 0.9) on phi in [0, pi/4], theta in [0.3, 1.2].
ld patch_error(int n) {
  const ld a = kPi / 0.9L;
  sph_problem p{false, n, n, 0, kPi / 4, 0.3L, 1.2L, 2, {}, {}};
  p.u.resize(static_cast<size_t>(n + 1) * (n + 1));
  p.f.resize(p.u.size());
  for (int j = 0; j <= n; ++j)
    for (int i = 0; i <= n; ++i) {
      const ld t = 0.3L + 0.9L * j / n, ph = (kPi / 4) * i / n;
      const ld A = std::sin(4 * ph), B = std::sin(a * (t - 0.3L));
      const ld dB = a * std::cos(a * (t - 0.3L)), ddB = -a * a * B;
      p.U(j, i) = A * B;
      p.f[static_cast<size_t>(j) * (n + 1) + i] =
          -A * (std::cos(t) * dB + std::sin(t) * ddB) / std::sin(t) +
          16 * A * B / (std::sin(t) * std::sin(t)) + p.q * A * B;
    }
  auto r = run_sph<double>(p);
  EXPECT_EQ(r.solve_stat, 0);
  return sph_error(p, r.u);
}

TEST(SolveSph, SecondOrderOnAPatch) {
  const ld e1 = patch_error(16), e2 = patch_error(32);
  EXPECT_GT(e1 / e2, 3.5) << (double)e1 << " " << (double)e2;
}

TEST(SolveSphThreads, TwoThreadsEqualOne) {
  for (bool periodic : {true, false}) {
    sph_problem p = random_sph(periodic, 16, 12, 0, periodic ? 2 * kPi : 1, periodic ? 0 : 0.4L,
                               periodic ? kPi : 1.5L, 1, 9);
    auto a = run_sph<double>(p, 1);
    auto b = run_sph<double>(p, 2);
    EXPECT_EQ(b.solve_stat, 0);
    for (size_t k = 0; k < a.u.size(); ++k) ASSERT_EQ(a.u[k], b.u[k]);
  }
}

}  // namespace

// Shared by the Poisson tests: the solver entries by precision, the discrete operators the
// solvers invert, written out point by point in long double, and grids of test values.
#pragma once
#include <cmath>
#include <cstdint>
#include <vector>

#include "zvx_poisson.h"

namespace pt {

using ld = long double;

// A small deterministic generator of values in [-1, 1).
struct rng {
  uint64_t s;
  explicit rng(uint64_t seed) : s(seed * 0x9E3779B97F4A7C15ull + 1) {}
  double next() {
    s ^= s << 13;
    s ^= s >> 7;
    s ^= s << 17;
    return static_cast<double>(s >> 11) / 4503599627370496.0 - 1.0;
  }
};

template <class T> struct api;
template <> struct api<double> {
  static constexpr double tol = 1e-10;
  static void init2(double ax, double bx, double ay, double by, int nx, int ny, const char* bc,
                    double q, int* ipar, double* dpar, int* stat) {
    d_init_helmholtz_2d(&ax, &bx, &ay, &by, &nx, &ny, bc, &q, ipar, dpar, stat);
  }
  static void commit2(double* f, const double* a, const double* b, const double* c,
                      const double* d, DFTI_DESCRIPTOR_HANDLE* h, int* ipar, double* dpar,
                      int* stat) {
    d_commit_helmholtz_2d(f, a, b, c, d, h, ipar, dpar, stat);
  }
  static void solve2(double* f, const double* a, const double* b, const double* c,
                     const double* d, DFTI_DESCRIPTOR_HANDLE* h, int* ipar, double* dpar,
                     int* stat) {
    d_helmholtz_2d(f, a, b, c, d, h, ipar, dpar, stat);
  }
  static void init3(double ax, double bx, double ay, double by, double az, double bz, int nx,
                    int ny, int nz, const char* bc, double q, int* ipar, double* dpar,
                    int* stat) {
    d_init_helmholtz_3d(&ax, &bx, &ay, &by, &az, &bz, &nx, &ny, &nz, bc, &q, ipar, dpar, stat);
  }
  static void commit3(double* f, const double* const* bd, DFTI_DESCRIPTOR_HANDLE* xh,
                      DFTI_DESCRIPTOR_HANDLE* yh, int* ipar, double* dpar, int* stat) {
    d_commit_helmholtz_3d(f, bd[0], bd[1], bd[2], bd[3], bd[4], bd[5], xh, yh, ipar, dpar, stat);
  }
  static void solve3(double* f, const double* const* bd, DFTI_DESCRIPTOR_HANDLE* xh,
                     DFTI_DESCRIPTOR_HANDLE* yh, int* ipar, double* dpar, int* stat) {
    d_helmholtz_3d(f, bd[0], bd[1], bd[2], bd[3], bd[4], bd[5], xh, yh, ipar, dpar, stat);
  }
  static void init_sph(bool periodic, double ap, double bp, double at, double bt, int np,
                       int nt, double q, int* ipar, double* dpar, int* stat) {
    if (periodic) {
      d_init_sph_p(&ap, &bp, &at, &bt, &np, &nt, &q, ipar, dpar, stat);
    } else {
      d_init_sph_np(&ap, &bp, &at, &bt, &np, &nt, &q, ipar, dpar, stat);
    }
  }
  static void commit_sph(bool periodic, double* f, DFTI_DESCRIPTOR_HANDLE* h1,
                         DFTI_DESCRIPTOR_HANDLE* h2, int* ipar, double* dpar, int* stat) {
    if (periodic) {
      d_commit_sph_p(f, h1, h2, ipar, dpar, stat);
    } else {
      d_commit_sph_np(f, h1, ipar, dpar, stat);
    }
  }
  static void solve_sph(bool periodic, double* f, DFTI_DESCRIPTOR_HANDLE* h1,
                        DFTI_DESCRIPTOR_HANDLE* h2, int* ipar, double* dpar, int* stat) {
    if (periodic) {
      d_sph_p(f, h1, h2, ipar, dpar, stat);
    } else {
      d_sph_np(f, h1, ipar, dpar, stat);
    }
  }
};
template <> struct api<float> {
  static constexpr double tol = 3e-4;
  static void init2(float ax, float bx, float ay, float by, int nx, int ny, const char* bc,
                    float q, int* ipar, float* dpar, int* stat) {
    s_init_helmholtz_2d(&ax, &bx, &ay, &by, &nx, &ny, bc, &q, ipar, dpar, stat);
  }
  static void commit2(float* f, const float* a, const float* b, const float* c, const float* d,
                      DFTI_DESCRIPTOR_HANDLE* h, int* ipar, float* dpar, int* stat) {
    s_commit_helmholtz_2d(f, a, b, c, d, h, ipar, dpar, stat);
  }
  static void solve2(float* f, const float* a, const float* b, const float* c, const float* d,
                     DFTI_DESCRIPTOR_HANDLE* h, int* ipar, float* dpar, int* stat) {
    s_helmholtz_2d(f, a, b, c, d, h, ipar, dpar, stat);
  }
  static void init3(float ax, float bx, float ay, float by, float az, float bz, int nx, int ny,
                    int nz, const char* bc, float q, int* ipar, float* dpar, int* stat) {
    s_init_helmholtz_3d(&ax, &bx, &ay, &by, &az, &bz, &nx, &ny, &nz, bc, &q, ipar, dpar, stat);
  }
  static void commit3(float* f, const float* const* bd, DFTI_DESCRIPTOR_HANDLE* xh,
                      DFTI_DESCRIPTOR_HANDLE* yh, int* ipar, float* dpar, int* stat) {
    s_commit_helmholtz_3d(f, bd[0], bd[1], bd[2], bd[3], bd[4], bd[5], xh, yh, ipar, dpar, stat);
  }
  static void solve3(float* f, const float* const* bd, DFTI_DESCRIPTOR_HANDLE* xh,
                     DFTI_DESCRIPTOR_HANDLE* yh, int* ipar, float* dpar, int* stat) {
    s_helmholtz_3d(f, bd[0], bd[1], bd[2], bd[3], bd[4], bd[5], xh, yh, ipar, dpar, stat);
  }
  static void init_sph(bool periodic, float ap, float bp, float at, float bt, int np, int nt,
                       float q, int* ipar, float* dpar, int* stat) {
    if (periodic) {
      s_init_sph_p(&ap, &bp, &at, &bt, &np, &nt, &q, ipar, dpar, stat);
    } else {
      s_init_sph_np(&ap, &bp, &at, &bt, &np, &nt, &q, ipar, dpar, stat);
    }
  }
  static void commit_sph(bool periodic, float* f, DFTI_DESCRIPTOR_HANDLE* h1,
                         DFTI_DESCRIPTOR_HANDLE* h2, int* ipar, float* dpar, int* stat) {
    if (periodic) {
      s_commit_sph_p(f, h1, h2, ipar, dpar, stat);
    } else {
      s_commit_sph_np(f, h1, ipar, dpar, stat);
    }
  }
  static void solve_sph(bool periodic, float* f, DFTI_DESCRIPTOR_HANDLE* h1,
                        DFTI_DESCRIPTOR_HANDLE* h2, int* ipar, float* dpar, int* stat) {
    if (periodic) {
      s_sph_p(f, h1, h2, ipar, dpar, stat);
    } else {
      s_sph_np(f, h1, ipar, dpar, stat);
    }
  }
};

// Twice a boundary value, with the two nearest values in place of twice the value at the ends
// of its line: how the boundary data of a Neumann side enters the equations.
inline ld edge2(const std::vector<ld>& g, int i, int n) {
  if (i == 0) return g[0] + g[1];
  if (i == n) return g[n] + g[n - 1];
  return 2 * g[i];
}
// The same on a face of (m+1) x (n+1) values: averaged along each end, then doubled.
inline ld face2(const std::vector<ld>& g, int r, int c, int m, int n) {
  auto along = [&](int rr) {
    auto at = [&](int cc) { return g[static_cast<size_t>(rr) * (n + 1) + cc]; };
    if (c == 0) return (at(0) + at(1)) / 2;
    if (c == n) return (at(n) + at(n - 1)) / 2;
    return at(c);
  };
  if (r == 0) return along(0) + along(1);
  if (r == m) return along(m) + along(m - 1);
  return 2 * along(r);
}

// A 2-D problem: the exact grid solution u, the Neumann data g of the four sides, and the
// right-hand side f for which the solver must return u (with Dirichlet data taken from u).
struct problem2 {
  int nx, ny;
  ld lx, ly, q;
  int side[4];
  std::vector<ld> u, g[4], f;
  ld& U(int j, int i) { return u[static_cast<size_t>(j) * (nx + 1) + i]; }
  bool dirichlet_point(int j, int i) const {
    return (i == 0 && side[0] == 0) || (i == nx && side[1] == 0) || (j == 0 && side[2] == 0) ||
           (j == ny && side[3] == 0);
  }
  // Forms f from u and g with the operator the solver inverts: the five-point stencil scaled by
  // hy^2, a Neumann side mirrored, a Dirichlet neighbour moved to the right-hand side with the
  // factor of the interval counts.
  void form_rhs() {
    const ld hx = lx / nx, hy = ly / ny;
    const ld cx = (hy / hx) * (hy / hx);
    const ld c1 = static_cast<ld>(nx) * nx / (static_cast<ld>(ny) * ny);
    const ld c2 = static_cast<ld>(nx) / (static_cast<ld>(ny) * ny);
    f.assign(u.size(), 0);
    for (int j = 0; j <= ny; ++j)
      for (int i = 0; i <= nx; ++i) {
        if (dirichlet_point(j, i)) continue;
        ld lhs = (2 * cx + 2 + hy * hy * q) * U(j, i);
        ld moved = 0;
        for (int d = -1; d <= 1; d += 2) {
          int ii = i + d;
          if (ii < 0 || ii > nx) {
            ii = i - d;
            moved += 2 * c2 * edge2(g[d < 0 ? 0 : 1], j, ny);
          }
          if (dirichlet_point(j, ii) && ((ii == 0 && side[0] == 0) || (ii == nx && side[1] == 0)))
            moved += c1 * U(j, ii);
          else
            lhs -= cx * U(j, ii);
          int jj = j + d;
          if (jj < 0 || jj > ny) {
            jj = j - d;
            moved += edge2(g[d < 0 ? 2 : 3], i, nx) / ny;
          }
          if ((jj == 0 && side[2] == 0) || (jj == ny && side[3] == 0))
            moved += U(jj, i);
          else
            lhs -= U(jj, i);
        }
        f[static_cast<size_t>(j) * (nx + 1) + i] = (lhs - moved) / (hy * hy);
      }
  }
};

// A 3-D problem in the manner of problem2. Faces: ax/bx hold (nz+1) x (ny+1) values, ay/by
// (nz+1) x (nx+1), az/bz (ny+1) x (nx+1), the first index slowest.
struct problem3 {
  int n[3];  // nx, ny, nz
  ld len[3], q;
  int side[6];
  std::vector<ld> u, g[6], f;
  size_t at(int k, int j, int i) const {
    return (static_cast<size_t>(k) * (n[1] + 1) + j) * (n[0] + 1) + i;
  }
  bool dirichlet(const int* p) const {
    for (int d = 0; d < 3; ++d) {
      if (p[d] == 0 && side[2 * d] == 0) return true;
      if (p[d] == n[d] && side[2 * d + 1] == 0) return true;
    }
    return false;
  }
  // The face value of data g of side s at point p (i, j, k).
  ld face_term(int s, const int* p) const {
    const int d = s / 2;
    // The two remaining axes, the slower first.
    const int slow = d == 2 ? 1 : 2, fast = d == 0 ? 1 : 0;
    return face2(g[s], p[slow], p[fast], n[slow], n[fast]);
  }
  void form_rhs() {
    const ld h[3] = {len[0] / n[0], len[1] / n[1], len[2] / n[2]};
    const ld nz2 = static_cast<ld>(n[2]) * n[2];
    // Stencil coefficients (hz/h)^2, factors of moved Dirichlet values and of Neumann data.
    const ld coef[3] = {(h[2] / h[0]) * (h[2] / h[0]), (h[2] / h[1]) * (h[2] / h[1]), 1};
    const ld moved_factor[3] = {static_cast<ld>(n[0]) * n[0] / nz2,
                                static_cast<ld>(n[1]) * n[1] / nz2, 1};
    const ld data_factor[3] = {2 * n[0] / nz2, 2 * n[1] / nz2, 1.0L / n[2]};
    f.assign(u.size(), 0);
    int p[3];
    for (p[2] = 0; p[2] <= n[2]; ++p[2])
      for (p[1] = 0; p[1] <= n[1]; ++p[1])
        for (p[0] = 0; p[0] <= n[0]; ++p[0]) {
          if (dirichlet(p)) continue;
          const ld up = u[at(p[2], p[1], p[0])];
          ld lhs = (2 * coef[0] + 2 * coef[1] + 2 + h[2] * h[2] * q) * up;
          ld moved = 0;
          for (int d = 0; d < 3; ++d)
            for (int dir = -1; dir <= 1; dir += 2) {
              int nb[3] = {p[0], p[1], p[2]};
              nb[d] += dir;
              if (nb[d] < 0 || nb[d] > n[d]) {
                nb[d] = p[d] - dir;
                moved += data_factor[d] * face_term(2 * d + (dir > 0), p);
              }
              const ld v = u[at(nb[2], nb[1], nb[0])];
              const bool dir_nb = (nb[d] == 0 && side[2 * d] == 0) ||
                                  (nb[d] == n[d] && side[2 * d + 1] == 0);
              if (dir_nb) {
                moved += moved_factor[d] * v;
              } else {
                lhs -= coef[d] * v;
              }
            }
          f[at(p[2], p[1], p[0])] = (lhs - moved) / (h[2] * h[2]);
        }
  }
};

}  // namespace pt

// The right-hand side rewritten for the boundary conditions. The factors are formed from the
// interval counts: they stand for the ratios of mesh sizes on a domain of unit sides.
//
// The solve doubles the Neumann lines of the transformed axes before transforming and solves the
// full equation on the Neumann lines of the last axis through a pivot of lambda/2, so every
// Neumann line is left here in half form: halved once all of its terms are in. Where two Neumann
// faces of the transformed axes meet, each face brings half its data, so that after the two
// doublings each counts once.
#pragma once
#include <cstddef>

namespace zvx::poisson {

// Twice the boundary value at position i of a line of n+1 values, with the two nearest values in
// place of twice the value at either end.
template <class T> inline T doubled_edge(const T* g, int i, int n, std::ptrdiff_t stride) {
  if (n == 0) return 2 * g[0];
  if (i == 0) return g[0] + g[stride];
  if (i == n) return g[n * stride] + g[(n - 1) * stride];
  return 2 * g[i * stride];
}

// Twice the value on a face of (m+1) x (n+1) values (row-major, n+1 per row), averaged with the
// nearest neighbours along each end.
template <class T> inline T doubled_face(const T* g, int r, int c, int m, int n) {
  const auto at = [&](int rr, int cc) { return g[static_cast<std::size_t>(rr) * (n + 1) + cc]; };
  const auto along = [&](int rr) {
    if (n == 0) return at(rr, 0);
    if (c == 0) return T(0.5) * (at(rr, 0) + at(rr, 1));
    if (c == n) return T(0.5) * (at(rr, n) + at(rr, n - 1));
    return at(rr, c);
  };
  T v;
  if (m == 0) {
    v = along(0);
  } else if (r == 0) {
    v = T(0.5) * (along(0) + along(1));
  } else if (r == m) {
    v = T(0.5) * (along(m) + along(m - 1));
  } else {
    v = along(r);
  }
  return 2 * v;
}

// side[0..3]: ax, bx, ay, by; 0 Dirichlet, 1 Neumann. f has ny+1 rows of nx+1 values.
template <class T>
void rewrite_2d(T* f, const T* bd_ax, const T* bd_bx, const T* bd_ay, const T* bd_by, int nx,
                int ny, const int* side) {
  const std::size_t w = static_cast<std::size_t>(nx) + 1;
  const auto F = [&](int j, int i) -> T& { return f[j * w + i]; };
  const T c1 = static_cast<T>(nx) * static_cast<T>(nx) / (static_cast<T>(ny) * static_cast<T>(ny));
  const T c2 = static_cast<T>(nx) / (static_cast<T>(ny) * static_cast<T>(ny));
  const T ry = static_cast<T>(ny);
  for (int j = 0; j <= ny; ++j) {
    if (side[0] == 0) F(j, 0) = 0;
    if (side[1] == 0) F(j, nx) = 0;
  }
  for (int i = 0; i <= nx; ++i) {
    if (side[2] == 0) F(0, i) = 0;
    if (side[3] == 0) F(ny, i) = 0;
  }
  for (int i = 0; i <= nx; ++i) {
    if (side[2] == 1) F(0, i) += doubled_edge(bd_ay, i, nx, 1) / ry;
    if (side[3] == 1) F(ny, i) += doubled_edge(bd_by, i, nx, 1) / ry;
  }
  // A Neumann row next to a Dirichlet one sees it twice through its mirror.
  const T wa = (ny == 1 && side[3] == 1) ? T(2) : T(1);
  const T wb = (ny == 1 && side[2] == 1) ? T(2) : T(1);
  for (int i = 0; i <= nx; ++i) {
    if (side[2] == 0) F(1, i) += wa * bd_ay[i];
    if (side[3] == 0) F(ny - 1, i) += wb * bd_by[i];
  }
  for (int j = 0; j <= ny; ++j) {
    if (side[0] == 0) F(j, 1) += c1 * bd_ax[j];
    if (side[1] == 0) F(j, nx - 1) += c1 * bd_bx[j];
  }
  for (int j = 0; j <= ny; ++j) {
    if (side[0] == 1) F(j, 0) *= T(0.5);
    if (side[1] == 1) F(j, nx) *= T(0.5);
  }
  for (int j = 0; j <= ny; ++j) {
    if (side[0] == 1) F(j, 0) += c2 * doubled_edge(bd_ax, j, ny, 1);
    if (side[1] == 1) F(j, nx) += c2 * doubled_edge(bd_bx, j, ny, 1);
  }
  for (int i = 0; i <= nx; ++i) {
    if (side[2] == 1) F(0, i) *= T(0.5);
    if (side[3] == 1 && !(ny == 0)) F(ny, i) *= T(0.5);
  }
}

// side[0..5]: ax, bx, ay, by, az, bz. bd[0..5] the faces: ax/bx hold (nz+1) x (ny+1) values,
// ay/by (nz+1) x (nx+1), az/bz (ny+1) x (nx+1), the first index slowest.
template <class T> void rewrite_3d(T* f, const T* const* bd, int nx, int ny, int nz, const int* side) {
  const std::size_t w = static_cast<std::size_t>(nx) + 1;
  const std::size_t plane = w * (ny + 1);
  const auto F = [&](int k, int j, int i) -> T& { return f[k * plane + j * w + i]; };
  const T fx = static_cast<T>(nx), fy = static_cast<T>(ny), fz = static_cast<T>(nz);
  const T cx1 = fx * fx / (fz * fz), cy1 = fy * fy / (fz * fz);
  const T cx2 = fx / (fz * fz), cy2 = fy / (fz * fz);
  const std::size_t xface = static_cast<std::size_t>(ny) + 1;
  const std::size_t yface = w;
  for (int k = 0; k <= nz; ++k)
    for (int j = 0; j <= ny; ++j) {
      if (side[0] == 0) F(k, j, 0) = 0;
      if (side[1] == 0) F(k, j, nx) = 0;
    }
  for (int k = 0; k <= nz; ++k)
    for (int i = 0; i <= nx; ++i) {
      if (side[2] == 0) F(k, 0, i) = 0;
      if (side[3] == 0) F(k, ny, i) = 0;
    }
  for (int j = 0; j <= ny; ++j)
    for (int i = 0; i <= nx; ++i) {
      if (side[4] == 0) F(0, j, i) = 0;
      if (side[5] == 0) F(nz, j, i) = 0;
    }
  for (int j = 0; j <= ny; ++j)
    for (int i = 0; i <= nx; ++i) {
      if (side[4] == 1) F(0, j, i) += doubled_face(bd[4], j, i, ny, nx) / fz;
      if (side[5] == 1) F(nz, j, i) += doubled_face(bd[5], j, i, ny, nx) / fz;
    }
  const T wa = (nz == 1 && side[5] == 1) ? T(2) : T(1);
  const T wb = (nz == 1 && side[4] == 1) ? T(2) : T(1);
  for (int j = 0; j <= ny; ++j)
    for (int i = 0; i <= nx; ++i) {
      if (side[4] == 0) F(1, j, i) += wa * bd[4][j * w + i];
      if (side[5] == 0) F(nz - 1, j, i) += wb * bd[5][j * w + i];
    }
  for (int k = 0; k <= nz; ++k)
    for (int j = 0; j <= ny; ++j) {
      if (side[0] == 0) F(k, j, 1) += cx1 * bd[0][k * xface + j];
      if (side[1] == 0) F(k, j, nx - 1) += cx1 * bd[1][k * xface + j];
    }
  for (int k = 0; k <= nz; ++k)
    for (int i = 0; i <= nx; ++i) {
      if (side[2] == 0) F(k, 1, i) += cy1 * bd[2][k * yface + i];
      if (side[3] == 0) F(k, ny - 1, i) += cy1 * bd[3][k * yface + i];
    }
  for (int k = 0; k <= nz; ++k) {
    for (int j = 0; j <= ny; ++j) {
      if (side[0] == 1) F(k, j, 0) *= T(0.5);
      if (side[1] == 1) F(k, j, nx) *= T(0.5);
    }
    for (int i = 0; i <= nx; ++i) {
      if (side[2] == 1) F(k, 0, i) *= T(0.5);
      if (side[3] == 1) F(k, ny, i) *= T(0.5);
    }
  }
  const auto on_y_face = [&](int j) { return (j == 0 && side[2] == 1) || (j == ny && side[3] == 1); };
  const auto on_x_face = [&](int i) { return (i == 0 && side[0] == 1) || (i == nx && side[1] == 1); };
  for (int k = 0; k <= nz; ++k)
    for (int j = 0; j <= ny; ++j) {
      const T share = on_y_face(j) ? T(0.5) : T(1);
      if (side[0] == 1) F(k, j, 0) += share * cx2 * doubled_face(bd[0], k, j, nz, ny);
      if (side[1] == 1) F(k, j, nx) += share * cx2 * doubled_face(bd[1], k, j, nz, ny);
    }
  for (int k = 0; k <= nz; ++k)
    for (int i = 0; i <= nx; ++i) {
      const T share = on_x_face(i) ? T(0.5) : T(1);
      if (side[2] == 1) F(k, 0, i) += share * cy2 * doubled_face(bd[2], k, i, nz, nx);
      if (side[3] == 1) F(k, ny, i) += share * cy2 * doubled_face(bd[3], k, i, nz, nx);
    }
  for (int j = 0; j <= ny; ++j)
    for (int i = 0; i <= nx; ++i) {
      if (side[4] == 1) F(0, j, i) *= T(0.5);
      if (side[5] == 1) F(nz, j, i) *= T(0.5);
    }
}

}  // namespace zvx::poisson

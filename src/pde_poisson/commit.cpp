// The commit stage: checks, mesh sizes, eigenvalue tables, the trigonometric transforms, and the
// right-hand side rewritten so that it carries the boundary conditions.
#include <cmath>

#include "pde_poisson/poisson.h"
#include "pde_poisson/rewrite.h"
#include "pde_poisson/trig_calls.h"

namespace zvx::poisson {
namespace {

template <class T> bool fail(int msg, int status, int* ipar, const T* dpar, int* stat) {
  message(msg, ipar, dpar);
  set_status(stat, ipar, status);
  return false;
}

// Side words and code agreement: ranges, then each side, then the weighted sum.
template <class T> bool check_sides(int sides, int* ipar, const T* dpar, int* stat) {
  const int top = (1 << sides) - 1;
  if (ipar[3] < 0 || ipar[3] > top) return fail(sides == 4 ? 5 : 19, kBadParameter, ipar, dpar, stat);
  const int side_msg[6] = {6, 7, 8, 9, 20, 21};
  int code = 0;
  for (int i = 0; i < sides; ++i) {
    if (ipar[4 + i] != 0 && ipar[4 + i] != 1)
      return fail(side_msg[i], kBadParameter, ipar, dpar, stat);
    code += ipar[4 + i] << (sides - 1 - i);
  }
  if (code != ipar[3]) return fail(sides == 4 ? 10 : 22, kBadParameter, ipar, dpar, stat);
  return true;
}

// The transform type of a pair of sides: sine, cosine or staggered cosine.
int trig_type(int a, int b) { return a == b ? (a == 0 ? 0 : 1) : 2; }

// Creates and commits one trigonometric transform into the block at `blk`/`dblk`; `data` is a
// vector whose end values are zero, so that the end-value checks of the transform pass.
template <class T>
bool setup_trig(int n, int type, int* blk, T* dblk, T* data, DFTI_DESCRIPTOR_HANDLE* handle,
                int init_msg, int commit_msg, int* ipar, const T* dpar, int* stat) {
  int s = 0;
  trig<T>::init(n, type, blk, dblk, &s);
  if (s != 0) return fail(init_msg, kTrigFailure, ipar, dpar, stat);
  blk[1] = ipar[1];
  blk[2] = ipar[2];
  blk[8] = ipar[21];
  blk[9] = ipar[22];
  trig<T>::commit(data, handle, blk, dblk, &s);
  if (s != 0) return fail(commit_msg, kTrigFailure, ipar, dpar, stat);
  return true;
}

// Eigenvalues of the second difference along one axis, scaled by (h_last/h_axis)^2: sines of
// k*pi/(2n) when both sides are of a kind, of (2k+1)*pi/(4n) when they differ.
template <class T> void eigen_table(T* lambda, int n, bool same_kind, T ratio, T shift) {
  const T half_pi = static_cast<T>(1.5707963267948966);
  const T quarter_pi = static_cast<T>(0.7853981633974483);
  for (int k = 0; k <= n; ++k) {
    const T angle = same_kind ? static_cast<T>(k) * half_pi / static_cast<T>(n)
                              : static_cast<T>(2 * k + 1) * quarter_pi / static_cast<T>(n);
    const T v = 2 * ratio * sine(angle);
    lambda[k] = v * v + shift;
  }
}

}  // namespace

template <class T>
void commit_2d(T* f, const T* bd_ax, const T* bd_bx, const T* bd_ay, const T* bd_by,
               DFTI_DESCRIPTOR_HANDLE* xh, int* ipar, T* dpar, int* stat) {
  if (ipar[0] != 0) {
    fail(12, kWrongState, ipar, dpar, stat);
    return;
  }
  const int nx = ipar[10], ny = ipar[11];
  if (nx <= 0) { fail(0, kBadParameter, ipar, dpar, stat); return; }
  if (ny <= 0) { fail(1, kBadParameter, ipar, dpar, stat); return; }
  if (nx % 2 != 0) { fail(2, kBadParameter, ipar, dpar, stat); return; }
  if (!check_sides(4, ipar, dpar, stat)) return;
  if (!(dpar[0] > 0)) { fail(3, kBadParameter, ipar, dpar, stat); return; }
  if (!(dpar[1] > 0)) { fail(4, kBadParameter, ipar, dpar, stat); return; }

  dpar[0] /= static_cast<T>(nx);
  dpar[1] /= static_cast<T>(ny);
  *stat = kRunning;
  ipar[13] = 6;
  ipar[14] = nx + 6;
  ipar[17] = nx + 7;
  ipar[18] = (3 * nx) / 2 + nx + 7;
  dpar[5] = 0;
  dpar[nx + 5] = 0;
  dpar[nx + 6] = dpar[4];
  const int type = trig_type(ipar[4], ipar[5]);
  int warned = kOk;
  if (dpar[3] < 0) {
    if (ipar[2] != 0) message(904, ipar, dpar);
    warned = kWarned;
  }
  if (!setup_trig(nx, type, ipar + 40, dpar + nx + 6, dpar + 5, xh, 23, 24, ipar, dpar, stat))
    return;

  const T hx = dpar[0], hy = dpar[1];
  if (hx == 0) { fail(26, kDivisionByZero, ipar, dpar, stat); return; }
  eigen_table(dpar + 5, nx, ipar[4] == ipar[5], hy / hx, 2 + hy * hy * dpar[3]);

  const std::size_t count = static_cast<std::size_t>(nx + 1) * (ny + 1);
  for (std::size_t p = 0; p < count; ++p) f[p] *= hy * hy;
  if (!check_sides(4, ipar, dpar, stat)) return;
  rewrite_2d(f, bd_ax, bd_bx, bd_ay, bd_by, nx, ny, ipar + 4);
  set_status(stat, ipar, warned);
}

template <class T>
void commit_3d(T* f, const T* const* bd, DFTI_DESCRIPTOR_HANDLE* xh, DFTI_DESCRIPTOR_HANDLE* yh,
               int* ipar, T* dpar, int* stat) {
  if (ipar[0] != 0) {
    fail(12, kWrongState, ipar, dpar, stat);
    return;
  }
  const int nx = ipar[10], ny = ipar[11], nz = ipar[12];
  if (nx <= 0) { fail(0, kBadParameter, ipar, dpar, stat); return; }
  if (ny <= 0) { fail(1, kBadParameter, ipar, dpar, stat); return; }
  if (nz <= 0) { fail(11, kBadParameter, ipar, dpar, stat); return; }
  if (nx % 2 != 0) { fail(2, kBadParameter, ipar, dpar, stat); return; }
  if (ny % 2 != 0) { fail(17, kBadParameter, ipar, dpar, stat); return; }
  if (!check_sides(6, ipar, dpar, stat)) return;
  if (!(dpar[0] > 0)) { fail(3, kBadParameter, ipar, dpar, stat); return; }
  if (!(dpar[1] > 0)) { fail(4, kBadParameter, ipar, dpar, stat); return; }
  if (!(dpar[2] > 0)) { fail(18, kBadParameter, ipar, dpar, stat); return; }

  dpar[0] /= static_cast<T>(nx);
  dpar[1] /= static_cast<T>(ny);
  dpar[2] /= static_cast<T>(nz);
  *stat = kRunning;
  ipar[13] = 6;
  ipar[14] = nx + 6;
  ipar[15] = nx + 7;
  ipar[16] = nx + ny + 7;
  ipar[17] = nx + ny + 8;
  ipar[18] = (3 * nx) / 2 + ipar[16] + 1;
  ipar[19] = ipar[18] + 1;
  ipar[20] = (3 * ny) / 2 + ipar[18] + 1;
  dpar[5] = 0;
  dpar[nx + 5] = 0;
  dpar[nx + 6] = 0;
  dpar[nx + ny + 6] = 0;
  dpar[ipar[17] - 1] = dpar[4];
  dpar[ipar[19] - 1] = dpar[4];
  int warned = kOk;
  if (dpar[3] < 0) {
    if (ipar[2] != 0) message(904, ipar, dpar);
    warned = kWarned;
  }
  if (!setup_trig(nx, trig_type(ipar[4], ipar[5]), ipar + 40, dpar + ipar[17] - 1, dpar + 5, xh,
                  23, 24, ipar, dpar, stat))
    return;
  if (!setup_trig(ny, trig_type(ipar[6], ipar[7]), ipar + 60, dpar + ipar[19] - 1,
                  dpar + nx + 6, yh, 29, 30, ipar, dpar, stat))
    return;

  const T hx = dpar[0], hy = dpar[1], hz = dpar[2];
  if (hx == 0 || hy == 0) { fail(26, kDivisionByZero, ipar, dpar, stat); return; }
  eigen_table(dpar + 5, nx, ipar[4] == ipar[5], hz / hx, 2 + hz * hz * dpar[3]);
  eigen_table(dpar + nx + 6, ny, ipar[6] == ipar[7], hz / hy, T(0));

  const std::size_t count = static_cast<std::size_t>(nx + 1) * (ny + 1) * (nz + 1);
  for (std::size_t p = 0; p < count; ++p) f[p] *= hz * hz;
  if (!check_sides(6, ipar, dpar, stat)) return;
  rewrite_3d(f, bd, nx, ny, nz, ipar + 4);
  set_status(stat, ipar, warned);
}

template <class T>
void commit_sph(bool periodic, T* f, DFTI_DESCRIPTOR_HANDLE* h1, DFTI_DESCRIPTOR_HANDLE* h2,
                int* ipar, T* dpar, int* stat) {
  if (ipar[0] != 0) {
    fail(10012, kWrongState, ipar, dpar, stat);
    return;
  }
  const int np = ipar[10], nt = ipar[11];
  if (np <= 0) { fail(10000, kBadParameter, ipar, dpar, stat); return; }
  if (nt <= 0) { fail(periodic ? 1 : 10001, kBadParameter, ipar, dpar, stat); return; }
  if (periodic) {
    if (np % 4 != 0) { fail(10202, kBadParameter, ipar, dpar, stat); return; }
    if (ipar[3] != 0 && ipar[3] != 1) { fail(9, kBadParameter, ipar, dpar, stat); return; }
  } else if (np % 2 != 0) {
    fail(10002, kBadParameter, ipar, dpar, stat);
    return;
  }
  if (!(dpar[0] > 0)) { fail(10003, kBadParameter, ipar, dpar, stat); return; }
  if (!(dpar[1] > 0)) { fail(10004, kBadParameter, ipar, dpar, stat); return; }

  const T span_t = dpar[1];
  const T hp = dpar[0] / static_cast<T>(np);
  const T ht = dpar[1] / static_cast<T>(nt);
  dpar[0] = hp;
  dpar[1] = ht;
  *stat = kRunning;
  ipar[13] = 6;
  ipar[14] = np + 7;
  ipar[15] = np + 8;
  ipar[16] = np + nt + 9;
  ipar[17] = ipar[16] + 1;
  if (periodic) {
    ipar[18] = (3 * np) / 4 + ipar[17];
    ipar[19] = ipar[18] + 1;
    ipar[20] = (3 * np) / 4 + ipar[19];
  } else {
    ipar[18] = (3 * np) / 2 + ipar[17];
    ipar[19] = 0;
  }
  const int n = periodic ? np / 2 : np;
  dpar[5] = 0;
  dpar[n + 5] = 0;
  dpar[n + 6] = 0;
  dpar[ipar[17] - 1] = dpar[4];
  if (periodic) dpar[ipar[19] - 1] = dpar[4];
  int warned = kOk;
  if (dpar[3] < 0) {
    if (ipar[2] != 0) message(10904, ipar, dpar);
    warned = kWarned;
  }
  if (!setup_trig(n, 0, ipar + 40, dpar + ipar[17] - 1, dpar + 5, h1, 10023, 10024, ipar, dpar,
                  stat))
    return;
  if (periodic && !setup_trig(n, 1, ipar + 60, dpar + ipar[19] - 1, dpar + 5, h2, 10029, 10030,
                              ipar, dpar, stat))
    return;

  // Sines of the colatitude at the rows.
  T* s = dpar + ipar[15] - 1;
  const T at = dpar[2];
  const T step = span_t / static_cast<T>(nt);
  for (int j = 0; j <= nt; ++j) s[j] = sine(at + static_cast<T>(j) * step);

  if (!(hp > 0)) { fail(10026, kDivisionByZero, ipar, dpar, stat); return; }
  const T pi = static_cast<T>(3.141592653589793);
  for (int k = 0; k <= np; ++k) {
    const T angle = periodic ? static_cast<T>(k) * pi / static_cast<T>(np)
                             : static_cast<T>(k) * (pi / 2) / static_cast<T>(np);
    const T v = 2 * (ht / hp) * sine(angle);
    dpar[5 + k] = v * v;
  }

  dpar[3] *= ht * ht;
  for (int j = 0; j <= nt; ++j) {
    const T w = ht * ht * s[j];
    T* row = f + static_cast<std::size_t>(j) * (np + 1);
    for (int i = 0; i <= np; ++i) row[i] *= w;
  }
  set_status(stat, ipar, warned);
}

template void commit_2d<double>(double*, const double*, const double*, const double*,
                                const double*, DFTI_DESCRIPTOR_HANDLE*, int*, double*, int*);
template void commit_2d<float>(float*, const float*, const float*, const float*, const float*,
                               DFTI_DESCRIPTOR_HANDLE*, int*, float*, int*);
template void commit_3d<double>(double*, const double* const*, DFTI_DESCRIPTOR_HANDLE*,
                                DFTI_DESCRIPTOR_HANDLE*, int*, double*, int*);
template void commit_3d<float>(float*, const float* const*, DFTI_DESCRIPTOR_HANDLE*,
                               DFTI_DESCRIPTOR_HANDLE*, int*, float*, int*);
template void commit_sph<double>(bool, double*, DFTI_DESCRIPTOR_HANDLE*, DFTI_DESCRIPTOR_HANDLE*,
                                 int*, double*, int*);
template void commit_sph<float>(bool, float*, DFTI_DESCRIPTOR_HANDLE*, DFTI_DESCRIPTOR_HANDLE*,
                                int*, float*, int*);

}  // namespace zvx::poisson

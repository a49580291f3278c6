// The 2-D and 3-D solves: transform along x (and y), one tridiagonal system per mode along the
// last axis, transform back, write the Dirichlet boundaries.
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "pde_poisson/lines.h"
#include "pde_poisson/poisson.h"
#include "service/service.h"

namespace zvx::poisson {
namespace {

// Threads of a solve: the count asked for in ipar[22] when the process allows threads and the
// caller is not already inside a parallel region.
int solve_threads(const int* ipar) {
  if (serial_policy() == 1 || omp_in_parallel() || ipar[22] < 2) return 1;
  return ipar[22];
}

// Runs body(first, end, thread) over [0, count) in static parts, on `threads` threads; returns
// the first non-zero status any part gave.
template <class Body> int split(int threads, long count, Body&& body) {
  if (threads <= 1) return body(0L, count, 0);
  int status = 0;
#pragma omp parallel num_threads(threads)
  {
    const int t = omp_get_thread_num();
    const int nt = omp_get_num_threads();
    const long first = count * t / nt;
    const long end = count * (t + 1) / nt;
    const int s = body(first, end, t);
    if (s != 0) {
#pragma omp critical(zvx_poisson_status)
      if (status == 0) status = s;
    }
  }
  return status;
}

template <class T> T* thread_work(T* work, std::size_t per_thread, int t) {
  return work + per_thread * static_cast<std::size_t>(t);
}

template <class T> void subtract_mean(T* f, std::size_t count) {
  long double sum = 0;
  for (std::size_t p = 0; p < count; ++p) sum += f[p];
  const T mean = static_cast<T>(sum / static_cast<long double>(count));
  for (std::size_t p = 0; p < count; ++p) f[p] -= mean;
}

// Transforms `lines` lines: line l starts at base(l) with element distance `stride`.
template <class T, class Base>
int transform_stage(int threads, T* work, std::size_t per_thread, long lines, Base base,
                    std::ptrdiff_t stride, int n, int pair, bool forward,
                    DFTI_DESCRIPTOR_HANDLE* h, int* blk, T* dblk) {
  return split(threads, lines, [&](long first, long end, int t) {
    T* b = thread_work(work, per_thread, t);
    for (long l = first; l < end; ++l) {
      const int s = transform_line(base(l), stride, n, pair, forward, h, blk, dblk, b);
      if (s != 0) return s;
    }
    return 0;
  });
}

// Tridiagonal solves for `columns` adjacent columns along rows 0..n at distance `stride`;
// lam_of(c) gives the diagonal of column c. Column 0 takes the running sums when `singular0`.
template <class T, class Lam>
int tridiag_stage(int threads, T* work, std::size_t per_thread, T* f, long columns,
                  std::ptrdiff_t stride, int n, int pair, bool singular0, Lam lam_of) {
  constexpr int B = kColumnBlock;
  const long blocks = (columns + B - 1) / B;
  return split(threads, blocks, [&](long first, long end, int t) {
    T* alpha = thread_work(work, per_thread, t);
    T* beta = alpha + static_cast<std::size_t>(B) * (n + 1);
    T lam[B];
    for (long blk = first; blk < end; ++blk) {
      long c0 = blk * B;
      int w = static_cast<int>(std::min<long>(B, columns - c0));
      if (c0 == 0 && singular0) {
        running_sums(f, stride, n);
        ++c0;
        --w;
        if (w == 0) continue;
      }
      for (int c = 0; c < w; ++c) lam[c] = lam_of(c0 + c);
      const int s = tridiag_block(f + c0, stride, w, lam, n, pair, alpha, beta);
      if (s != 0) return s;
    }
    return 0;
  });
}

// Common opening of a solve: state, sizes, position words. Returns false when the solve stops.
template <class T>
bool open_solve(int* ipar, const T* dpar, int* stat, int dims, int& remembered) {
  if (ipar[0] != 0 && ipar[0] != 1) {
    message(12, ipar, dpar);
    set_status(stat, ipar, kWrongState);
    return false;
  }
  const int sizes_msg[3] = {0, 1, 11};
  for (int d = 0; d < dims; ++d) {
    if (ipar[10 + d] < 1) {
      set_status(stat, ipar, kRunning);
      message(sizes_msg[d], ipar, dpar);
      set_status(stat, ipar, kBadParameter);
      return false;
    }
  }
  set_status(stat, ipar, kRunning);
  const int nx = ipar[10], ny = ipar[11];
  bool agree;
  if (dims == 2) {
    agree = ipar[13] == 6 && ipar[14] == nx + ipar[13] && ipar[17] == ipar[14] + 1 &&
            ipar[18] == (3 * nx) / 2 + ipar[17];
  } else {
    agree = ipar[13] == 6 && ipar[14] == nx + 6 && ipar[15] == nx + 7 &&
            ipar[16] == nx + ny + 7 && ipar[17] == nx + ny + 8 &&
            ipar[18] == (3 * nx) / 2 + ipar[16] + 1 && ipar[19] == ipar[18] + 1 &&
            ipar[20] == (3 * ny) / 2 + ipar[18] + 1;
  }
  remembered = kOk;
  if (!agree) {
    if (ipar[2] != 0) message(903, ipar, dpar);
    remembered = kWarned;
  }
  return true;
}

// Ends a solve whose stage failed: the message of the stage and its status.
template <class T> void stage_failed(int s, bool transform, int msg_transform, int* ipar,
                                     const T* dpar, int* stat) {
  if (transform) {
    if (ipar[1] != 0) message(msg_transform, ipar, dpar);
    set_status(stat, ipar, kTrigFailure);
  } else {
    message(26, ipar, dpar);
    *stat = s;
    ipar[0] = kDivisionByZero;
  }
}

}  // namespace

template <class T>
void solve_2d(T* f, const T* bd_ax, const T* bd_bx, const T* bd_ay, const T* bd_by,
              DFTI_DESCRIPTOR_HANDLE* xh, int* ipar, const T* dpar, int* stat) {
  int remembered = kOk;
  if (!open_solve(ipar, dpar, stat, 2, remembered)) return;
  const int nx = ipar[10], ny = ipar[11];
  const int code = ipar[3];
  if (code < 0 || code > 15) {
    message(13, ipar, dpar);
    set_status(stat, ipar, kBadParameter);
    return;
  }
  const int threads = solve_threads(ipar);
  const std::size_t per_thread =
      std::max<std::size_t>(nx + 2, 2 * static_cast<std::size_t>(kColumnBlock) * (ny + 1));
  T* work = static_cast<T*>(malloc(per_thread * threads * sizeof(T)));
  if (!work) {
    message(27, ipar, dpar);
    set_status(stat, ipar, kNoMemory);
    return;
  }
  const int xpair = code / 4, ypair = code % 4;
  T* dblk = const_cast<T*>(dpar) + ipar[17] - 1;
  const T* lam = dpar + 5;
  const std::size_t w = static_cast<std::size_t>(nx) + 1;
  const auto row = [&](long j) { return f + j * w; };
  const bool degenerate = code == 15 && std::fabs(lam[0] - 2) <= dpar[4];

  *stat = kOk;
  int s = transform_stage(threads, work, per_thread, ny + 1, row, 1, nx, xpair, true, xh,
                          ipar + 40, dblk);
  if (s != 0) {
    free(work);
    stage_failed(s, true, 25, ipar, dpar, stat);
    return;
  }
  s = tridiag_stage(threads, work, per_thread, f, nx + 1, static_cast<std::ptrdiff_t>(w), ny,
                    ypair, degenerate, [&](long c) { return lam[c]; });
  if (s != 0) {
    free(work);
    stage_failed(s, false, 0, ipar, dpar, stat);
    return;
  }
  s = transform_stage(threads, work, per_thread, ny + 1, row, 1, nx, xpair, false, xh,
                      ipar + 40, dblk);
  free(work);
  if (s != 0) {
    stage_failed(s, true, 25, ipar, dpar, stat);
    return;
  }
  if (degenerate) {
    if (ipar[2] != 0) message(900, ipar, dpar);
    remembered = kWarned;
    subtract_mean(f, w * (ny + 1));
  }
  if (ipar[4] == 0)
    for (int j = 0; j <= ny; ++j) f[j * w] = bd_ax[j];
  if (ipar[5] == 0)
    for (int j = 0; j <= ny; ++j) f[j * w + nx] = bd_bx[j];
  if (ipar[6] == 0)
    for (int i = 0; i <= nx; ++i) f[i] = bd_ay[i];
  if (ipar[7] == 0)
    for (int i = 0; i <= nx; ++i) f[ny * w + i] = bd_by[i];
  set_status(stat, ipar, remembered);
}

template <class T>
void solve_3d(T* f, const T* const* bd, DFTI_DESCRIPTOR_HANDLE* xh, DFTI_DESCRIPTOR_HANDLE* yh,
              int* ipar, const T* dpar, int* stat) {
  int remembered = kOk;
  if (!open_solve(ipar, dpar, stat, 3, remembered)) return;
  const int nx = ipar[10], ny = ipar[11], nz = ipar[12];
  const int code = ipar[3];
  if (code < 0 || code > 63) {
    message(13, ipar, dpar);
    set_status(stat, ipar, kBadParameter);
    return;
  }
  const int threads = solve_threads(ipar);
  const std::size_t per_thread = std::max<std::size_t>(
      std::max(nx, ny) + 2, 2 * static_cast<std::size_t>(kColumnBlock) * (nz + 1));
  T* work = static_cast<T*>(malloc(per_thread * threads * sizeof(T)));
  if (!work) {
    message(27, ipar, dpar);
    set_status(stat, ipar, kNoMemory);
    return;
  }
  const int xpair = code / 16, ypair = (code / 4) % 4, zpair = code % 4;
  T* xblk = const_cast<T*>(dpar) + ipar[17] - 1;
  T* yblk = const_cast<T*>(dpar) + ipar[19] - 1;
  const T* lx = dpar + 5;
  const T* ly = dpar + nx + 6;
  const std::size_t w = static_cast<std::size_t>(nx) + 1;
  const std::size_t plane = w * (ny + 1);
  const long rows = static_cast<long>(ny + 1) * (nz + 1);
  const long ylines = static_cast<long>(nx + 1) * (nz + 1);
  const auto xline = [&](long r) { return f + r * w; };
  const auto yline = [&](long l) { return f + (l / (nx + 1)) * plane + (l % (nx + 1)); };
  const bool degenerate = code == 63 && std::fabs(lx[0] + ly[0] - 2) <= dpar[4];

  *stat = kOk;
  int s = transform_stage(threads, work, per_thread, rows, xline, 1, nx, xpair, true, xh,
                          ipar + 40, xblk);
  if (s == 0)
    s = transform_stage(threads, work, per_thread, ylines, yline, static_cast<std::ptrdiff_t>(w),
                        ny, ypair, true, yh, ipar + 60, yblk);
  if (s != 0) {
    free(work);
    stage_failed(s, true, 31, ipar, dpar, stat);
    return;
  }
  s = tridiag_stage(threads, work, per_thread, f, static_cast<long>(plane),
                    static_cast<std::ptrdiff_t>(plane), nz, zpair, degenerate,
                    [&](long c) { return lx[c % (nx + 1)] + ly[c / (nx + 1)]; });
  if (s != 0) {
    free(work);
    stage_failed(s, false, 0, ipar, dpar, stat);
    return;
  }
  s = transform_stage(threads, work, per_thread, ylines, yline, static_cast<std::ptrdiff_t>(w),
                      ny, ypair, false, yh, ipar + 60, yblk);
  if (s == 0)
    s = transform_stage(threads, work, per_thread, rows, xline, 1, nx, xpair, false, xh,
                        ipar + 40, xblk);
  free(work);
  if (s != 0) {
    stage_failed(s, true, 31, ipar, dpar, stat);
    return;
  }
  if (degenerate) {
    if (ipar[2] != 0) message(900, ipar, dpar);
    remembered = kWarned;
    subtract_mean(f, plane * (nz + 1));
  }
  const std::size_t xface = static_cast<std::size_t>(ny) + 1;
  for (int k = 0; k <= nz; ++k)
    for (int j = 0; j <= ny; ++j) {
      T* r = f + k * plane + j * w;
      if (ipar[4] == 0) r[0] = bd[0][k * xface + j];
      if (ipar[5] == 0) r[nx] = bd[1][k * xface + j];
    }
  for (int k = 0; k <= nz; ++k)
    for (int i = 0; i <= nx; ++i) {
      if (ipar[6] == 0) f[k * plane + i] = bd[2][k * w + i];
      if (ipar[7] == 0) f[k * plane + ny * w + i] = bd[3][k * w + i];
    }
  for (std::size_t p = 0; p < plane; ++p) {
    if (ipar[8] == 0) f[p] = bd[4][p];
    if (ipar[9] == 0) f[nz * plane + p] = bd[5][p];
  }
  set_status(stat, ipar, remembered);
}

template void solve_2d<double>(double*, const double*, const double*, const double*,
                               const double*, DFTI_DESCRIPTOR_HANDLE*, int*, const double*, int*);
template void solve_2d<float>(float*, const float*, const float*, const float*, const float*,
                              DFTI_DESCRIPTOR_HANDLE*, int*, const float*, int*);
template void solve_3d<double>(double*, const double* const*, DFTI_DESCRIPTOR_HANDLE*,
                               DFTI_DESCRIPTOR_HANDLE*, int*, const double*, int*);
template void solve_3d<float>(float*, const float* const*, DFTI_DESCRIPTOR_HANDLE*,
                              DFTI_DESCRIPTOR_HANDLE*, int*, const float*, int*);

}  // namespace zvx::poisson

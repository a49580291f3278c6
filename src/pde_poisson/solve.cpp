// The 2-D and 3-D solves: transform along x (and y), one tridiagonal system per mode along the
// last axis, transform back, write the Dirichlet boundaries.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "pde_poisson/lines.h"
#include "pde_poisson/poisson.h"
#include "pde_poisson/threads.h"
#include "service/service.h"

namespace zvx::poisson {
namespace {

template <class T> void subtract_mean(T* f, std::size_t count) {
  long double sum = 0;
  for (std::size_t p = 0; p < count; ++p) sum += f[p];
  const T mean = static_cast<T>(sum / static_cast<long double>(count));
  for (std::size_t p = 0; p < count; ++p) f[p] -= mean;
}

// Elements of a thread's line buffer, a whole number of cache lines; a batch of gathered lines
// follows it.
template <class T> std::size_t line_buffer(int n) {
  constexpr std::size_t line = kCacheLineBytes / sizeof(T);
  return (static_cast<std::size_t>(n) + 2 + line - 1) / line * line;
}

// The part body of a stage of line transforms: line l starts at base(l) with element distance
// `stride`. Each thread calls the transform with its own copy of the integer block `blk`.
template <class T, class Base>
auto transform_part(const work_area<T>& work, Base base, std::ptrdiff_t stride, int n, int pair,
                    bool forward, DFTI_DESCRIPTOR_HANDLE* h, int* blk, T* dblk) {
  return [=, &work](long first, long end, int t) {
    T* b = work.of(t);
    trig_block own(blk);
    for (long l = first; l < end; ++l) {
      const int st = transform_line(base(l), stride, n, pair, forward, h, own.v, dblk, b);
      if (st != 0) {
        own.report();
        return st;
      }
    }
    return 0;
  };
}

// Lines q < w of n+1 values at src + q (element distance `stride`) into contiguous lines of
// `len` at lines + q*len, and back. One line at a time: the w neighbours' cache lines stay in L1
// while each is read, and the writes run contiguously. W > 0 fixes the count at compile time.
template <class T, int W>
void gather(T* __restrict lines, std::size_t len, const T* __restrict src, std::ptrdiff_t stride,
            int n, int w_run) {
  const int w = W > 0 ? W : w_run;
  for (int q = 0; q < w; ++q) {
    T* __restrict d = lines + q * len;
    for (int i = 0; i <= n; ++i) d[i] = src[i * stride + q];
  }
}
template <class T, int W>
void scatter(T* __restrict dst, std::ptrdiff_t stride, const T* __restrict lines, std::size_t len,
             int n, int w_run) {
  const int w = W > 0 ? W : w_run;
  for (int q = 0; q < w; ++q) {
    const T* __restrict d = lines + q * len;
    for (int i = 0; i <= n; ++i) dst[i * stride + q] = d[i];
  }
}

// One axis of transforms in a plane of the 3-D grid.
template <class T> struct axis {
  DFTI_DESCRIPTOR_HANDLE* h;
  int* blk;  // the caller's integer block of the transform
  T* dblk;
  int n, pair;
};

// Transforms the y lines of one plane (rows of w values, nx+1 lines of a.n+1 values, neighbours
// one element apart). A batch of kLineBatch neighbours is gathered into contiguous lines,
// transformed there and scattered back, so that each cache line of the plane is read and written
// once per batch.
template <class T>
int plane_y(T* plane, std::size_t w, int nx, const axis<T>& a, int* own, bool forward, T* b) {
  constexpr int B = kLineBatch<T>;
  const std::size_t len = static_cast<std::size_t>(a.n) + 1;
  const auto stride = static_cast<std::ptrdiff_t>(w);
  T* lines = b + line_buffer<T>(a.n);
  for (int c0 = 0; c0 <= nx; c0 += B) {
    const int cols = std::min(B, nx + 1 - c0);
    if (cols == B) {
      gather<T, B>(lines, len, plane + c0, stride, a.n, B);
    } else {
      gather<T, 0>(lines, len, plane + c0, stride, a.n, cols);
    }
    for (int q = 0; q < cols; ++q) {
      const int st =
          transform_line(lines + q * len, 1, a.n, a.pair, forward, a.h, own, a.dblk, b);
      if (st != 0) return st;
    }
    if (cols == B) {
      scatter<T, B>(plane + c0, stride, lines, len, a.n, B);
    } else {
      scatter<T, 0>(plane + c0, stride, lines, len, a.n, cols);
    }
  }
  return 0;
}

// The part body of a stage of both transforms of the 3-D solve over planes: forward along x
// then y, backward along y then x. A plane of the grid (some 130 KiB at 127^3) stays in L2
// between its two axes, so the grid travels through memory once for both instead of once per
// axis.
template <class T>
auto planes_part(const work_area<T>& work, T* f, int nx, int ny, const axis<T>& x,
                 const axis<T>& y, bool forward) {
  const std::size_t w = static_cast<std::size_t>(nx) + 1;
  const std::size_t plane = w * (ny + 1);
  return [=, &work](long first, long end, int t) {
    T* b = work.of(t);
    trig_block own_x(x.blk), own_y(y.blk);
    const auto rows = [&](T* p) {
      for (int j = 0; j <= ny; ++j) {
        const int st = transform_line(p + j * w, 1, nx, x.pair, forward, x.h, own_x.v, x.dblk, b);
        if (st != 0) {
          own_x.report();
          return st;
        }
      }
      return 0;
    };
    for (long k = first; k < end; ++k) {
      T* p = f + k * plane;
      int st = forward ? rows(p) : 0;
      if (st == 0) {
        st = plane_y(p, w, nx, y, own_y.v, forward, b);
        if (st != 0) own_y.report();
      }
      if (st == 0 && !forward) st = rows(p);
      if (st != 0) return st;
    }
    return 0;
  };
}

// Blocks of kColumnBlock adjacent columns, the last one possibly partial.
inline long column_blocks(long columns) {
  return (columns + kColumnBlock - 1) / kColumnBlock;
}

// The part body of the tridiagonal stage over the blocks of `columns` adjacent columns along
// rows 0..n at distance `stride`; lam_of(c) gives the diagonal of column c. Column 0 takes the
// running sums when `singular0`.
template <class T, class Lam>
auto tridiag_part(const work_area<T>& work, T* f, long columns, std::ptrdiff_t stride, int n,
                  int pair, bool singular0, Lam lam_of) {
  return [=, &work](long first, long end, int t) {
    constexpr int B = kColumnBlock;
    T* alpha = work.of(t);
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
  };
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
  const int threads = solve_threads(ipar, false);
  work_area<T> work;
  if (!take_work(work, std::max<std::size_t>(line_buffer<T>(nx),
                                             2 * static_cast<std::size_t>(kColumnBlock) * (ny + 1)),
                 asked_threads(ipar))) {
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
  const long counts[3] = {ny + 1, column_blocks(nx + 1), ny + 1};
  int failed = 0;
  const int s = split_stages(
      threads, counts, failed,
      transform_part(work, row, 1, nx, xpair, true, xh, ipar + 40, dblk),
      tridiag_part(work, f, nx + 1, static_cast<std::ptrdiff_t>(w), ny, ypair, degenerate,
                   [lam](long c) { return lam[c]; }),
      transform_part(work, row, 1, nx, xpair, false, xh, ipar + 40, dblk));
  give_work(work);
  if (s != 0) {
    stage_failed(s, failed != 1, 25, ipar, dpar, stat);
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
  const int threads = solve_threads(ipar, true);
  // A thread's block: the line buffer and a batch of y lines, or the pairs of the sweep.
  const std::size_t lines_part = line_buffer<T>(std::max(nx, ny)) +
                                 static_cast<std::size_t>(kLineBatch<T>) * (ny + 1);
  work_area<T> work;
  if (!take_work(work, std::max<std::size_t>(
                           lines_part, 2 * static_cast<std::size_t>(kColumnBlock) * (nz + 1)),
                 asked_threads(ipar))) {
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
  const bool degenerate = code == 63 && std::fabs(lx[0] + ly[0] - 2) <= dpar[4];

  *stat = kOk;
  const axis<T> x{xh, ipar + 40, xblk, nx, xpair}, y{yh, ipar + 60, yblk, ny, ypair};
  const long counts[3] = {nz + 1, column_blocks(static_cast<long>(plane)), nz + 1};
  int failed = 0;
  const int s = split_stages(
      threads, counts, failed, planes_part(work, f, nx, ny, x, y, true),
      tridiag_part(work, f, static_cast<long>(plane), static_cast<std::ptrdiff_t>(plane), nz,
                   zpair, degenerate,
                   [lx, ly, nx](long c) { return lx[c % (nx + 1)] + ly[c / (nx + 1)]; }),
      planes_part(work, f, nx, ny, x, y, false));
  give_work(work);
  if (s != 0) {
    stage_failed(s, failed != 1, 31, ipar, dpar, stat);
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

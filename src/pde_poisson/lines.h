// The two kinds of work of the solvers: a trigonometric transform of one grid line through a
// contiguous buffer, and tridiagonal solves along the last axis for a block of adjacent columns.
#pragma once
#include <cstddef>

#include "pde_poisson/poisson.h"
#include "pde_poisson/trig_calls.h"
#include "pde_poisson/tuning.h"

namespace zvx::poisson {

// Boundary pairs of an axis, as ipar[3] encodes them: 2*(first side Neumann) + (second Neumann).
enum Pair : int { kDD = 0, kDN = 1, kND = 2, kNN = 3 };

// Transforms the line of n+1 values at `line` (element distance `stride`) through buffer b of
// n+1 values. The forward direction doubles the Neumann ends that the transform halves; a
// Dirichlet end nearer the start is moved to the far end by reversing the line.
template <class T>
int transform_line(T* line, std::ptrdiff_t stride, int n, int pair, bool forward,
                   DFTI_DESCRIPTOR_HANDLE* h, int* blk, T* dblk, T* b) {
  const auto L = [&](int i) -> T& { return line[i * stride]; };
  int s = 0;
  switch (pair) {
    case kDD:
      b[0] = 0;
      b[n] = 0;
      for (int i = 1; i < n; ++i) b[i] = L(i);
      break;
    case kDN:
      b[n] = 0;
      if (forward) {
        for (int m = 0; m < n; ++m) b[m] = L(n - m);
        b[0] *= 2;
      } else {
        for (int m = 0; m < n; ++m) b[m] = L(m);
      }
      break;
    case kND:
      b[n] = 0;
      for (int m = 0; m < n; ++m) b[m] = L(m);
      if (forward) b[0] *= 2;
      break;
    default:
      for (int i = 0; i <= n; ++i) b[i] = L(i);
      if (forward) {
        b[0] *= 2;
        b[n] *= 2;
      }
      break;
  }
  if (forward) {
    trig<T>::forward(b, h, blk, dblk, &s);
  } else {
    trig<T>::backward(b, h, blk, dblk, &s);
  }
  if (s != 0) return s;
  // The places of a line that hold no mode after the forward transform are cleared: the
  // tridiagonal stage solves them too, and a Neumann pair along the last axis with a zero shift
  // is singular for the zero mode, which only zero data keeps harmless.
  switch (pair) {
    case kDD:
      for (int i = 1; i < n; ++i) L(i) = b[i];
      if (forward) {
        L(0) = 0;
        L(n) = 0;
      }
      break;
    case kDN:
      if (forward) {
        for (int m = 0; m < n; ++m) L(m) = b[m];
        L(n) = 0;
      } else {
        for (int m = 0; m < n; ++m) L(n - m) = b[m];
      }
      break;
    case kND:
      for (int m = 0; m < n; ++m) L(m) = b[m];
      if (forward) L(n) = 0;
      break;
    default:
      for (int i = 0; i <= n; ++i) L(i) = b[i];
      break;
  }
  return 0;
}

// Solves -u[j-1] + lam[c] u[j] - u[j+1] = r[j], j = 0..n, for the w <= kColumnBlock columns at
// base[j*stride + c], in place. A Neumann end takes the full equation through its mirror,
// with the right-hand side in half form: its pivot is lam/2. A Dirichlet end row is left alone.
// alpha and beta hold kColumnBlock * (n+1) values each. Returns 0 or kPivotZero. One body per
// instruction set (sweep_simd.cpp), chosen once.
struct sweep_set {
  int (*d)(double* base, std::ptrdiff_t stride, int w, const double* lam, int n, int pair,
           double* alpha, double* beta);
  int (*s)(float* base, std::ptrdiff_t stride, int w, const float* lam, int n, int pair,
           float* alpha, float* beta);
};
const sweep_set& sweeps();

template <class T>
int tridiag_block(T* base, std::ptrdiff_t stride, int w, const T* lam, int n, int pair, T* alpha,
                  T* beta) {
  if constexpr (sizeof(T) == sizeof(double)) {
    return sweeps().d(base, stride, w, lam, n, pair, alpha, beta);
  } else {
    return sweeps().s(base, stride, w, lam, n, pair, alpha, beta);
  }
}

// The singular mode of an all-Neumann problem with q = 0: the differences of u are partial sums
// of the right-hand side from the far end, and u[0] = 0 fixes the free constant.
template <class T> void running_sums(T* col, std::ptrdiff_t stride, int n) {
  // t = u[j] - u[j-1], accumulated downward from the last row.
  T t = 0;
  // First pass: store the differences over the rows 1..n from the top.
  for (int j = n; j >= 1; --j) {
    t += col[j * stride];
    col[j * stride] = t;
  }
  col[0] = 0;
  for (int j = 1; j <= n; ++j) col[j * stride] += col[(j - 1) * stride];
}

}  // namespace zvx::poisson

// The tridiagonal sweep of a block of adjacent columns, compiled once per instruction set: the
// recurrences of the block's columns run side by side in vector registers. A full block has a
// trip count known here, which lets the compiler keep the block in registers without remainder
// loops.
#include <cstddef>

#include "pde_poisson/lines.h"
#include "service/cpu_features.h"

namespace zvx::poisson::ZVX_ISA_NS {
namespace {

constexpr int B = kColumnBlock;

// W > 0: exactly W columns; W == 0: w columns, w < B.
template <class T, int W>
int sweep(T* base, std::ptrdiff_t stride, int w_run, const T* lam, int n, int pair, T* alpha,
          T* beta) {
  const int w = W > 0 ? W : w_run;
  const bool neu_start = pair == kND || pair == kNN;
  const bool neu_end = pair == kDN || pair == kNN;
  const int first = neu_start ? 0 : 1;
  const int last = neu_end ? n : n - 1;
  if (last < first) return 0;
  const int sweep_end = neu_end ? n - 1 : last;
  bool zero = false;
  for (int j = first; j <= sweep_end; ++j) {
    T* __restrict a = alpha + j * B;
    T* __restrict bt = beta + j * B;
    const T* __restrict r = base + j * stride;
    if (j == first) {
      const T scale = j == 0 ? T(0.5) : T(1);
      for (int c = 0; c < w; ++c) {
        const T piv = scale * lam[c];
        zero |= piv == 0;
        a[c] = T(1) / piv;
        bt[c] = r[c] * a[c];
      }
    } else {
      const T* __restrict ap = a - B;
      const T* __restrict bp = bt - B;
      for (int c = 0; c < w; ++c) {
        const T piv = lam[c] - ap[c];
        zero |= piv == 0;
        a[c] = T(1) / piv;
        bt[c] = (bp[c] + r[c]) * a[c];
      }
    }
  }
  if (zero) return kPivotZero;
  if (neu_end) {
    T* u = base + n * stride;
    const bool has_prev = n - 1 >= first;
    for (int c = 0; c < w; ++c) {
      const T ap = has_prev ? alpha[(n - 1) * B + c] : T(0);
      const T bp = has_prev ? beta[(n - 1) * B + c] : T(0);
      const T piv = T(0.5) * lam[c] - ap;
      const T num = bp + u[c];
      if (piv == 0) {
        // The singular end of a Neumann pair: solvable only with zero data, then u = 0 there.
        if (num != 0) return kPivotZero;
        u[c] = 0;
      } else {
        u[c] = num / piv;
      }
    }
  } else {
    T* __restrict u = base + last * stride;
    const T* __restrict bt = beta + last * B;
    for (int c = 0; c < w; ++c) u[c] = bt[c];
  }
  for (int j = last - 1; j >= first; --j) {
    T* __restrict u = base + j * stride;
    const T* __restrict un = u + stride;
    const T* __restrict a = alpha + j * B;
    const T* __restrict bt = beta + j * B;
    for (int c = 0; c < w; ++c) u[c] = un[c] * a[c] + bt[c];
  }
  return 0;
}

template <class T>
int sweep_any(T* base, std::ptrdiff_t stride, int w, const T* lam, int n, int pair, T* alpha,
              T* beta) {
  if (w == B) return sweep<T, B>(base, stride, w, lam, n, pair, alpha, beta);
  return sweep<T, 0>(base, stride, w, lam, n, pair, alpha, beta);
}

constexpr sweep_set set = {&sweep_any<double>, &sweep_any<float>};

}  // namespace

const sweep_set* table() { return &set; }

}  // namespace zvx::poisson::ZVX_ISA_NS

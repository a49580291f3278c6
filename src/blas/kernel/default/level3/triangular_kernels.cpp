// The triangular kernels at the bottom of the trmm and trsm ladders, and zherk's direct
// diagonal blocks, for one instruction set.
// Each copies its triangle of op(A) into a local dense block (the diagonal as its reciprocal,
// computed once, for the solve; 1 for a unit diagonal, which is never read) so that every inner
// loop runs down a contiguous column.
#include "blas/kernel/default/level3/triangular_kernels.h"

#include <algorithm>

namespace zvx::l3ops::ZVX_ISA_NS {
namespace {

// Columns of B handled together by the left-side kernels: the panel (order x width, turned so
// that rows are contiguous) stays in the first-level cache beside the local triangle, and its
// rows are long enough for full vectors of every width.
constexpr int panel_width = 32;

// B(0:bs, 0:w) into x with rows contiguous (x[i * panel_width + c] = B(i, c)), and back.
template <class T>
void load_panel(int bs, int w, const T* b, long ldb, T* x) {
  for (int c = 0; c < w; ++c)
    for (int i = 0; i < bs; ++i) x[i * panel_width + c] = b[i + c * ldb];
}
template <class T>
void store_panel(int bs, int w, const T* x, T* b, long ldb) {
  for (int c = 0; c < w; ++c)
    for (int i = 0; i < bs; ++i) b[i + c * ldb] = x[i * panel_width + c];
}

// The local dense copy of op(A) on a diagonal block of order bs: the triangle of op(A), the
// diagonal as its value (trmm; 1 when unit) or its reciprocal (trsm; 1 when unit).
template <bool solve, class T>
void copy_block(const tri_shape& s, int bs, const T* a, long lda, T* t) {
  constexpr int ld = tuning::tri_kernel_max;
  for (int j = 0; j < bs; ++j) {
    const int i0 = s.lower ? j + 1 : 0, i1 = s.lower ? bs : j;
    for (int i = i0; i < i1; ++i) {
      T v = *op_at(s, a, lda, i, j);
      if (s.op == tri_op::c) v = conj(v);
      t[i + j * ld] = v;
    }
    if (s.unit) {
      t[j + j * ld] = from_real<T>(1);
    } else {
      T v = a[j + j * lda];
      if (s.op == tri_op::c) v = conj(v);
      t[j + j * ld] = solve ? reciprocal(v) : v;
    }
  }
}

// Solve kernel: op(A) X = B (left, rows rows x cols) or X op(A) = B (right), order at most
// tri_kernel_max. Left: each column of B by substitution with columns of the local triangle;
// right: each column of X is a combination of the columns already solved, walked down the rows.
template <class T>
void trsm_kernel_t(const tri_shape& s, int rows, int cols, const T* a, long lda, T* b,
                   long ldb) {
  constexpr int ld = tuning::tri_kernel_max;
  alignas(64) T t[ld * ld];
  const int bs = s.left ? rows : cols;
  copy_block<true>(s, bs, a, lda, t);
  if (s.left) {
    // A panel of columns of B is turned so that each row is contiguous, then solved by whole
    // rows: every inner loop runs over panel_width columns, not down a short column.
    alignas(64) T x[ld * panel_width];
    for (int c0 = 0; c0 < cols; c0 += panel_width) {
      const int w = std::min(panel_width, cols - c0);
      load_panel(bs, w, b + c0 * ldb, ldb, x);
      for (int q = 0; q < bs; ++q) {
        const int i = s.lower ? q : bs - 1 - q;
        T* xi = x + i * panel_width;
        const T di = t[i + i * ld];
        for (int c = 0; c < w; ++c) xi[c] = xi[c] * di;
        const T* ti = t + i * ld;
        const int j0 = s.lower ? i + 1 : 0, j1 = s.lower ? bs : i;
        for (int j = j0; j < j1; ++j) {
          const T tji = ti[j];
          T* xj = x + j * panel_width;
          for (int c = 0; c < w; ++c) xj[c] = xj[c] - tji * xi[c];
        }
      }
      store_panel(bs, w, x, b + c0 * ldb, ldb);
    }
  } else {
    // X op(A) = B: column j of X is (B(:, j) - sum of X(:, i) op(A)(i, j) over the solved i)
    // times the reciprocal.
    for (int q = 0; q < bs; ++q) {
      const int j = s.lower ? bs - 1 - q : q;
      T* xj = b + j * ldb;
      const int i0 = s.lower ? j + 1 : 0, i1 = s.lower ? bs : j;
      for (int i = i0; i < i1; ++i) {
        const T tij = t[i + j * ld];
        const T* xi = b + i * ldb;
        for (int r = 0; r < rows; ++r) xj[r] = xj[r] - xi[r] * tij;
      }
      const T dj = t[j + j * ld];
      for (int r = 0; r < rows; ++r) xj[r] = xj[r] * dj;
    }
  }
}

// Multiply kernel: B = alpha * op(A) * B (left) or alpha * B * op(A) (right) in place, order at
// most tri_kernel_max; alpha is applied as each result column is complete.
template <class T>
void trmm_kernel_t(const tri_shape& s, int rows, int cols, T alpha, const T* a, long lda, T* b,
                 long ldb) {
  constexpr int ld = tuning::tri_kernel_max;
  alignas(64) T t[ld * ld];
  const int bs = s.left ? rows : cols;
  copy_block<false>(s, bs, a, lda, t);
  if (s.left) {
    // By whole rows of a turned panel of B: row k feeds the rows it reaches before it is itself
    // scaled by its diagonal; the order (ascending for upper, descending for lower) reads every
    // row before it changes.
    alignas(64) T x[ld * panel_width];
    for (int c0 = 0; c0 < cols; c0 += panel_width) {
      const int w = std::min(panel_width, cols - c0);
      load_panel(bs, w, b + c0 * ldb, ldb, x);
      for (int q = 0; q < bs; ++q) {
        const int k = s.lower ? bs - 1 - q : q;
        T* xk = x + k * panel_width;
        const T* tk = t + k * ld;
        const int i0 = s.lower ? k + 1 : 0, i1 = s.lower ? bs : k;
        for (int i = i0; i < i1; ++i) {
          const T tik = tk[i];
          T* xi = x + i * panel_width;
          for (int c = 0; c < w; ++c) xi[c] = xi[c] + tik * xk[c];
        }
        const T tkk = tk[k];
        for (int c = 0; c < w; ++c) xk[c] = tkk * xk[c];
      }
      for (int i = 0; i < bs * panel_width; ++i) x[i] = alpha * x[i];
      store_panel(bs, w, x, b + c0 * ldb, ldb);
    }
  } else {
    // Column j of the result combines columns of B that are still unchanged: descending j for
    // upper, ascending for lower.
    for (int q = 0; q < bs; ++q) {
      const int j = s.lower ? q : bs - 1 - q;
      T* xj = b + j * ldb;
      const T djj = t[j + j * ld];
      for (int r = 0; r < rows; ++r) xj[r] = xj[r] * djj;
      const int i0 = s.lower ? j + 1 : 0, i1 = s.lower ? bs : j;
      for (int i = i0; i < i1; ++i) {
        const T tij = t[i + j * ld];
        const T* xi = b + i * ldb;
        for (int r = 0; r < rows; ++r) xj[r] = xj[r] + xi[r] * tij;
      }
      for (int r = 0; r < rows; ++r) xj[r] = alpha * xj[r];
    }
  }
}

// zherk's diagonal block by direct loops: C(i, j) += alpha * op(A)(i, :) * op(A)(j, :)^H on the
// chosen triangle. No transpose: rank-1 updates down the columns of A; transpose: dot products
// down the columns of A.
template <class T>
void herk_diagonal_t(bool upper, bool notrans, int bs, int k, real_t<T> alpha, const T* a,
                     long lda, T* c, long ldc) {
  for (int j = 0; j < bs; ++j) {
    T* cj = c + j * ldc;
    const int i0 = upper ? 0 : j, i1 = upper ? j + 1 : bs;
    if (notrans) {
      for (int l = 0; l < k; ++l) {
        const T* al = a + l * lda;
        const T t = alpha * conj(al[j]);
        for (int i = i0; i < i1; ++i) cj[i] = cj[i] + t * al[i];
      }
    } else {
      for (int i = i0; i < i1; ++i) {
        const T* ai = a + i * lda;
        const T* aj = a + j * lda;
        T s{};
        for (int l = 0; l < k; ++l) s = s + conj(ai[l]) * aj[l];
        cj[i] = cj[i] + alpha * s;
      }
    }
    cj[j] = from_real<T>(re(cj[j]));
  }
}

}  // namespace

void herk_diagonal(bool upper, bool notrans, int bs, int k, double alpha, const zvx_complex16* a,
                   long lda, zvx_complex16* c, long ldc) {
  herk_diagonal_t(upper, notrans, bs, k, alpha, a, lda, c, ldc);
}

#define ZVX_TRI_KERNELS(T)                                                                      \
  void trsm_kernel(const tri_shape& s, int rows, int cols, const T* a, long lda, T* b,          \
                   long ldb) {                                                                  \
    trsm_kernel_t<T>(s, rows, cols, a, lda, b, ldb);                                            \
  }                                                                                             \
  void trmm_kernel(const tri_shape& s, int rows, int cols, T alpha, const T* a, long lda, T* b, \
                   long ldb) {                                                                  \
    trmm_kernel_t<T>(s, rows, cols, alpha, a, lda, b, ldb);                                     \
  }
ZVX_TRI_KERNELS(float)
ZVX_TRI_KERNELS(double)
ZVX_TRI_KERNELS(zvx_complex8)
ZVX_TRI_KERNELS(zvx_complex16)
#undef ZVX_TRI_KERNELS

}  // namespace zvx::l3ops::ZVX_ISA_NS

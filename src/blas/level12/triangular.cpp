// trmv and trsv: the triangle is cut into square diagonal blocks, gemv does the rectangular
// panels at its own speed and the level-1 vector kernels do each block in the first-level cache.
// trmv uses blocks of 64 (16 for real transposed products on a contiguous x), trsv blocks of 32.
#include "blas/level12/level12.h"
#include "blas/level12/tuning.h"
#include "service/service.h"
#include "zvx_blas12.h"

namespace zvx::blas12 {
namespace {

// Pointer argument for the part of a vector that holds logical elements [start, start + len):
// with a negative increment it is the element lowest in memory, as the callee expects.
template <class T> T* part(T* x0, long start, long len, long inc) {
  return inc < 0 ? x0 + (start + len - 1) * inc : x0 + start * inc;
}

template <class T> inline T a_op(T v, op o) { return o == op::c ? conj(v) : v; }

// Real transposed blocks with a stride or beyond trmv_transposed_block rows: x(0:b) := op(A(0:b,
// 0:b)) * x(0:b) in loops the compiler vectorizes inline, which measured as fast or faster than
// calls of the level-1 vector kernels. Each element of x is a dot of its row: the diagonal product
// first, then the other columns from left to right.
template <class T>
void trmv_t_block_scalar(bool upper, op o, bool nonunit, long b, const T* a, long lda, T* x, long inc) {
  auto A = [&](long i, long j) { return a_op(a[i + j * lda], o); };
  auto X = [&](long i) -> T& { return x[i * inc]; };
  // Each dot runs down a column in memory order. Every dot reads the x of before
  // the call, so they are independent: four of them at a time keep four additions in flight,
  // where one dot alone waits on each of its additions in turn.
  T xs[trmv_block];
  for (long i = 0; i < b; ++i) xs[i] = X(i);
  auto rows = [&]<long G>(long i0) {
    T s[G];
    for (long r = 0; r < G; ++r) s[r] = nonunit ? A(i0 + r, i0 + r) * xs[i0 + r] : xs[i0 + r];
    // Terms of the rows [from, to) all of the group take.
    auto joint = [&](long from, long to) {
      for (long k = from; k < to; ++k)
#pragma GCC unroll 4
        for (long r = 0; r < G; ++r) s[r] += A(k, i0 + r) * xs[k];
    };
    if (upper) {
      joint(0, i0);
      for (long r = 1; r < G; ++r)
        for (long k = i0; k < i0 + r; ++k) s[r] += A(k, i0 + r) * xs[k];
    } else {
      for (long r = 0; r + 1 < G; ++r)
        for (long k = i0 + r + 1; k < i0 + G; ++k) s[r] += A(k, i0 + r) * xs[k];
      joint(i0 + G, b);
    }
    for (long r = 0; r < G; ++r) X(i0 + r) = s[r];
  };
  constexpr long group = 4;
  long i0 = 0;
  for (; i0 + group <= b; i0 += group) rows.template operator()<group>(i0);
  for (; i0 < b; ++i0) rows.template operator()<1>(i0);
}

// Complex transposed blocks by halves: each half's triangle first (multiply) or in the order of
// the solve, and the rectangle between the halves as one call of the transposed gemv kernel, down
// to triangles of triangular_leaf rows done by scalar dots. One dot call per row took 1.4 times the
// peer's time at order 32: each call's setup and lane reduction outweighed its few vectors.
// Multiply: s(0:b) := op(A)' restricted to the triangle times xs (xs unchanged). Solve: s is xs,
// solved in place, each step multiplied by inv, the reciprocal of its diagonal element.
template <class T>
void transposed_block(bool solve, bool upper, op o, bool nonunit, long b, const T* a, long lda, const T* xs, T* s,
                      const T* inv) {
  auto A = [&](long i, long j) { return a_op(a[i + j * lda], o); };
  if (b <= triangular_leaf) {
    for (long q = 0; q < b; ++q) {
      const long i = upper ? q : b - 1 - q;  // a solve takes its rows in the order of dependence
      T t{};
      if (upper)
        for (long k = 0; k < i; ++k) t += A(k, i) * xs[k];
      else
        for (long k = i + 1; k < b; ++k) t += A(k, i) * xs[k];
      if (solve) s[i] = nonunit ? (s[i] - t) * inv[i] : s[i] - t;
      else s[i] = (nonunit ? A(i, i) * xs[i] : xs[i]) + t;
    }
    return;
  }
  const long h = b / 2;
  const T sign = from_real<T>(solve ? -1 : 1);
  const auto& k = kernels_for<T>();
  auto half = [&](long at, long len) {
    transposed_block<T>(solve, upper, o, nonunit, len, a + at + at * lda, lda, xs + at, s + at, inv + at);
  };
  if (upper) {
    half(0, h);
    if (solve) k.gemv_t(h, b - h, sign, a + h * lda, lda, xs, s + h, o == op::c);
    half(h, b - h);
    if (!solve) k.gemv_t(h, b - h, sign, a + h * lda, lda, xs, s + h, o == op::c);
  } else {
    half(h, b - h);
    if (solve) k.gemv_t(b - h, h, sign, a + h, lda, xs + h, s, o == op::c);
    half(0, h);
    if (!solve) k.gemv_t(b - h, h, sign, a + h, lda, xs + h, s, o == op::c);
  }
}

// Diagonal blocks: x(0:b) := op(A(0:b, 0:b)) * x(0:b). Not transposed, the table's block kernel
// keeps the rows' sums in vectors while the columns go past in memory order, each sum taking its
// terms in the order of the row (on a contiguous copy of x where x has a stride). Transposed, real
// blocks go to the table's dots kernel when small and unit-stride, else to scalar dots; complex
// ones, on a contiguous copy of x, take each row's product as the dot of a column segment with the
// x of before the call, on the table's gemv kernels. The scalar loops these replace took 1.1-1.5
// times the peer's time for double complex at orders 32 to 700.
template <class T>
void trmv_block_kernel(bool upper, op o, bool nonunit, long b, const T* a, long lda, T* x, long inc) {
  if (o == op::n) {
    if (inc == 1) return kernels_for<T>().trmv_n_block(upper, nonunit, b, a, lda, x);
    T xs[trmv_block];
    for (long i = 0; i < b; ++i) xs[i] = x[i * inc];
    kernels_for<T>().trmv_n_block(upper, nonunit, b, a, lda, xs);
    for (long i = 0; i < b; ++i) x[i * inc] = xs[i];
    return;
  }
  if constexpr (!is_complex<T>) {
    if (inc == 1 && b <= trmv_transposed_block) return kernels_for<T>().trmv_t_block(upper, nonunit, b, a, lda, x);
    return trmv_t_block_scalar<T>(upper, o, nonunit, b, a, lda, x, inc);
  }
  if (b <= 0) return;
  T xs[trmv_block], s[trmv_block];
  for (long i = 0; i < b; ++i) xs[i] = x[i * inc];
  transposed_block<T>(false, upper, o, nonunit, b, a, lda, xs, s, nullptr);
  for (long i = 0; i < b; ++i) x[i * inc] = s[i];
}

// Complex blocks: solve op(A(0:b, 0:b)) * x = x on a contiguous copy of x, not transposed on the
// table's block kernel, transposed by halves, each step multiplying by the reciprocal of its
// diagonal element. The reciprocals (the library's own, whose square in extended precision
// neither overflows nor underflows) don't depend on x, so they are formed ahead of the sweep, off
// its chain of dependent steps: a division at every step put its latency on that chain (solves of
// order 32 took 1.3-1.5 times the peer's time).
template <class T>
void trsv_block_kernel(bool upper, op o, bool nonunit, long b, const T* a, long lda, T* x, long inc) {
  if constexpr (!is_complex<T>) {
    // The vector kernel of the table, on a contiguous copy of x where x has a stride.
    if (inc == 1) return kernels_for<T>().trsv_block(upper, o != op::n, nonunit, b, a, lda, x);
    T xs[trsv_block];
    for (long i = 0; i < b; ++i) xs[i] = x[i * inc];
    kernels_for<T>().trsv_block(upper, o != op::n, nonunit, b, a, lda, xs);
    for (long i = 0; i < b; ++i) x[i * inc] = xs[i];
  } else {
    T xs[trsv_block], inv[trsv_block];
    for (long i = 0; i < b; ++i) {
      xs[i] = x[i * inc];
      inv[i] = nonunit ? reciprocal(a_op(a[i + i * lda], o)) : from_real<T>(1);
    }
    if (o == op::n) kernels_for<T>().trsv_n_block(upper, nonunit, b, a, lda, xs, inv);
    else transposed_block<T>(true, upper, o, nonunit, b, a, lda, xs, xs, inv);
    for (long i = 0; i < b; ++i) x[i * inc] = xs[i];
  }
}

template <class T> const char* panel_trans(op o) { return o == op::n ? "N" : o == op::c ? "C" : "T"; }

// Whether the triangle of order n is larger than column_stream_bytes, so that its transposed
// panels come from beyond the second-level cache.
template <class T> bool streams_from_memory(int n) {
  return (double)n * n * sizeof(T) / 2 > (double)column_stream_bytes;
}

// x(to:to+b) += alpha * op(A(0:len, 0:b))' * x(from:from+len), the transposed panel beside a
// diagonal block. With unit increments the panels take the table's whole-column dots: they need
// no strip-by-strip rounding, and one lane reduction per group of columns instead of one per
// strip of 64 rows is a tenth of the reductions at order 700. Double complex at orders 250 and
// 400 (second-level cache), three runs alternating on the loaded machine: 0.69-0.97 of the peer's
// time against 0.72-1.00 with the strips' reductions; at 700 both within the noise (0.92-1.15).
template <class T>
void transposed_panel(op o, long len, long b, T alpha, const T* a, int lda, T* x0, long from, long to, int incx,
                      bool stream) {
  if constexpr (!is_complex<T>) {
    if (incx == 1) return kernels_for<T>().column_dots(len, b, alpha, a, lda, x0 + from, x0 + to, stream);
  } else {
    if (incx == 1) return kernels_for<T>().column_dots(len, b, alpha, a, lda, x0 + from, x0 + to, o == op::c, stream);
  }
  gemv<T>(panel_trans<T>(o), (int)len, (int)b, alpha, a, lda, part(x0, from, len, incx), incx, from_real<T>(1),
          part(x0, to, b, incx), incx);
}

// x(to : to + len) += alpha * A(len x b panel) * x(from : from + b), not transposed. Complex with
// a contiguous x: the strips and the rows after them straight on the kernels, the same calls the
// gemv frame makes, with `stream` (the triangle is beyond the second-level cache) asking for the
// lines ahead even where the panel alone is small: ztrmv and ztrsv N at 400 and 700 took 0.84-0.91
// of the peer's time against 0.92-0.98 with the panels' own bound.
template <class T>
void panel_n(long len, long b, T alpha, const T* a, int lda, T* x0, long from, long to, int incx, bool stream) {
  if constexpr (is_complex<T>) {
    if (incx == 1) {
      const long m64 = len / strip_rows * strip_rows;
      const auto& k = kernels_for<T>();
      if (m64 > 0) k.gemv_n(m64, b, alpha, a, lda, x0 + from, x0 + to, stream);
      if (len > m64) k.gemv_rest_n(len - m64, b, alpha, a + m64, lda, x0 + from, x0 + to + m64);
      return;
    }
  }
  gemv<T>("N", (int)len, (int)b, alpha, a, lda, part(x0, from, b, incx), incx, from_real<T>(1), part(x0, to, len, incx), incx);
}

template <class T>
void trmv(const char* uplo, const char* trans, const char* diag, int n, const T* a, int lda, T* x, int incx) {
  if (n <= 0) return;
  const bool upper = is_letter(uplo, 'U');
  const op o = read_triangular_op<T>(trans);
  const bool nonunit = is_letter(diag, 'N');
  const bool stream = streams_from_memory<T>(n);
  request_matrix(a, n, n, lda);
  T* x0 = x + start_of(n, incx);
  const long ld = lda;
  const T one = from_real<T>(1);
  auto blk = [&](long j) { return a + j + j * ld; };
  const bool forward = (o == op::n) == upper;  // blocks from the top down
  // Transposed with a contiguous x: the panels take the whole-column dots, and the smaller blocks
  // leave less of the triangle to the scalar dots.
  const long step = (o != op::n && incx == 1) ? (is_complex<T> ? ctrmv_transposed_block : trmv_transposed_block) : trmv_block;
  if (forward) {
    for (long j = 0; j < n; j += step) {
      const long b = std::min<long>(step, n - j);
      if (o == op::n) {  // upper: panel above the block, then the block
        if (j > 0) panel_n<T>(j, b, one, a + j * ld, lda, x0, j, 0, incx, stream);
        trmv_block_kernel<T>(upper, o, nonunit, b, blk(j), ld, x0 + j * incx, incx);
      } else {  // lower transposed: the block, then the panel under it
        trmv_block_kernel<T>(upper, o, nonunit, b, blk(j), ld, x0 + j * incx, incx);
        const long below = n - j - b;
        if (below > 0) transposed_panel<T>(o, below, b, one, a + (j + b) + j * ld, lda, x0, j + b, j, incx, stream);
      }
    }
  } else {
    for (long j2 = n; j2 > 0; j2 -= step) {
      const long b = std::min<long>(step, j2), j = j2 - b;
      if (o == op::n) {  // lower: panel under the block, then the block
        if (j2 < n) panel_n<T>(n - j2, b, one, a + j2 + j * ld, lda, x0, j, j2, incx, stream);
        trmv_block_kernel<T>(upper, o, nonunit, b, blk(j), ld, x0 + j * incx, incx);
      } else {  // upper transposed: the block, then the panel above it
        trmv_block_kernel<T>(upper, o, nonunit, b, blk(j), ld, x0 + j * incx, incx);
        if (j > 0) transposed_panel<T>(o, j, b, one, a + j * ld, lda, x0, 0, j, incx, stream);
      }
    }
  }
}

template <class T>
void trsv(const char* uplo, const char* trans, const char* diag, int n, const T* a, int lda, T* x, int incx) {
  if (n <= 0) return;
  const bool upper = is_letter(uplo, 'U');
  const op o = read_triangular_op<T>(trans);
  const bool nonunit = is_letter(diag, 'N');
  const bool stream = streams_from_memory<T>(n);
  request_matrix(a, n, n, lda);
  T* x0 = x + start_of(n, incx);
  const long ld = lda;
  const T minus_one = from_real<T>(-1);
  auto blk = [&](long j) { return a + j + j * ld; };
  const long nb = n / trsv_block, r = n - nb * trsv_block;
  // Top-down order: full blocks first, the remainder block at the bottom; bottom-up order: full
  // blocks from the bottom, the remainder at the top.
  const bool forward = (o == op::n) != upper;
  for (long q = 0; q < nb + (r > 0); ++q) {
    long j, b;
    if (forward) {
      j = q * trsv_block;
      b = q < nb ? trsv_block : r;
    } else {
      b = q < nb ? trsv_block : r;
      j = n - (q + 1) * trsv_block;
      if (q == nb) j = 0;
    }
    if (o == op::n) {
      trsv_block_kernel<T>(upper, o, nonunit, b, blk(j), ld, x0 + j * incx, incx);
      if (upper) {
        if (j > 0) panel_n<T>(j, b, minus_one, a + j * ld, lda, x0, j, 0, incx, stream);
      } else {
        const long below = n - j - b;
        if (below > 0) panel_n<T>(below, b, minus_one, a + (j + b) + j * ld, lda, x0, j, j + b, incx, stream);
      }
    } else {
      if (upper) {
        if (j > 0) transposed_panel<T>(o, j, b, minus_one, a + j * ld, lda, x0, 0, j, incx, stream);
      } else {
        const long below = n - j - b;
        if (below > 0) transposed_panel<T>(o, below, b, minus_one, a + (j + b) + j * ld, lda, x0, j + b, j, incx, stream);
      }
      trsv_block_kernel<T>(upper, o, nonunit, b, blk(j), ld, x0 + j * incx, incx);
    }
  }
}

}  // namespace
}  // namespace zvx::blas12

using namespace zvx;
using namespace zvx::blas12;
using c8 = zvx_complex8;
using c16 = zvx_complex16;

#define TRX(name, fn, T, CT)                                                                         \
  ZVX_EXPORT void name(const char* uplo, const char* trans, const char* diag, const int* n,         \
                       const CT* a, const int* lda, CT* x, const int* incx) {                        \
    fn<T>(uplo, trans, diag, *n, reinterpret_cast<const T*>(a), *lda, reinterpret_cast<T*>(x), *incx); \
  }
TRX(strmv, trmv, float, float)
TRX(dtrmv, trmv, double, double)
TRX(ctrmv, trmv, c8, zvx_complex8)
TRX(ztrmv, trmv, c16, zvx_complex16)
TRX(strsv, trsv, float, float)
TRX(dtrsv, trsv, double, double)
TRX(ctrsv, trsv, c8, zvx_complex8)
TRX(ztrsv, trsv, c16, zvx_complex16)

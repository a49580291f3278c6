// trmv and trsv: the triangle is cut into square diagonal blocks, gemv does the rectangular
// panels at its own speed and a small kernel does each block in the first-level cache. trmv uses
// blocks of 64, trsv blocks of 32.
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

// x(0:b) := op(A(0:b, 0:b)) * x(0:b) for one diagonal block. Each element of x is a dot of its
// row: the diagonal product first, then the other columns from left to right.
template <class T>
void trmv_block_kernel(bool upper, op o, bool nonunit, long b, const T* a, long lda, T* x, long inc) {
  auto A = [&](long i, long j) { return a_op(a[i + j * lda], o); };
  auto X = [&](long i) -> T& { return x[i * inc]; };
  if (o == op::n) {
    // Not transposed, the rows' dots are taken a column at a time, with the sums kept apart from
    // x until the end: the walk goes down the columns in memory order, where walking along the
    // rows touches one line per column, and with columns 4 KiB apart all of them in one set of
    // the first-level cache (order 1,024 took 1.7-1.9 times the peer's time). Each sum still
    // takes its terms in the order of the row.
    T xs[trmv_block], s[trmv_block];
    for (long i = 0; i < b; ++i) {
      xs[i] = X(i);
      s[i] = nonunit ? A(i, i) * xs[i] : xs[i];
    }
    for (long k = 0; k < b; ++k) {
      const T t = xs[k];
      const T* col = a + k * lda;
      for (long i = upper ? 0 : k + 1, end = upper ? k : b; i < end; ++i) s[i] += col[i] * t;
    }
    for (long i = 0; i < b; ++i) X(i) = s[i];
  } else {
    // Transposed, each dot runs down a column in memory order. Every dot reads the x of before
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
}

// Solve op(A(0:b, 0:b)) * x = x for one diagonal block: a column sweep when not transposed, a
// dot sweep when transposed; division by the diagonal element each time.
template <class T>
void trsv_block_kernel(bool upper, op o, bool nonunit, long b, const T* a, long lda, T* x, long inc) {
  auto A = [&](long i, long j) { return a_op(a[i + j * lda], o); };
  auto X = [&](long i) -> T& { return x[i * inc]; };
  if (o == op::n) {
    if (upper) {
      for (long j = b - 1; j >= 0; --j) {
        if (nonunit) X(j) = X(j) / A(j, j);
        const T t = X(j);
        for (long i = 0; i < j; ++i) X(i) -= t * A(i, j);
      }
    } else {
      for (long j = 0; j < b; ++j) {
        if (nonunit) X(j) = X(j) / A(j, j);
        const T t = X(j);
        for (long i = j + 1; i < b; ++i) X(i) -= t * A(i, j);
      }
    }
  } else {
    // Each row's dot over the solved part, in four sums over every fourth term: one sum alone
    // waits on each of its additions in turn (the transposed solves of order 2,000 took 1.29-1.35
    // times the peer's time with one sum, 1.11-1.16 with four, on the loaded machine).
    auto dot = [&](long i, long from, long to) {
      T s[4] = {};
      long k = from;
      for (; k + 4 <= to; k += 4)
        for (int r = 0; r < 4; ++r) s[r] += A(k + r, i) * X(k + r);
      for (; k < to; ++k) s[0] += A(k, i) * X(k);
      return (s[0] + s[1]) + (s[2] + s[3]);
    };
    if (upper) {
      for (long i = 0; i < b; ++i) {
        const T s = X(i) - dot(i, 0, i);
        X(i) = nonunit ? s / A(i, i) : s;
      }
    } else {
      for (long i = b - 1; i >= 0; --i) {
        const T s = X(i) - dot(i, i + 1, b);
        X(i) = nonunit ? s / A(i, i) : s;
      }
    }
  }
}

template <class T> const char* panel_trans(op o) { return o == op::n ? "N" : o == op::c ? "C" : "T"; }

template <class T>
void trmv(const char* uplo, const char* trans, const char* diag, int n, const T* a, int lda, T* x, int incx) {
  if (n <= 0) return;
  const bool upper = is_letter(uplo, 'U');
  const op o = read_triangular_op<T>(trans);
  const bool nonunit = is_letter(diag, 'N');
  T* x0 = x + start_of(n, incx);
  const long ld = lda;
  const T one = from_real<T>(1);
  const char* tr = panel_trans<T>(o);
  auto blk = [&](long j) { return a + j + j * ld; };
  const bool forward = (o == op::n) == upper;  // blocks from the top down
  if (forward) {
    for (long j = 0; j < n; j += trmv_block) {
      const long b = std::min<long>(trmv_block, n - j);
      if (o == op::n) {  // upper: panel above the block, then the block
        if (j > 0) gemv<T>("N", (int)j, (int)b, one, a + j * ld, lda, part(x0, j, b, incx), incx, one, part(x0, 0, j, incx), incx);
        trmv_block_kernel<T>(upper, o, nonunit, b, blk(j), ld, x0 + j * incx, incx);
      } else {  // lower transposed: the block, then the panel under it
        trmv_block_kernel<T>(upper, o, nonunit, b, blk(j), ld, x0 + j * incx, incx);
        const long below = n - j - b;
        if (below > 0) gemv<T>(tr, (int)below, (int)b, one, a + (j + b) + j * ld, lda, part(x0, j + b, below, incx), incx, one, part(x0, j, b, incx), incx);
      }
    }
  } else {
    for (long j2 = n; j2 > 0; j2 -= trmv_block) {
      const long b = std::min<long>(trmv_block, j2), j = j2 - b;
      if (o == op::n) {  // lower: panel under the block, then the block
        if (j2 < n) gemv<T>("N", (int)(n - j2), (int)b, one, a + j2 + j * ld, lda, part(x0, j, b, incx), incx, one, part(x0, j2, n - j2, incx), incx);
        trmv_block_kernel<T>(upper, o, nonunit, b, blk(j), ld, x0 + j * incx, incx);
      } else {  // upper transposed: the block, then the panel above it
        trmv_block_kernel<T>(upper, o, nonunit, b, blk(j), ld, x0 + j * incx, incx);
        if (j > 0) gemv<T>(tr, (int)j, (int)b, one, a + j * ld, lda, part(x0, 0, j, incx), incx, one, part(x0, j, b, incx), incx);
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
  T* x0 = x + start_of(n, incx);
  const long ld = lda;
  const T one = from_real<T>(1), minus_one = from_real<T>(-1);
  const char* tr = panel_trans<T>(o);
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
        if (j > 0) gemv<T>("N", (int)j, (int)b, minus_one, a + j * ld, lda, part(x0, j, b, incx), incx, one, part(x0, 0, j, incx), incx);
      } else {
        const long below = n - j - b;
        if (below > 0) gemv<T>("N", (int)below, (int)b, minus_one, a + (j + b) + j * ld, lda, part(x0, j, b, incx), incx, one, part(x0, j + b, below, incx), incx);
      }
    } else {
      if (upper) {
        if (j > 0) gemv<T>(tr, (int)j, (int)b, minus_one, a + j * ld, lda, part(x0, 0, j, incx), incx, one, part(x0, j, b, incx), incx);
      } else {
        const long below = n - j - b;
        if (below > 0) gemv<T>(tr, (int)below, (int)b, minus_one, a + (j + b) + j * ld, lda, part(x0, j + b, below, incx), incx, one, part(x0, j, b, incx), incx);
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

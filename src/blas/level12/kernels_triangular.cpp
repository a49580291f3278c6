// Diagonal blocks of the triangular multiply and solve on a contiguous x. First the real solve
// of one block (at most trsv_block rows), all four forms, in groups of W rows.
//
// A row-by-row solve puts every step's whole dot (its last product, the additions joining the
// partial sums, the subtraction and the division) on the chain from one unknown to the next, and
// its wide loads of x span the scalar stores of the unknowns just found, which the store buffer
// cannot forward. Here the unknowns of a group are found one after another in scalar registers,
// each costing the chain one fused multiply-add and one product with the diagonal's reciprocal;
// what the rest of the block owes to a group (the dots of the next group's columns, transposed, or
// the update of the rows still to solve, not transposed) is taken with vectors, and x goes to
// memory as whole vectors only, read back as whole vectors or single elements of them.
#include <cmath>
#include <limits>

#include "blas/level12/kernels_isa.h"

namespace zvx::blas12::ZVX_ISA_NS {
namespace {

// Whether x * (1 / d) is as good as x / d within an ulp: the reciprocal is finite and normal.
// Zero, infinite, NaN and extreme diagonals keep the division, which gives them its own results.
template <class T> inline bool reciprocal_is_safe(T d) {
  const T m = std::fabs(d);
  return m >= 4 * std::numeric_limits<T>::min() && m <= std::numeric_limits<T>::max() / 4;
}

template <class T> inline V<T> with_lane(V<T> v, int lane, T value) {
  v[lane] = value;
  return v;
}

}  // namespace

template <class T>
void trsv_diagonal_block(bool upper, bool transposed, bool nonunit, long b, const T* a, long lda, T* x) {
  constexpr int w = W<T>;
  constexpr long cap = (trsv_block + w - 1) / w * w;
  alignas(64) T xs[cap];
  alignas(64) T inv[cap];
  auto A = [&](long i, long j) { return a[i + j * lda]; };
  const long groups = (b + w - 1) / w;
  for (long i = 0; i < b; ++i) xs[i] = x[i];
  for (long i = b; i < cap; ++i) xs[i] = T(0);
  bool by_reciprocal = true;
  if (nonunit)
    for (long i = 0; i < b; ++i) {
      inv[i] = T(1) / A(i, i);
      by_reciprocal = by_reciprocal && reciprocal_is_safe(A(i, i));
    }
  auto solved = [&](T t, long i) __attribute__((always_inline)) {
    return !nonunit ? t : by_reciprocal ? t * inv[i] : t / A(i, i);
  };
  // Rows of the last vector of the block: the elements of A beyond them are not the block's.
  auto col_vector = [&](const T* col, long v) __attribute__((always_inline)) {
    return (v + 1) * w <= b ? ld(col + v * w) : ld_part(col + v * w, b - v * w);
  };

  for (long step = 0; step < groups; ++step) {
    // Upper transposed and lower not transposed go from the top down.
    const long g0 = (upper == transposed) ? step : groups - 1 - step;
    const long i0 = g0 * w, g = std::min<long>(w, b - i0);
    T c[w] = {}, xg[w] = {};
    if (transposed) {
      // What the solved rows owe to the group's unknowns: the dots of its columns over them, the
      // vector of x found last taken last, so that only one product waits on it.
      V<T> acc[w];
#pragma GCC unroll 16
      for (int r = 0; r < w; ++r) {
        V<T> s{};
        if (r < g) {
          const T* col = a + (i0 + r) * lda;
          if (upper)
            for (long v = 0; v < g0; ++v) s = vfma(ld(col + v * w), ld(xs + v * w), s);
          else
            for (long v = groups - 1; v > g0; --v) s = vfma(col_vector(col, v), ld(xs + v * w), s);
        }
        acc[r] = s;
      }
      alignas(64) T cs[w];
      st(cs, ld(xs + i0) - reduce_lanes<T>(acc));
#pragma GCC unroll 16
      for (int r = 0; r < w; ++r) c[r] = cs[r];
      if (upper) {
#pragma GCC unroll 16
        for (int r = 0; r < w; ++r) {
          if (r >= g) break;
          T t = c[r];
#pragma GCC unroll 16
          for (int q = 0; q < r; ++q) t = sfma(-A(i0 + q, i0 + r), xg[q], t);
          xg[r] = solved(t, i0 + r);
        }
      } else {
#pragma GCC unroll 16
        for (int r = w - 1; r >= 0; --r) {
          if (r >= g) continue;
          T t = c[r];
#pragma GCC unroll 16
          for (int q = w - 1; q > r; --q)
            if (q < g) t = sfma(-A(i0 + q, i0 + r), xg[q], t);
          xg[r] = solved(t, i0 + r);
        }
      }
    } else {
      // Column sweep within the group: each unknown found updates the group's rows still to be
      // solved at once, in the order of the columns of a plain sweep.
#pragma GCC unroll 16
      for (int r = 0; r < w; ++r) c[r] = xs[i0 + r];
      if (upper) {
#pragma GCC unroll 16
        for (int r = w - 1; r >= 0; --r) {
          if (r >= g) continue;
          xg[r] = solved(c[r], i0 + r);
#pragma GCC unroll 16
          for (int q = 0; q < r; ++q) c[q] = sfma(-A(i0 + q, i0 + r), xg[r], c[q]);
        }
      } else {
#pragma GCC unroll 16
        for (int r = 0; r < w; ++r) {
          if (r >= g) break;
          xg[r] = solved(c[r], i0 + r);
#pragma GCC unroll 16
          for (int q = r + 1; q < w; ++q)
            if (q < g) c[q] = sfma(-A(i0 + q, i0 + r), xg[r], c[q]);
        }
      }
    }
    V<T> xv{};
#pragma GCC unroll 16
    for (int r = 0; r < w; ++r)
      if (r < g) xv = with_lane<T>(xv, r, xg[r]);
    st(xs + i0, xv);
    if (!transposed) {
      // The rows still to be solved take the group's columns, one vector of rows at a time.
      V<T> nx[w];
#pragma GCC unroll 16
      for (int r = 0; r < w; ++r) nx[r] = bc(r < g ? -xg[r] : T(0));
      auto update = [&](long v) __attribute__((always_inline)) {
        V<T> s = ld(xs + v * w);
        if (upper) {
#pragma GCC unroll 16
          for (int r = w - 1; r >= 0; --r)
            if (r < g) s = vfma(col_vector(a + (i0 + r) * lda, v), nx[r], s);
        } else {
#pragma GCC unroll 16
          for (int r = 0; r < w; ++r)
            if (r < g) s = vfma(col_vector(a + (i0 + r) * lda, v), nx[r], s);
        }
        st(xs + v * w, s);
      };
      // The vector next to the group first: the next group's unknowns wait on it.
      if (upper)
        for (long v = g0 - 1; v >= 0; --v) update(v);
      else
        for (long v = g0 + 1; v < groups; ++v) update(v);
    }
  }
  for (long i = 0; i < b; ++i) x[i] = xs[i];
}

// x(0:b) := op(A)' x(0:b) for a real diagonal block of b <= trmv_transposed_block rows on a
// contiguous x: each row's product is the dot of its column's segment in the triangle with the x
// of before the call, so the block's dots are independent. They run on vectors, a column's
// segment masked to the triangle and the block, and W columns' dots share one transposing
// reduction. The scalar dots they replace were a tenth of the time of order 700 (lower
// transposed): their sums went through the stack, each addition waiting on the one before.
template <class T>
void trmv_transposed_diagonal_block(bool upper, bool nonunit, long b, const T* a, long lda, T* x) {
  constexpr int w = W<T>;
  constexpr long cap = (trmv_transposed_block + w - 1) / w * w;
  constexpr int vectors = (int)(cap / w);
  alignas(64) T xs[cap];
  for (long i = 0; i < b; ++i) xs[i] = x[i];
  for (long i = b; i < cap; ++i) xs[i] = T(0);
  V<T> xv[vectors];
#pragma GCC unroll 16
  for (int v = 0; v < vectors; ++v) xv[v] = ld(xs + v * w);
  for (long i0 = 0; i0 < b; i0 += w) {
    const long g = std::min<long>(w, b - i0);
    V<T> acc[w];
#pragma GCC unroll 16
    for (int r = 0; r < w; ++r) {
      V<T> s{};
      const long i = i0 + r;
      if (r < g) {
        // Rows [from, to) of column i: above the diagonal (upper) or below it, within the block.
        const long from = upper ? 0 : i + 1, to = upper ? i : b;
        const T* col = a + i * lda;
#pragma GCC unroll 16
        for (int v = 0; v < vectors; ++v) {
          const long lo = std::max<long>(from - v * w, 0), hi = std::min<long>(to - v * w, w);
          if (lo < hi) s = vfma(lo == 0 && hi == w ? ld(col + v * w) : ld_range(col + v * w, lo, hi), xv[v], s);
        }
      }
      acc[r] = s;
    }
    const V<T> dots = reduce_lanes<T>(acc);
    alignas(64) T diagonal[w];
#pragma GCC unroll 16
    for (int r = 0; r < w; ++r) diagonal[r] = nonunit && r < g ? a[(i0 + r) + (i0 + r) * lda] : T(1);
    const V<T> out = ld(diagonal) * ld(xs + i0) + dots;
    if (g == w) st(x + i0, out);
    else st_part(x + i0, out, g);
  }
}

// x(0:b) := A(0:b, 0:b) x(0:b) for a real diagonal block of b <= trmv_block rows, not
// transposed, on a contiguous x. The rows' sums stay in vectors while the columns go past in
// memory order, each column's segment in the triangle added to the rows it covers; every sum takes
// the diagonal product first, then its other terms from left to right, each a product and an
// addition of its own, so the result is the scalar column sweep's to the bit (lanes outside a
// segment are left as they are, not given a zero). The sweep it replaces ran on the portable
// unit's vectors: a quarter of dtrmv's time at order 700.
template <class T>
void trmv_diagonal_block(bool upper, bool nonunit, long b, const T* a, long lda, T* x) {
  constexpr int w = W<T>;
  constexpr int vectors = (int)((trmv_block + w - 1) / w);
  alignas(64) T xs[vectors * w];
  for (long i = 0; i < b; ++i) xs[i] = nonunit ? a[i + i * lda] * x[i] : x[i];
  for (long i = b; i < vectors * w; ++i) xs[i] = T(0);
  V<T> s[vectors];
#pragma GCC unroll 16
  for (int v = 0; v < vectors; ++v) s[v] = ld(xs + v * w);
  using lane_t = std::remove_reference_t<decltype(VI<T>{}[0])>;
  VI<T> lane;
  for (int k = 0; k < w; ++k) lane[k] = (lane_t)k;
  for (long k = 0; k < b; ++k) {
    const V<T> t = bc(x[k]);
    const T* col = a + k * lda;
    // Rows [from, to) of column k: above the diagonal (upper) or below it, within the block.
    const long from = upper ? 0 : k + 1, to = upper ? k : b;
#pragma GCC unroll 16
    for (int v = 0; v < vectors; ++v) {
      const long lo = std::max<long>(from - v * w, 0), hi = std::min<long>(to - v * w, w);
      if (lo >= hi) continue;
      if (lo == 0 && hi == w) {
        s[v] = s[v] + ld(col + v * w) * t;
      } else {
        const V<T> sum = s[v] + ld_range(col + v * w, lo, hi) * t;
        s[v] = (lane >= (lane_t)lo) & (lane < (lane_t)hi) ? sum : s[v];
      }
    }
  }
#pragma GCC unroll 16
  for (int v = 0; v < vectors; ++v) st(xs + v * w, s[v]);
  for (long i = 0; i < b; ++i) x[i] = xs[i];
}

// The same for a complex block, on a contiguous x. The rows' sums stay in vectors, a chunk of
// rows at a time (eight vectors), while the columns that reach the chunk go past; every sum takes
// the diagonal product first, then its other terms column by column with the arithmetic of the
// table's axpy (the real part of the multiplier times the pair, then its imaginary part times the
// exchanged pair, each a fused multiply-add), so the result is that of an axpy call per column to
// the bit. It replaces an axpy call per column of the block, each with its own start-up and
// ragged ends: ztrmv UN/LN, both builds and the peer alternating in one process, two runs, order
// 64 (one block) 0.42-0.58 of the peer's time against 0.62-0.83, 250 0.62-0.80 against
// 0.74-0.90, 700 0.82-0.87 against 0.87-0.90; ctrmv at 64 0.18-0.22 against 0.46-0.54.
template <class R>
void ctrmv_diagonal_block(bool upper, bool nonunit, long b, const complex_t<R>* a, long lda, complex_t<R>* x) {
  constexpr int w = W<R>;
  constexpr int per = w / 2;  // complex elements a vector
  constexpr int chunk_vectors = 8;
  constexpr long chunk_rows = chunk_vectors * per;
  constexpr long cap = (trmv_block + chunk_rows - 1) / chunk_rows * chunk_rows;
  alignas(64) complex_t<R> s[cap];
  for (long i = 0; i < b; ++i) s[i] = nonunit ? a[i + i * lda] * x[i] : x[i];
  for (long i = b; i < cap; ++i) s[i] = complex_t<R>{};
  using lane_t = std::remove_reference_t<decltype(VI<R>{}[0])>;
  VI<R> lane;
  for (int k = 0; k < w; ++k) lane[k] = (lane_t)k;
  const V<R> sign = alternating_sign<R>();
  for (long r0 = 0; r0 < b; r0 += chunk_rows) {
    const long r1 = std::min(b, r0 + chunk_rows);
    R* sums = &s[r0].real;
    V<R> acc[chunk_vectors];
#pragma GCC unroll 16
    for (int v = 0; v < chunk_vectors; ++v) acc[v] = ld(sums + v * w);
    // Column k's term: the rows [from, to) of the column, counted from r0, within the chunk.
    auto term = [&](long k, long from, long to) __attribute__((always_inline)) {
      const V<R> ar = bc(x[k].real), ai = bc(x[k].imag) * sign;
      const R* col = &a[r0 + k * lda].real;
#pragma GCC unroll 16
      for (int v = 0; v < chunk_vectors; ++v) {
        const long lo = std::max<long>(from - v * per, 0), hi = std::min<long>(to - v * per, per);
        if (lo >= hi) continue;
        if (lo == 0 && hi == per) {
          const V<R> c = ld(col + v * w);
          acc[v] = vfma(ai, swap_pairs<R>(c), vfma(ar, c, acc[v]));
        } else {
          const V<R> c = ld_range(col + v * w, 2 * lo, 2 * hi);
          const V<R> sum = vfma(ai, swap_pairs<R>(c), vfma(ar, c, acc[v]));
          acc[v] = (lane >= (lane_t)(2 * lo)) & (lane < (lane_t)(2 * hi)) ? sum : acc[v];
        }
      }
    };
    // Every row takes its terms in the order of the columns: above the diagonal (upper), the
    // columns inside the chunk's rows first, then those right of it (only a full chunk has any);
    // below it (lower), the columns left of the chunk first. A column over the whole of a full
    // chunk has its rows known at compile time: whole vectors, no masks.
    if (upper) {
      for (long k = r0 + 1; k < r1; ++k) term(k, 0, k - r0);
      for (long k = r1; k < b; ++k) term(k, 0, chunk_rows);
    } else {
      if (r1 - r0 == chunk_rows)
        for (long k = 0; k < r0; ++k) term(k, 0, chunk_rows);
      else
        for (long k = 0; k < r0; ++k) term(k, 0, r1 - r0);
      for (long k = r0; k + 1 < r1; ++k) term(k, k + 1 - r0, r1 - r0);
    }
#pragma GCC unroll 16
    for (int v = 0; v < chunk_vectors; ++v) st(sums + v * w, acc[v]);
  }
  for (long i = 0; i < b; ++i) x[i] = s[i];
}

// Solve A(0:b, 0:b) x = x for a complex diagonal block of b <= trsv_block rows, not transposed,
// on a contiguous x, in groups of the rows of one vector: the unknowns of a group are found one
// after another by scalar substitution (each times the reciprocal of its diagonal element, `inv`,
// which the caller forms ahead), then the rows still to solve take what they owe to the group with
// vectors, the group's columns going to two sums (even and odd), which halves the chain of
// dependent additions the next group waits on. Lower goes from the top down, upper from the
// bottom up.
// It replaces a halving of the block down to scalar leaves with a gemv call for each rectangle
// between halves: ctrsv UN/LN, both builds and the peer alternating in one process, two runs,
// orders 32 to 250 0.55-0.74 of the peer's time against 0.60-0.80, 700 0.98-1.03 against
// 1.00-1.07; ztrsv, whose groups are of four rows, upper 0.77-0.80 against 0.85-0.88 at orders
// 32 to 100, lower 0.69-0.80 against 0.67-0.73, from 250 up the same as before (one sum a
// vector instead of two: upper 0.81-0.89, lower the same).
template <class R>
void ctrsv_diagonal_block(bool upper, bool nonunit, long b, const complex_t<R>* a, long lda, complex_t<R>* x,
                          const complex_t<R>* inv) {
  constexpr int w = W<R>;
  constexpr int per = w / 2;  // complex elements a vector
  constexpr long cap = (trsv_block + per - 1) / per * per;
  alignas(64) complex_t<R> xs[cap];
  for (long i = 0; i < b; ++i) xs[i] = x[i];
  for (long i = b; i < cap; ++i) xs[i] = complex_t<R>{};
  const long groups = (b + per - 1) / per;
  const V<R> sign = alternating_sign<R>();
  for (long step = 0; step < groups; ++step) {
    const long g = upper ? groups - 1 - step : step;
    const long g0 = g * per, g1 = std::min(b, g0 + per);
    // The group's unknowns, in the order of dependence.
    for (long q = 0; q < g1 - g0; ++q) {
      const long j = upper ? g1 - 1 - q : g0 + q;
      const complex_t<R> t = nonunit ? xs[j] * inv[j] : xs[j];
      xs[j] = t;
      const complex_t<R>* col = a + j * lda;
      if (upper)
        for (long i = g0; i < j; ++i) xs[i] = xs[i] - t * col[i];
      else
        for (long i = j + 1; i < g1; ++i) xs[i] = xs[i] - t * col[i];
    }
    // The rows left to solve: above the group (upper) or below it (lower), in whole vectors but
    // for the block's last one, whose rows beyond b are not the block's.
    const long r0 = upper ? 0 : g1, r1 = upper ? g0 : b;
    if (r0 >= r1) continue;
    for (long v0 = r0; v0 < r1; v0 += per) {
      const long count = std::min<long>(per, r1 - v0);
      R* sums = &xs[v0].real;
      // A sum plus column j's term, -xs(j) times the column's rows.
      auto owe = [&](long j, V<R> sum) __attribute__((always_inline)) {
        const V<R> tr = bc(-xs[j].real), ti = bc(-xs[j].imag) * sign;
        const R* col = &a[v0 + j * lda].real;
        const V<R> c = count == per ? ld(col) : ld_part(col, 2 * count);
        return vfma(ti, swap_pairs<R>(c), vfma(tr, c, sum));
      };
      V<R> acc = count == per ? ld(sums) : ld_part(sums, 2 * count);
      V<R> other = V<R>{};
      long j = g0;
      for (; j + 1 < g1; j += 2) {
        acc = owe(j, acc);
        other = owe(j + 1, other);
      }
      if (j < g1) acc = owe(j, acc);
      acc += other;
      if (count == per) st(sums, acc);
      else st_part(sums, acc, 2 * count);
    }
  }
  for (long i = 0; i < b; ++i) x[i] = xs[i];
}

template void trmv_diagonal_block<float>(bool, bool, long, const float*, long, float*);
template void trmv_diagonal_block<double>(bool, bool, long, const double*, long, double*);
template void ctrsv_diagonal_block<float>(bool, bool, long, const complex_t<float>*, long, complex_t<float>*,
                                          const complex_t<float>*);
template void ctrsv_diagonal_block<double>(bool, bool, long, const complex_t<double>*, long, complex_t<double>*,
                                           const complex_t<double>*);
template void ctrmv_diagonal_block<float>(bool, bool, long, const complex_t<float>*, long, complex_t<float>*);
template void ctrmv_diagonal_block<double>(bool, bool, long, const complex_t<double>*, long, complex_t<double>*);
template void trsv_diagonal_block<float>(bool, bool, bool, long, const float*, long, float*);
template void trmv_transposed_diagonal_block<float>(bool, bool, long, const float*, long, float*);
template void trmv_transposed_diagonal_block<double>(bool, bool, long, const double*, long, double*);
template void trsv_diagonal_block<double>(bool, bool, bool, long, const double*, long, double*);

}  // namespace zvx::blas12::ZVX_ISA_NS

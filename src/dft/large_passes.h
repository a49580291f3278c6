// The passes of the large power-of-two engine, written once over a vector type and compiled per
// instruction set. An instruction-set file takes its vector types from vectors_<isa>.h (the
// same ones the line engine uses: loads, stores, adds, the complex products, the products by -i
// and +i, and a transpose of W vectors of W elements) and fills its table with `kernels_for`.
//
// Forward passes are decimations in frequency in place: a radix-4 step on a block of M = 4Q
// elements reads a0..a3 at j, j+Q, j+2Q, j+3Q and writes
//   y0 = (a0+a2) + (a1+a3),            y1 = ((a0+a2) - (a1+a3)) w^2j,
//   y2 = ((a0-a2) - i(a1-a3)) w^j,     y3 = ((a0-a2) + i(a1-a3)) w^3j,       w = exp(-2 pi i / M),
// which leaves four independent blocks of Q and, after the last level, the spectrum in
// bit-reversed order. Backward passes undo each step with the conjugate roots (times 4), from the
// small blocks up.
#pragma once
#include <cstdint>

#include "dft/dft_tuning.h"
#include "dft/large_engine.h"
#include "dft/vectors_scalar.h"

namespace zvx::dft::large_detail {

template <class T>
inline const T* at(const large_table* t, int64_t offset) {
  return reinterpret_cast<const T*>(reinterpret_cast<const char*>(t) + offset);
}

// One radix-4 step on vectors; w1, w2, w3 are the roots of the step (conjugated going back).
template <class V, bool Inv>
inline void radix4(typename V::R& a0, typename V::R& a1, typename V::R& a2, typename V::R& a3,
                   typename V::R w1, typename V::R w2, typename V::R w3) {
  using R = typename V::R;
  if constexpr (!Inv) {
    const R s02 = V::add(a0, a2), d02 = V::sub(a0, a2);
    const R s13 = V::add(a1, a3), d13 = V::neg_i(V::sub(a1, a3));
    a0 = V::add(s02, s13);
    a1 = V::template cmul<false>(V::sub(s02, s13), w2);
    a2 = V::template cmul<false>(V::add(d02, d13), w1);
    a3 = V::template cmul<false>(V::sub(d02, d13), w3);
  } else {
    const R c1 = V::template cmul<true>(a1, w2);
    const R c2 = V::template cmul<true>(a2, w1);
    const R c3 = V::template cmul<true>(a3, w3);
    const R p = V::add(a0, c1), q = V::sub(a0, c1);
    const R r = V::add(c2, c3), s = V::pos_i(V::sub(c2, c3));
    a0 = V::add(p, r);
    a2 = V::sub(p, r);
    a1 = V::add(q, s);
    a3 = V::sub(q, s);
  }
}

// The same with the roots of one step given as scalars, the same for every lane; `plain` when
// they are all 1 (the first butterfly of a block).
template <class V, bool Inv>
inline void radix4_scalar(typename V::R& a0, typename V::R& a1, typename V::R& a2,
                          typename V::R& a3, const typename V::real* w1,
                          const typename V::real* w2, const typename V::real* w3, bool plain) {
  using R = typename V::R;
  if constexpr (!Inv) {
    const R s02 = V::add(a0, a2), d02 = V::sub(a0, a2);
    const R s13 = V::add(a1, a3), d13 = V::neg_i(V::sub(a1, a3));
    a0 = V::add(s02, s13);
    a1 = V::sub(s02, s13);
    a2 = V::add(d02, d13);
    a3 = V::sub(d02, d13);
    if (!plain) {
      a1 = V::template cmul_split<false>(a1, w2[0], w2[1]);
      a2 = V::template cmul_split<false>(a2, w1[0], w1[1]);
      a3 = V::template cmul_split<false>(a3, w3[0], w3[1]);
    }
  } else {
    R c1 = a1, c2 = a2, c3 = a3;
    if (!plain) {
      c1 = V::template cmul_split<true>(a1, w2[0], w2[1]);
      c2 = V::template cmul_split<true>(a2, w1[0], w1[1]);
      c3 = V::template cmul_split<true>(a3, w3[0], w3[1]);
    }
    const R p = V::add(a0, c1), q = V::sub(a0, c1);
    const R r = V::add(c2, c3), s = V::pos_i(V::sub(c2, c3));
    a0 = V::add(p, r);
    a2 = V::sub(p, r);
    a1 = V::add(q, s);
    a3 = V::sub(q, s);
  }
}

// Radix-4 stage of blocks of 2^s over n elements (2^s / 4 at least W), vectors along j.
template <class V, bool Inv>
void stage4(typename V::real* x, long n, int s, const large_table* t) {
  using T = typename V::real;
  using R = typename V::R;
  const long M = 1L << s, Q = M >> 2;
  const T* tw = at<T>(t, t->stage_radix4[s]);
  const T *w1 = tw, *w2 = tw + 2 * Q, *w3 = tw + 4 * Q;
  for (long base = 0; base < n; base += M) {
    T* b = x + 2 * base;
    for (long j = 0; j < Q; j += V::W) {
      R a0 = V::load(b + 2 * j), a1 = V::load(b + 2 * (j + Q));
      R a2 = V::load(b + 2 * (j + 2 * Q)), a3 = V::load(b + 2 * (j + 3 * Q));
      radix4<V, Inv>(a0, a1, a2, a3, V::load(w1 + 2 * j), V::load(w2 + 2 * j),
                     V::load(w3 + 2 * j));
      V::store(b + 2 * j, a0);
      V::store(b + 2 * (j + Q), a1);
      V::store(b + 2 * (j + 2 * Q), a2);
      V::store(b + 2 * (j + 3 * Q), a3);
    }
  }
}

// Radix-2 stage of blocks of 2^s (2^s / 2 at least W).
template <class V, bool Inv>
void stage2(typename V::real* x, long n, int s, const large_table* t) {
  using T = typename V::real;
  using R = typename V::R;
  const long M = 1L << s, H = M >> 1;
  const T* w = at<T>(t, t->stage_radix2[s]);
  for (long base = 0; base < n; base += M) {
    T* b = x + 2 * base;
    for (long j = 0; j < H; j += V::W) {
      const R a = V::load(b + 2 * j), c = V::load(b + 2 * (j + H));
      const R wj = V::load(w + 2 * j);
      if constexpr (!Inv) {
        V::store(b + 2 * j, V::add(a, c));
        V::store(b + 2 * (j + H), V::template cmul<false>(V::sub(a, c), wj));
      } else {
        const R d = V::template cmul<true>(c, wj);
        V::store(b + 2 * j, V::add(a, d));
        V::store(b + 2 * (j + H), V::sub(a, d));
      }
    }
  }
}

// The last levels, inside blocks of W elements: W blocks at a time are transposed so that a lane
// holds one block, the levels run lane by lane as radix-2 steps with the roots broadcast, and the
// blocks are transposed back.
template <class V, bool Inv>
void tail(typename V::real* x, long n, const large_table* t) {
  using T = typename V::real;
  using R = typename V::R;
  constexpr int W = V::W;
  if constexpr (W > 1) {
    for (long base = 0; base < n; base += W * W) {
      T* b = x + 2 * base;
      R v[W];
      for (int k = 0; k < W; ++k) v[k] = V::load(b + 2 * W * k);
      V::transpose(v);
      auto step = [&](int M) {
        const int H = M / 2;
        int s = 0;
        while ((1 << s) < M) ++s;
        const T* w = at<T>(t, t->stage_radix2[s]);
        for (int blk = 0; blk < W; blk += M) {
          for (int j = 0; j < H; ++j) {
            const R a = v[blk + j], c = v[blk + j + H];
            if constexpr (!Inv) {
              v[blk + j] = V::add(a, c);
              const R d = V::sub(a, c);
              v[blk + j + H] =
                  j == 0 ? d : V::template cmul_split<false>(d, w[2 * j], w[2 * j + 1]);
            } else {
              const R d = j == 0 ? c : V::template cmul_split<true>(c, w[2 * j], w[2 * j + 1]);
              v[blk + j] = V::add(a, d);
              v[blk + j + H] = V::sub(a, d);
            }
          }
        }
      };
      if constexpr (!Inv) {
        for (int M = W; M >= 2; M /= 2) step(M);
      } else {
        for (int M = 2; M <= W; M *= 2) step(M);
      }
      V::transpose(v);
      for (int k = 0; k < W; ++k) V::store(b + 2 * W * k, v[k]);
    }
  }
}

template <int W>
constexpr int log2_of() {
  int l = 0;
  while ((1 << l) < W) ++l;
  return l;
}

// A whole block of 2^lg elements (2^lg at least W * W) in the first-level cache.
template <class V, bool Inv>
void leaf_vector(typename V::real* x, int lg, const large_table* t) {
  constexpr int wl = log2_of<V::W>();
  const long n = 1L << lg;
  const int vector_levels = lg - wl;
  const bool odd = (vector_levels & 1) != 0;
  if constexpr (!Inv) {
    int s = lg;
    if (odd) stage2<V, false>(x, n, s--, t);
    for (; s > wl; s -= 2) stage4<V, false>(x, n, s, t);
    tail<V, false>(x, n, t);
  } else {
    tail<V, true>(x, n, t);
    const int top = odd ? lg - 1 : lg;
    for (int s = wl + 2; s <= top; s += 2) stage4<V, true>(x, n, s, t);
    if (odd) stage2<V, true>(x, n, lg, t);
  }
}

// Lines [p, p + bytes) into the second-level cache.
inline void request_lines(const void* p, long bytes) {
  for (long at = 0; at < bytes; at += 64)
    __builtin_prefetch(static_cast<const char*>(p) + at, 0, 2);
}

// One column pass over a block: gather `chunk` columns of the R rows into a buffer, transform the
// columns there (radix-4 steps, one radix-2 step first when the level count is odd, roots
// broadcast since a step's root depends on the row only), and write them back multiplied by the
// block's twiddles. Backward: twiddles on the way in (conjugated), the steps from the small
// blocks up.
template <class V, bool Inv>
void column_pass(typename V::real* x, const large_column_plan* plan, const large_table* t,
                 typename V::real* buf, long first, long last) {
  using T = typename V::real;
  using R = typename V::R;
  constexpr int W = V::W;
  const int p = plan->levels;
  const long rows = 1L << p, S = 1L << (plan->log2_block - p), C = plan->chunk;
  const T* coarse = at<T>(t, plan->coarse);
  const T* fine = at<T>(t, plan->fine);
  const long chunks = S / C;
  auto row_step4 = [&](int s) {
    const long Mr = 1L << s, Qr = Mr >> 2;
    const T* tw = at<T>(t, t->stage_radix4[s]);
    for (long base = 0; base < rows; base += Mr) {
      for (long k = 0; k < Qr; ++k) {
        T* r0 = buf + 2 * C * (base + k);
        T* r1 = r0 + 2 * C * Qr;
        T* r2 = r1 + 2 * C * Qr;
        T* r3 = r2 + 2 * C * Qr;
        const T *w1 = tw + 2 * k, *w2 = tw + 2 * (Qr + k), *w3 = tw + 2 * (2 * Qr + k);
        for (long c = 0; c < C; c += W) {
          R a0 = V::load(r0 + 2 * c), a1 = V::load(r1 + 2 * c);
          R a2 = V::load(r2 + 2 * c), a3 = V::load(r3 + 2 * c);
          radix4_scalar<V, Inv>(a0, a1, a2, a3, w1, w2, w3, k == 0);
          V::store(r0 + 2 * c, a0);
          V::store(r1 + 2 * c, a1);
          V::store(r2 + 2 * c, a2);
          V::store(r3 + 2 * c, a3);
        }
      }
    }
  };
  auto row_step2 = [&](int s) {
    const long Mr = 1L << s, Hr = Mr >> 1;
    const T* w = at<T>(t, t->stage_radix2[s]);
    for (long base = 0; base < rows; base += Mr) {
      for (long k = 0; k < Hr; ++k) {
        T* r0 = buf + 2 * C * (base + k);
        T* r1 = r0 + 2 * C * Hr;
        for (long c = 0; c < C; c += W) {
          const R a = V::load(r0 + 2 * c), b = V::load(r1 + 2 * c);
          if constexpr (!Inv) {
            V::store(r0 + 2 * c, V::add(a, b));
            const R d = V::sub(a, b);
            V::store(r1 + 2 * c,
                     k == 0 ? d : V::template cmul_split<false>(d, w[2 * k], w[2 * k + 1]));
          } else {
            const R d = k == 0 ? b : V::template cmul_split<true>(b, w[2 * k], w[2 * k + 1]);
            V::store(r0 + 2 * c, V::add(a, d));
            V::store(r1 + 2 * c, V::sub(a, d));
          }
        }
      }
    }
  };
  const bool odd = (p & 1) != 0;
  // A long line comes from far in every pass: the rows of a later chunk are requested while this
  // one is gathered (see kLargeColumnAhead).
  const bool far =
      (2L * static_cast<long>(sizeof(T)) << t->log2_length) > tuning::kLargeColumnAheadBytes;
  for (long h = first; h < last; ++h) {
    const long j0 = h * C;
    // In: row 0 as it is, the others (backward) times the conjugate twiddles.
    const bool ahead = far && h + tuning::kLargeColumnAhead < last;
    for (long r = 0; r < rows; ++r) {
      const T* src = x + 2 * (r * S + j0);
      T* dst = buf + 2 * C * r;
      if (ahead) request_lines(src + 2 * C * tuning::kLargeColumnAhead, 2 * C * sizeof(T));
      if (Inv && r != 0) {
        const T* cw = coarse + 2 * (r * chunks + h);
        const T* fw = fine + 2 * r * C;
        for (long c = 0; c < C; c += W) {
          const R tw = V::template cmul_split<false>(V::load(fw + 2 * c), cw[0], cw[1]);
          V::store(dst + 2 * c, V::template cmul<true>(V::load(src + 2 * c), tw));
        }
      } else {
        for (long c = 0; c < C; c += W) V::store(dst + 2 * c, V::load(src + 2 * c));
      }
    }
    if constexpr (!Inv) {
      int s = p;
      if (odd) row_step2(s--);
      for (; s >= 2; s -= 2) row_step4(s);
    } else {
      for (int s = 2; s <= (odd ? p - 1 : p); s += 2) row_step4(s);
      if (odd) row_step2(p);
    }
    for (long r = 0; r < rows; ++r) {
      const T* src = buf + 2 * C * r;
      T* dst = x + 2 * (r * S + j0);
      if (!Inv && r != 0) {
        const T* cw = coarse + 2 * (r * chunks + h);
        const T* fw = fine + 2 * r * C;
        for (long c = 0; c < C; c += W) {
          const R tw = V::template cmul_split<false>(V::load(fw + 2 * c), cw[0], cw[1]);
          V::store(dst + 2 * c, V::template cmul<false>(V::load(src + 2 * c), tw));
        }
      } else {
        for (long c = 0; c < C; c += W) V::store(dst + 2 * c, V::load(src + 2 * c));
      }
    }
  }
}

template <class V>
void leaf(typename V::real* x, int lg, const large_table* t, int inverse) {
  using S = scalar_complex<typename V::real>;
  if ((1L << lg) < static_cast<long>(V::W) * V::W) {
    if (inverse) leaf_vector<S, true>(x, lg, t);
    else leaf_vector<S, false>(x, lg, t);
  } else {
    if (inverse) leaf_vector<V, true>(x, lg, t);
    else leaf_vector<V, false>(x, lg, t);
  }
}

// W x W blocks of the tile move through registers: W rows are loaded, transposed, and each
// becomes the piece of one destination row, so the whole tile is written with full vectors.
template <class V>
void order_store(typename V::real* x, long high, const typename V::real* tile,
                 const int32_t* rev, int q, typename V::real scale) {
  using T = typename V::real;
  using R = typename V::R;
  constexpr int W = V::W;
  const long Q = 1L << q;
  const bool plain = scale == T(1);
  for (long j = 0; j < Q; j += W) {
    T* dst[W];
    for (int k = 0; k < W; ++k) dst[k] = x + 2 * rev[j + k] * high;
    for (long i = 0; i < Q; i += W) {
      R v[W];
      for (int k = 0; k < W; ++k) v[k] = V::load(tile + 2 * ((i + k) * Q + j));
      if constexpr (W > 1) V::transpose(v);
      for (int k = 0; k < W; ++k) V::store(dst[k] + 2 * i, plain ? v[k] : V::mulr(v[k], scale));
    }
  }
}

template <class V>
void column(typename V::real* x, const large_column_plan* plan, const large_table* t,
            int inverse, typename V::real* buffer, long first, long last) {
  if (inverse) column_pass<V, true>(x, plan, t, buffer, first, last);
  else column_pass<V, false>(x, plan, t, buffer, first, last);
}

template <class VS, class VD>
constexpr large_kernels kernels_for() {
  return {{leaf<VS>, column<VS>, order_store<VS>}, {leaf<VD>, column<VD>, order_store<VD>}};
}

}  // namespace zvx::dft::large_detail

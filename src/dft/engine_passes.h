// The passes of the line engine, written once over a vector type and compiled per instruction
// set. An instruction-set file takes its vector types from vectors_<isa>.h (a struct with `real`,
// `R`, `W` complex elements per vector, loads, stores, adds, the complex product and the products
// by +-i) and instantiates `run_pass` with them.
//
// Data are interleaved complex (real part first). A pass reads x[q + s*(p + j*m)] and writes
// y[q + s*(radix*p + k)]; see engine_pass. When s is at least the vector width, a vector covers
// neighbouring q and a twiddle is broadcast; below it, a vector covers neighbouring indices
// q + s*p, the twiddles are stored per index, and the outputs are interleaved on the way out.
#pragma once
#include <cstring>

#include "dft/engine_internal.h"
#include "dft/engine_straight.h"
#include "dft/vectors_scalar.h"

namespace zvx::dft {

namespace engine_detail {

inline constexpr int max_radix = 151;

// y[k] = sum_j a[j] w^(jk) for the fixed radices.
template <class V, bool Inv, int Radix>
inline void butterfly_fixed(const typename V::R* a, typename V::R* y) {
  using T = typename V::real;
  if constexpr (Radix == 2) {
    y[0] = V::add(a[0], a[1]);
    y[1] = V::sub(a[0], a[1]);
  } else if constexpr (Radix == 4) {
    const auto s02 = V::add(a[0], a[2]), d02 = V::sub(a[0], a[2]);
    const auto s13 = V::add(a[1], a[3]), d13 = rot<V, Inv>(V::sub(a[1], a[3]));
    y[0] = V::add(s02, s13);
    y[2] = V::sub(s02, s13);
    y[1] = V::add(d02, d13);
    y[3] = V::sub(d02, d13);
  } else if constexpr (Radix == 8) {
    // Two radix-4 butterflies on the even and the odd inputs, then the odd ones turned by the
    // eighth roots: w a = c (a + rot a), w^2 a = rot a, w^3 a = c (rot a - a).
    constexpr T c = T(0.70710678118654752440084436210484904);
    const auto s04 = V::add(a[0], a[4]), d04 = V::sub(a[0], a[4]);
    const auto s26 = V::add(a[2], a[6]), d26 = rot<V, Inv>(V::sub(a[2], a[6]));
    const auto s15 = V::add(a[1], a[5]), d15 = V::sub(a[1], a[5]);
    const auto s37 = V::add(a[3], a[7]), d37 = rot<V, Inv>(V::sub(a[3], a[7]));
    const auto e0 = V::add(s04, s26), e2 = V::sub(s04, s26);
    const auto e1 = V::add(d04, d26), e3 = V::sub(d04, d26);
    const auto o0 = V::add(s15, s37), o2 = rot<V, Inv>(V::sub(s15, s37));
    auto o1 = V::add(d15, d37), o3 = V::sub(d15, d37);
    o1 = V::mulr(V::add(o1, rot<V, Inv>(o1)), c);
    o3 = V::mulr(V::sub(rot<V, Inv>(o3), o3), c);
    y[0] = V::add(e0, o0);
    y[4] = V::sub(e0, o0);
    y[1] = V::add(e1, o1);
    y[5] = V::sub(e1, o1);
    y[2] = V::add(e2, o2);
    y[6] = V::sub(e2, o2);
    y[3] = V::add(e3, o3);
    y[7] = V::sub(e3, o3);
  } else if constexpr (Radix == 3) {
    constexpr T half = T(-0.5), sin3 = T(0.86602540378443864676372317075294);
    const auto t = V::add(a[1], a[2]);
    const auto u = V::fmar(a[0], t, half);
    const auto v = rot<V, Inv>(V::mulr(V::sub(a[1], a[2]), sin3));
    y[0] = V::add(a[0], t);
    y[1] = V::add(u, v);
    y[2] = V::sub(u, v);
  } else if constexpr (Radix == 5) {
    constexpr T c1 = T(0.30901699437494742410229341718281906);
    constexpr T c2 = T(-0.80901699437494742410229341718281906);
    constexpr T s1 = T(0.95105651629515357211643933337938214);
    constexpr T s2 = T(0.58778525229247312916870595463907277);
    const auto t1 = V::add(a[1], a[4]), t2 = V::add(a[2], a[3]);
    const auto d1 = V::sub(a[1], a[4]), d2 = V::sub(a[2], a[3]);
    y[0] = V::add(a[0], V::add(t1, t2));
    const auto a1 = V::fmar(V::fmar(a[0], t1, c1), t2, c2);
    const auto a2 = V::fmar(V::fmar(a[0], t1, c2), t2, c1);
    const auto b1 = rot<V, Inv>(V::fmar(V::mulr(d1, s1), d2, s2));
    const auto b2 = rot<V, Inv>(V::fmar(V::mulr(d1, s2), d2, -s1));
    y[1] = V::add(a1, b1);
    y[4] = V::sub(a1, b1);
    y[2] = V::add(a2, b2);
    y[3] = V::sub(a2, b2);
  }
}

// Any odd radix: fold into sums and differences of a[j] and a[r-j], so that every product by a
// cosine or a sine serves two outputs. roots[t] = exp(-2 pi i t / r).
template <class V, bool Inv>
inline void butterfly_odd(int r, const typename V::real* roots, typename V::R* a,
                          typename V::R* y) {
  using R = typename V::R;
  const int h = (r - 1) / 2;
  R sum[max_radix / 2 + 1], dif[max_radix / 2 + 1];
  R y0 = a[0];
  for (int j = 1; j <= h; ++j) {
    sum[j] = V::add(a[j], a[r - j]);
    dif[j] = V::sub(a[j], a[r - j]);
    y0 = V::add(y0, sum[j]);
  }
  for (int k = 1; k <= h; ++k) {
    R re = a[0];
    R im = V::mulr(dif[1], -roots[2 * k + 1]);
    re = V::fmar(re, sum[1], roots[2 * k]);
    int t = k;
    for (int j = 2; j <= h; ++j) {
      t += k;
      if (t >= r) t -= r;
      re = V::fmar(re, sum[j], roots[2 * t]);
      im = V::fmar(im, dif[j], -roots[2 * t + 1]);
    }
    const R b = rot<V, Inv>(im);
    y[k] = V::add(re, b);
    y[r - k] = V::sub(re, b);
  }
  y[0] = y0;
}

template <class V, bool Inv, int Radix>
inline void butterfly(int r, const typename V::real* roots, typename V::R* a, typename V::R* y) {
  if constexpr (Radix == 0) butterfly_odd<V, Inv>(r, roots, a, y);
  else butterfly_fixed<V, Inv, Radix>(a, y);
}

// s at least the vector width: vectors over q, one twiddle per (p, k) broadcast.
template <class V, bool Inv, int Radix>
void pass_over_q(const engine_pass& P, const typename V::real* x, typename V::real* y) {
  using T = typename V::real;
  using R = typename V::R;
  using S = scalar_complex<T>;
  const int r = Radix ? Radix : P.radix;
  const long m = P.m, s = P.s;
  const T* tw = static_cast<const T*>(P.twiddles);
  const T* roots = static_cast<const T*>(P.roots);
  R a[Radix ? Radix : max_radix], o[Radix ? Radix : max_radix];
  typename S::R as[Radix ? Radix : max_radix], os[Radix ? Radix : max_radix];
  for (long p = 0; p < m; ++p) {
    const T* twp = (tw != nullptr && p != 0) ? tw + 2 * p * (r - 1) : nullptr;
    const T* xp = x + 2 * s * p;
    T* yp = y + 2 * s * r * p;
    long q = 0;
    for (; q + V::W <= s; q += V::W) {
      for (int j = 0; j < r; ++j) a[j] = V::load(xp + 2 * (q + s * m * j));
      butterfly<V, Inv, Radix>(r, roots, a, o);
      V::store(yp + 2 * q, o[0]);
      if (twp) {
        for (int k = 1; k < r; ++k)
          V::store(yp + 2 * (q + s * k),
                   V::template cmul_split<Inv>(o[k], twp[2 * (k - 1)], twp[2 * (k - 1) + 1]));
      } else {
        for (int k = 1; k < r; ++k) V::store(yp + 2 * (q + s * k), o[k]);
      }
    }
    for (; q < s; ++q) {
      for (int j = 0; j < r; ++j) as[j] = S::load(xp + 2 * (q + s * m * j));
      butterfly<S, Inv, Radix>(r, roots, as, os);
      S::store(yp + 2 * q, os[0]);
      for (int k = 1; k < r; ++k)
        S::store(yp + 2 * (q + s * k),
                 twp ? S::template cmul<Inv>(os[k], S::load(twp + 2 * (k - 1))) : os[k]);
    }
  }
}

// s below the vector width: vectors over neighbouring indices i = q + s*p, with the twiddles
// stored per group of s (repeated across the group in registers) or, when s does not divide the
// width, per index.
template <class V, bool Inv, int Radix>
void pass_over_index(const engine_pass& P, const typename V::real* x, typename V::real* y) {
  using T = typename V::real;
  using R = typename V::R;
  using S = scalar_complex<T>;
  const int r = Radix ? Radix : P.radix;
  const long m = P.m, s = P.s, ms = m * s;
  const T* tw = static_cast<const T*>(P.twiddles);
  const T* roots = static_cast<const T*>(P.roots);
  R a[Radix ? Radix : max_radix], o[Radix ? Radix : max_radix];
  typename S::R as[Radix ? Radix : max_radix], os[Radix ? Radix : max_radix];
  const bool whole_groups = (V::W % s) == 0;
  long i = 0;
  for (; i + V::W <= ms; i += V::W) {
    for (int j = 0; j < r; ++j) a[j] = V::load(x + 2 * (i + ms * j));
    butterfly<V, Inv, Radix>(r, roots, a, o);
    if (tw)
      for (int k = 1; k < r; ++k)
        o[k] = V::template cmul<Inv>(o[k], P.grouped
                                               ? V::repeat(tw + 2 * ((k - 1) * m + i / s), s)
                                               : V::load(tw + 2 * ((k - 1) * ms + i)));
    // A vector holds W / s whole groups of s when s divides W; they land in r * W contiguous
    // outputs, ordered group, k, q.
    if constexpr (Radix == 4) {
      if (whole_groups && V::interleave4(y + 2 * r * i, s, o[0], o[1], o[2], o[3])) continue;
    }
    if constexpr (Radix == 2) {
      if (whole_groups && V::interleave2(y + 2 * r * i, s, o[0], o[1])) continue;
    }
    alignas(64) T lanes[Radix ? Radix : max_radix][2 * V::W];
    for (int k = 0; k < r; ++k) V::store(lanes[k], o[k]);
    if (whole_groups) {
      for (long g = 0; g < V::W; g += s) {
        T* dst = y + 2 * r * (i + g);
        for (int k = 0; k < r; ++k)
          std::memcpy(dst + 2 * s * k, lanes[k] + 2 * g, sizeof(T) * 2 * s);
      }
    } else {
      for (int l = 0; l < V::W; ++l) {
        const long idx = i + l, q = idx % s, p = idx / s;
        for (int k = 0; k < r; ++k) {
          T* dst = y + 2 * (q + s * (r * p + k));
          dst[0] = lanes[k][2 * l];
          dst[1] = lanes[k][2 * l + 1];
        }
      }
    }
  }
  for (; i < ms; ++i) {
    for (int j = 0; j < r; ++j) as[j] = S::load(x + 2 * (i + ms * j));
    butterfly<S, Inv, Radix>(r, roots, as, os);
    const long q = i % s, p = i / s;
    for (int k = 0; k < r; ++k) {
      auto v = os[k];
      if (tw && k > 0) {
        const long at = P.grouped ? (k - 1) * m + p : (k - 1) * ms + i;
        v = S::template cmul<Inv>(v, S::load(tw + 2 * at));
      }
      S::store(y + 2 * (q + s * (r * p + k)), v);
    }
  }
}

template <class V, bool Inv, int Radix>
void pass_radix(const engine_pass& P, const typename V::real* x, typename V::real* y) {
  if (P.expanded) pass_over_index<V, Inv, Radix>(P, x, y);
  else pass_over_q<V, Inv, Radix>(P, x, y);
}

template <class V, bool Inv>
void pass_direction(const engine_pass& P, const typename V::real* x, typename V::real* y) {
  switch (P.radix) {
    case 4: pass_radix<V, Inv, 4>(P, x, y); break;
    case 8: pass_radix<V, Inv, 8>(P, x, y); break;
    case 2: pass_radix<V, Inv, 2>(P, x, y); break;
    case 3: pass_radix<V, Inv, 3>(P, x, y); break;
    case 5: pass_radix<V, Inv, 5>(P, x, y); break;
    default: pass_radix<V, Inv, 0>(P, x, y); break;
  }
}

template <class V>
void multiply(const typename V::real* a, const typename V::real* b, typename V::real* y, long n) {
  using S = scalar_complex<typename V::real>;
  long k = 0;
  for (; k + V::W <= n; k += V::W)
    V::store(y + 2 * k, V::template cmul<false>(V::load(a + 2 * k), V::load(b + 2 * k)));
  for (; k < n; ++k)
    S::store(y + 2 * k, S::template cmul<false>(S::load(a + 2 * k), S::load(b + 2 * k)));
}

template <class V>
void run_pass(const engine_pass& P, const typename V::real* x, typename V::real* y, int inverse) {
  if (inverse) pass_direction<V, true>(P, x, y);
  else pass_direction<V, false>(P, x, y);
}

}  // namespace engine_detail

}  // namespace zvx::dft

// Real lines whose half length n is a short power of two (the whole-line kernels of
// engine_straight.h): the half-length transform and the recombination of engine_real_passes.h in
// one function, with the line in registers between them. Run one after the other through memory,
// the recombination's loads, one element off the vectors the transform had just stored, wait for
// those stores to reach the cache: in single precision that took 64 points from 33 ns (double,
// whose loads straddle fewer stores) to 48-58 ns. Include after engine_real_passes.h.
#pragma once

namespace zvx::dft::engine_detail {

// Forward: the real line x of 2n points (the pairs (x(2j), x(2j+1)) as n complex values) to its
// spectrum in Perm layout in y (2n reals). With the half-length transform in vectors z[0 .. M-1],
// the pairs k = 1 + jW .. W + jW meet the mirror vector z[M-1-j] whole, and the block starting at
// k is one element past z[j]. The middle element n/2 ends both the last block and its mirror,
// which compute the same value. x and y may be the same line.
template <class V, int N>
void real_short_forward(const typename V::real* x, typename V::real* y,
                        const typename V::real* h) {
  using R = typename V::R;
  using T = typename V::real;
  constexpr int W = V::W, M = N / W;
  const real_table_layout t(N);
  const T* const fr = h + t.forward_real();
  const T* const fi = h + t.forward_imag();
  R v[M], z[M];
  unrolled<M>([&](auto j) { v[decltype(j)::value] = V::load(x + 2 * W * decltype(j)::value); });
  short_line_registers<V, false, N>(v, z);
  alignas(64) T first[2 * W];
  V::store(first, z[0]);
  unrolled<M / 2>([&](auto jj) {
    constexpr int j = decltype(jj)::value, k = 1 + j * W;
    const R a = V::shift_down(z[j], z[j + 1]);
    const R b = V::conj(V::reverse(z[M - 1 - j]));
    const R e = V::mulr(V::add(a, b), T(0.5));
    const R o = V::cmul_dup(V::sub(a, b), V::load(fr + 2 * k), V::load(fi + 2 * k));
    V::store(y + 2 * k, V::add(e, o));
    V::store(y + 2 * W * (M - 1 - j), V::reverse(V::conj(V::sub(e, o))));
  });
  y[0] = first[0] + first[1];
  y[1] = first[0] - first[1];
}

// Inverse: from the spectrum's pairs (R(k), I(k)) at 2k, 2k + 1 of x for k from 1 to n/2, with
// R(0) = r0 and R(N/2) = rn given apart, to the real line in y. The recombined blocks start at
// k = 1 + jW and their mirrors are whole vectors of the half-length input; vector j below M/2 is
// the last element of block j - 1 (element 0 for j = 0) followed by the first W - 1 of block j.
// Everything is read before anything is written, so x and y may be the same line.
template <class V, int N>
void real_short_inverse(const typename V::real* x, typename V::real* y, const typename V::real* h,
                        typename V::real r0, typename V::real rn) {
  using R = typename V::R;
  using T = typename V::real;
  constexpr int W = V::W, M = N / W;
  const real_table_layout t(N);
  const T* const ir = h + t.inverse_real();
  const T* const ii = h + t.inverse_imag();
  R v[M], s[M / 2], o[M];
  unrolled<M / 2>([&](auto jj) {
    constexpr int j = decltype(jj)::value, k = 1 + j * W;
    const R a = V::load(x + 2 * k);
    const R b = V::conj(V::reverse(V::load(x + 2 * W * (M - 1 - j))));
    const R sum = V::add(a, b);
    const R q = V::cmul_dup(V::sub(a, b), V::load(ir + 2 * k), V::load(ii + 2 * k));
    s[j] = V::add(sum, q);
    v[M - 1 - j] = V::reverse(V::conj(V::sub(sum, q)));
  });
  v[0] = V::set_first(V::shift_up(s[0], s[0]), r0 + rn, r0 - rn);
  unrolled<M / 2 - 1>([&](auto jj) {
    constexpr int j = decltype(jj)::value + 1;
    v[j] = V::shift_up(s[j - 1], s[j]);
  });
  short_line_registers<V, true, N>(v, o);
  unrolled<M>([&](auto j) { V::store(y + 2 * W * decltype(j)::value, o[decltype(j)::value]); });
}

// The kernels of a half length n for which short_line_serves<V>(n).
template <class V>
void run_real_short_forward(const typename V::real* x, typename V::real* y,
                            const typename V::real* h, int n) {
  switch (n) {
    case 8: if constexpr (8 >= V::W * V::W) real_short_forward<V, 8>(x, y, h); break;
    case 16: if constexpr (16 >= V::W * V::W) real_short_forward<V, 16>(x, y, h); break;
    case 32: if constexpr (32 >= V::W * V::W) real_short_forward<V, 32>(x, y, h); break;
    case 64: real_short_forward<V, 64>(x, y, h); break;
    default: break;
  }
}

template <class V>
void run_real_short_inverse(const typename V::real* x, typename V::real* y,
                            const typename V::real* h, int n, typename V::real r0,
                            typename V::real rn) {
  switch (n) {
    case 8: if constexpr (8 >= V::W * V::W) real_short_inverse<V, 8>(x, y, h, r0, rn); break;
    case 16: if constexpr (16 >= V::W * V::W) real_short_inverse<V, 16>(x, y, h, r0, rn); break;
    case 32: if constexpr (32 >= V::W * V::W) real_short_inverse<V, 32>(x, y, h, r0, rn); break;
    case 64: real_short_inverse<V, 64>(x, y, h, r0, rn); break;
    default: break;
  }
}

}  // namespace zvx::dft::engine_detail

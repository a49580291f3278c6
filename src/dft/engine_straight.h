// Straight-line transforms of 16, 32 and 64 points over a vector type, with their roots as
// constants: no table is read and no loop is left after inlining. They run inside the whole-line
// kernel of the short powers of two below, where a line of N = W * M elements stays in M vector
// registers from its load to its store. (As the butterfly of a last pass over a long line they
// were measured slower than the radix-4 and radix-8 passes; see the tuning header.)
#pragma once
#include <array>
#include <utility>

namespace zvx::dft::engine_detail {

template <class V, bool Inv, int Radix>
inline void butterfly_fixed(const typename V::R* a, typename V::R* y);

// cos(2 pi k / 64) for k = 0 .. 16, to 36 digits; every root of unity of order dividing 64
// follows from these by exact symmetries.
inline constexpr long double cos64[17] = {
    1.0L,
    0.995184726672196886244836953109479922L,
    0.980785280403230449126182236134239037L,
    0.956940335732208864935797886980269969L,
    0.923879532511286756128183189396788287L,
    0.88192126434835502971275686366038835L,
    0.831469612302545237078788377617905757L,
    0.773010453362736960810906609758469801L,
    0.707106781186547524400844362104849039L,
    0.634393284163645498215171613225493371L,
    0.555570233019602224742830813948532874L,
    0.471396736825997648556387625905254378L,
    0.382683432365089771728459984030398867L,
    0.290284677254462367636192375817395275L,
    0.195090322016128267848284868477022241L,
    0.0980171403295606019941955638886418459L,
    0.0L,
};

// cos and sin of 2 pi a / 64 for any integer a.
constexpr long double cos_of64(int a) {
  a &= 63;
  const int h = a <= 32 ? a : 64 - a;  // cos is even
  return h <= 16 ? cos64[h] : -cos64[32 - h];
}
constexpr long double sin_of64(int a) { return cos_of64(a - 16); }

// exp(-2 pi i e / 64), the forward root, as (real, imaginary) in T.
template <class T>
constexpr T root64_re(int e) { return static_cast<T>(cos_of64(e)); }
template <class T>
constexpr T root64_im(int e) { return static_cast<T>(-sin_of64(e)); }

// f(integral_constant<int, i>) for i = 0 .. N-1, each call with its index as a constant.
template <int N, class F>
[[gnu::always_inline]] inline void unrolled(F&& f) {
  [&]<int... I>(std::integer_sequence<int, I...>) {
    (f(std::integral_constant<int, I>{}), ...);
  }(std::make_integer_sequence<int, N>{});
}

// a times the E-th power of the forward 64th root (its conjugate for the inverse).
template <class V, bool Inv, int E>
[[gnu::always_inline]] inline typename V::R turn64(typename V::R a) {
  using T = typename V::real;
  constexpr int e = E & 63;
  if constexpr (e == 0) {
    return a;
  } else if constexpr (e == 16) {  // -i forward
    if constexpr (Inv) return V::pos_i(a);
    else return V::neg_i(a);
  } else if constexpr (e == 48) {  // +i forward
    if constexpr (Inv) return V::neg_i(a);
    else return V::pos_i(a);
  } else {
    return V::template cmul_split<Inv>(a, root64_re<T>(e), root64_im<T>(e));
  }
}

template <class V, bool Inv, int N>
[[gnu::always_inline]] inline void straight(typename V::R* a, typename V::R* y);

// N = N1 * N2, decimation in time: N1 transforms of N2 points on the inputs n1 + N1 n2, each
// output k2 turned by w_N^(n1 k2), then N2 transforms of N1 points; output k2 + N2 k1.
template <class V, bool Inv, int N1, int N2>
[[gnu::always_inline]] inline void straight_split(typename V::R* a, typename V::R* y) {
  using R = typename V::R;
  constexpr int N = N1 * N2;
  R z[N];
  unrolled<N1>([&](auto i1) {
    constexpr int n1 = decltype(i1)::value;
    R sub[N2];
    unrolled<N2>([&](auto i2) { sub[decltype(i2)::value] = a[n1 + N1 * decltype(i2)::value]; });
    straight<V, Inv, N2>(sub, z + n1 * N2);
  });
  unrolled<N2>([&](auto i2) {
    constexpr int k2 = decltype(i2)::value;
    R t[N1], o[N1];
    unrolled<N1>([&](auto i1) {
      constexpr int n1 = decltype(i1)::value;
      t[n1] = turn64<V, Inv, n1 * k2 * (64 / N)>(z[n1 * N2 + k2]);
    });
    straight<V, Inv, N1>(t, o);
    unrolled<N1>([&](auto i1) { y[k2 + N2 * decltype(i1)::value] = o[decltype(i1)::value]; });
  });
}

// y[k] = sum_j a[j] w^(jk), w = exp(-2 pi i / N) forward and its conjugate inverse; `a` may be
// overwritten.
template <class V, bool Inv, int N>
[[gnu::always_inline]] inline void straight(typename V::R* a, typename V::R* y) {
  if constexpr (N == 1) y[0] = a[0];
  else if constexpr (N == 2 || N == 4 || N == 8) butterfly_fixed<V, Inv, N>(a, y);
  else if constexpr (N == 16) straight_split<V, Inv, 4, 4>(a, y);
  else if constexpr (N == 32) straight_split<V, Inv, 4, 8>(a, y);
  else straight_split<V, Inv, 8, 8>(a, y);  // 64
}

// The turns of the whole-line kernel: element q of vector k is w_N^(q k), forward, for N = W * M.
template <class T, int W, int M>
constexpr std::array<T, 2 * W * M> line_turns() {
  std::array<T, 2 * W * M> t{};
  for (int k = 0; k < M; ++k)
    for (int q = 0; q < W; ++q) {
      const int e = q * k * (64 / (W * M));
      t[2 * (W * k + q)] = root64_re<T>(e);
      t[2 * (W * k + q) + 1] = root64_im<T>(e);
    }
  return t;
}
template <class T, int W, int M>
alignas(64) inline constexpr std::array<T, 2 * W * M> line_turn_table = line_turns<T, W, M>();

// Whole lines whose vectors number at least their width: N = W * M with M >= W.
template <class V>
constexpr bool short_line_serves(int n) {
  return n >= 8 && n <= 64 && (n & (n - 1)) == 0 && n >= V::W * V::W;
}

// One line of N = W * M points held in M vectors, lane q of vector j being x[q + W j]: the
// M-point transform across the vectors (lane by lane), each lane q of output vector k turned by
// w_N^(q k), then, per block of W vectors, a W x W transpose of elements and the W-point
// transform across the transposed vectors. Output t of block c holds y[M t + W c .. + W - 1],
// which is vector (M / W) t + c of y in natural order. v is overwritten.
template <class V, bool Inv, int N>
[[gnu::always_inline]] inline void short_line_registers(typename V::R* v, typename V::R* y) {
  using R = typename V::R;
  using T = typename V::real;
  constexpr int W = V::W, M = N / W;
  static_assert(M >= W && M * W == N);
  R z[M];
  straight<V, Inv, M>(v, z);
  if constexpr (W > 1) {
    const T* turns = line_turn_table<T, W, M>.data();
    unrolled<M - 1>([&](auto j) {
      constexpr int k = decltype(j)::value + 1;
      z[k] = V::template cmul<Inv>(z[k], V::load(turns + 2 * W * k));
    });
  }
  unrolled<M / W>([&](auto b) {
    constexpr int c = decltype(b)::value;
    R u[W], o[W];
    unrolled<W>([&](auto i) { u[decltype(i)::value] = z[c * W + decltype(i)::value]; });
    V::transpose(u);
    straight<V, Inv, W>(u, o);
    unrolled<W>([&](auto t) { y[M / W * decltype(t)::value + c] = o[decltype(t)::value]; });
  });
}

// The line from memory to memory; everything is read before anything is written, so x and y may
// be the same line.
template <class V, bool Inv, int N>
void short_line(const typename V::real* x, typename V::real* y) {
  using R = typename V::R;
  constexpr int W = V::W, M = N / W;
  R v[M], o[M];
  unrolled<M>([&](auto j) { v[decltype(j)::value] = V::load(x + 2 * W * decltype(j)::value); });
  short_line_registers<V, Inv, N>(v, o);
  unrolled<M>([&](auto j) { V::store(y + 2 * W * decltype(j)::value, o[decltype(j)::value]); });
}

// The whole-line kernel of length n, when short_line_serves<V>(n).
template <class V>
void run_short_line(const typename V::real* x, typename V::real* y, int n, int inverse) {
  auto pick = [&]<int N>(std::integral_constant<int, N>) {
    if constexpr (N >= V::W * V::W) {
      if (inverse) short_line<V, true, N>(x, y);
      else short_line<V, false, N>(x, y);
    }
  };
  switch (n) {
    case 8: pick(std::integral_constant<int, 8>{}); break;
    case 16: pick(std::integral_constant<int, 16>{}); break;
    case 32: pick(std::integral_constant<int, 32>{}); break;
    case 64: pick(std::integral_constant<int, 64>{}); break;
    default: break;
  }
}

}  // namespace zvx::dft::engine_detail

// The recombination of real lines of even length, written once over the vector types of
// engine_passes.h (which must be included first) and compiled per instruction set. Besides the
// members the passes use, a vector type here needs `reverse` (its complex elements in the
// opposite order) and `conj`.
//
// z holds the n = N/2 complex values of the half-length transform (forward) or of the Perm
// spectrum (inverse), h the roots exp(-2 pi i k / N) halved, k up to n/2. Element k pairs with
// element n - k; a vector of elements k .. k+W-1 meets the reversed vector ending at n - k, so
// both halves move with whole loads and stores.
#pragma once

namespace zvx::dft::engine_detail {

// Forward, pairs k in [k0, k1): with a = z(k), b = conj z(n-k), E = (a + b)/2, O = -i (a - b)/2:
// z(k) = E + w^k O and z(n-k) = conj(E - w^k O).
template <class V>
inline void real_forward_pairs(typename V::real* z, const typename V::real* h, long n, long k0,
                               long k1) {
  using T = typename V::real;
  for (long k = k0; k < k1; k += V::W) {
    T* const pb = z + 2 * (n - k - V::W + 1);
    const typename V::R a = V::load(z + 2 * k);
    const typename V::R b = V::conj(V::reverse(V::load(pb)));
    const typename V::R e = V::mulr(V::add(a, b), T(0.5));
    const typename V::R t = V::template cmul<false>(V::neg_i(V::sub(a, b)), V::load(h + 2 * k));
    V::store(z + 2 * k, V::add(e, t));
    V::store(pb, V::reverse(V::conj(V::sub(e, t))));
  }
}

// Inverse, the mirror, from the spectrum's pairs in x to z (x may be z): A = a + b, B = a - b with
// b = conj X(n-k); z(k) = A + i conj(w^k) B and z(n-k) = conj(A - i conj(w^k) B); conj(w^k) B is
// twice the conjugate product with h.
template <class V>
inline void real_inverse_pairs(typename V::real* z, const typename V::real* x,
                               const typename V::real* h, long n, long k0, long k1) {
  using T = typename V::real;
  for (long k = k0; k < k1; k += V::W) {
    const long kb = 2 * (n - k - V::W + 1);
    const typename V::R a = V::load(x + 2 * k);
    const typename V::R b = V::conj(V::reverse(V::load(x + kb)));
    const typename V::R s = V::add(a, b);
    const typename V::R q =
        V::pos_i(V::mulr(V::template cmul<true>(V::sub(a, b), V::load(h + 2 * k)), T(2)));
    V::store(z + 2 * k, V::add(s, q));
    V::store(z + kb, V::reverse(V::conj(V::sub(s, q))));
  }
}

// Vectors while both halves of a vector stay on their side of n/2, single elements for the rest.
template <class V>
void real_forward(typename V::real* z, const typename V::real* h, long n) {
  using T = typename V::real;
  using S = scalar_complex<T>;
  const T r = z[0], i = z[1];
  z[0] = r + i;
  z[1] = r - i;
  const long pairs = (n + 1) / 2;  // k below this, 2k < n
  long k = 1;
  if constexpr (V::W > 1) {
    const long vectors = (pairs - 1) / V::W;
    real_forward_pairs<V>(z, h, n, 1, 1 + vectors * V::W);
    k = 1 + vectors * V::W;
  }
  real_forward_pairs<S>(z, h, n, k, pairs);
  if (n % 2 == 0) z[n + 1] = -z[n + 1];
}

// z[0] and z[1] hold R(0) and R(N/2) on entry; x holds the pair (R(k), I(k)) at 2k, 2k + 1 for
// k from 1 to n/2, and is either z or an array apart from it.
template <class V>
void real_inverse(typename V::real* z, const typename V::real* x, const typename V::real* h,
                  long n) {
  using T = typename V::real;
  using S = scalar_complex<T>;
  const T r0 = z[0], rn = z[1];
  z[0] = r0 + rn;
  z[1] = r0 - rn;
  const long pairs = (n + 1) / 2;
  long k = 1;
  if constexpr (V::W > 1) {
    const long vectors = (pairs - 1) / V::W;
    real_inverse_pairs<V>(z, x, h, n, 1, 1 + vectors * V::W);
    k = 1 + vectors * V::W;
  }
  real_inverse_pairs<S>(z, x, h, n, k, pairs);
  if (n % 2 == 0) {
    z[n] = 2 * x[n];
    z[n + 1] = -2 * x[n + 1];
  }
}

}  // namespace zvx::dft::engine_detail

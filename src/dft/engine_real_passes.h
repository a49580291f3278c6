// The recombination of real lines of even length, written once over the vector types of
// engine_passes.h (which must be included first) and compiled per instruction set. Besides the
// members the passes use, a vector type here needs `reverse` (its complex elements in the
// opposite order) and `conj`.
//
// z holds the n = N/2 complex values of the half-length transform (forward) or of the Perm
// spectrum (inverse). Element k pairs with element n - k; a vector of elements k .. k+W-1 meets
// the reversed vector ending at n - k, so both halves move with whole loads and stores. The
// table (real_table_layout) holds the factors of both directions with their real and imaginary
// parts each repeated over an element, so that a product takes one shuffle.
#pragma once

namespace zvx::dft::engine_detail {

// The recombination table of a half length n: four arrays of n/2 + 1 elements, k from 0 to n/2,
// with h = exp(-2 pi i k / 2n) / 2: the forward factor -i h = (h.im, -h.re), then the inverse
// factor 2 i conj(h) = (2 h.im, 2 h.re), each as its real parts (repeated) and its imaginary parts.
struct real_table_layout {
  long entries;
  explicit real_table_layout(long n) : entries(n / 2 + 1) {}
  long forward_real() const { return 0; }
  long forward_imag() const { return 2 * entries; }
  long inverse_real() const { return 4 * entries; }
  long inverse_imag() const { return 6 * entries; }
  long reals() const { return 8 * entries; }
};

// Forward, pairs k in [k0, k1) (the last may be the middle element n/2 with itself), from x to z
// (which may be x): with a = x(k), b = conj x(n-k), E = (a + b)/2, O = -i (a - b)/2:
// z(k) = E + w^k O and z(n-k) = conj(E - w^k O).
template <class V>
inline void real_forward_pairs(typename V::real* z, const typename V::real* x,
                               const typename V::real* h, long n, long k0, long k1) {
  using T = typename V::real;
  const real_table_layout t(n);
  const T* const fr = h + t.forward_real();
  const T* const fi = h + t.forward_imag();
  for (long k = k0; k < k1; k += V::W) {
    const long kb = 2 * (n - k - V::W + 1);
    const typename V::R a = V::load(x + 2 * k);
    const typename V::R b = V::conj(V::reverse(V::load(x + kb)));
    const typename V::R e = V::mulr(V::add(a, b), T(0.5));
    const typename V::R o = V::cmul_dup(V::sub(a, b), V::load(fr + 2 * k), V::load(fi + 2 * k));
    V::store(z + 2 * k, V::add(e, o));
    V::store(z + kb, V::reverse(V::conj(V::sub(e, o))));
  }
}

// Inverse, the mirror, from the spectrum's pairs in x to z (x may be z): A = a + b, B = a - b with
// b = conj X(n-k); z(k) = A + i conj(w^k) B and z(n-k) = conj(A - i conj(w^k) B).
template <class V>
inline void real_inverse_pairs(typename V::real* z, const typename V::real* x,
                               const typename V::real* h, long n, long k0, long k1) {
  using T = typename V::real;
  const real_table_layout t(n);
  const T* const ir = h + t.inverse_real();
  const T* const ii = h + t.inverse_imag();
  for (long k = k0; k < k1; k += V::W) {
    const long kb = 2 * (n - k - V::W + 1);
    const typename V::R a = V::load(x + 2 * k);
    const typename V::R b = V::conj(V::reverse(V::load(x + kb)));
    const typename V::R s = V::add(a, b);
    const typename V::R q = V::cmul_dup(V::sub(a, b), V::load(ir + 2 * k), V::load(ii + 2 * k));
    V::store(z + 2 * k, V::add(s, q));
    V::store(z + kb, V::reverse(V::conj(V::sub(s, q))));
  }
}

// Vectors over k from 1 while the vector stays at or below n/2, single elements for the rest. A
// vector that ends on n/2 itself meets its mirror there, and both compute the same element, the
// conjugate of z(n/2) (w^(n/2) is -i): even lengths whose half is a multiple of the vector width
// need no single elements at all.
// The half-length transform in x, the spectrum in z (which may be x).
template <class V>
void real_forward(typename V::real* z, const typename V::real* x, const typename V::real* h,
                  long n) {
  using T = typename V::real;
  using S = scalar_complex<T>;
  const T r = x[0], i = x[1];
  z[0] = r + i;
  z[1] = r - i;
  const long last = n / 2;  // the pairs are k and n - k for k from 1 to last
  long k = 1;
  if constexpr (V::W > 1) {
    k = 1 + last / V::W * V::W;
    real_forward_pairs<V>(z, x, h, n, 1, k);
  }
  real_forward_pairs<S>(z, x, h, n, k, last + 1);
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
  const long last = n / 2;
  long k = 1;
  if constexpr (V::W > 1) {
    k = 1 + last / V::W * V::W;
    real_inverse_pairs<V>(z, x, h, n, 1, k);
  }
  real_inverse_pairs<S>(z, x, h, n, k, last + 1);
}

}  // namespace zvx::dft::engine_detail

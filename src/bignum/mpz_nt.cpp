// Number theory at the integer layer: gcd and inverses, roots, Jacobi symbols, factorials,
// binomials, Fibonacci and Lucas numbers, primality.
#include <cstdint>

#include "bignum/mpz_internal.h"
#include "bignum/tuning.h"
#include "service/service.h"

namespace zvx::bn {

// Inverse of a modulo |m| in [0, |m|); 0 when none exists (r untouched).
int z_invert(mpz_ptr r, mpz_srcptr a, mpz_srcptr m) {
  int mn = abs_size(m);
  if (mn == 0) return 0;
  temp mm(mn), x(mn + 1), s0(mn + 2);
  z_set(mm.p(), m);
  mm.z._mp_size = mn;
  word_mpz one(1);
  if (z_cmp(mm.p(), one.p()) == 0) {
    r->_mp_size = 0;
    return 1;
  }
  // The gcd of (a mod m, m) with a cofactor of a mod m, by the half-gcd reduction and Lehmer.
  z_div_qr(nullptr, x.p(), a, mm.p(), -1);
  const int xn = x.z._mp_size;
  if (xn == 0) return 0;
  limb* w = alloc_limbs(2 * static_cast<size_t>(mn) + 2);
  copy(w, x.z._mp_d, xn);
  copy(w + mn + 1, mm.z._mp_d, mn);
  int sn = 0;
  x.z._mp_size = gcdext_cofactor(x.z._mp_d, grow(s0.p(), mn + 2), &sn, w, xn, w + mn + 1, mn);
  s0.z._mp_size = sn;
  free_limbs(w, 2 * static_cast<size_t>(mn) + 2);
  if (z_cmp(x.p(), one.p()) != 0) return 0;
  z_div_qr(nullptr, s0.p(), s0.p(), mm.p(), -1);
  z_set(r, s0.p());
  return 1;
}

void z_gcd(mpz_ptr g, mpz_srcptr a, mpz_srcptr b) {
  int an = abs_size(a), bn = abs_size(b);
  if (an == 0 || bn == 0) {
    // gcd(x, 0) = |x|
    mpz_srcptr o = an ? a : b;
    z_set(g, o);
    g->_mp_size = abs_size(g);
    return;
  }
  // Both magnitudes in buffers of the longer length, the larger first.
  const int n = an > bn ? an : bn;
  limb* x = alloc_limbs(2 * static_cast<size_t>(n) + 2);
  limb* y = x + n + 1;
  mpz_srcptr p = a, q = b;
  if (an < bn || (an == bn && cmp(a->_mp_d, b->_mp_d, an) < 0)) {
    p = b;
    q = a;
  }
  const int pn = abs_size(p), qn = abs_size(q);
  copy(x, p->_mp_d, pn);
  copy(y, q->_mp_d, qn);
  limb* d = grow(g, qn);
  int gn = qn >= tuning::hgcd_gcd_entry ? gcd_subquadratic(d, x, pn, y, qn) : gcd_lehmer(d, x, pn, y, qn);
  g->_mp_size = gn;
  free_limbs(x, 2 * static_cast<size_t>(n) + 2);
}

// floor(|n|^(1/k)) with n's sign (k odd for negative n); returns 1 when exact.
int z_root(mpz_ptr r, mpz_ptr rem, mpz_srcptr n, unsigned long k) {
  bool neg = n->_mp_size < 0;
  temp a(abs_size(n) + 1);
  z_set(a.p(), n);
  a.z._mp_size = abs_size(n);
  unsigned long bits = z_bit_length(a.p());
  temp x(static_cast<int>(bits / k / 32) + 3), y(abs_size(n) + 2), p(abs_size(n) + 2), q(abs_size(n) + 2);
  word_mpz one(1);
  if (bits == 0) {
    x.z._mp_size = 0;
  } else if (k == 1) {
    z_set(x.p(), a.p());
  } else {
    // Newton from above: x0 = 2^(bits/k + 1).
    z_mul_2exp(x.p(), one.p(), bits / k + 1);
    for (;;) {
      z_pow_ui(p.p(), x.p(), k - 1);
      z_tdiv_qr(q.p(), nullptr, a.p(), p.p());
      z_mul_ui(y.p(), x.p(), k - 1);
      z_add(y.p(), y.p(), q.p(), false);
      z_tdiv_q_ui(y.p(), y.p(), k);
      if (z_cmp(y.p(), x.p()) >= 0) break;
      z_set(x.p(), y.p());
    }
  }
  z_pow_ui(p.p(), x.p(), k);
  z_add(q.p(), a.p(), p.p(), true);
  int exact = q.z._mp_size == 0;
  if (neg) {
    x.z._mp_size = -x.z._mp_size;
    q.z._mp_size = -q.z._mp_size;
  }
  if (rem) z_set(rem, q.p());
  if (r) z_set(r, x.p());
  return exact;
}

}  // namespace zvx::bn

using namespace zvx::bn;

ZVX_EXPORT int __gmpz_invert(mpz_ptr r, mpz_srcptr a, mpz_srcptr m) { return z_invert(r, a, m); }
ZVX_EXPORT void __gmpz_gcd(mpz_ptr g, mpz_srcptr a, mpz_srcptr b) { z_gcd(g, a, b); }
ZVX_EXPORT unsigned long __gmpz_gcd_ui(mpz_ptr g, mpz_srcptr a, unsigned long b) {
  temp t(abs_size(a) + 1);
  z_gcd(t.p(), a, word_mpz(b).p());
  unsigned long v = t.z._mp_size <= 2 ? z_get_ui(t.p()) : 0;
  if (g) z_set(g, t.p());
  return v;
}
static void z_lcm(mpz_ptr r, mpz_srcptr a, mpz_srcptr b) {
  if (a->_mp_size == 0 || b->_mp_size == 0) {
    r->_mp_size = 0;
    return;
  }
  temp g(abs_size(a) + 1), p(abs_size(a) + abs_size(b) + 1);
  z_gcd(g.p(), a, b);
  z_mul(p.p(), a, b);
  p.z._mp_size = abs_size(p.p());
  z_tdiv_qr(r, nullptr, p.p(), g.p());
}
ZVX_EXPORT void __gmpz_lcm(mpz_ptr r, mpz_srcptr a, mpz_srcptr b) { z_lcm(r, a, b); }
ZVX_EXPORT void __gmpz_lcm_ui(mpz_ptr r, mpz_srcptr a, unsigned long b) { z_lcm(r, a, word_mpz(b).p()); }

ZVX_EXPORT int __gmpz_root(mpz_ptr r, mpz_srcptr n, unsigned long k) { return z_root(r, nullptr, n, k); }
ZVX_EXPORT void __gmpz_rootrem(mpz_ptr r, mpz_ptr rem, mpz_srcptr n, unsigned long k) { z_root(r, rem, n, k); }
ZVX_EXPORT void __gmpz_sqrt(mpz_ptr r, mpz_srcptr n) { z_root(r, nullptr, n, 2); }
ZVX_EXPORT void __gmpz_sqrtrem(mpz_ptr r, mpz_ptr rem, mpz_srcptr n) { z_root(r, rem, n, 2); }
ZVX_EXPORT int __gmpz_perfect_square_p(mpz_srcptr n) {
  if (n->_mp_size < 0) return 0;
  if (z_cmpabs(n, word_mpz(1).p()) <= 0) return 1;
  temp t(abs_size(n));
  return z_root(t.p(), nullptr, n, 2);
}
ZVX_EXPORT int __gmpz_perfect_power_p(mpz_srcptr n) {
  if (z_cmpabs(n, word_mpz(1).p()) <= 0) return 1;
  unsigned long bits = z_bit_length(n);
  temp t(abs_size(n));
  for (unsigned long k = 2; k < bits + 1; ++k) {
    if (n->_mp_size < 0 && k % 2 == 0) continue;
    if (z_root(t.p(), nullptr, n, k)) return 1;
  }
  return 0;
}

namespace {
// Jacobi/Kronecker symbol (a/b) for any integers, by reciprocity on magnitudes.
int kronecker(mpz_srcptr a0, mpz_srcptr b0) {
  temp a(abs_size(a0) + 1), b(abs_size(b0) + 1), t(abs_size(a0) + abs_size(b0) + 2);
  z_set(a.p(), a0);
  z_set(b.p(), b0);
  word_mpz one(1);
  if (b.z._mp_size == 0) return z_cmpabs(a.p(), one.p()) == 0 ? 1 : 0;
  if (a.z._mp_size == 0) return z_cmpabs(b.p(), one.p()) == 0 ? 1 : 0;
  if ((a.z._mp_d[0] & 1) == 0 && (b.z._mp_d[0] & 1) == 0) return 0;
  int result = 1;
  if (b.z._mp_size < 0) {
    b.z._mp_size = -b.z._mp_size;
    if (a.z._mp_size < 0) result = -result;
  }
  // Factors of two of b: (a/2) = (-1)^((a^2-1)/8) for odd a.
  unsigned long v = 0;
  while (((b.z._mp_d[v / 32] >> (v % 32)) & 1) == 0) ++v;
  if (v) {
    z_shift_right(b.p(), b.p(), v);
    unsigned a8 = a.z._mp_d[0] & 7;
    if (a.z._mp_size < 0) a8 = (8 - a8) & 7;
    if ((v & 1) && (a8 == 3 || a8 == 5)) result = -result;
  }
  // b odd positive: a mod b.
  z_div_qr(nullptr, a.p(), a.p(), b.p(), -1);
  while (a.z._mp_size != 0) {
    unsigned long s = 0;
    while (((a.z._mp_d[s / 32] >> (s % 32)) & 1) == 0) ++s;
    if (s) {
      z_shift_right(a.p(), a.p(), s);
      unsigned b8 = b.z._mp_d[0] & 7;
      if ((s & 1) && (b8 == 3 || b8 == 5)) result = -result;
    }
    if ((a.z._mp_d[0] & 3) == 3 && (b.z._mp_d[0] & 3) == 3) result = -result;
    z_div_qr(nullptr, t.p(), b.p(), a.p(), -1);
    z_swap(b.p(), a.p());
    z_swap(a.p(), t.p());
  }
  return z_cmp(b.p(), one.p()) == 0 ? result : 0;
}
}  // namespace

ZVX_EXPORT int __gmpz_jacobi(mpz_srcptr a, mpz_srcptr b) { return kronecker(a, b); }
ZVX_EXPORT int __gmpz_kronecker_si(mpz_srcptr a, long b) { return kronecker(a, word_mpz(magnitude(b), b < 0).p()); }
ZVX_EXPORT int __gmpz_kronecker_ui(mpz_srcptr a, unsigned long b) { return kronecker(a, word_mpz(b).p()); }
ZVX_EXPORT int __gmpz_si_kronecker(long a, mpz_srcptr b) { return kronecker(word_mpz(magnitude(a), a < 0).p(), b); }
ZVX_EXPORT int __gmpz_ui_kronecker(unsigned long a, mpz_srcptr b) { return kronecker(word_mpz(a).p(), b); }

ZVX_EXPORT void __gmpz_fac_ui(mpz_ptr r, unsigned long n) {
  z_set_ui(r, 1);
  for (unsigned long i = n; i >= 2; --i) z_mul_ui(r, r, i);
}

static void z_bin_ui(mpz_ptr r, mpz_srcptr n, unsigned long k) {
  temp nn(abs_size(n) + 2), t(abs_size(n) + 2);
  z_set(nn.p(), n);
  bool negate = false;
  if (nn.z._mp_size < 0) {
    // binomial(-n, k) = (-1)^k binomial(n + k - 1, k)
    nn.z._mp_size = -nn.z._mp_size;
    z_add_ui(nn.p(), nn.p(), k);
    z_sub_ui(nn.p(), nn.p(), 1);
    negate = k & 1;
  } else if (z_cmp_ui(nn.p(), k) < 0) {
    r->_mp_size = 0;
    return;
  }
  // Use the smaller of k and n-k.
  temp nk(abs_size(n) + 2);
  z_sub_ui(nk.p(), nn.p(), k);
  if (z_cmp_ui(nk.p(), k) < 0) k = z_get_ui(nk.p());
  word_mpz one(1);
  z_set(t.p(), one.p());
  for (unsigned long i = 1; i <= k; ++i) {
    // t = t * (n - k + i) / i, exact at every step.
    z_add_ui(nk.p(), nn.p(), i);
    z_sub_ui(nk.p(), nk.p(), k);
    z_mul(t.p(), t.p(), nk.p());
    z_tdiv_q_ui(t.p(), t.p(), i);
  }
  if (negate) t.z._mp_size = -t.z._mp_size;
  z_set(r, t.p());
}
ZVX_EXPORT void __gmpz_bin_ui(mpz_ptr r, mpz_srcptr n, unsigned long k) { z_bin_ui(r, n, k); }
ZVX_EXPORT void __gmpz_bin_uiui(mpz_ptr r, unsigned long n, unsigned long k) { z_bin_ui(r, word_mpz(n).p(), k); }

static void z_fib2_ui(mpz_ptr f, mpz_ptr fsub, unsigned long n) {
  // (F(m), F(m-1)) doubled from the top bit of n: F(2m) = F(m)(F(m) + 2F(m-1)),
  // F(2m-1) = F(m)^2 + F(m-1)^2.
  if (n == 0) {
    z_set_ui(f, 0);
    z_set_ui(fsub, 1);
    return;
  }
  temp a(4), b(4), t(4), u(4);
  z_set_ui(a.p(), 1);  // F(1)
  z_set_ui(b.p(), 0);  // F(0)
  int top = 63 - __builtin_clzl(n);
  for (int i = top - 1; i >= 0; --i) {
    z_mul(t.p(), a.p(), a.p());
    z_mul(u.p(), b.p(), b.p());
    z_add(u.p(), u.p(), t.p(), false);  // F(2m-1)
    z_mul_2exp(t.p(), b.p(), 1);
    z_add(t.p(), t.p(), a.p(), false);
    z_mul(t.p(), t.p(), a.p());  // F(2m)
    z_set(a.p(), t.p());
    z_set(b.p(), u.p());
    if ((n >> i) & 1) {
      z_add(t.p(), a.p(), b.p(), false);  // F(2m+1)
      z_set(b.p(), a.p());
      z_set(a.p(), t.p());
    }
  }
  z_set(f, a.p());
  z_set(fsub, b.p());
}
ZVX_EXPORT void __gmpz_fib2_ui(mpz_ptr f, mpz_ptr fsub, unsigned long n) { z_fib2_ui(f, fsub, n); }
ZVX_EXPORT void __gmpz_fib_ui(mpz_ptr f, unsigned long n) {
  temp s(4);
  z_fib2_ui(f, s.p(), n);
}
static void z_lucnum2_ui(mpz_ptr l, mpz_ptr lsub, unsigned long n) {
  // L(n) = F(n) + 2F(n-1), L(n-1) = 2F(n) - F(n-1).
  temp f(4), g(4), t(4);
  z_fib2_ui(f.p(), g.p(), n);
  z_mul_2exp(t.p(), g.p(), 1);
  z_add(t.p(), t.p(), f.p(), false);
  if (lsub) {
    temp u(4);
    z_mul_2exp(u.p(), f.p(), 1);
    z_add(u.p(), u.p(), g.p(), true);
    z_set(lsub, u.p());
  }
  z_set(l, t.p());
}
ZVX_EXPORT void __gmpz_lucnum2_ui(mpz_ptr l, mpz_ptr lsub, unsigned long n) { z_lucnum2_ui(l, lsub, n); }
ZVX_EXPORT void __gmpz_lucnum_ui(mpz_ptr l, unsigned long n) { z_lucnum2_ui(l, nullptr, n); }

// g = gcd(a, b) = a s + b t, with the cofactors of the GMP manual: normally |s| < |b|/(2g) and
// |t| < |a|/(2g); s = 0, t = sgn(b) when |a| = |b|; s = sgn(a) when b = 0 or |b| = 2g; t = sgn(b)
// when a = 0 or |a| = 2g. t may be null.
ZVX_EXPORT void __gmpz_gcdext(mpz_ptr g, mpz_ptr s, mpz_ptr t, mpz_srcptr a, mpz_srcptr b) {
  int n = abs_size(a) + abs_size(b) + 2;
  temp gg(n), ss(n), tt(2 * n), bg(n), s0(n), x(2 * n);
  int sa = a->_mp_size > 0 ? 1 : (a->_mp_size < 0 ? -1 : 0);
  int sb = b->_mp_size > 0 ? 1 : (b->_mp_size < 0 ? -1 : 0);
  if (sb == 0 || z_cmpabs(a, b) == 0 || sa == 0) {
    if (sa == 0 || (sb != 0)) {  // a = 0, or |a| = |b|: s = 0, t = sgn(b)
      z_set(gg.p(), b);
      ss.z._mp_size = 0;
      z_set(tt.p(), word_mpz(sb != 0 ? 1 : 0, sb < 0).p());
    } else {  // b = 0: s = sgn(a), t = 0
      z_set(gg.p(), a);
      z_set(ss.p(), word_mpz(1, sa < 0).p());
      tt.z._mp_size = 0;
    }
    gg.z._mp_size = abs_size(gg.p());
  } else {
    // The gcd of the magnitudes with a cofactor of |a|, by the half-gcd reduction and Lehmer.
    const int an = abs_size(a), bn = abs_size(b), mx = an > bn ? an : bn;
    limb* w = alloc_limbs(2 * static_cast<size_t>(mx) + 2);
    copy(w, a->_mp_d, an);
    copy(w + mx + 1, b->_mp_d, bn);
    limb* gd = grow(gg.p(), mx);
    limb* sd = grow(s0.p(), mx + 2);
    int sn = 0;
    gg.z._mp_size = gcdext_cofactor(gd, sd, &sn, w, an, w + mx + 1, bn);
    s0.z._mp_size = sn;
    free_limbs(w, 2 * static_cast<size_t>(mx) + 2);
    if (sa < 0) s0.z._mp_size = -s0.z._mp_size;
    // The representative of s modulo |b|/g nearest to zero.
    z_tdiv_qr(bg.p(), nullptr, b, gg.p());
    bg.z._mp_size = abs_size(bg.p());
    z_div_qr(nullptr, ss.p(), s0.p(), bg.p(), -1);
    z_mul_2exp(x.p(), ss.p(), 1);
    int c = z_cmp(x.p(), bg.p());
    if (c == 0)
      z_set(ss.p(), word_mpz(1, sa < 0).p());  // |b| = 2g
    else if (c > 0)
      z_add(ss.p(), ss.p(), bg.p(), true);
    // t = (g - a s) / b, exact.
    z_mul(x.p(), a, ss.p());
    z_add(x.p(), gg.p(), x.p(), true);
    z_tdiv_qr(tt.p(), nullptr, x.p(), b);
  }
  if (t) z_set(t, tt.p());
  if (s) z_set(s, ss.p());
  z_set(g, gg.p());
}

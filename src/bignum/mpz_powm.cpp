// Modular exponentiation: Montgomery products for odd moduli up to the tuned limb count, the
// split of an even modulus into an odd part and a power of two joined by the Chinese remainder
// rule, and a fixed 4-bit window at the integer layer above.
#include <cstring>
#include <new>

#include "bignum/mpz_internal.h"
#include "bignum/tuning.h"
#include "service/service.h"

namespace zvx::bn {

namespace {

// -1/x mod 2^32 for odd x, by Newton's iteration on the word.
limb negative_inverse(limb x) {
  limb inv = x;  // correct to 3 bits
  for (int i = 0; i < 4; ++i) inv *= 2 - x * inv;
  return 0u - inv;
}

// Montgomery context over n limbs: r = a*b/R mod m, with R = 2^(32n); a, b below m.
struct montgomery {
  const limb* m;
  int n;
  limb n0;
  limb* t;  // 2n+1 limbs of work
  void mul(limb* r, const limb* a, const limb* b) {
    zvx::bn::mul(t, a, n, b, n);
    t[2 * n] = 0;
    for (int i = 0; i < n; ++i) {
      limb u = t[i] * n0;
      limb c = addmul_1(t + i, m, n, u);
      add_1(t + i + n, t + i + n, 2 * n + 1 - i - n, c);
    }
    if (t[2 * n] || cmp(t + n, m, n) >= 0) sub_n(t + n, t + n, m, n);
    copy(r, t + n, n);
  }
};

// r = b^e mod q for odd q of qn limbs, b below q, e above 0.
void montgomery_power(mpz_ptr r, mpz_srcptr b, mpz_srcptr e, mpz_srcptr q) {
  int n = abs_size(q);
  size_t work = static_cast<size_t>(n) * 6 + 2;
  limb* w = alloc_limbs(work);
  limb* base = w;
  limb* acc = base + n;
  limb* t = acc + n;  // 2n+1
  montgomery mg{q->_mp_d, n, negative_inverse(q->_mp_d[0]), t};
  // Into Montgomery form: b*R mod q by a long division.
  {
    temp sh(abs_size(b) + n + 1), rem(n + 1);
    z_mul_2exp(sh.p(), b, static_cast<unsigned long>(n) * 32);
    z_tdiv_qr(nullptr, rem.p(), sh.p(), q);
    zero(base, n);
    copy(base, rem.z._mp_d, abs_size(rem.p()));
  }
  copy(acc, base, n);
  // Left to right over the bits below the top one: a square, and a multiply for a set bit.
  unsigned long bits = z_bit_length(e);
  for (unsigned long i = bits - 1; i-- > 0;) {
    mg.mul(acc, acc, acc);
    if ((e->_mp_d[i / 32] >> (i % 32)) & 1) mg.mul(acc, acc, base);
  }
  // Out of Montgomery form: a product with 1.
  zero(base, n);
  base[0] = 1;
  mg.mul(acc, acc, base);
  set_limbs(r, acc, n, false);
  free_limbs(w, work);
}

}  // namespace

// The general method: a fixed window of 4 bits over the exponent, reductions by the integer
// layer's division.
void z_powm_mary(mpz_ptr r, mpz_srcptr a, mpz_srcptr e, mpz_srcptr m) {
  int bits_room = (2 * abs_size(a) + abs_size(m) + 3);
  temp b(bits_room), acc(bits_room);
  if (e->_mp_size < 0) {
    if (!z_invert(b.p(), a, m)) return;
  } else {
    z_set(b.p(), a);
  }
  word_mpz one(1);
  if (e->_mp_size == 0) {
    if (z_cmpabs(m, one.p()) == 0)
      r->_mp_size = 0;
    else
      z_set(r, one.p());
    return;
  }
  temp mm(abs_size(m));
  z_set(mm.p(), m);
  if (mm.z._mp_size < 0) mm.z._mp_size = -mm.z._mp_size;
  z_div_qr(nullptr, b.p(), b.p(), mm.p(), -1);
  temp* table[16];
  for (int i = 1; i < 16; ++i) table[i] = new (allocate(sizeof(temp))) temp(bits_room);
  z_set(table[1]->p(), b.p());
  for (int i = 2; i < 16; ++i) {
    if (i % 2 == 0)
      z_mul(table[i]->p(), table[i / 2]->p(), table[i / 2]->p());
    else
      z_mul(table[i]->p(), table[i - 1]->p(), b.p());
    z_div_qr(nullptr, table[i]->p(), table[i]->p(), mm.p(), -1);
  }
  // |e| by nibbles from the top.
  int en = abs_size(e);
  z_set(acc.p(), one.p());
  z_div_qr(nullptr, acc.p(), acc.p(), mm.p(), -1);
  bool started = false;
  for (int li = en - 1; li >= 0; --li)
    for (int sh = 28; sh >= 0; sh -= 4) {
      unsigned nib = (e->_mp_d[li] >> sh) & 15;
      if (!started) {
        if (nib == 0) continue;
        started = true;
        z_set(acc.p(), table[nib]->p());
        continue;
      }
      for (int k = 0; k < 4; ++k) {
        z_mul(acc.p(), acc.p(), acc.p());
        z_div_qr(nullptr, acc.p(), acc.p(), mm.p(), -1);
      }
      if (nib) {
        z_mul(acc.p(), acc.p(), table[nib]->p());
        z_div_qr(nullptr, acc.p(), acc.p(), mm.p(), -1);
      }
    }
  for (int i = 1; i < 16; ++i) {
    table[i]->~temp();
    release(table[i], sizeof(temp));
  }
  z_set(r, acc.p());
}

void z_powm(mpz_ptr r, mpz_srcptr a, mpz_srcptr e, mpz_srcptr m) {
  if (e->_mp_size < 0) {
    temp t(abs_size(m) + 1);
    if (!z_invert(t.p(), a, m)) return;  // no inverse: r stays as it was
  }
  if (!(a->_mp_size > 0 && e->_mp_size > 0 && m->_mp_size > 0 && m->_mp_size <= tuning::montgomery_max_limbs)) {
    z_powm_mary(r, a, e, m);
    return;
  }
  // m = q * 2^k with q odd.
  unsigned long k = 0;
  while (((m->_mp_d[k / 32] >> (k % 32)) & 1) == 0) ++k;
  temp q(abs_size(m)), b(abs_size(m) + 1), x(abs_size(m) + 1);
  if (k == 0) {
    z_set(q.p(), m);
  } else {
    // q = m >> k
    int mn = abs_size(m);
    int w = static_cast<int>(k / 32);
    unsigned s = k % 32;
    int qn = mn - w;
    if (s)
      rshift(q.z._mp_d, m->_mp_d + w, qn, s);
    else
      for (int i = 0; i < qn; ++i) q.z._mp_d[i] = m->_mp_d[i + w];
    q.z._mp_size = normalized_size(q.z._mp_d, qn);
  }
  z_div_qr(nullptr, b.p(), a, q.p(), -1);
  word_mpz one(1);
  if (z_cmp(q.p(), one.p()) == 0 || b.z._mp_size == 0)
    x.z._mp_size = 0;
  else
    montgomery_power(x.p(), b.p(), e, q.p());
  if (k == 0) {
    z_set(r, x.p());
    return;
  }
  // Join with y = a^e mod 2^k: t = (y - x) * q^-1 mod 2^k, r = x + q t.
  temp y(static_cast<int>(k / 32) + 2), base(static_cast<int>(k / 32) + 2), i(static_cast<int>(k / 32) + 2);
  temp t(abs_size(m) * 2 + 2), p2(static_cast<int>(k / 32) + 2);
  z_mul_2exp(p2.p(), one.p(), k);
  z_div_qr(nullptr, base.p(), a, p2.p(), -1);
  z_set(y.p(), one.p());
  unsigned long ebits = z_bit_length(e);
  for (unsigned long bit = ebits; bit-- > 0;) {
    z_mul(y.p(), y.p(), y.p());
    z_div_qr(nullptr, y.p(), y.p(), p2.p(), -1);
    if ((e->_mp_d[bit / 32] >> (bit % 32)) & 1) {
      z_mul(y.p(), y.p(), base.p());
      z_div_qr(nullptr, y.p(), y.p(), p2.p(), -1);
    }
  }
  z_invert(i.p(), q.p(), p2.p());
  z_add(t.p(), y.p(), x.p(), true);
  z_mul(t.p(), t.p(), i.p());
  z_div_qr(nullptr, t.p(), t.p(), p2.p(), -1);
  z_mul(t.p(), t.p(), q.p());
  z_add(r, x.p(), t.p(), false);
}

}  // namespace zvx::bn

using namespace zvx::bn;

ZVX_EXPORT void mpz_powm_mary(mpz_ptr r, mpz_srcptr a, mpz_srcptr e, mpz_srcptr m) { z_powm_mary(r, a, e, m); }
ZVX_EXPORT void __gmpz_powm(mpz_ptr r, mpz_srcptr a, mpz_srcptr e, mpz_srcptr m) { z_powm(r, a, e, m); }
ZVX_EXPORT void __gmpz_powm_ui(mpz_ptr r, mpz_srcptr a, unsigned long e, mpz_srcptr m) {
  z_powm(r, a, word_mpz(e).p(), m);
}

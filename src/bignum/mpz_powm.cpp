// Modular exponentiation: Montgomery products on 64-bit words with a sliding window for odd
// moduli up to the tuned limb count, the split of an even modulus into an odd part and a power of
// two joined by the Chinese remainder rule, and a fixed 4-bit window at the integer layer above.
#include <cstdint>
#include <cstring>
#include <new>

#include "bignum/mpz_internal.h"
#include "bignum/tuning.h"
#include "service/service.h"

namespace zvx::bn {

namespace {

using word = uint64_t;
using wide = unsigned __int128;

// -1/x mod 2^64 for odd x, by Newton's iteration on the word (each step doubles the correct bits).
word negative_inverse(word x) {
  word inv = x;  // correct to 3 bits
  for (int i = 0; i < 5; ++i) inv *= 2 - x * inv;
  return 0 - inv;
}

// Montgomery arithmetic on 64-bit words: limb pairs taken as one word halve the rows and columns
// of both the product and the reduction, a quarter of the 32-bit products. Values are below m
// (n words, odd); R = 2^(64n).
struct montgomery {
  const word* m;
  int n;
  word n0;  // -1/m mod 2^64
  word* t;  // 2n words of work
  addmul_words_fn addmul_words;

  // r = t / R mod m, t below m R.
  void reduce(word* r) {
    word hi = 0;
    for (int i = 0; i < n; ++i) {
      const word u = t[i] * n0;
      const word c = addmul_words(t + i, m, n, u);
      const wide s = static_cast<wide>(t[i + n]) + c + hi;
      t[i + n] = static_cast<word>(s);
      hi = static_cast<word>(s >> 64);
    }
    // t[n, 2n) + hi R is below 2m: one subtraction at most.
    word* x = t + n;
    bool ge = hi != 0;
    if (!ge) {
      int i = n - 1;
      while (i > 0 && x[i] == m[i]) --i;
      ge = x[i] >= m[i];
    }
    if (ge) {
      word borrow = 0;
      for (int i = 0; i < n; ++i) {
        const wide d = static_cast<wide>(x[i]) - m[i] - borrow;
        r[i] = static_cast<word>(d);
        borrow = static_cast<word>(d >> 64) & 1;
      }
    } else {
      for (int i = 0; i < n; ++i) r[i] = x[i];
    }
  }

  void mul(word* r, const word* a, const word* b) {
    word c = 0;
    for (int j = 0; j < n; ++j) {
      const wide p = static_cast<wide>(a[j]) * b[0] + c;
      t[j] = static_cast<word>(p);
      c = static_cast<word>(p >> 64);
    }
    t[n] = c;
    for (int i = 1; i < n; ++i) t[i + n] = addmul_words(t + i, a, n, b[i]);
    reduce(r);
  }

  // The square takes each product of two different words once, doubles the sum and adds the
  // squares of the words: n(n+1)/2 products instead of n^2.
  void sqr(word* r, const word* a) {
    for (int i = 0; i < 2 * n; ++i) t[i] = 0;
    for (int i = 0; i + 1 < n; ++i) t[i + n] = addmul_words(t + 2 * i + 1, a + i + 1, n - i - 1, a[i]);
    word top = 0;  // the bit shifted out of t[2n-1]
    for (int i = 0; i < 2 * n; ++i) {
      const word v = t[i];
      t[i] = (v << 1) | top;
      top = v >> 63;
    }
    word c = 0;
    for (int i = 0; i < n; ++i) {
      const wide sq = static_cast<wide>(a[i]) * a[i];
      wide s = static_cast<wide>(t[2 * i]) + static_cast<word>(sq) + c;
      t[2 * i] = static_cast<word>(s);
      s = static_cast<wide>(t[2 * i + 1]) + static_cast<word>(sq >> 64) + static_cast<word>(s >> 64);
      t[2 * i + 1] = static_cast<word>(s);
      c = static_cast<word>(s >> 64);
    }
    reduce(r);
  }
};

void limbs_to_words(word* w, const limb* x, int xn, int n) {
  for (int i = 0; i < n; ++i) {
    const word lo = 2 * i < xn ? x[2 * i] : 0;
    const word hi = 2 * i + 1 < xn ? x[2 * i + 1] : 0;
    w[i] = lo | (hi << 32);
  }
}

// Window width of the left-to-right sliding window for an exponent of `bits` bits: the width k
// that minimises the expected products, bits/(k+1) on the way plus 2^(k-1) - 1 for the table of
// odd powers.
int window_bits(unsigned long bits) {
  int best = 1;
  double best_cost = static_cast<double>(bits) / 2;
  for (int k = 2; k <= tuning::powm_window_max; ++k) {
    const double cost = static_cast<double>(bits) / (k + 1) + static_cast<double>((1 << (k - 1)) - 1);
    if (cost < best_cost) best = k, best_cost = cost;
  }
  return best;
}

inline unsigned bit_of(mpz_srcptr e, unsigned long i) { return (e->_mp_d[i / 32] >> (i % 32)) & 1; }

// r = b^e mod q for odd q, 0 < b < q, e above 0.
void montgomery_power(mpz_ptr r, mpz_srcptr b, mpz_srcptr e, mpz_srcptr q) {
  const int qn = abs_size(q);
  const int n = (qn + 1) / 2;
  const unsigned long bits = z_bit_length(e);
  const int k = window_bits(bits);
  const int entries = 1 << (k - 1);  // b, b^3, ..., b^(2^k - 1)
  const size_t words = static_cast<size_t>(n) * (entries + 5);
  word* w = static_cast<word*>(allocate(words * sizeof(word)));
  word* m = w;
  word* acc = m + n;
  word* sq = acc + n;
  word* t = sq + n;  // 2n
  word* table = t + 2 * n;
  limbs_to_words(m, q->_mp_d, qn, n);
  montgomery mg{m, n, negative_inverse(m[0]), t, addmul_words_kernel()};
  // Into Montgomery form: b R mod q by one division.
  {
    temp sh(abs_size(b) + 2 * n + 1), rem(qn + 1);
    z_mul_2exp(sh.p(), b, static_cast<unsigned long>(n) * 64);
    z_tdiv_qr(nullptr, rem.p(), sh.p(), q);
    limbs_to_words(table, rem.z._mp_d, abs_size(rem.p()), n);
  }
  if (entries > 1) {
    mg.sqr(sq, table);
    for (int i = 1; i < entries; ++i) mg.mul(table + i * n, table + (i - 1) * n, sq);
  }
  // Left to right: runs of zeros are squares; a window of at most k bits that starts and ends
  // with a one is that many squares and one product by its odd power.
  bool started = false;
  long i = static_cast<long>(bits) - 1;
  while (i >= 0) {
    if (!bit_of(e, static_cast<unsigned long>(i))) {
      mg.sqr(acc, acc);
      --i;
      continue;
    }
    long low = i - k + 1 < 0 ? 0 : i - k + 1;
    while (!bit_of(e, static_cast<unsigned long>(low))) ++low;
    unsigned value = 0;
    for (long j = i; j >= low; --j) value = (value << 1) | bit_of(e, static_cast<unsigned long>(j));
    const word* power = table + static_cast<size_t>(value >> 1) * n;
    if (!started) {
      for (int j = 0; j < n; ++j) acc[j] = power[j];
      started = true;
    } else {
      for (long j = i; j >= low; --j) mg.sqr(acc, acc);
      mg.mul(acc, acc, power);
    }
    i = low - 1;
  }
  // Out of Montgomery form: one reduction of acc alone.
  for (int j = 0; j < n; ++j) t[j] = acc[j], t[j + n] = 0;
  mg.reduce(acc);
  limb* out = reinterpret_cast<limb*>(t);  // t is free again; limbs are written through limb
  for (int j = 0; j < n; ++j) {
    out[2 * j] = static_cast<limb>(acc[j]);
    out[2 * j + 1] = static_cast<limb>(acc[j] >> 32);
  }
  set_limbs(r, out, 2 * n, false);
  release(w, words * sizeof(word));
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

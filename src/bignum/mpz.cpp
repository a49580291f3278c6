// The signed integer layer: life cycle, assignment, arithmetic, division families, comparisons.
#include <cmath>
#include <cstring>

#include "bignum/mpz_internal.h"
#include "service/service.h"

namespace zvx::bn {

limb* grow(mpz_ptr z, int n) {
  if (n <= z->_mp_alloc) return z->_mp_d;
  // A new zeroed array, the value copied, the old one freed: the reallocate hook is not used.
  int cap = n;
  limb* d = static_cast<limb*>(allocate(static_cast<size_t>(cap) * sizeof(limb)));
  std::memset(d, 0, static_cast<size_t>(cap) * sizeof(limb));
  int used = abs_size(z);
  copy(d, z->_mp_d, used);
  release(z->_mp_d, static_cast<size_t>(z->_mp_alloc) * sizeof(limb));
  z->_mp_d = d;
  z->_mp_alloc = cap;
  return d;
}

void set_limbs(mpz_ptr z, const limb* p, int n, bool neg) {
  n = normalized_size(p, n);
  limb* d = z->_mp_d;
  if (p != d) {
    d = grow(z, n);
    copy(d, p, n);
  }
  z->_mp_size = neg ? -n : n;
}

temp::temp(int limbs) {
  if (limbs < 1) limbs = 1;
  z._mp_alloc = limbs;
  z._mp_size = 0;
  z._mp_d = alloc_limbs(limbs);
  z._mp_d[0] = 0;
}
temp::~temp() { free_limbs(z._mp_d, z._mp_alloc); }

void z_set(mpz_ptr r, mpz_srcptr a) {
  if (r == a) return;
  int n = abs_size(a);
  limb* d = grow(r, n);
  copy(d, a->_mp_d, n);
  r->_mp_size = a->_mp_size;
}

void z_add(mpz_ptr r, mpz_srcptr a, mpz_srcptr b, bool negate_b) {
  int as = a->_mp_size, bs = negate_b ? -b->_mp_size : b->_mp_size;
  int an = as < 0 ? -as : as, bn = bs < 0 ? -bs : bs;
  bool aneg = as < 0, bneg = bs < 0;
  if (an < bn) {
    std::swap(a, b);
    std::swap(an, bn);
    std::swap(aneg, bneg);
  }
  // Grow first: r may be a or b, and the arrays are read after it.
  limb* rd = grow(r, an + 1);
  const limb* ad = a->_mp_d;
  const limb* bd = b->_mp_d;
  int rn;
  bool rneg;
  if (aneg == bneg) {
    rd[an] = add(rd, ad, an, bd, bn);
    rn = an + 1;
    rneg = aneg;
  } else if (an > bn || cmp(ad, bd, an) >= 0) {
    sub(rd, ad, an, bd, bn);
    rn = an;
    rneg = aneg;
  } else {
    sub_n(rd, bd, ad, an);
    rn = an;
    rneg = bneg;
  }
  rn = normalized_size(rd, rn);
  r->_mp_size = rneg ? -rn : rn;
}

void z_mul(mpz_ptr r, mpz_srcptr a, mpz_srcptr b) {
  int an = abs_size(a), bn = abs_size(b);
  bool neg = (a->_mp_size ^ b->_mp_size) < 0;
  if (an == 0 || bn == 0) {
    r->_mp_size = 0;
    return;
  }
  if (an < bn) {
    std::swap(a, b);
    std::swap(an, bn);
  }
  int rn = an + bn;
  if (r == a || r == b) {
    limb* t = alloc_limbs(rn);
    mul(t, a->_mp_d, an, b->_mp_d, bn);
    limb* d = grow(r, rn);
    copy(d, t, rn);
    free_limbs(t, rn);
  } else {
    limb* d = grow(r, rn);
    mul(d, a->_mp_d, an, b->_mp_d, bn);
  }
  rn = normalized_size(r->_mp_d, rn);
  r->_mp_size = neg ? -rn : rn;
}

void z_tdiv_qr(mpz_ptr q, mpz_ptr r, mpz_srcptr n, mpz_srcptr d) {
  int nn = abs_size(n), dn = abs_size(d);
  if (dn == 0) divide_by_zero();
  bool nneg = n->_mp_size < 0, qneg = (n->_mp_size ^ d->_mp_size) < 0;
  if (nn < dn) {
    if (r) z_set(r, n);
    if (q) q->_mp_size = 0;
    return;
  }
  int qn = nn - dn + 1;
  limb* qt = alloc_limbs(qn);
  limb* rt = alloc_limbs(dn);
  tdiv_qr(qt, rt, n->_mp_d, nn, d->_mp_d, dn);
  if (q) set_limbs(q, qt, qn, qneg);
  if (r) set_limbs(r, rt, dn, nneg);
  free_limbs(qt, qn);
  free_limbs(rt, dn);
}

void z_div_qr(mpz_ptr q, mpz_ptr r, mpz_srcptr n, mpz_srcptr d, int round) {
  if (round == 0) {
    z_tdiv_qr(q, r, n, d);
    return;
  }
  // d may alias q or r: keep a copy of it for the adjustment.
  temp dc(abs_size(d));
  z_set(dc.p(), d);
  temp rt(abs_size(d) + 1);
  // n may be q: its sign is read before the quotient overwrites it.
  bool quotient_negative = (n->_mp_size ^ dc.z._mp_size) < 0;
  z_tdiv_qr(q, rt.p(), n, dc.p());
  int rs = rt.z._mp_size;
  // Floor moves a non-zero remainder when the exact quotient is negative, ceiling when positive.
  if (rs != 0 && ((round < 0) == quotient_negative)) {
    if (q) {
      word_mpz one(1, round < 0);
      z_add(q, q, one.p(), false);
    }
    z_add(rt.p(), rt.p(), dc.p(), round > 0);  // floor: r + d, ceiling: r - d
  }
  if (r) z_set(r, rt.p());
}

int z_cmpabs(mpz_srcptr a, mpz_srcptr b) {
  int an = abs_size(a), bn = abs_size(b);
  if (an != bn) return an > bn ? 1 : -1;
  return cmp(a->_mp_d, b->_mp_d, an);
}

int z_cmp(mpz_srcptr a, mpz_srcptr b) {
  int as = a->_mp_size, bs = b->_mp_size;
  if (as != bs) return as > bs ? 1 : -1;
  int c = cmp(a->_mp_d, b->_mp_d, as < 0 ? -as : as);
  return as < 0 ? -c : c;
}

unsigned long z_bit_length(mpz_srcptr a) {
  int n = abs_size(a);
  if (n == 0) return 0;
  return static_cast<unsigned long>(n - 1) * 32 + (32 - __builtin_clz(a->_mp_d[n - 1]));
}

void z_mul_2exp(mpz_ptr r, mpz_srcptr a, unsigned long k) {
  int an = abs_size(a);
  if (an == 0) {
    r->_mp_size = 0;
    return;
  }
  int w = static_cast<int>(k / 32);
  unsigned s = k % 32;
  int rn = an + w + 1;
  bool neg = a->_mp_size < 0;
  limb* d = grow(r, rn);
  const limb* ad = a->_mp_d;  // after grow: a may be r
  if (s) {
    d[an + w] = lshift(d + w, ad, an, s);
  } else {
    for (int i = an - 1; i >= 0; --i) d[i + w] = ad[i];
    d[an + w] = 0;
  }
  zero(d, w);
  rn = normalized_size(d, rn);
  r->_mp_size = neg ? -rn : rn;
}

void z_pow_ui(mpz_ptr r, mpz_srcptr b, unsigned long e) {
  temp base(abs_size(b) + 1), acc(1);
  z_set(base.p(), b);
  acc.z._mp_d[0] = 1;
  acc.z._mp_size = 1;
  while (e) {
    if (e & 1) z_mul(acc.p(), acc.p(), base.p());
    e >>= 1;
    if (e) z_mul(base.p(), base.p(), base.p());
  }
  z_set(r, acc.p());
}

void z_shift_right(mpz_ptr r, mpz_srcptr a, unsigned long k) {
  int an = abs_size(a);
  int w = static_cast<int>(k / 32);
  unsigned s = k % 32;
  int rn = an - w;
  if (rn <= 0) {
    r->_mp_size = 0;
    return;
  }
  limb* d = grow(r, rn);
  const limb* ad = a->_mp_d;
  if (s)
    rshift(d, ad + w, rn, s);
  else
    for (int i = 0; i < rn; ++i) d[i] = ad[i + w];
  r->_mp_size = normalized_size(d, rn);
}

}  // namespace zvx::bn

using namespace zvx::bn;

// Life cycle.

void zvx::bn::z_init2(mpz_ptr z, mp_bitcnt_t bits) {
  unsigned long limbs = (bits + 31) / 32;
  if (limbs < 8) limbs = 8;
  z->_mp_d = static_cast<limb*>(allocate(limbs * sizeof(limb)));
  std::memset(z->_mp_d, 0, limbs * sizeof(limb));
  z->_mp_alloc = static_cast<int>(limbs);
  z->_mp_size = 0;
}
ZVX_EXPORT void __gmpz_init2(mpz_ptr z, mp_bitcnt_t bits) { z_init2(z, bits); }
void zvx::bn::z_init(mpz_ptr z) { z_init2(z, 8); }
ZVX_EXPORT void __gmpz_init(mpz_ptr z) { z_init(z); }
ZVX_EXPORT void __gmpz_clear(mpz_ptr z) {
  release(z->_mp_d, static_cast<size_t>(z->_mp_alloc) * sizeof(limb));
}
ZVX_EXPORT void __gmpz_array_init(mpz_ptr a, mp_size_t n, mp_size_t bits) {
  for (mp_size_t i = 0; i < n; ++i) z_init2(a + i, static_cast<mp_bitcnt_t>(bits));
}
static void* z_realloc(mpz_ptr z, mp_size_t n) {
  int want = n < 1 ? 1 : static_cast<int>(n);
  if (want > z->_mp_alloc) return grow(z, want);
  // Shrinking keeps the array in use: the limbs above the new length are cleared and the value
  // re-normalised, so it keeps its low limbs and its sign.
  int used = abs_size(z);
  if (used > want) {
    zero(z->_mp_d + want, used - want);
    int n = normalized_size(z->_mp_d, want);
    z->_mp_size = z->_mp_size < 0 ? -n : n;
  }
  return z->_mp_d;
}
ZVX_EXPORT void* __gmpz_realloc(mpz_ptr z, mp_size_t n) { return z_realloc(z, n); }
ZVX_EXPORT void __gmpz_realloc2(mpz_ptr z, mp_bitcnt_t bits) {
  unsigned long limbs = (bits + 31) / 32;
  z_realloc(z, static_cast<mp_size_t>(limbs ? limbs : 1));
}
ZVX_EXPORT void __gmpz_swap(mpz_ptr a, mpz_ptr b) {
  __mpz_struct t = *a;
  *a = *b;
  *b = t;
}

// Assignment and conversion.

ZVX_EXPORT void __gmpz_set(mpz_ptr r, mpz_srcptr a) { z_set(r, a); }
ZVX_EXPORT void __gmpz_set_ui(mpz_ptr r, unsigned long v) { z_set_ui(r, v); }
static void z_set_si(mpz_ptr r, long v) { z_set(r, word_mpz(magnitude(v), v < 0).p()); }
ZVX_EXPORT void __gmpz_set_si(mpz_ptr r, long v) { z_set_si(r, v); }
static void z_set_d(mpz_ptr r, double v) {
  if (std::isnan(v) || std::isinf(v)) {
    std::raise(SIGFPE);
    std::abort();
  }
  uint64_t bits;
  std::memcpy(&bits, &v, 8);
  bool neg = bits >> 63;
  int e = static_cast<int>((bits >> 52) & 0x7FF);
  if (e < 1023) {  // |v| < 1, subnormals included
    r->_mp_size = 0;
    return;
  }
  uint64_t mant = (bits & ((1ULL << 52) - 1)) | (1ULL << 52);
  int shift = e - 1075;  // value = mant * 2^shift
  word_mpz m(shift >= 0 ? mant : mant >> (-shift));
  if (shift > 0)
    z_mul_2exp(r, m.p(), static_cast<unsigned long>(shift));
  else
    z_set(r, m.p());
  if (neg) r->_mp_size = -r->_mp_size;
}
ZVX_EXPORT void __gmpz_set_d(mpz_ptr r, double v) { z_set_d(r, v); }
ZVX_EXPORT void __gmpz_init_set(mpz_ptr r, mpz_srcptr a) {
  z_init2(r, static_cast<mp_bitcnt_t>(abs_size(a)) * 32);
  z_set(r, a);
}
ZVX_EXPORT void __gmpz_init_set_ui(mpz_ptr r, unsigned long v) {
  z_init(r);
  z_set_ui(r, v);
}
ZVX_EXPORT void __gmpz_init_set_si(mpz_ptr r, long v) {
  z_init(r);
  z_set_si(r, v);
}
ZVX_EXPORT void __gmpz_init_set_d(mpz_ptr r, double v) {
  z_init(r);
  z_set_d(r, v);
}

ZVX_EXPORT unsigned long __gmpz_get_ui(mpz_srcptr a) { return z_get_ui(a); }
ZVX_EXPORT long __gmpz_get_si(mpz_srcptr a) {
  unsigned long v = z_get_ui(a);
  if (a->_mp_size >= 0) return static_cast<long>(v & 0x7FFFFFFFFFFFFFFFUL);
  return -1 - static_cast<long>((v - 1) & 0x7FFFFFFFFFFFFFFFUL);
}
ZVX_EXPORT mp_limb_t __gmpz_getlimbn(mpz_srcptr a, mp_size_t i) {
  return i >= 0 && i < abs_size(a) ? a->_mp_d[i] : 0;
}
ZVX_EXPORT size_t __gmpz_size(mpz_srcptr a) { return static_cast<size_t>(abs_size(a)); }

namespace {
// The top 64 bits of |a| truncated, with the exponent of their lowest bit.
double truncated_top(mpz_srcptr a, long* exp2) {
  int n = abs_size(a);
  const limb* d = a->_mp_d;
  unsigned long bits = z_bit_length(a);
  // Gather the top 53 bits exactly, truncating the rest.
  uint64_t top = 0;
  long low_bit;  // position of bit 0 of `top`
  if (bits <= 53) {
    top = z_get_ui(a);
    low_bit = 0;
  } else {
    low_bit = static_cast<long>(bits) - 53;
    long w = low_bit / 32;
    int s = static_cast<int>(low_bit % 32);
    unsigned __int128 acc = 0;
    for (int i = 2; i >= 0; --i) {
      acc <<= 32;
      if (w + i < n) acc |= d[w + i];
    }
    top = static_cast<uint64_t>(acc >> s) & ((1ULL << 53) - 1);
  }
  *exp2 = low_bit;
  return static_cast<double>(top);
}
}  // namespace

ZVX_EXPORT double __gmpz_get_d(mpz_srcptr a) {
  if (a->_mp_size == 0) return 0.0;
  long e;
  double m = truncated_top(a, &e);
  double v = e > 2000 ? HUGE_VAL : std::ldexp(m, static_cast<int>(e));
  return a->_mp_size < 0 ? -v : v;
}
ZVX_EXPORT double __gmpz_get_d_2exp(long* exp, mpz_srcptr a) {
  if (a->_mp_size == 0) {
    *exp = 0;
    return 0.0;
  }
  long e;
  double m = truncated_top(a, &e);
  long bits = static_cast<long>(z_bit_length(a));
  *exp = bits;
  double v = std::ldexp(m, static_cast<int>(e - bits));
  return a->_mp_size < 0 ? -v : v;
}

// Addition.

ZVX_EXPORT void __gmpz_add(mpz_ptr r, mpz_srcptr a, mpz_srcptr b) { z_add(r, a, b, false); }
ZVX_EXPORT void __gmpz_sub(mpz_ptr r, mpz_srcptr a, mpz_srcptr b) {
  if (a == b) {
    r->_mp_size = 0;
    return;
  }
  z_add(r, a, b, true);
}
ZVX_EXPORT void __gmpz_add_ui(mpz_ptr r, mpz_srcptr a, unsigned long v) { z_add(r, a, word_mpz(v).p(), false); }
ZVX_EXPORT void __gmpz_sub_ui(mpz_ptr r, mpz_srcptr a, unsigned long v) { z_add(r, a, word_mpz(v).p(), true); }
ZVX_EXPORT void __gmpz_ui_sub(mpz_ptr r, unsigned long v, mpz_srcptr a) { z_add(r, word_mpz(v).p(), a, true); }
ZVX_EXPORT void __gmpz_neg(mpz_ptr r, mpz_srcptr a) {
  z_set(r, a);
  r->_mp_size = -r->_mp_size;
}
ZVX_EXPORT void __gmpz_abs(mpz_ptr r, mpz_srcptr a) {
  z_set(r, a);
  if (r->_mp_size < 0) r->_mp_size = -r->_mp_size;
}

// Multiplication.

ZVX_EXPORT void __gmpz_mul(mpz_ptr r, mpz_srcptr a, mpz_srcptr b) { z_mul(r, a, b); }
ZVX_EXPORT void __gmpz_mul_ui(mpz_ptr r, mpz_srcptr a, unsigned long v) { z_mul(r, a, word_mpz(v).p()); }
ZVX_EXPORT void __gmpz_mul_si(mpz_ptr r, mpz_srcptr a, long v) {
  z_mul(r, a, word_mpz(magnitude(v), v < 0).p());
}
ZVX_EXPORT void __gmpz_mul_2exp(mpz_ptr r, mpz_srcptr a, mp_bitcnt_t k) { z_mul_2exp(r, a, k); }
static void z_addmul(mpz_ptr r, mpz_srcptr a, mpz_srcptr b) {
  temp t(abs_size(a) + abs_size(b));
  z_mul(t.p(), a, b);
  z_add(r, r, t.p(), false);
}
ZVX_EXPORT void __gmpz_addmul(mpz_ptr r, mpz_srcptr a, mpz_srcptr b) { z_addmul(r, a, b); }
static void z_submul(mpz_ptr r, mpz_srcptr a, mpz_srcptr b) {
  temp t(abs_size(a) + abs_size(b));
  z_mul(t.p(), a, b);
  z_add(r, r, t.p(), true);
}
ZVX_EXPORT void __gmpz_submul(mpz_ptr r, mpz_srcptr a, mpz_srcptr b) { z_submul(r, a, b); }
ZVX_EXPORT void __gmpz_addmul_ui(mpz_ptr r, mpz_srcptr a, unsigned long v) {
  z_addmul(r, a, word_mpz(v).p());
}
ZVX_EXPORT void __gmpz_submul_ui(mpz_ptr r, mpz_srcptr a, unsigned long v) {
  z_submul(r, a, word_mpz(v).p());
}
ZVX_EXPORT void __gmpz_pow_ui(mpz_ptr r, mpz_srcptr b, unsigned long e) { z_pow_ui(r, b, e); }
ZVX_EXPORT void __gmpz_ui_pow_ui(mpz_ptr r, unsigned long b, unsigned long e) { z_pow_ui(r, word_mpz(b).p(), e); }

// Division, three rounding families in nine forms each.

namespace {

// The remainder's magnitude as a word (the divisor fits a word, so does the remainder).
unsigned long abs_ui(mpz_srcptr z) { return z_get_ui(z); }

unsigned long div_ui(mpz_ptr q, mpz_ptr r, mpz_srcptr n, unsigned long d, int round) {
  if (d == 0) divide_by_zero();
  temp rt(2);
  z_div_qr(q, rt.p(), n, word_mpz(d).p(), round);
  unsigned long rem = abs_ui(rt.p());
  if (r) z_set(r, rt.p());
  return rem;
}

// Quotient by 2^k with rounding; r as well when wanted.
void div_2exp(mpz_ptr q, mpz_ptr r, mpz_srcptr n, unsigned long k, int round) {
  int nn = abs_size(n);
  bool neg = n->_mp_size < 0;
  // Low part |n| mod 2^k, and whether it is non-zero.
  unsigned long w = k / 32;
  unsigned s = k % 32;
  bool low_nonzero = false;
  for (unsigned long i = 0; i < w && i < static_cast<unsigned long>(nn); ++i)
    if (n->_mp_d[i]) {
      low_nonzero = true;
      break;
    }
  if (!low_nonzero && s && w < static_cast<unsigned long>(nn) && (n->_mp_d[w] & ((1u << s) - 1)))
    low_nonzero = true;
  bool adjust = low_nonzero && round != 0 && ((round < 0) == neg);
  if (r) {
    // |n| mod 2^k with n's sign, then the adjustment by 2^k.
    temp t(nn + 1);
    z_set(t.p(), n);
    int keep = static_cast<int>(w < static_cast<unsigned long>(nn) ? w + (s ? 1 : 0) : nn);
    if (s && static_cast<int>(w) < nn) t.z._mp_d[w] &= (1u << s) - 1;
    int tn = normalized_size(t.z._mp_d, keep);
    t.z._mp_size = neg ? -tn : tn;
    if (adjust) {
      temp p(static_cast<int>(w) + 2);
      word_mpz one(1);
      z_mul_2exp(p.p(), one.p(), k);
      z_add(t.p(), t.p(), p.p(), round > 0);
    }
    z_set(r, t.p());
  }
  if (q) {
    int qn = nn - static_cast<int>(w);
    if (qn <= 0) {
      q->_mp_size = 0;
    } else {
      limb* d = grow(q, qn);
      const limb* nd = n->_mp_d;
      if (s)
        rshift(d, nd + w, qn, s);
      else
        for (int i = 0; i < qn; ++i) d[i] = nd[i + w];
      qn = normalized_size(d, qn);
      q->_mp_size = neg ? -qn : qn;
    }
    if (adjust) {
      word_mpz one(1, round < 0);
      z_add(q, q, one.p(), false);
    }
  }
}

}  // namespace

#define ZVX_DIV_FAMILY(letter, round)                                                             \
  ZVX_EXPORT void __gmpz_##letter##div_q(mpz_ptr q, mpz_srcptr n, mpz_srcptr d) {                 \
    z_div_qr(q, nullptr, n, d, round);                                                            \
  }                                                                                               \
  ZVX_EXPORT void __gmpz_##letter##div_r(mpz_ptr r, mpz_srcptr n, mpz_srcptr d) {                 \
    z_div_qr(nullptr, r, n, d, round);                                                            \
  }                                                                                               \
  ZVX_EXPORT void __gmpz_##letter##div_qr(mpz_ptr q, mpz_ptr r, mpz_srcptr n, mpz_srcptr d) {     \
    z_div_qr(q, r, n, d, round);                                                                  \
  }                                                                                               \
  ZVX_EXPORT unsigned long __gmpz_##letter##div_q_ui(mpz_ptr q, mpz_srcptr n, unsigned long d) {  \
    return div_ui(q, nullptr, n, d, round);                                                       \
  }                                                                                               \
  ZVX_EXPORT unsigned long __gmpz_##letter##div_r_ui(mpz_ptr r, mpz_srcptr n, unsigned long d) {  \
    return div_ui(nullptr, r, n, d, round);                                                       \
  }                                                                                               \
  ZVX_EXPORT unsigned long __gmpz_##letter##div_qr_ui(mpz_ptr q, mpz_ptr r, mpz_srcptr n,         \
                                                      unsigned long d) {                          \
    return div_ui(q, r, n, d, round);                                                             \
  }                                                                                               \
  ZVX_EXPORT unsigned long __gmpz_##letter##div_ui(mpz_srcptr n, unsigned long d) {               \
    return div_ui(nullptr, nullptr, n, d, round);                                                 \
  }                                                                                               \
  ZVX_EXPORT void __gmpz_##letter##div_q_2exp(mpz_ptr q, mpz_srcptr n, mp_bitcnt_t k) {           \
    div_2exp(q, nullptr, n, k, round);                                                            \
  }                                                                                               \
  ZVX_EXPORT void __gmpz_##letter##div_r_2exp(mpz_ptr r, mpz_srcptr n, mp_bitcnt_t k) {           \
    div_2exp(nullptr, r, n, k, round);                                                            \
  }

ZVX_DIV_FAMILY(t, 0)
ZVX_DIV_FAMILY(f, -1)
ZVX_DIV_FAMILY(c, 1)
#undef ZVX_DIV_FAMILY

ZVX_EXPORT void __gmpz_mod(mpz_ptr r, mpz_srcptr n, mpz_srcptr d) {
  // The remainder of floor division by |d|: never negative.
  temp dc(abs_size(d));
  z_set(dc.p(), d);
  if (dc.z._mp_size < 0) dc.z._mp_size = -dc.z._mp_size;
  z_div_qr(nullptr, r, n, dc.p(), -1);
}
ZVX_EXPORT unsigned long __gmpz_mod_ui(mpz_ptr r, mpz_srcptr n, unsigned long d) { return div_ui(nullptr, r, n, d, -1); }

ZVX_EXPORT void __gmpz_divexact(mpz_ptr q, mpz_srcptr n, mpz_srcptr d) { z_tdiv_qr(q, nullptr, n, d); }
ZVX_EXPORT void __gmpz_divexact_ui(mpz_ptr q, mpz_srcptr n, unsigned long d) { div_ui(q, nullptr, n, d, 0); }

static int z_divisible_p(mpz_srcptr n, mpz_srcptr d) {
  if (d->_mp_size == 0) return n->_mp_size == 0;
  temp r(abs_size(d));
  z_tdiv_qr(nullptr, r.p(), n, d);
  return r.z._mp_size == 0;
}
ZVX_EXPORT int __gmpz_divisible_p(mpz_srcptr n, mpz_srcptr d) { return z_divisible_p(n, d); }
ZVX_EXPORT int __gmpz_divisible_ui_p(mpz_srcptr n, unsigned long d) { return z_divisible_p(n, word_mpz(d).p()); }
static int z_divisible_2exp_p(mpz_srcptr n, mp_bitcnt_t k) {
  temp r(abs_size(n) + 1);
  div_2exp(nullptr, r.p(), n, k, 0);
  return r.z._mp_size == 0;
}
ZVX_EXPORT int __gmpz_divisible_2exp_p(mpz_srcptr n, mp_bitcnt_t k) { return z_divisible_2exp_p(n, k); }
static int z_congruent_p(mpz_srcptr a, mpz_srcptr c, mpz_srcptr d) {
  temp t(abs_size(a) + abs_size(c) + 1);
  z_add(t.p(), a, c, true);
  return z_divisible_p(t.p(), d);
}
ZVX_EXPORT int __gmpz_congruent_p(mpz_srcptr a, mpz_srcptr c, mpz_srcptr d) { return z_congruent_p(a, c, d); }
ZVX_EXPORT int __gmpz_congruent_ui_p(mpz_srcptr a, unsigned long c, unsigned long d) {
  return z_congruent_p(a, word_mpz(c).p(), word_mpz(d).p());
}
ZVX_EXPORT int __gmpz_congruent_2exp_p(mpz_srcptr a, mpz_srcptr c, mp_bitcnt_t k) {
  temp t(abs_size(a) + abs_size(c) + 1);
  z_add(t.p(), a, c, true);
  return z_divisible_2exp_p(t.p(), k);
}
ZVX_EXPORT mp_bitcnt_t __gmpz_remove(mpz_ptr r, mpz_srcptr n, mpz_srcptr f) {
  int fc = z_cmpabs(f, word_mpz(1).p());
  if (f->_mp_size == 0 || fc == 0) {
    // A factor of 0 or +-1 divides nothing away.
    z_set(r, n);
    return 0;
  }
  temp cur(abs_size(n) + 1), q(abs_size(n) + 1), rem(abs_size(f) + 1);
  z_set(cur.p(), n);
  mp_bitcnt_t count = 0;
  while (cur.z._mp_size != 0) {
    z_tdiv_qr(q.p(), rem.p(), cur.p(), f);
    if (rem.z._mp_size != 0) break;
    z_set(cur.p(), q.p());
    ++count;
  }
  z_set(r, cur.p());
  return count;
}

// Comparison.

ZVX_EXPORT int __gmpz_cmp(mpz_srcptr a, mpz_srcptr b) { return z_cmp(a, b); }
ZVX_EXPORT int __gmpz_cmpabs(mpz_srcptr a, mpz_srcptr b) { return z_cmpabs(a, b); }
ZVX_EXPORT int __gmpz_cmp_ui(mpz_srcptr a, unsigned long v) { return z_cmp(a, word_mpz(v).p()); }
ZVX_EXPORT int __gmpz_cmp_si(mpz_srcptr a, long v) { return z_cmp(a, word_mpz(magnitude(v), v < 0).p()); }
ZVX_EXPORT int __gmpz_cmpabs_ui(mpz_srcptr a, unsigned long v) { return z_cmpabs(a, word_mpz(v).p()); }

namespace {
// Compares a with d exactly: the integer part first, then the fraction breaks a tie.
int cmp_double(mpz_srcptr a, double d, bool absolute) {
  if (std::isnan(d)) {
    std::raise(SIGFPE);
    std::abort();
  }
  int as = absolute ? abs_size(a) : a->_mp_size;
  if (absolute) d = std::fabs(d);
  if (std::isinf(d)) return d > 0 ? -1 : 1;
  temp t(4);
  z_set_d(t.p(), d);
  __mpz_struct av = *a;
  av._mp_size = as;
  int c = z_cmp(&av, t.p());
  if (c != 0) return c;
  double frac = d - std::trunc(d);
  return frac > 0 ? -1 : (frac < 0 ? 1 : 0);
}
}  // namespace

ZVX_EXPORT int __gmpz_cmp_d(mpz_srcptr a, double d) { return cmp_double(a, d, false); }
ZVX_EXPORT int __gmpz_cmpabs_d(mpz_srcptr a, double d) { return cmp_double(a, d, true); }
ZVX_EXPORT int __gmpz_sgn(mpz_srcptr a) { return a->_mp_size > 0 ? 1 : (a->_mp_size < 0 ? -1 : 0); }

namespace {
bool fits(mpz_srcptr a, long lo, long hi) {
  int n = abs_size(a);
  if (n > 2) return false;
  unsigned long m = z_get_ui(a);
  if (a->_mp_size >= 0) return m <= static_cast<unsigned long>(hi);
  return m <= magnitude(lo);
}
}  // namespace

ZVX_EXPORT int __gmpz_fits_sint_p(mpz_srcptr a) { return fits(a, INT32_MIN, INT32_MAX); }
ZVX_EXPORT int __gmpz_fits_uint_p(mpz_srcptr a) { return fits(a, 0, UINT32_MAX); }
ZVX_EXPORT int __gmpz_fits_sshort_p(mpz_srcptr a) { return fits(a, INT16_MIN, INT16_MAX); }
ZVX_EXPORT int __gmpz_fits_ushort_p(mpz_srcptr a) { return fits(a, 0, UINT16_MAX); }

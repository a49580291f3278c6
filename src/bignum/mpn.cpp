// Natural-number routines on arrays of 32-bit limbs, least significant first, and their exported
// forms. Products and carries go through 64-bit arithmetic.
#include <cstring>

#include "bignum/bignum.h"
#include "bignum/tuning.h"
#include "service/service.h"

namespace zvx::bn {

limb add_1(limb* r, const limb* a, int n, limb b) {
  dlimb c = b;
  for (int i = 0; i < n; ++i) {
    c += a[i];
    r[i] = static_cast<limb>(c);
    c >>= 32;
  }
  return static_cast<limb>(c);
}

limb add_n(limb* r, const limb* a, const limb* b, int n) {
  dlimb c = 0;
  for (int i = 0; i < n; ++i) {
    c += static_cast<dlimb>(a[i]) + b[i];
    r[i] = static_cast<limb>(c);
    c >>= 32;
  }
  return static_cast<limb>(c);
}

limb add(limb* r, const limb* a, int an, const limb* b, int bn) {
  limb c = add_n(r, a, b, bn);
  return add_1(r + bn, a + bn, an - bn, c);
}

limb sub_1(limb* r, const limb* a, int n, limb b) {
  limb borrow = b;
  for (int i = 0; i < n; ++i) {
    limb x = a[i];
    r[i] = x - borrow;
    borrow = x < borrow;
  }
  return borrow;
}

limb sub_n(limb* r, const limb* a, const limb* b, int n) {
  dlimb c = 0;  // borrow in bit 0 after each step
  for (int i = 0; i < n; ++i) {
    dlimb d = static_cast<dlimb>(a[i]) - b[i] - c;
    r[i] = static_cast<limb>(d);
    c = (d >> 63) & 1;
  }
  return static_cast<limb>(c);
}

limb sub(limb* r, const limb* a, int an, const limb* b, int bn) {
  limb c = sub_n(r, a, b, bn);
  return sub_1(r + bn, a + bn, an - bn, c);
}

limb mul_1(limb* r, const limb* a, int n, limb b) {
  dlimb c = 0;
  for (int i = 0; i < n; ++i) {
    c += static_cast<dlimb>(a[i]) * b;
    r[i] = static_cast<limb>(c);
    c >>= 32;
  }
  return static_cast<limb>(c);
}

limb addmul_1(limb* r, const limb* a, int n, limb b) {
  dlimb c = 0;
  int i = 0;
  // Two limbs a step: the sum a*b + r + c stays below 2^64.
  for (; i + 1 < n; i += 2) {
    c += static_cast<dlimb>(a[i]) * b + r[i];
    r[i] = static_cast<limb>(c);
    c >>= 32;
    c += static_cast<dlimb>(a[i + 1]) * b + r[i + 1];
    r[i + 1] = static_cast<limb>(c);
    c >>= 32;
  }
  if (i < n) {
    c += static_cast<dlimb>(a[i]) * b + r[i];
    r[i] = static_cast<limb>(c);
    c >>= 32;
  }
  return static_cast<limb>(c);
}

limb submul_1(limb* r, const limb* a, int n, limb b) {
  limb c = 0;
  for (int i = 0; i < n; ++i) {
    dlimb p = static_cast<dlimb>(a[i]) * b + c;
    limb lo = static_cast<limb>(p);
    c = static_cast<limb>(p >> 32);
    limb x = r[i];
    r[i] = x - lo;
    c += x < lo;
  }
  return c;
}

int cmp(const limb* a, const limb* b, int n) {
  for (int i = n - 1; i >= 0; --i)
    if (a[i] != b[i]) return a[i] > b[i] ? 1 : -1;
  return 0;
}

limb lshift(limb* r, const limb* a, int n, unsigned s) {
  limb out = a[n - 1] >> (32 - s);
  for (int i = n - 1; i > 0; --i) r[i] = (a[i] << s) | (a[i - 1] >> (32 - s));
  r[0] = a[0] << s;
  return out;
}

limb rshift(limb* r, const limb* a, int n, unsigned s) {
  limb out = a[0] << (32 - s);
  for (int i = 0; i + 1 < n; ++i) r[i] = (a[i] >> s) | (a[i + 1] << (32 - s));
  r[n - 1] = a[n - 1] >> s;
  return out;
}

namespace {

// Limbs 2i and 2i+1 of p (n limbs) as one 64-bit word, zero past the end.
inline uint64_t word_at(const limb* p, int i, int n) {
  const uint64_t lo = p[2 * i];
  const uint64_t hi = 2 * i + 1 < n ? p[2 * i + 1] : 0;
  return lo | (hi << 32);
}

// The schoolbook product on 64-bit words with 128-bit products: pairs of limbs go in as one
// word, so the loop does a quarter of the products of the limb loop, and the result words go
// back into limbs.
void mul_words(limb* r, const limb* a, int an, const limb* b, int bn, uint64_t* w) {
  const int aw = (an + 1) / 2, bw = (bn + 1) / 2;
  uint64_t* A = w;
  uint64_t* B = A + aw;
  uint64_t* R = B + bw;
  for (int i = 0; i < aw; ++i) A[i] = word_at(a, i, an);
  for (int j = 0; j < bw; ++j) B[j] = word_at(b, j, bn);
  {
    unsigned __int128 c = 0;
    for (int i = 0; i < aw; ++i) {
      c += static_cast<unsigned __int128>(A[i]) * B[0];
      R[i] = static_cast<uint64_t>(c);
      c >>= 64;
    }
    R[aw] = static_cast<uint64_t>(c);
  }
  // The rows after the first go through the row kernel of the Montgomery products, which keeps
  // two carry chains in flight where the processor has them: the gcd of two 100,000-bit numbers,
  // whose half-gcd spends most of its time in products below the Karatsuba threshold, measured
  // 5.1 ms with the plain loop here, 4.6-4.9 through the row kernel (GMP 2.4-2.6).
  const addmul_words_fn addmul_words = addmul_words_kernel();
  for (int j = 1; j < bw; ++j) R[j + aw] = addmul_words(R + j, A, aw, B[j]);
  const int rn = an + bn;  // the words past it are zero
  for (int k = 0; k < rn; ++k) r[k] = static_cast<limb>(R[k / 2] >> (32 * (k & 1)));
}

}  // namespace

void mul_basecase(limb* r, const limb* a, int an, const limb* b, int bn) {
  const size_t words = static_cast<size_t>(an + 1) / 2 * 2 + static_cast<size_t>(bn + 1) / 2 * 2 + 2;
  if (words <= 256) {
    uint64_t local[256];
    mul_words(r, a, an, b, bn, local);
    return;
  }
  limb* w = alloc_limbs(2 * words);
  mul_words(r, a, an, b, bn, reinterpret_cast<uint64_t*>(w));
  free_limbs(w, 2 * words);
}

namespace {

// Scratch that karatsuba(n) needs for itself and its recursion.
size_t karatsuba_scratch(int n) {
  size_t total = 0;
  while (n >= tuning::karatsuba_recursion) {
    int hh = n - n / 2;
    total += 6 * static_cast<size_t>(hh) + 2;
    n = hh;
  }
  return total;
}

// |x - y| of the low part (h limbs, zero-extended to hh) and the high part (hh limbs) into r;
// returns 1 when the low part was the larger.
int abs_diff(limb* r, const limb* hi, int hh, const limb* lo, int h) {
  int c;
  if (hh > h && hi[h] != 0) {
    c = 1;
  } else {
    c = cmp(hi, lo, h);
  }
  if (c >= 0) {
    sub(r, hi, hh, lo, h);
    return 0;
  }
  sub_n(r, lo, hi, h);
  for (int i = h; i < hh; ++i) r[i] = 0;
  return 1;
}

void karatsuba(limb* r, const limb* a, const limb* b, int n, limb* ws) {
  if (n < tuning::karatsuba_recursion) {
    mul_basecase(r, a, n, b, n);
    return;
  }
  const int h = n / 2, hh = n - h;
  limb* da = ws;
  limb* db = da + hh;
  limb* z1 = db + hh;          // 2hh limbs
  limb* mid = z1 + 2 * hh;     // 2hh+1 limbs
  limb* next = mid + 2 * hh + 2;
  int neg = abs_diff(da, a + h, hh, a, h) ^ abs_diff(db, b + h, hh, b, h);
  karatsuba(z1, da, db, hh, next);
  karatsuba(r, a, b, h, next);                  // z0 in r[0, 2h)
  karatsuba(r + 2 * h, a + h, b + h, hh, next);  // z2 in r[2h, 2n)
  // mid = z0 + z2 -/+ z1 = a1*b0 + a0*b1
  mid[2 * hh] = add(mid, r + 2 * h, 2 * hh, r, 2 * h);
  if (neg)
    mid[2 * hh] += add_n(mid, mid, z1, 2 * hh);
  else
    mid[2 * hh] -= sub_n(mid, mid, z1, 2 * hh);
  add(r + h, r + h, 2 * n - h, mid, 2 * hh + 1);
}

}  // namespace

void mul_n(limb* r, const limb* a, const limb* b, int n) {
  if (n <= 0) return;
  if (n < tuning::karatsuba_entry) {
    mul_basecase(r, a, n, b, n);
    return;
  }
  if (n >= tuning::transform_entry && transform_mul(r, a, n, b, n)) return;
  if (n >= tuning::toom3_entry) {
    toom3_mul(r, a, b, n);
    return;
  }
  size_t need = karatsuba_scratch(n);
  if (need <= static_cast<size_t>(tuning::karatsuba_local_scratch)) {
    limb local[tuning::karatsuba_local_scratch];
    karatsuba(r, a, b, n, local);
  } else {
    limb* ws = alloc_limbs(need);
    karatsuba(r, a, b, n, ws);
    free_limbs(ws, need);
  }
}

void mul(limb* r, const limb* a, int an, const limb* b, int bn) {
  if (bn == 0) {
    zero(r, an);
    return;
  }
  if (an + bn < tuning::mul_basecase_sum) {
    mul_basecase(r, a, an, b, bn);
    return;
  }
  if (an == bn) {
    mul_n(r, a, b, an);
    return;
  }
  // Cut a in pieces of bn limbs; each square product adds into the result at its offset.
  mul_n(r, a, b, bn);
  limb* t = alloc_limbs(2 * static_cast<size_t>(bn));
  int off = bn;
  for (; off + bn <= an; off += bn) {
    mul_n(t, a + off, b, bn);
    limb c = add_n(r + off, r + off, t, bn);
    copy(r + off + bn, t + bn, bn);
    add_1(r + off + bn, r + off + bn, bn, c);
  }
  int s = an - off;
  if (s > 0) {
    mul(t, b, bn, a + off, s);
    limb c = add_n(r + off, r + off, t, bn);
    copy(r + off + bn, t + bn, s);
    add_1(r + off + bn, r + off + bn, s, c);
  }
  free_limbs(t, 2 * static_cast<size_t>(bn));
}

limb divmod_1(limb* q, const limb* a, int n, limb d) {
  dlimb rem = 0;
  for (int i = n - 1; i >= 0; --i) {
    dlimb x = (rem << 32) | a[i];
    limb qi = static_cast<limb>(x / d);
    rem = x - static_cast<dlimb>(qi) * d;
    q[i] = qi;
  }
  return static_cast<limb>(rem);
}

limb mod_1(const limb* a, int n, limb d) {
  if ((d & (d - 1)) == 0) return n ? a[0] & (d - 1) : 0;
  dlimb rem = 0;
  for (int i = n - 1; i >= 0; --i) rem = ((rem << 32) | a[i]) % d;
  return static_cast<limb>(rem);
}

}  // namespace zvx::bn

using namespace zvx::bn;

ZVX_EXPORT mp_limb_t __gmpn_add_1(mp_ptr r, mp_srcptr a, mp_size_t n, mp_limb_t b) {
  return add_1(r, a, static_cast<int>(n), b);
}
ZVX_EXPORT mp_limb_t __gmpn_add_n(mp_ptr r, mp_srcptr a, mp_srcptr b, mp_size_t n) {
  return add_n(r, a, b, static_cast<int>(n));
}
ZVX_EXPORT mp_limb_t __gmpn_sub_1(mp_ptr r, mp_srcptr a, mp_size_t n, mp_limb_t b) {
  return sub_1(r, a, static_cast<int>(n), b);
}
ZVX_EXPORT mp_limb_t __gmpn_sub_n(mp_ptr r, mp_srcptr a, mp_srcptr b, mp_size_t n) {
  return sub_n(r, a, b, static_cast<int>(n));
}
ZVX_EXPORT mp_limb_t __gmpn_addmul_1(mp_ptr r, mp_srcptr a, mp_size_t n, mp_limb_t b) {
  return addmul_1(r, a, static_cast<int>(n), b);
}
ZVX_EXPORT mp_limb_t __gmpn_submul_1(mp_ptr r, mp_srcptr a, mp_size_t n, mp_limb_t b) {
  return submul_1(r, a, static_cast<int>(n), b);
}
ZVX_EXPORT int __gmpn_cmp(mp_srcptr a, mp_srcptr b, mp_size_t n) { return cmp(a, b, static_cast<int>(n)); }
// The product's top limb, as GMP returns it.
ZVX_EXPORT mp_limb_t __gmpn_mul(mp_ptr r, mp_srcptr a, mp_size_t an, mp_srcptr b, mp_size_t bn) {
  mul(r, a, static_cast<int>(an), b, static_cast<int>(bn));
  return an + bn > 0 ? r[an + bn - 1] : 0;
}
ZVX_EXPORT void __gmpn_mul_n(mp_ptr r, mp_srcptr a, mp_srcptr b, mp_size_t n) {
  mul_n(r, a, b, static_cast<int>(n));
}

// Low-level helpers under their own names.
ZVX_EXPORT void mpl_add_ssaaaa(mp_limb_t* sh, mp_limb_t* sl, mp_limb_t ah, mp_limb_t al, mp_limb_t bh,
                               mp_limb_t bl) {
  dlimb s = ((static_cast<dlimb>(ah) << 32) | al) + ((static_cast<dlimb>(bh) << 32) | bl);
  *sh = static_cast<limb>(s >> 32);
  *sl = static_cast<limb>(s);
}
ZVX_EXPORT void mpl_umul_ppmm(mp_limb_t* ph, mp_limb_t* pl, mp_limb_t a, mp_limb_t b) {
  dlimb p = static_cast<dlimb>(a) * b;
  *ph = static_cast<limb>(p >> 32);
  *pl = static_cast<limb>(p);
}
ZVX_EXPORT mp_limb_t mpn_incr_u(mp_ptr p, mp_limb_t incr) {
  // Carry propagates until it stops; the caller guarantees room.
  dlimb c = static_cast<dlimb>(p[0]) + incr;
  p[0] = static_cast<limb>(c);
  for (int i = 1; (c >> 32) != 0; ++i) {
    c = static_cast<dlimb>(p[i]) + 1;
    p[i] = static_cast<limb>(c);
  }
  return 0;
}
ZVX_EXPORT mp_limb_t mpn_divmod_1(mp_ptr q, mp_srcptr a, mp_size_t n, mp_limb_t d) {
  return divmod_1(q, a, static_cast<int>(n), d);
}
ZVX_EXPORT mp_limb_t mpn_mod_1(mp_srcptr a, mp_size_t n, mp_limb_t d) { return mod_1(a, static_cast<int>(n), d); }
ZVX_EXPORT void mpn_mul_basecase(mp_ptr r, mp_srcptr a, mp_size_t an, mp_srcptr b, mp_size_t bn) {
  mul_basecase(r, a, static_cast<int>(an), b, static_cast<int>(bn));
}

// Bit operations with two's complement meaning on sign-and-magnitude records: a negative x reads
// as ~(|x| - 1) with infinitely many ones above.
#include <climits>

#include "bignum/mpz_internal.h"
#include "service/service.h"

namespace {

using namespace zvx::bn;

// Two's complement image of x over n limbs (n above x's size).
void to_twos(limb* out, mpz_srcptr x, int n) {
  int xn = abs_size(x);
  copy(out, x->_mp_d, xn);
  zero(out + xn, n - xn);
  if (x->_mp_size < 0) {
    sub_1(out, out, n, 1);
    for (int i = 0; i < n; ++i) out[i] = ~out[i];
  }
}

// r from a two's complement image whose top limb carries the sign.
void from_twos(mpz_ptr r, limb* t, int n) {
  bool neg = (t[n - 1] >> 31) != 0;
  if (neg) {
    for (int i = 0; i < n; ++i) t[i] = ~t[i];
    add_1(t, t, n, 1);
  }
  set_limbs(r, t, n, neg);
}

template <class Op>
void logic(mpz_ptr r, mpz_srcptr a, mpz_srcptr b, Op op) {
  int n = (abs_size(a) > abs_size(b) ? abs_size(a) : abs_size(b)) + 1;
  limb* ta = alloc_limbs(2 * static_cast<size_t>(n));
  limb* tb = ta + n;
  to_twos(ta, a, n);
  to_twos(tb, b, n);
  for (int i = 0; i < n; ++i) ta[i] = op(ta[i], tb[i]);
  from_twos(r, ta, n);
  free_limbs(ta, 2 * static_cast<size_t>(n));
}

unsigned popcount_limbs(const limb* p, int n) {
  unsigned long c = 0;
  for (int i = 0; i < n; ++i) c += __builtin_popcount(p[i]);
  return static_cast<unsigned>(c);
}

// Bit i of the two's complement image.
int test_bit(mpz_srcptr x, unsigned long i) {
  int n = abs_size(x);
  unsigned long w = i / 32;
  if (x->_mp_size >= 0) return w < static_cast<unsigned long>(n) ? (x->_mp_d[w] >> (i % 32)) & 1 : 0;
  if (w >= static_cast<unsigned long>(n)) return 1;
  // Bit of ~(|x|-1): the borrow of the -1 passes through the zero limbs below the lowest set one.
  unsigned long low = 0;
  while (x->_mp_d[low] == 0) ++low;
  limb v = x->_mp_d[w];
  if (w > low) v = ~v;
  else if (w == low) v = ~(v - 1);
  else v = 0;  // below the lowest set limb |x|-1 has ones, the image has zeros
  return (v >> (i % 32)) & 1;
}

// Index of the first bit at or after `start` equal to `want` in the two's complement image.
unsigned long scan(mpz_srcptr x, unsigned long start, int want) {
  int n = abs_size(x);
  unsigned long limit = static_cast<unsigned long>(n) * 32;
  for (unsigned long i = start; i < limit; ++i)
    if (test_bit(x, i) == want) return i;
  // Above the top every bit equals the sign.
  int above = x->_mp_size < 0 ? 1 : 0;
  if (above == want) return start > limit ? start : limit;
  return ULONG_MAX;
}

void add_power(mpz_ptr x, unsigned long i, bool subtract) {
  temp p(static_cast<int>(i / 32) + 2);
  word_mpz one(1);
  z_mul_2exp(p.p(), one.p(), i);
  z_add(x, x, p.p(), subtract);
}

}  // namespace

ZVX_EXPORT void __gmpz_and(mpz_ptr r, mpz_srcptr a, mpz_srcptr b) { logic(r, a, b, [](limb x, limb y) { return x & y; }); }
ZVX_EXPORT void __gmpz_ior(mpz_ptr r, mpz_srcptr a, mpz_srcptr b) { logic(r, a, b, [](limb x, limb y) { return x | y; }); }
ZVX_EXPORT void __gmpz_xor(mpz_ptr r, mpz_srcptr a, mpz_srcptr b) { logic(r, a, b, [](limb x, limb y) { return x ^ y; }); }
ZVX_EXPORT void __gmpz_com(mpz_ptr r, mpz_srcptr a) {
  // ~a = -a - 1
  z_add(r, a, word_mpz(1).p(), false);
  r->_mp_size = -r->_mp_size;
}
ZVX_EXPORT mp_bitcnt_t __gmpz_popcount(mpz_srcptr a) {
  if (a->_mp_size < 0) return ULONG_MAX;
  return popcount_limbs(a->_mp_d, a->_mp_size);
}
ZVX_EXPORT mp_bitcnt_t __gmpz_hamdist(mpz_srcptr a, mpz_srcptr b) {
  if ((a->_mp_size < 0) != (b->_mp_size < 0)) return ULONG_MAX;
  int n = (abs_size(a) > abs_size(b) ? abs_size(a) : abs_size(b)) + 1;
  limb* ta = alloc_limbs(2 * static_cast<size_t>(n));
  limb* tb = ta + n;
  to_twos(ta, a, n);
  to_twos(tb, b, n);
  unsigned long c = 0;
  for (int i = 0; i < n; ++i) c += __builtin_popcount(ta[i] ^ tb[i]);
  free_limbs(ta, 2 * static_cast<size_t>(n));
  return c;
}
ZVX_EXPORT mp_bitcnt_t __gmpz_scan0(mpz_srcptr a, mp_bitcnt_t start) { return scan(a, start, 0); }
ZVX_EXPORT mp_bitcnt_t __gmpz_scan1(mpz_srcptr a, mp_bitcnt_t start) { return scan(a, start, 1); }
ZVX_EXPORT int __gmpz_tstbit(mpz_srcptr a, mp_bitcnt_t i) { return test_bit(a, i); }
// Setting a clear bit adds 2^i to the two's complement value; clearing a set bit subtracts it.
ZVX_EXPORT void __gmpz_setbit(mpz_ptr a, mp_bitcnt_t i) {
  if (!test_bit(a, i)) add_power(a, i, false);
}
ZVX_EXPORT void __gmpz_clrbit(mpz_ptr a, mp_bitcnt_t i) {
  if (test_bit(a, i)) add_power(a, i, true);
}

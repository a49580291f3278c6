// Helpers of the integer layer shared by its source files.
#pragma once
#include <csignal>
#include <cstdlib>

#include "bignum/bignum.h"

namespace zvx::bn {

inline int abs_size(mpz_srcptr z) { return z->_mp_size < 0 ? -z->_mp_size : z->_mp_size; }

// Capacity of at least n limbs; the value is kept when it fits.
limb* grow(mpz_ptr z, int n);
// z = +-(p, n), normalising; p may be z's own array.
void set_limbs(mpz_ptr z, const limb* p, int n, bool neg);

// A temporary record over its own limbs from the hooks, released by its destructor.
struct temp {
  __mpz_struct z;
  explicit temp(int limbs = 1);
  ~temp();
  temp(const temp&) = delete;
  temp& operator=(const temp&) = delete;
  mpz_ptr operator&() { return &z; }
  mpz_ptr p() { return &z; }
};

// A record over two stack limbs holding an unsigned long (or a signed long with its sign).
struct word_mpz {
  limb d[2];
  __mpz_struct z;
  explicit word_mpz(unsigned long v, bool neg = false) {
    d[0] = static_cast<limb>(v);
    d[1] = static_cast<limb>(v >> 32);
    int n = d[1] ? 2 : (d[0] ? 1 : 0);
    z._mp_alloc = 2;
    z._mp_size = neg ? -n : n;
    z._mp_d = d;
  }
  mpz_srcptr p() const { return &z; }
};

inline unsigned long magnitude(long v) { return v < 0 ? 0UL - static_cast<unsigned long>(v) : v; }

// Division by zero is a processor fault, as an integer division by zero would give.
[[noreturn]] inline void divide_by_zero() {
  std::raise(SIGFPE);
  std::abort();
}

// Internal bodies of exported entries, so that the layer never calls through an exported name.
void z_init2(mpz_ptr z, mp_bitcnt_t bits);
void z_init(mpz_ptr z);
void z_set(mpz_ptr r, mpz_srcptr a);
void z_add(mpz_ptr r, mpz_srcptr a, mpz_srcptr b, bool negate_b);
void z_mul(mpz_ptr r, mpz_srcptr a, mpz_srcptr b);
// Truncating division; q or r may be null. Remainder has the sign of n.
void z_tdiv_qr(mpz_ptr q, mpz_ptr r, mpz_srcptr n, mpz_srcptr d);
// Rounding: 0 truncate, -1 floor, +1 ceiling.
void z_div_qr(mpz_ptr q, mpz_ptr r, mpz_srcptr n, mpz_srcptr d, int round);
void z_mul_2exp(mpz_ptr r, mpz_srcptr a, unsigned long k);
void z_pow_ui(mpz_ptr r, mpz_srcptr b, unsigned long e);
int z_cmp(mpz_srcptr a, mpz_srcptr b);
int z_cmpabs(mpz_srcptr a, mpz_srcptr b);
unsigned long z_bit_length(mpz_srcptr a);

// Number theory, exponentiation and random numbers.
int z_invert(mpz_ptr r, mpz_srcptr a, mpz_srcptr m);  // 0 when no inverse (r untouched)
void z_gcd(mpz_ptr g, mpz_srcptr a, mpz_srcptr b);
void z_powm(mpz_ptr r, mpz_srcptr a, mpz_srcptr e, mpz_srcptr m);
void z_powm_mary(mpz_ptr r, mpz_srcptr a, mpz_srcptr e, mpz_srcptr m);
void rand_init(gmp_randstate_ptr state);
void rand_clear(gmp_randstate_ptr state);
int z_urandomb(mpz_ptr r, gmp_randstate_ptr state, unsigned long nbits);
void z_urandomm(mpz_ptr r, gmp_randstate_ptr state, mpz_srcptr n);
int z_probab_prime(mpz_srcptr n, int reps);

// Digits of a base that is not a power of two. big_base: the largest power of the base that fits
// a limb, with its digit count. limbs_to_text writes the digits of x (n limbs) most significant
// first, upper case, and returns their count ("0" for n = 0). digits_to_limbs reads len digit
// values (0..base-1, most significant first) into d, which has room for len/digits+2 limbs, and
// returns the normalised limb count.
limb big_base(int base, int* digits);
size_t limbs_to_text(char* out, const limb* x, int n, int base);
int digits_to_limbs(limb* d, const unsigned char* v, size_t len, int base);

// Word forms over the bodies above, for use inside the layer.
inline void z_swap(mpz_ptr a, mpz_ptr b) {
  __mpz_struct t = *a;
  *a = *b;
  *b = t;
}
inline unsigned long z_get_ui(mpz_srcptr a) {
  int n = abs_size(a);
  unsigned long v = n > 0 ? a->_mp_d[0] : 0;
  if (n > 1) v |= static_cast<unsigned long>(a->_mp_d[1]) << 32;
  return v;
}
inline void z_set_ui(mpz_ptr r, unsigned long v) { z_set(r, word_mpz(v).p()); }
inline void z_add_ui(mpz_ptr r, mpz_srcptr a, unsigned long v) { z_add(r, a, word_mpz(v).p(), false); }
inline void z_sub_ui(mpz_ptr r, mpz_srcptr a, unsigned long v) { z_add(r, a, word_mpz(v).p(), true); }
inline void z_mul_ui(mpz_ptr r, mpz_srcptr a, unsigned long v) { z_mul(r, a, word_mpz(v).p()); }
inline int z_cmp_ui(mpz_srcptr a, unsigned long v) { return z_cmp(a, word_mpz(v).p()); }
inline void z_tdiv_q_ui(mpz_ptr q, mpz_srcptr n, unsigned long d) { z_tdiv_qr(q, nullptr, n, word_mpz(d).p()); }
// Floor quotient by 2^k of a non-negative value.
void z_shift_right(mpz_ptr r, mpz_srcptr a, unsigned long k);

}  // namespace zvx::bn

// Internal interface of the big-integer subsystem: limb routines and the hooks, called by the
// integer layer without going through exported names.
#pragma once
#include <cstddef>
#include <cstdint>

#include "zvx_gmp.h"

namespace zvx::bn {

using limb = uint32_t;
using dlimb = uint64_t;
constexpr int limb_bits = 32;

// Memory through the current hooks.
void* allocate(size_t n);
void* reallocate(void* p, size_t old_n, size_t new_n);
void release(void* p, size_t n);
inline limb* alloc_limbs(size_t n) { return static_cast<limb*>(allocate((n ? n : 1) * sizeof(limb))); }
inline void free_limbs(limb* p, size_t n) { release(p, (n ? n : 1) * sizeof(limb)); }

// Euclid on two words (the gcd of cofactors and of residues by small prime products).
inline uint64_t word_gcd(uint64_t u, uint64_t v) {
  while (v) {
    const uint64_t t = u % v;
    u = v;
    v = t;
  }
  return u;
}

// Natural numbers on limb arrays; counts are limbs. Results may alias inputs where the routine
// reads each limb before writing it (same-position aliasing).
limb add_1(limb* r, const limb* a, int n, limb b);
limb add_n(limb* r, const limb* a, const limb* b, int n);
limb add(limb* r, const limb* a, int an, const limb* b, int bn);  // an >= bn
limb sub_1(limb* r, const limb* a, int n, limb b);
limb sub_n(limb* r, const limb* a, const limb* b, int n);
limb sub(limb* r, const limb* a, int an, const limb* b, int bn);  // an >= bn
limb mul_1(limb* r, const limb* a, int n, limb b);
limb addmul_1(limb* r, const limb* a, int n, limb b);
limb submul_1(limb* r, const limb* a, int n, limb b);
int cmp(const limb* a, const limb* b, int n);
limb lshift(limb* r, const limb* a, int n, unsigned s);  // 0 < s < 32, r <= a
limb rshift(limb* r, const limb* a, int n, unsigned s);  // 0 < s < 32, r >= a
void mul_basecase(limb* r, const limb* a, int an, const limb* b, int bn);
void mul_n(limb* r, const limb* a, const limb* b, int n);             // r has 2n limbs, no overlap
// The methods under mul_n, for sizes where each applies (see tuning.h).
void toom3_mul(limb* r, const limb* a, const limb* b, int n);
// r (an+bn limbs) = a b by a real transform; false (r undefined) when the transform could not run.
bool transform_mul(limb* r, const limb* a, int an, const limb* b, int bn);
void mul(limb* r, const limb* a, int an, const limb* b, int bn);     // an >= bn >= 0, no overlap
limb divmod_1(limb* q, const limb* a, int n, limb d);
limb mod_1(const limb* a, int n, limb d);
// Long division: q gets an-dn+1 limbs, r gets dn limbs; an >= dn >= 1, d[dn-1] != 0. q and r may
// be null when not wanted. No overlap with the inputs.
void tdiv_qr(limb* q, limb* r, const limb* a, int an, const limb* d, int dn);
// np (nn limbs) by dp (dn >= 2 limbs, top bit set): q gets nn-dn limbs plus the returned top limb
// (0 or 1), the remainder is left in np[0, dn).
limb div_qr_normalised(limb* q, limb* np, int nn, const limb* dp, int dn);
// v (dn + 1 limbs) with dp v < B^(2 dn) < dp (v + 2), so floor((B^(2 dn) - 1) / dp) or 1 below,
// for dp normalised as above (B = 2^32).
void invert_normalised(limb* v, const limb* dp, int dn);
// div_qr_normalised with that inverse v of dp: two products per quotient block of dn limbs.
limb div_qr_preinv(limb* q, limb* np, int nn, const limb* dp, int dn, const limb* v);

// r[0, n) += a[0, n) u on 64-bit words, returning the carry word: the row of the Montgomery
// products, chosen once for the processor (mpn_words.cpp).
using addmul_words_fn = uint64_t (*)(uint64_t* r, const uint64_t* a, int n, uint64_t u);
addmul_words_fn addmul_words_kernel();

// g = gcd(a, b) for a >= b >= 1 (an >= bn limbs, normalised), in buffers of at least an limbs
// each, which it destroys; g has room for bn limbs. Returns g's length.
int gcd_lehmer(limb* g, limb* a, int an, limb* b, int bn);
// The same contract, by the half-gcd reduction down to tuning::hgcd_gcd_entry limbs, then Lehmer.
int gcd_subquadratic(limb* g, limb* a, int an, limb* b, int bn);
// g = gcd(a, b) (returns its length) and a cofactor s of a: g = s a + t b for some t, s of at most
// max(an, bn) + 1 limbs with its sign in *sn as an integer record's size. a and b (normalised,
// both at least 1 limb, either larger) are destroyed and live in buffers of max(an, bn) limbs;
// g has room for min(an, bn) limbs.
int gcdext_cofactor(limb* g, limb* s, int* sn, limb* a, int an, limb* b, int bn);

// Cofactor magnitudes of Euclid's steps on x >= y (xn limbs, xn - yn <= 1, xn >= 3) taken from
// their leading 62 bits: (x', y') = (A x - B y, D y - C x) after an even number of steps, the
// negatives after an odd one, so that (x, y) = [[D, B], [C, A]] (x', y'). With floor_limbs >= 0
// the steps also stop before y' could fall below 2^(32 floor_limbs). False when no step settled.
struct lehmer_step {
  limb A, B, C, D;
  bool odd;
};
bool lehmer_cofactors(const limb* x, int xn, const limb* y, int yn, int floor_limbs, lehmer_step& st);

inline int normalized_size(const limb* p, int n) {
  while (n > 0 && p[n - 1] == 0) --n;
  return n;
}
inline void copy(limb* r, const limb* a, int n) {
  for (int i = 0; i < n; ++i) r[i] = a[i];
}
inline void copy_down(limb* r, const limb* a, int n) { copy(r, a, n); }
inline void zero(limb* r, int n) {
  for (int i = 0; i < n; ++i) r[i] = 0;
}

}  // namespace zvx::bn

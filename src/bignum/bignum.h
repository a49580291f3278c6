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

// r[0, n) += a[0, n) u on 64-bit words, returning the carry word: the row of the Montgomery
// products, chosen once for the processor (mpn_words.cpp).
using addmul_words_fn = uint64_t (*)(uint64_t* r, const uint64_t* a, int n, uint64_t u);
addmul_words_fn addmul_words_kernel();

// g = gcd(a, b) for a >= b >= 1 (an >= bn limbs, normalised), in buffers of at least an limbs
// each, which it destroys; g has room for bn limbs. Returns g's length.
int gcd_lehmer(limb* g, limb* a, int an, limb* b, int bn);

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

// The random-state interface over one stream of the companion library. A state's word points to
// a slot from the allocate hook holding the stream handle; the congruential parameters and seeds
// of the interface are accepted and ignored, since a stream cannot be reseeded.
#include <cstdlib>
#include <ctime>

#include "bignum/mpz_internal.h"
#include "nvo/nvo_internal.h"
#include "service/service.h"

namespace zvx::bn {

namespace {

constexpr int uniform_bits_generator = 0x100000;

// Process-wide and unlocked: a race between two first calls gives at worst equal seeds.
bool g_seeded = false;
unsigned g_streams = 0;

void** slot_of(gmp_randstate_ptr state) { return static_cast<void**>(state->_mp_slot); }

}  // namespace

void rand_init(gmp_randstate_ptr state) {
  void** slot = static_cast<void**>(allocate(sizeof(void*)));
  *slot = nullptr;
  state->_mp_slot = slot;
  if (!g_seeded) {
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    g_seeded = true;
  }
  ++g_streams;
  nvo::new_stream(slot, uniform_bits_generator, g_streams + static_cast<unsigned>(std::rand()));
}

void rand_clear(gmp_randstate_ptr state) {
  void** slot = slot_of(state);
  nvo::delete_stream(slot);
  release(slot, sizeof(void*));
  state->_mp_slot = nullptr;
}

int z_urandomb(mpz_ptr r, gmp_randstate_ptr state, unsigned long nbits) {
  const int limbs = static_cast<int>((nbits + 31) / 32);
  limb* d = grow(r, limbs);
  zero(d, r->_mp_alloc);
  const int status = nvo::uniform_bits(0, *slot_of(state), limbs, d);
  if (nbits % 32) d[limbs - 1] &= (limb{1} << (nbits % 32)) - 1;
  r->_mp_size = normalized_size(d, limbs);
  return status;
}

void z_urandomm(mpz_ptr r, gmp_randstate_ptr state, mpz_srcptr n) {
  // Rejection on the bit length of n: each draw is accepted with probability above one half.
  const unsigned long bits = z_bit_length(n);
  if (bits == 0) divide_by_zero();
  temp t(abs_size(n) + 1);
  const __mpz_struct mag = {n->_mp_alloc, abs_size(n), n->_mp_d};
  do {
    z_urandomb(t.p(), state, bits);
  } while (z_cmp(t.p(), &mag) >= 0);
  z_set(r, t.p());
}

void z_rrandomb(mpz_ptr r, gmp_randstate_ptr state, unsigned long nbits) {
  if (nbits == 0) {
    r->_mp_size = 0;
    return;
  }
  // Runs rewritten from the bottom: at each position a bit of the uniform draw is the run's value
  // and the next four bits, weighted 8, 4, 2, 1, its length less one. The top bit is set, so the
  // value has exactly nbits bits.
  temp src(static_cast<int>((nbits + 31) / 32) + 1);
  z_urandomb(src.p(), state, nbits + 5);
  const int limbs = static_cast<int>((nbits + 31) / 32);
  limb* d = grow(r, limbs);
  zero(d, limbs);
  auto bit = [&](unsigned long i) -> unsigned {
    return i / 32 < static_cast<unsigned long>(abs_size(src.p())) ? (src.z._mp_d[i / 32] >> (i % 32)) & 1 : 0;
  };
  unsigned long pos = 0;
  while (pos < nbits) {
    const unsigned value = bit(pos);
    const unsigned long len = 1 + 8 * bit(pos + 1) + 4 * bit(pos + 2) + 2 * bit(pos + 3) + bit(pos + 4);
    for (unsigned long i = pos; i < pos + len && i < nbits; ++i)
      if (value) d[i / 32] |= limb{1} << (i % 32);
    pos += len;
  }
  d[(nbits - 1) / 32] |= limb{1} << ((nbits - 1) % 32);
  r->_mp_size = normalized_size(d, limbs);
}

}  // namespace zvx::bn

using namespace zvx::bn;

ZVX_EXPORT void __gmp_randinit_default(gmp_randstate_ptr state) { rand_init(state); }
ZVX_EXPORT void __gmp_randinit_lc_2exp(gmp_randstate_ptr state, mpz_srcptr, unsigned long, mp_bitcnt_t) {
  rand_init(state);
}
ZVX_EXPORT int __gmp_randinit_lc_2exp_size(gmp_randstate_ptr state, mp_bitcnt_t) {
  rand_init(state);
  return 0;
}
ZVX_EXPORT void __gmp_randseed_ui(gmp_randstate_ptr, unsigned long) {}
ZVX_EXPORT void __gmp_randclear(gmp_randstate_ptr state) { rand_clear(state); }

ZVX_EXPORT void _gmp_rand(mp_ptr rp, gmp_randstate_ptr state, unsigned long nbits) {
  const int limbs = static_cast<int>((nbits + 31) / 32);
  temp t(limbs);
  z_urandomb(t.p(), state, nbits);
  const int n = abs_size(t.p());
  copy(rp, t.z._mp_d, n);
  zero(rp + n, limbs - n);
}

ZVX_EXPORT int __gmpz_urandomb(mpz_ptr r, gmp_randstate_ptr state, mp_bitcnt_t nbits) {
  return z_urandomb(r, state, nbits);
}
ZVX_EXPORT void __gmpz_urandomm(mpz_ptr r, gmp_randstate_ptr state, mpz_srcptr n) { z_urandomm(r, state, n); }
ZVX_EXPORT void __gmpz_rrandomb(mpz_ptr r, gmp_randstate_ptr state, mp_bitcnt_t nbits) {
  z_rrandomb(r, state, nbits);
}

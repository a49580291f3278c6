// Primality: trial division by the odd primes below 1000, then Miller-Rabin rounds with random
// bases; and the next prime above a number.
#include "bignum/mpz_internal.h"
#include "service/service.h"

namespace zvx::bn {

namespace {

constexpr limb odd_primes[167] = {
    3,   5,   7,   11,  13,  17,  19,  23,  29,  31,  37,  41,  43,  47,  53,  59,  61,  67,  71,  73,  79,
    83,  89,  97,  101, 103, 107, 109, 113, 127, 131, 137, 139, 149, 151, 157, 163, 167, 173, 179, 181, 191,
    193, 197, 199, 211, 223, 227, 229, 233, 239, 241, 251, 257, 263, 269, 271, 277, 281, 283, 293, 307, 311,
    313, 317, 331, 337, 347, 349, 353, 359, 367, 373, 379, 383, 389, 397, 401, 409, 419, 421, 431, 433, 439,
    443, 449, 457, 461, 463, 467, 479, 487, 491, 499, 503, 509, 521, 523, 541, 547, 557, 563, 569, 571, 577,
    587, 593, 599, 601, 607, 613, 617, 619, 631, 641, 643, 647, 653, 659, 661, 673, 677, 683, 691, 701, 709,
    719, 727, 733, 739, 743, 751, 757, 761, 769, 773, 787, 797, 809, 811, 821, 823, 827, 829, 839, 853, 857,
    859, 863, 877, 881, 883, 887, 907, 911, 919, 929, 937, 941, 947, 953, 967, 971, 977, 983, 991, 997};

// Miller-Rabin with `reps` random bases on odd n above 3: 1 when every round passes.
int miller_rabin(mpz_srcptr n, int reps) {
  const int nn = abs_size(n);
  temp nm1(nn), q(nn), y(2 * nn + 1), base(nn + 1);
  z_sub_ui(nm1.p(), n, 1);
  // n - 1 = q 2^k
  unsigned long k = 0;
  while (((nm1.z._mp_d[k / 32] >> (k % 32)) & 1) == 0) ++k;
  z_shift_right(q.p(), nm1.p(), k);
  gmp_randstate_t state;
  rand_init(state);
  int result = 1;
  for (int round = 0; round < reps && result; ++round) {
    do {
      z_urandomm(base.p(), state, n);
    } while (base.z._mp_size == 0);
    z_powm(y.p(), base.p(), q.p(), n);
    if (z_cmp_ui(y.p(), 1) == 0 || z_cmp(y.p(), nm1.p()) == 0) continue;
    bool witness = true;
    for (unsigned long i = 1; i < k; ++i) {
      z_mul(y.p(), y.p(), y.p());
      z_div_qr(nullptr, y.p(), y.p(), n, -1);
      if (z_cmp(y.p(), nm1.p()) == 0) {
        witness = false;
        break;
      }
    }
    if (witness) result = 0;
  }
  rand_clear(state);
  return result;
}

}  // namespace

int z_probab_prime(mpz_srcptr n_in, int reps) {
  const int nn = abs_size(n_in);
  const __mpz_struct n = {n_in->_mp_alloc, nn, n_in->_mp_d};
  if (nn == 0 || (n._mp_d[0] & 1) == 0) return nn == 1 && n._mp_d[0] == 2 ? 2 : 0;
  if (nn == 1) {
    const limb v = n._mp_d[0];
    if (v == 1) return 0;
    if (v > 7 && (v % 3 == 0 || v % 5 == 0 || v % 7 == 0)) return 0;
    for (limb p : odd_primes) {
      if (v / p < p) return 2;  // no factor up to sqrt(v) left
      if (v % p == 0) return 0;
    }
    // No factor below 1000 and v above 997^2: the rounds decide.
  } else {
    const limb r = mod_1(n._mp_d, nn, 105);
    if (r % 3 == 0 || r % 5 == 0 || r % 7 == 0) return 0;
    // Primes from 11 on in batches whose product fits a limb; one remainder and a word gcd each.
    for (int i = 3; i < 167;) {
      dlimb prod = odd_primes[i++];
      while (i < 167 && prod * odd_primes[i] <= 0xFFFFFFFFu) prod *= odd_primes[i++];
      const limb m = mod_1(n._mp_d, nn, static_cast<limb>(prod));
      if (word_gcd(static_cast<limb>(prod), m) != 1) return 0;
    }
  }
  return miller_rabin(&n, reps);
}

}  // namespace zvx::bn

using namespace zvx::bn;

ZVX_EXPORT int __gmpz_probab_prime_p(mpz_srcptr n, int reps) { return z_probab_prime(n, reps); }

ZVX_EXPORT void __gmpz_nextprime(mpz_ptr r, mpz_srcptr n) {
  if (z_cmp_ui(n, 2) < 0) {
    z_set_ui(r, 2);
    return;
  }
  const bool odd = n->_mp_d[0] & 1;
  z_add_ui(r, n, odd ? 2 : 1);
  while (z_probab_prime(r, 5) == 0) z_add_ui(r, r, 2);
}

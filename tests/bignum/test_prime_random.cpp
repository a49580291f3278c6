// Primality, the next prime and the random-state interface. Primality verdicts and next primes
// are compared with the system GMP; random values are checked for range and bit length only,
// since no sequence is reproducible by design.
#include <gtest/gtest.h>

#include <set>

#include "bignum/gmp_peer.h"

using namespace bntest;

namespace {

using peer_prime = int (*)(const gz*, int);
using peer_next = void (*)(gz*, const gz*);

struct primes {
  peer_prime prime = gmp().sym<peer_prime>("__gmpz_probab_prime_p");
  peer_next next = gmp().sym<peer_next>("__gmpz_nextprime");

  // Both verdicts for the same text (hex); ours must be "prime" exactly when GMP's is.
  void agree(const std::string& hex, int reps = 25) {
    G g(hex);
    Z z(hex);
    int theirs = prime(g.p(), 30);
    int ours = mpz_probab_prime_p(z.p(), reps);
    EXPECT_EQ(ours != 0, theirs != 0) << hex << " ours " << ours << " GMP " << theirs;
    EXPECT_TRUE(ours >= 0 && ours <= 2) << hex;
  }
  // A prime of GMP's above the given text.
  std::string gmp_next(const std::string& hex) {
    G g(hex), r;
    next(r.p(), g.p());
    return upper(r.str());
  }
};

std::string hex_of(unsigned long v) {
  char b[32];
  std::snprintf(b, sizeof b, "%lX", v);
  return b;
}

std::string product(const std::string& a, const std::string& b) {
  Z x(a), y(b), r;
  mpz_mul(r.p(), x.p(), y.p());
  return r.str();
}

int bit_length(mpz_srcptr z) { return z->_mp_size == 0 ? 0 : static_cast<int>(mpz_sizeinbase(z, 2)); }

}  // namespace

TEST(BignumPrime, SmallNumbersAndTheTrialDivisionTable) {
  primes p;
  // Every number below 3000 and around 997^2, the end of the certain one-limb range; certain
  // primes report 2, as GMP does for them.
  for (long v = -20; v < 3000; ++v) p.agree(v < 0 ? "-" + hex_of(-v) : hex_of(v));
  for (unsigned long v = 994009 - 300; v < 994009 + 3000; ++v) p.agree(hex_of(v));
  Z two("2"), one("1"), zero, m7("-7"), big_sq(hex_of(997UL * 997));
  EXPECT_EQ(mpz_probab_prime_p(two.p(), 5), 2);
  EXPECT_EQ(mpz_probab_prime_p(one.p(), 5), 0);
  EXPECT_EQ(mpz_probab_prime_p(zero.p(), 5), 0);
  EXPECT_EQ(mpz_probab_prime_p(m7.p(), 5), 2);
  EXPECT_EQ(mpz_probab_prime_p(big_sq.p(), 5), 0);
  Z p991(hex_of(991));
  EXPECT_EQ(mpz_probab_prime_p(p991.p(), 5), 2);
}

TEST(BignumPrime, CarmichaelSquaresLargePrimesAndComposites) {
  primes p;
  // Carmichael numbers fool Fermat's test for every base prime to them.
  for (unsigned long c : {561UL, 1105UL, 1729UL, 2465UL, 2821UL, 6601UL, 8911UL, 41041UL, 62745UL, 63973UL,
                          75361UL, 101101UL, 126217UL, 172081UL, 188461UL, 252601UL, 278545UL, 294409UL,
                          314821UL, 334153UL, 340561UL, 399001UL, 410041UL, 449065UL, 488881UL, 512461UL})
    p.agree(hex_of(c));
  // (6k+1)(12k+1)(18k+1) with all three factors prime is a Carmichael number; several above one
  // limb, and above 997 in every factor, so only the rounds can find them out.
  G t;
  auto isp = [&](unsigned long v) {
    G g(hex_of(v));
    return p.prime(g.p(), 30) != 0;
  };
  int found = 0;
  for (unsigned long k = 200000; found < 6; ++k) {
    if (isp(6 * k + 1) && isp(12 * k + 1) && isp(18 * k + 1)) {
      std::string c = product(product(hex_of(6 * k + 1), hex_of(12 * k + 1)), hex_of(18 * k + 1));
      Z z(c);
      EXPECT_EQ(mpz_probab_prime_p(z.p(), 10), 0) << c;
      ++found;
    }
  }
  std::mt19937_64 rng(71);
  for (int limbs : {1, 2, 3, 5, 8, 17, 33}) {
    for (int i = 0; i < 4; ++i) {
      std::string a = p.gmp_next(random_hex(rng, limbs, false));
      std::string b = p.gmp_next(random_hex(rng, limbs, false));
      Z za(a), zn("-" + a);
      EXPECT_NE(mpz_probab_prime_p(za.p(), 10), 0) << a;
      EXPECT_NE(mpz_probab_prime_p(zn.p(), 10), 0) << a;  // by magnitude
      Z sq(product(a, a)), pq(product(a, b));
      EXPECT_EQ(mpz_probab_prime_p(sq.p(), 10), 0) << a;
      EXPECT_EQ(mpz_probab_prime_p(pq.p(), 10), 0) << a << " " << b;
      // Random odd numbers of the size: verdicts agree.
      std::string r = random_hex(rng, limbs, false);
      r.back() = "13579BDF"[rng() % 8];
      p.agree(r, 10);
    }
  }
  // A prime times a small prime, with the small one above the trial table and below it.
  std::string big = p.gmp_next(random_hex(rng, 6, false));
  for (unsigned long s : {3UL, 997UL, 1009UL, 65537UL}) {
    Z z(product(big, hex_of(s)));
    EXPECT_EQ(mpz_probab_prime_p(z.p(), 10), 0) << s;
  }
}

TEST(BignumPrime, NextPrimeMatchesGmp) {
  primes p;
  for (long v : {-10L, -1L, 0L, 1L, 2L, 3L, 4L, 7L, 8L, 13L, 89L, 996L, 997L, 1000L, 994009L, 4294967291L,
                 4294967295L, 4294967296L}) {
    std::string s = v < 0 ? "-" + hex_of(-v) : hex_of(v);
    Z z(s), r;
    mpz_nextprime(r.p(), z.p());
    EXPECT_EQ(r.str(), p.gmp_next(s)) << v;
  }
  std::mt19937_64 rng(73);
  for (int limbs : {1, 2, 4, 16, 32}) {
    std::string s = random_hex(rng, limbs, false);
    Z z(s), r;
    mpz_nextprime(r.p(), z.p());
    EXPECT_EQ(r.str(), p.gmp_next(s)) << s;
    mpz_nextprime(z.p(), z.p());  // in place
    EXPECT_EQ(z.str(), r.str());
  }
}

TEST(BignumRandom, UniformBitsStayInRangeAndReachTheTopBit) {
  gmp_randstate_t st;
  gmp_randinit_default(st);
  for (unsigned long bits : {0UL, 1UL, 5UL, 31UL, 32UL, 33UL, 64UL, 100UL, 1000UL}) {
    int longest = 0;
    for (int i = 0; i < 64; ++i) {
      Z z;
      EXPECT_EQ(mpz_urandomb(z.p(), st, bits), 0);
      int b = bit_length(z.p());
      EXPECT_LE(b, static_cast<int>(bits));
      EXPECT_GE(z.p()->_mp_size, 0);
      if (z.p()->_mp_size > 0) EXPECT_NE(z.p()->_mp_d[z.p()->_mp_size - 1], 0u);
      longest = std::max(longest, b);
    }
    EXPECT_EQ(longest, static_cast<int>(bits));  // 64 draws without the top bit: 2^-64
  }
  // Every value of a small range comes up, and none outside it.
  for (unsigned long n : {1UL, 2UL, 10UL, 16UL, 17UL}) {
    Z zn(hex_of(n));
    std::set<unsigned long> seen;
    for (int i = 0; i < 400; ++i) {
      Z z("5");
      mpz_urandomm(z.p(), st, zn.p());
      unsigned long v = mpz_get_ui(z.p());
      EXPECT_LT(v, n);
      EXPECT_GE(z.p()->_mp_size, 0);
      seen.insert(v);
    }
    EXPECT_EQ(seen.size(), n);
  }
  // A large bound just above a power of two, where rejection runs most often.
  Z big("1" + std::string(200, '0') + "1");
  for (int i = 0; i < 20; ++i) {
    Z z;
    mpz_urandomm(z.p(), st, big.p());
    EXPECT_LT(mpz_cmp(z.p(), big.p()), 0);
  }
  gmp_randclear(st);
}

TEST(BignumRandom, RunsLimbFillAndTheOtherInitialisers) {
  gmp_randstate_t a, b, c;
  gmp_randinit_default(a);
  gmp_randinit_lc_2exp(b, nullptr, 1, 64);
  EXPECT_EQ(gmp_randinit_lc_2exp_size(c, 128), 0);
  for (unsigned long bits : {1UL, 2UL, 31UL, 32UL, 33UL, 500UL}) {
    for (int i = 0; i < 16; ++i) {
      Z z;
      mpz_rrandomb(z.p(), c, bits);
      EXPECT_EQ(bit_length(z.p()), static_cast<int>(bits));
    }
  }
  Z z0("7");
  mpz_rrandomb(z0.p(), c, 0);
  EXPECT_EQ(z0.p()->_mp_size, 0);
  // _gmp_rand fills (nbits+31)/32 limbs, the top one masked, and nothing beyond.
  for (unsigned long bits : {1UL, 32UL, 45UL, 96UL, 97UL}) {
    std::vector<mp_limb_t> buf(8, 0xDEADBEEFu);
    _gmp_rand(buf.data(), b, bits);
    size_t limbs = (bits + 31) / 32;
    for (size_t i = limbs; i < buf.size(); ++i) EXPECT_EQ(buf[i], 0xDEADBEEFu);
    if (bits % 32) EXPECT_EQ(buf[limbs - 1] >> (bits % 32), 0u);
  }
  // Seeding does nothing: two states seeded alike still give different draws.
  gmp_randseed_ui(a, 42);
  gmp_randseed_ui(b, 42);
  Z x, y;
  mpz_urandomb(x.p(), a, 256);
  mpz_urandomb(y.p(), b, 256);
  EXPECT_NE(x.str(), y.str());
  gmp_randclear(a);
  gmp_randclear(b);
  gmp_randclear(c);
}

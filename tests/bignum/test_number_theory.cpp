// Modular exponentiation and number theory against the system GMP.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "bignum/gmp_peer.h"
#include "bignum/tuning.h"

using namespace bntest;
namespace tn = zvx::bn::tuning;

namespace {
using peer_powm = void (*)(gz*, const gz*, const gz*, const gz*);
}

TEST(BignumPowm, MatchesGmpAroundTheMontgomeryLimit) {
  auto theirs = gmp().sym<peer_powm>("__gmpz_powm");
  std::mt19937_64 rng(53);
  const int lim = tn::montgomery_max_limbs;
  // Limb counts odd and even (the word arithmetic pads an odd count), word counts that leave 2
  // and 3 words after the rows' four-word turns, the 2,048-bit size and both sides of the
  // Montgomery limit.
  for (int mn : {1, 2, 3, 8, 11, 13, 31, 64, lim - 1, lim, lim + 1}) {
    for (int k = 0; k < 6; ++k) {
      std::string m = random_hex(rng, mn, false);
      if (k == 1) m = m.size() > 1 ? m.substr(0, m.size() - 1) + "0" : "2";  // even: split and join
      if (k == 2) m = "1" + std::string(8 * mn - 1, '0');  // a power of two
      std::string a = random_hex(rng, 1 + static_cast<int>(rng() % (mn + 2)), k != 0);
      std::string e = random_hex(rng, 1 + static_cast<int>(rng() % 3), false);
      if (k == 3) e = random_hex(rng, mn < lim - 1 ? mn + 1 : 4, false);  // exponent above the modulus
      G gm(m), ga(a), ge(e), gr;
      theirs(gr.p(), ga.p(), ge.p(), gm.p());
      Z zm(m), za(a), ze(e), zr, zq;
      mpz_powm(zr.p(), za.p(), ze.p(), zm.p());
      ASSERT_EQ(zr.str(), upper(gr.str())) << "m=" << m << " a=" << a << " e=" << e;
      mpz_powm_mary(zq.p(), za.p(), ze.p(), zm.p());
      EXPECT_EQ(zq.str(), zr.str());
      Z alias(a);
      mpz_powm(alias.p(), alias.p(), ze.p(), zm.p());
      EXPECT_EQ(alias.str(), zr.str());
    }
  }
  // Negative bases reduce to the modulus's residue first.
  for (int mn : {3, 64}) {
    std::string m = random_hex(rng, mn, true), a = "-" + random_hex(rng, mn + 1, false), e = random_hex(rng, 2, false);
    G gm(m), ga(a), ge(e), gr;
    theirs(gr.p(), ga.p(), ge.p(), gm.p());
    Z zm(m), za(a), ze(e), zr;
    mpz_powm(zr.p(), za.p(), ze.p(), zm.p());
    ASSERT_EQ(zr.str(), upper(gr.str())) << "negative base, " << mn << " limbs";
  }
  // Zero exponent, modulus 1, negative exponents with and without an inverse, the word form.
  Z a("7"), m("D"), one("1"), zero, r, e("-3");
  mpz_powm(r.p(), a.p(), zero.p(), m.p());
  EXPECT_EQ(r.str(), "1");
  mpz_powm(r.p(), a.p(), zero.p(), one.p());
  EXPECT_EQ(r.str(), "0");
  mpz_powm(r.p(), a.p(), e.p(), m.p());
  G ga("7"), gm("D"), ge("-3"), gr;
  theirs(gr.p(), ga.p(), ge.p(), gm.p());
  EXPECT_EQ(r.str(), upper(gr.str()));
  Z b("6"), m2("9"), keep("2A");
  mpz_powm(keep.p(), b.p(), e.p(), m2.p());
  EXPECT_EQ(keep.str(), "2A");  // 6 has no inverse modulo 9: r stays as it was
  mpz_powm_ui(r.p(), a.p(), 1000003, m.p());
  auto pui = gmp().sym<void (*)(gz*, const gz*, unsigned long, const gz*)>("__gmpz_powm_ui");
  pui(gr.p(), ga.p(), 1000003, gm.p());
  EXPECT_EQ(r.str(), upper(gr.str()));
}

TEST(BignumPowm, WorstCaseOperandsAndEveryWindowShape) {
  // All-ones words give the largest partial sums and carries of the word rows and the final
  // subtraction; exponents with long runs of ones and of zeros, and every bit length up to the
  // widest window, cover the window's edges (a window cut short by the exponent's end, a window
  // that must skip trailing zeros, a first window shorter than the width).
  auto theirs = gmp().sym<peer_powm>("__gmpz_powm");
  std::mt19937_64 rng(59);
  const int lim = tn::montgomery_max_limbs;
  auto check = [&](const std::string& a, const std::string& e, const std::string& m) {
    G gm(m), ga(a), ge(e), gr;
    theirs(gr.p(), ga.p(), ge.p(), gm.p());
    Z zm(m), za(a), ze(e), zr;
    mpz_powm(zr.p(), za.p(), ze.p(), zm.p());
    ASSERT_EQ(zr.str(), upper(gr.str())) << "m=" << m.substr(0, 16) << ".. (" << m.size() / 8 << " limbs), e=" << e;
  };
  for (int mn : {1, 7, 64, lim}) {
    const std::string ones(8 * static_cast<size_t>(mn), 'F');
    const std::string below = ones.substr(0, ones.size() - 1) + "D";  // m - 2: -2 modulo m
    const std::string top = "8" + std::string(ones.size() - 2, '0') + "1";  // smallest odd with the top bit
    const int ebits = mn >= lim ? 200 : 2048;
    check(below, std::string(static_cast<size_t>(ebits) / 4, 'F'), ones);
    check(ones.substr(1), std::string(static_cast<size_t>(ebits) / 4, 'F'), top);
    check(random_hex(rng, mn, false), "1" + std::string(static_cast<size_t>(ebits) / 4, '0'), ones);
    check(random_hex(rng, mn, false), std::string(static_cast<size_t>(ebits) / 8, '5'), below);
  }
  const std::string m = random_hex(rng, 64, true), a = random_hex(rng, 63, false);
  for (int bits = 1; bits <= 2 * tn::powm_window_max + 3; ++bits) {
    // b^(2^bits - 1), b^(2^(bits-1)) and b^(2^(bits-1) + 1): all ones, a lone top bit, both ends.
    mpz_t x;
    mpz_init(x);
    for (int shape = 0; shape < 3; ++shape) {
      mpz_set_ui(x, 0);
      mpz_setbit(x, static_cast<unsigned long>(bits - 1));
      if (shape == 0) for (int i = 0; i < bits; ++i) mpz_setbit(x, static_cast<unsigned long>(i));
      if (shape == 2) mpz_setbit(x, 0);
      char* text = mpz_get_str(nullptr, 16, x);
      check(a, text, m);
      void (*release)(void*, size_t);
      mp_get_memory_functions(nullptr, nullptr, &release);
      release(text, std::strlen(text) + 1);
    }
    mpz_clear(x);
  }
}

TEST(BignumNumberTheory, GcdInverseAndLcmMatchGmp) {
  std::mt19937_64 rng(59);
  auto pgcd = gmp().sym<void (*)(gz*, const gz*, const gz*)>("__gmpz_gcd");
  auto plcm = gmp().sym<void (*)(gz*, const gz*, const gz*)>("__gmpz_lcm");
  auto pinv = gmp().sym<int (*)(gz*, const gz*, const gz*)>("__gmpz_invert");
  auto pgui = gmp().sym<unsigned long (*)(gz*, const gz*, unsigned long)>("__gmpz_gcd_ui");
  auto plui = gmp().sym<void (*)(gz*, const gz*, unsigned long)>("__gmpz_lcm_ui");
  for (int i = 0; i < 120; ++i) {
    std::string c = random_hex(rng, i % 3);
    std::string a = random_hex(rng, i % 7), b = random_hex(rng, (i / 7) % 6);
    // A common factor makes the gcd interesting.
    Z zc(c), za(a), zb(b);
    if (i % 2) {
      mpz_mul(za.p(), za.p(), zc.p());
      mpz_mul(zb.p(), zb.p(), zc.p());
    }
    G ga(za.str()), gb(zb.str()), g1, g2, g3, g5;
    pgcd(g1.p(), ga.p(), gb.p());
    plcm(g2.p(), ga.p(), gb.p());
    Z r1, r2(za.str()), r3;
    mpz_gcd(r1.p(), za.p(), zb.p());
    mpz_lcm(r2.p(), r2.p(), zb.p());
    EXPECT_EQ(r1.str(), upper(g1.str())) << za.str() << " " << zb.str();
    EXPECT_EQ(r2.str(), upper(g2.str()));
    if (zb.p()->_mp_size != 0) {
      int want = pinv(g3.p(), ga.p(), gb.p());
      int got = mpz_invert(r3.p(), za.p(), zb.p());
      EXPECT_EQ(got != 0, want != 0) << za.str() << " " << zb.str();
      if (want) EXPECT_EQ(r3.str(), upper(g3.str()));
    }
    unsigned long w = rng() >> (rng() % 64);
    EXPECT_EQ(mpz_gcd_ui(nullptr, za.p(), w), pgui(nullptr, ga.p(), w));
    Z r4;
    mpz_lcm_ui(r4.p(), za.p(), w);
    plui(g5.p(), ga.p(), w);
    EXPECT_EQ(r4.str(), upper(g5.str()));
  }
}

TEST(BignumNumberTheory, GcdextCofactorsMatchGmp) {
  std::mt19937_64 rng(71);
  auto pext = gmp().sym<void (*)(gz*, gz*, gz*, const gz*, const gz*)>("__gmpz_gcdext");
  std::vector<std::pair<std::string, std::string>> cases = {
      {"0", "0"}, {"0", "5"}, {"5", "0"}, {"-5", "0"}, {"0", "-5"}, {"7", "7"}, {"-7", "7"},
      {"6", "-6"}, {"3", "6"}, {"6", "3"}, {"-3", "6"}, {"4", "2"}, {"2", "4"}, {"-4", "2"}, {"1", "1"}};
  for (int i = 0; i < 200; ++i) {
    std::string a = random_hex(rng, i % 5), b = random_hex(rng, (i / 5) % 4);
    if (i % 3 == 0) {  // a common factor
      Z za(a), zb(b), zc(random_hex(rng, 1, false));
      mpz_mul(za.p(), za.p(), zc.p());
      mpz_mul(zb.p(), zb.p(), zc.p());
      a = za.str(), b = zb.str();
    }
    cases.push_back({a, b});
  }
  for (auto& [a, b] : cases) {
    G ga(a), gb(b), gg, gs, gt;
    pext(gg.p(), gs.p(), gt.p(), ga.p(), gb.p());
    Z za(a), zb(b), zg, zs, zt, zs2;
    mpz_gcdext(zg.p(), zs.p(), zt.p(), za.p(), zb.p());
    EXPECT_EQ(zg.str(), upper(gg.str())) << a << " " << b;
    EXPECT_EQ(zs.str(), upper(gs.str())) << a << " " << b;
    EXPECT_EQ(zt.str(), upper(gt.str())) << a << " " << b;
    Z x(a);
    mpz_gcdext(x.p(), zs2.p(), nullptr, x.p(), zb.p());  // g over a, no t
    EXPECT_EQ(x.str(), zg.str());
    EXPECT_EQ(zs2.str(), zs.str());
  }
}

TEST(BignumNumberTheory, RootsAndPowersMatchGmp) {
  std::mt19937_64 rng(61);
  auto proot = gmp().sym<int (*)(gz*, const gz*, unsigned long)>("__gmpz_root");
  auto prootrem = gmp().sym<void (*)(gz*, gz*, const gz*, unsigned long)>("__gmpz_rootrem");
  auto psqrtrem = gmp().sym<void (*)(gz*, gz*, const gz*)>("__gmpz_sqrtrem");
  auto psq = gmp().sym<int (*)(const gz*)>("__gmpz_perfect_square_p");
  auto ppow = gmp().sym<int (*)(const gz*)>("__gmpz_perfect_power_p");
  for (int i = 0; i < 80; ++i) {
    std::string x = random_hex(rng, i % 9, false);
    Z z(x);
    if (i % 4 == 1) mpz_mul(z.p(), z.p(), z.p());         // a square
    if (i % 4 == 2) mpz_pow_ui(z.p(), z.p(), 3 + i % 3);  // a higher power
    if (i % 8 == 3) mpz_neg(z.p(), z.p());
    G g(z.str());
    for (unsigned long k : {1UL, 2UL, 3UL, 5UL}) {
      if (z.p()->_mp_size < 0 && k % 2 == 0) continue;
      G gr, gq;
      int want = proot(gr.p(), g.p(), k);
      Z r;
      EXPECT_EQ(mpz_root(r.p(), z.p(), k) != 0, want != 0) << z.str() << " k=" << k;
      EXPECT_EQ(r.str(), upper(gr.str()));
      prootrem(gr.p(), gq.p(), g.p(), k);
      Z r2, q2;
      mpz_rootrem(r2.p(), q2.p(), z.p(), k);
      EXPECT_EQ(r2.str(), upper(gr.str()));
      EXPECT_EQ(q2.str(), upper(gq.str()));
    }
    if (z.p()->_mp_size >= 0) {
      G gr, gq;
      psqrtrem(gr.p(), gq.p(), g.p());
      Z r, q, s;
      mpz_sqrtrem(r.p(), q.p(), z.p());
      mpz_sqrt(s.p(), z.p());
      EXPECT_EQ(r.str(), upper(gr.str()));
      EXPECT_EQ(q.str(), upper(gq.str()));
      EXPECT_EQ(s.str(), r.str());
    }
    EXPECT_EQ(mpz_perfect_square_p(z.p()) != 0, psq(g.p()) != 0) << z.str();
    if (i % 9 < 4) EXPECT_EQ(mpz_perfect_power_p(z.p()) != 0, ppow(g.p()) != 0) << z.str();
  }
  Z zero, one("1"), two("2");
  EXPECT_TRUE(mpz_perfect_power_p(zero.p()));
  EXPECT_TRUE(mpz_perfect_power_p(one.p()));
  EXPECT_FALSE(mpz_perfect_power_p(two.p()));
}

TEST(BignumNumberTheory, SymbolsAndSequencesMatchGmp) {
  std::mt19937_64 rng(67);
  auto pjac = gmp().sym<int (*)(const gz*, const gz*)>("__gmpz_jacobi");
  auto pksi = gmp().sym<int (*)(const gz*, long)>("__gmpz_kronecker_si");
  auto pkui = gmp().sym<int (*)(const gz*, unsigned long)>("__gmpz_kronecker_ui");
  auto psik = gmp().sym<int (*)(long, const gz*)>("__gmpz_si_kronecker");
  auto puik = gmp().sym<int (*)(unsigned long, const gz*)>("__gmpz_ui_kronecker");
  for (int i = 0; i < 300; ++i) {
    std::string a = random_hex(rng, i % 4), b = random_hex(rng, 1 + i % 3);
    G ga(a), gb(b);
    Z za(a), zb(b);
    if (zb.p()->_mp_d[0] & 1 && zb.p()->_mp_size > 0)
      EXPECT_EQ(mpz_jacobi(za.p(), zb.p()), pjac(ga.p(), gb.p())) << a << " " << b;
    long s = static_cast<long>(rng() % 2000) - 1000;
    unsigned long u = rng() % 5000;
    EXPECT_EQ(mpz_kronecker_si(za.p(), s), pksi(ga.p(), s)) << a << " " << s;
    EXPECT_EQ(mpz_kronecker_ui(za.p(), u), pkui(ga.p(), u)) << a << " " << u;
    EXPECT_EQ(mpz_si_kronecker(s, zb.p()), psik(s, gb.p())) << s << " " << b;
    EXPECT_EQ(mpz_ui_kronecker(u, zb.p()), puik(u, gb.p())) << u << " " << b;
  }
  auto pfac = gmp().sym<void (*)(gz*, unsigned long)>("__gmpz_fac_ui");
  auto pbin = gmp().sym<void (*)(gz*, const gz*, unsigned long)>("__gmpz_bin_ui");
  auto pbinuu = gmp().sym<void (*)(gz*, unsigned long, unsigned long)>("__gmpz_bin_uiui");
  auto pfib2 = gmp().sym<void (*)(gz*, gz*, unsigned long)>("__gmpz_fib2_ui");
  auto pluc2 = gmp().sym<void (*)(gz*, gz*, unsigned long)>("__gmpz_lucnum2_ui");
  for (unsigned long n : {0UL, 1UL, 2UL, 3UL, 10UL, 31UL, 64UL, 200UL, 1001UL}) {
    G g1, g2, g3, g5, g6;
    Z z1, z2, z3, z4, z5, z6;
    pfac(g1.p(), n);
    mpz_fac_ui(z1.p(), n);
    EXPECT_EQ(z1.str(), upper(g1.str())) << n;
    pfib2(g2.p(), g3.p(), n);
    mpz_fib2_ui(z2.p(), z3.p(), n);
    EXPECT_EQ(z2.str(), upper(g2.str())) << n;
    EXPECT_EQ(z3.str(), upper(g3.str())) << n;
    mpz_fib_ui(z4.p(), n);
    EXPECT_EQ(z4.str(), z2.str());
    pluc2(g5.p(), g6.p(), n);
    mpz_lucnum2_ui(z5.p(), z6.p(), n);
    EXPECT_EQ(z5.str(), upper(g5.str())) << n;
    if (n > 0) EXPECT_EQ(z6.str(), upper(g6.str())) << n;
    mpz_lucnum_ui(z4.p(), n);
    EXPECT_EQ(z4.str(), z5.str());
    for (unsigned long k : {0UL, 1UL, 2UL, 7UL, n / 2, n, n + 1}) {
      for (long sn : {static_cast<long>(n), -static_cast<long>(n) - 3}) {
        G gn, gb;
        Z zn, zb;
        mpz_set_si(zn.p(), sn);
        gn.set(zn.str());
        pbin(gb.p(), gn.p(), k);
        mpz_bin_ui(zb.p(), zn.p(), k);
        EXPECT_EQ(zb.str(), upper(gb.str())) << sn << " " << k;
      }
      G gb;
      Z zb;
      pbinuu(gb.p(), n, k);
      mpz_bin_uiui(zb.p(), n, k);
      EXPECT_EQ(zb.str(), upper(gb.str()));
    }
  }
}

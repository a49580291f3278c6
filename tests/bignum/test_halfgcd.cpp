// The half-gcd reduction and the division by a power's inverse in get_str, against the system
// GMP at sizes on both sides of their entries in tuning.h, on the operands that stress them:
// long runs of quotient 1 (Fibonacci neighbours), one huge quotient in the middle of the
// sequence, all-ones limbs, large common factors, and results written over an operand.
#include <gtest/gtest.h>

#include <vector>

#include "bignum/gmp_peer.h"
#include "bignum/tuning.h"

using namespace bntest;
namespace tn = zvx::bn::tuning;

namespace {

using peer_gcd = void (*)(gz*, const gz*, const gz*);

// Checks mpz_gcd(a, b) against GMP, then the same with the result over either operand.
void check_gcd(const std::string& a, const std::string& b, const char* what) {
  static peer_gcd theirs = gmp().sym<peer_gcd>("__gmpz_gcd");
  G ga(a), gb(b), gg;
  theirs(gg.p(), ga.p(), gb.p());
  const std::string want = upper(gg.str());
  Z za(a), zb(b), zg;
  mpz_gcd(zg.p(), za.p(), zb.p());
  ASSERT_EQ(zg.str(), want) << what << ", " << a.size() / 8 << " and " << b.size() / 8 << " limbs";
  mpz_gcd(za.p(), za.p(), zb.p());
  ASSERT_EQ(za.str(), want) << what << ", result over the first operand";
  Z za2(a);
  mpz_gcd(zb.p(), za2.p(), zb.p());
  ASSERT_EQ(zb.str(), want) << what << ", result over the second operand";
}

std::string product(const std::string& x, const std::string& y) {
  Z zx(x), zy(y), r;
  mpz_mul(r.p(), zx.p(), zy.p());
  return r.str();
}

// The sizes around an entry: below, at, above it, and where a half or a third of the length
// reaches it again.
std::vector<int> around(int e) { return {e - 1, e, e + 1, 2 * e - 1, 2 * e + 2, 3 * e + 1, 7 * e + 3}; }

}  // namespace

TEST(BignumHalfGcd, RandomPairsAcrossTheEntries) {
  std::mt19937_64 rng(211);
  for (int e : {tn::hgcd_entry, tn::hgcd_gcd_entry}) {
    for (int n : around(e)) {
      check_gcd(random_hex(rng, n), random_hex(rng, n), "equal lengths");
      check_gcd(random_hex(rng, n), random_hex(rng, n - 1), "one limb apart");
      check_gcd(random_hex(rng, n), random_hex(rng, n / 2 + 1), "half the length");
      // A common factor of a third and of two thirds of the length: the gcd itself is long.
      for (int c : {n / 3 + 1, 2 * n / 3}) {
        const std::string f = random_hex(rng, c, false);
        check_gcd(product(random_hex(rng, n - c), f), product(random_hex(rng, n - c), f), "common factor");
      }
    }
  }
}

TEST(BignumHalfGcd, WorstCaseSequences) {
  std::mt19937_64 rng(223);
  const int top = 7 * tn::hgcd_gcd_entry + 3;
  for (int n : {tn::hgcd_entry, tn::hgcd_gcd_entry, 2 * tn::hgcd_gcd_entry + 1, top}) {
    // Consecutive Fibonacci numbers: every quotient is 1 and the cofactors grow as slowly as they
    // can, so the reduction needs the most steps per limb. Also times a common factor.
    Z f1, f2;
    mpz_fib2_ui(f1.p(), f2.p(), static_cast<unsigned long>(n) * 32 * 144 / 100);
    check_gcd(f1.str(), f2.str(), "Fibonacci neighbours");
    const std::string c = random_hex(rng, n / 4 + 1, false);
    check_gcd(product(f1.str(), c), product(f2.str(), c), "Fibonacci neighbours times a factor");
    // All-ones limbs against a one followed by zeros, and against all ones one limb shorter.
    const std::string ones(8 * static_cast<size_t>(n), 'F');
    check_gcd(ones, "8" + std::string(8 * static_cast<size_t>(n) - 1, '0'), "all ones and a power of two");
    check_gcd(ones, ones.substr(8), "all ones, one limb apart");
    check_gcd(ones, ones, "equal operands");
    // One huge quotient in the middle of the sequence: a = b q + r with q of a quarter of the
    // length, which the steps taken from the leading limbs cannot settle.
    const std::string b = random_hex(rng, n, false), q = random_hex(rng, n / 4 + 1, false);
    Z zb(b), zq(q), zr(random_hex(rng, n - 2, false)), za;
    mpz_mul(za.p(), zb.p(), zq.p());
    mpz_add(za.p(), za.p(), zr.p());
    check_gcd(za.str(), b, "a huge quotient");
    // Signs and a zero.
    check_gcd("-" + b, q, "negative operand");
    check_gcd(b, "0", "zero operand");
  }
}

TEST(BignumHalfGcd, GcdOfLongNumbersWithKnownFactors) {
  // gcd(x g, y g) = g for coprime x, y: a check that does not rest on the peer. x and y are
  // consecutive integers, so coprime; g is odd and long.
  std::mt19937_64 rng(227);
  for (int n : {tn::hgcd_gcd_entry + 5, 4 * tn::hgcd_gcd_entry}) {
    Z x(random_hex(rng, n, false)), y, g(random_hex(rng, n / 2, false)), a, b, r;
    mpz_add_ui(y.p(), x.p(), 1);
    mpz_setbit(g.p(), 0);
    mpz_mul(a.p(), x.p(), g.p());
    mpz_mul(b.p(), y.p(), g.p());
    mpz_gcd(r.p(), a.p(), b.p());
    EXPECT_EQ(r.str(), g.str()) << n << " limbs";
  }
}

TEST(BignumHalfGcd, TextThroughInversesOfPowers) {
  // get_str divides by a power through its inverse when the number is at least 2 x
  // get_str_inverse_uses times the power's length and the power has dc_div_entry limbs: from
  // about 4 x 2 x 3 x 40 limbs the lower levels take that path. Digits that stress the
  // correction of the quotient estimate: all nines (the remainder one below the power), powers
  // of the base and their neighbours, all-ones limbs.
  std::mt19937_64 rng(229);
  const int least = 4 * 2 * tn::get_str_inverse_uses * tn::dc_div_entry;
  for (int n : {least - 7, least + 5, 3 * least + 1}) {
    for (int base : {10, 7, 36}) {
      auto check = [&](const std::string& hex, const char* what) {
        G gx(hex);
        Z zx(hex);
        ASSERT_EQ(zx.str(base), upper(gx.str(base))) << what << ", base " << base << ", " << n << " limbs";
      };
      check(random_hex(rng, n), "random");
      check(std::string(8 * static_cast<size_t>(n), 'F'), "all ones");
      const char top = base == 10 ? '9' : (base == 7 ? '6' : 'Z');
      const size_t digits = static_cast<size_t>(n) * 9;
      for (const std::string& text : {std::string(digits, top), "1" + std::string(digits, '0'),
                                      "1" + std::string(digits - 1, '0') + "1"}) {
        Z z;
        ASSERT_EQ(mpz_set_str(z.p(), text.c_str(), base), 0);
        ASSERT_EQ(z.str(base), text) << "base " << base << ", " << digits << " digits";
      }
    }
  }
}

namespace {

// Hex text of `limbs` limbs: random, all ones, one then zeros (a power of two, whose reciprocal is
// exact), one then zeros then one.
std::string shaped(std::mt19937_64& rng, int limbs, int kind) {
  switch (kind) {
    case 1: return std::string(8 * static_cast<size_t>(limbs), 'F');
    case 2: return "8" + std::string(8 * static_cast<size_t>(limbs) - 1, '0');
    case 3: return "8" + std::string(8 * static_cast<size_t>(limbs) - 2, '0') + "1";
    default: return random_hex(rng, limbs, false);
  }
}

void check_tdiv(const Z& n, const Z& d, const char* what) {
  using peer_qr = void (*)(gz*, gz*, const gz*, const gz*);
  static peer_qr theirs = gmp().sym<peer_qr>("__gmpz_tdiv_qr");
  G gn(n.str()), gd(d.str()), gq, gr;
  theirs(gq.p(), gr.p(), gn.p(), gd.p());
  Z q, r;
  mpz_tdiv_qr(q.p(), r.p(), n.z, d.z);
  ASSERT_EQ(q.str(), upper(gq.str())) << what << ": quotient of " << n.str().size() / 8 << " by "
                                      << d.str().size() / 8 << " limbs";
  ASSERT_EQ(r.str(), upper(gr.str())) << what << ": remainder";
}

}  // namespace

TEST(BignumHalfGcd, DivisionThroughNewtonsInverse) {
  // Divisors around the entry of the division through an inverse, whose halves cross the entry
  // of Newton's iteration; quotients one limb shorter than the divisor (the other path), as long,
  // and several blocks with a short last one.
  std::mt19937_64 rng(233);
  const int e = tn::newton_div_entry;
  for (int dn : {e - 1, e, e + 3}) {
    for (int qn : {dn - 1, dn, 2 * dn + 5}) {
      for (int kind = 0; kind < 4; ++kind) {
        Z d(shaped(rng, dn, kind)), n(shaped(rng, dn + qn, (kind + 1) % 4));
        check_tdiv(n, d, "shaped operands");
      }
      // n = d q - 1 and n = d q + d - 1: remainders at both ends, where an estimate that is
      // corrected too little or too much shows. Quotient limbs all ones as well.
      for (int kind = 0; kind < 2; ++kind) {
        Z d(shaped(rng, dn, 3 * kind)), q(shaped(rng, qn, kind)), n, one("1");
        mpz_mul(n.p(), d.p(), q.p());
        Z below;
        mpz_sub(below.p(), n.p(), one.p());
        check_tdiv(below, d, "one below a multiple");
        mpz_add(n.p(), n.p(), d.p());
        mpz_sub(n.p(), n.p(), one.p());
        check_tdiv(n, d, "one below the next multiple");
      }
    }
  }
  // The result over its operands.
  Z d(random_hex(rng, e + 10, false)), n(random_hex(rng, 3 * e, false)), q, r;
  mpz_tdiv_qr(q.p(), r.p(), n.p(), d.p());
  Z n2(n.str()), d2(d.str());
  mpz_tdiv_qr(n2.p(), d2.p(), n2.p(), d2.p());
  EXPECT_EQ(n2.str(), q.str());
  EXPECT_EQ(d2.str(), r.str());
}

TEST(BignumHalfGcd, ExtendedGcdAndInverseAcrossTheEntries) {
  using peer_ext = void (*)(gz*, gz*, gz*, const gz*, const gz*);
  using peer_inv = int (*)(gz*, const gz*, const gz*);
  static peer_ext ext = gmp().sym<peer_ext>("__gmpz_gcdext");
  static peer_inv inv = gmp().sym<peer_inv>("__gmpz_invert");
  std::mt19937_64 rng(239);
  auto check = [&](const std::string& a, const std::string& b, const char* what) {
    G ga(a), gb(b), gg, gs, gt;
    ext(gg.p(), gs.p(), gt.p(), ga.p(), gb.p());
    Z za(a), zb(b), zg, zs, zt;
    mpz_gcdext(zg.p(), zs.p(), zt.p(), za.p(), zb.p());
    ASSERT_EQ(zg.str(), upper(gg.str())) << what << ", " << a.size() / 8 << " and " << b.size() / 8 << " limbs";
    ASSERT_EQ(zs.str(), upper(gs.str())) << what << ": s";
    ASSERT_EQ(zt.str(), upper(gt.str())) << what << ": t";
    G gi;
    Z zi;
    const int want = inv(gi.p(), ga.p(), gb.p());
    const int got = mpz_invert(zi.p(), za.p(), zb.p());
    ASSERT_EQ(got != 0, want != 0) << what << ": invertibility";
    if (want) ASSERT_EQ(zi.str(), upper(gi.str())) << what << ": inverse";
  };
  const int e = tn::hgcd_gcd_entry;
  for (int n : {2, 5, e - 1, e, e + 1, 2 * e + 3, 7 * e + 3}) {
    check(random_hex(rng, n), random_hex(rng, n), "random");
    check(random_hex(rng, n), random_hex(rng, n / 2 + 1), "half the length");
    check(random_hex(rng, n / 3 + 1), random_hex(rng, n), "the second longer");
    const std::string f = random_hex(rng, n / 3 + 1, false);
    check(product(random_hex(rng, n), f), product(random_hex(rng, n), f), "common factor");
    Z f1, f2;
    mpz_fib2_ui(f1.p(), f2.p(), static_cast<unsigned long>(n) * 32 * 144 / 100);
    check(f1.str(), f2.str(), "Fibonacci neighbours");
    check("-" + f2.str(), f1.str(), "Fibonacci neighbours, negative");
  }
  // The result over an operand.
  Z a(random_hex(rng, 3 * e, false)), b(random_hex(rng, 3 * e, false)), g, s, t;
  mpz_gcdext(g.p(), s.p(), t.p(), a.p(), b.p());
  Z a2(a.str()), b2(b.str()), s2;
  mpz_gcdext(a2.p(), s2.p(), b2.p(), a2.p(), b2.p());
  EXPECT_EQ(a2.str(), g.str());
  EXPECT_EQ(s2.str(), s.str());
  EXPECT_EQ(b2.str(), t.str());
}

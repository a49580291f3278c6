// Differential tests of the integer layer against the system GMP, through text.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <csignal>
#include <vector>

#include "bignum/gmp_peer.h"
#include "bignum/tuning.h"

using namespace bntest;
namespace tn = zvx::bn::tuning;

namespace {

using ours_binary = void (*)(mpz_ptr, mpz_srcptr, mpz_srcptr);
using peer_binary = void (*)(gz*, const gz*, const gz*);

// Operand sizes in limbs: small ones, both sides of every multiplication threshold, and the
// transform entry.
std::vector<int> edge_sizes() {
  return {0, 1, 2, 3, tn::karatsuba_entry - 1, tn::karatsuba_entry, tn::karatsuba_recursion,
          tn::mul_basecase_sum / 2, tn::mul_basecase_sum / 2 + 1, 17, 2 * tn::karatsuba_recursion + 1,
          40, 129, 300};
}

// Runs ours and GMP's binary operation on the same operands, with every aliasing of the output.
void check_binary(const char* name, ours_binary ours, bool nonzero_b, int seed) {
  peer_binary theirs = gmp().sym<peer_binary>(name);
  std::mt19937_64 rng(seed);
  for (int an : edge_sizes())
    for (int bn : edge_sizes()) {
      if (nonzero_b && bn == 0) continue;
      std::string a = random_hex(rng, an), b = random_hex(rng, bn);
      G ga(a), gb(b), gr;
      theirs(gr.p(), ga.p(), gb.p());
      std::string want = upper(gr.str());
      Z za(a), zb(b), zr;
      ours(zr.p(), za.p(), zb.p());
      ASSERT_EQ(zr.str(), want) << name << " a=" << a << " b=" << b;
      Z x(a), y(b);
      ours(x.p(), x.p(), y.p());  // r is a
      EXPECT_EQ(x.str(), want) << name << " aliased to a";
      Z u(a), v(b);
      ours(v.p(), u.p(), v.p());  // r is b
      EXPECT_EQ(v.str(), want) << name << " aliased to b";
      if (!nonzero_b || an > 0) {
        G gs;
        theirs(gs.p(), ga.p(), ga.p());
        Z w(a);
        ours(w.p(), w.p(), w.p());  // all three the same
        EXPECT_EQ(w.str(), upper(gs.str())) << name << " a op a";
      }
    }
}

}  // namespace

TEST(BignumArithmetic, AddSubMulMatchGmpWithSignsAndAliasing) {
  check_binary("__gmpz_add", __gmpz_add, false, 1);
  check_binary("__gmpz_sub", __gmpz_sub, false, 2);
  check_binary("__gmpz_mul", __gmpz_mul, false, 3);
}

TEST(BignumArithmetic, AddmulAndSubmulAccumulate) {
  // r is an input as well: r +-= a*b, with r also standing for a or b.
  std::mt19937_64 rng(5);
  for (const char* name : {"__gmpz_addmul", "__gmpz_submul"}) {
    auto theirs = gmp().sym<peer_binary>(name);
    ours_binary ours = name[7] == 'a' ? __gmpz_addmul : __gmpz_submul;
    for (int an : edge_sizes())
      for (int bn : {0, 1, 5, 9, 40}) {
        std::string a = random_hex(rng, an), b = random_hex(rng, bn), c = random_hex(rng, (an + bn) / 2);
        G ga(a), gb(b), gr(c);
        theirs(gr.p(), ga.p(), gb.p());
        Z za(a), zb(b), zr(c);
        ours(zr.p(), za.p(), zb.p());
        ASSERT_EQ(zr.str(), upper(gr.str())) << name;
        G gs(a);
        theirs(gs.p(), gs.p(), gb.p());
        Z zs(a);
        ours(zs.p(), zs.p(), zb.p());
        EXPECT_EQ(zs.str(), upper(gs.str())) << name << " r is a";
      }
  }
}

TEST(BignumArithmetic, ProductsAcrossEveryThreshold) {
  // Square and unbalanced products, all limbs 0xFFFFFFFF as the worst case for carries, at the
  // sizes where the method changes (Toom-3 with each remainder of n mod 3, and where its thirds
  // reach Toom-3 themselves); the transform entry is served exactly.
  auto theirs = gmp().sym<peer_binary>("__gmpz_mul");
  std::mt19937_64 rng(7);
  for (int n : {tn::karatsuba_entry - 1, tn::karatsuba_entry, tn::karatsuba_recursion,
                2 * tn::karatsuba_recursion - 1, 2 * tn::karatsuba_recursion, 255, 256,
                tn::toom3_entry - 1, tn::toom3_entry, tn::toom3_entry + 1, tn::toom3_entry + 2,
                3 * tn::toom3_entry - 2, tn::transform_entry - 1, tn::transform_entry}) {
    for (int worst = 0; worst < 2; ++worst) {
      std::string a = worst ? std::string(8 * n, 'F') : random_hex(rng, n, false);
      std::string b = worst ? std::string(8 * n, 'F') : random_hex(rng, n, false);
      G ga(a), gb(b), gr;
      theirs(gr.p(), ga.p(), gb.p());
      Z za(a), zb(b), zr;
      mpz_mul(zr.p(), za.p(), zb.p());
      ASSERT_EQ(zr.str(), upper(gr.str())) << "n=" << n << " worst=" << worst;
    }
    std::string c = random_hex(rng, 3 * n + 5, false), d = random_hex(rng, n, false);
    G gc(c), gd(d), gr;
    theirs(gr.p(), gc.p(), gd.p());
    Z zc(c), zd(d), zr;
    mpz_mul(zr.p(), zc.p(), zd.p());
    ASSERT_EQ(zr.str(), upper(gr.str())) << "unbalanced n=" << n;
  }
}

TEST(BignumArithmetic, LimbRoutinesMatchTheIntegerValues) {
  // The exported limb routines, checked against GMP on the values the limb arrays stand for.
  std::mt19937_64 rng(11);
  auto value = [](const std::vector<mp_limb_t>& v) {
    Z z;
    mpz_import(z.p(), v.size(), -1, 4, 0, 0, v.data());
    return z.str();
  };
  auto gmul = gmp().sym<peer_binary>("__gmpz_mul");
  for (int n : {1, 2, 7, 8, 9, 15, 16, 33, 100}) {
    std::vector<mp_limb_t> a(n), b(n), r(2 * n);
    for (auto& x : a) x = static_cast<mp_limb_t>(rng());
    for (auto& x : b) x = static_cast<mp_limb_t>(rng());
    G ga(value(a)), gb(value(b)), gp;
    gmul(gp.p(), ga.p(), gb.p());
    mpn_mul_n(r.data(), a.data(), b.data(), n);
    EXPECT_EQ(value(r), upper(gp.str())) << "mul_n " << n;
    std::vector<mp_limb_t> r2(2 * n);
    mpn_mul_basecase(r2.data(), a.data(), n, b.data(), n);
    EXPECT_EQ(r2, r);
    // add_n then sub_n returns to a; carry and borrow agree.
    std::vector<mp_limb_t> s(n), t(n);
    mp_limb_t cy = mpn_add_n(s.data(), a.data(), b.data(), n);
    mp_limb_t bw = mpn_sub_n(t.data(), s.data(), b.data(), n);
    EXPECT_EQ(t, a);
    EXPECT_EQ(cy, bw);
    // addmul_1 and submul_1 are inverse; add_1 and sub_1 too.
    mp_limb_t m = static_cast<mp_limb_t>(rng());
    std::vector<mp_limb_t> u = a;
    mp_limb_t c1 = mpn_addmul_1(u.data(), b.data(), n, m);
    mp_limb_t c2 = mpn_submul_1(u.data(), b.data(), n, m);
    EXPECT_EQ(u, a);
    EXPECT_EQ(c1, c2);
    c1 = mpn_add_1(u.data(), a.data(), n, m);
    c2 = mpn_sub_1(u.data(), u.data(), n, m);
    EXPECT_EQ(u, a);
    EXPECT_EQ(c1, c2);
    EXPECT_EQ(mpn_cmp(a.data(), a.data(), n), 0);
    EXPECT_EQ(mpn_cmp(s.data(), a.data(), n) != 0, true);
    // Unbalanced mpn_mul and its returned top limb; vn = 0 clears the output.
    int vn = n / 3 + 1;
    std::vector<mp_limb_t> p(n + vn);
    mp_limb_t top = mpn_mul(p.data(), a.data(), n, b.data(), vn);
    EXPECT_EQ(top, p[n + vn - 1]);
    G gv(value(std::vector<mp_limb_t>(b.begin(), b.begin() + vn))), gq;
    gmul(gq.p(), ga.p(), gv.p());
    EXPECT_EQ(value(p), upper(gq.str()));
    std::vector<mp_limb_t> junk(n, 0xDEADBEEF);
    mpn_mul(junk.data(), a.data(), n, b.data(), 0);
    EXPECT_EQ(junk, std::vector<mp_limb_t>(n, 0));
    // Division by one limb: quotient and remainder rebuild the value.
    mp_limb_t d = static_cast<mp_limb_t>(rng()) | 1;
    std::vector<mp_limb_t> q(n);
    mp_limb_t rem = mpn_divmod_1(q.data(), a.data(), n, d);
    EXPECT_EQ(rem, mpn_mod_1(a.data(), n, d));
    std::vector<mp_limb_t> prod(n + 1, 0);
    mpn_addmul_1(prod.data(), q.data(), n, d);
    mpn_add_1(prod.data(), prod.data(), n + 1, rem);
    EXPECT_EQ(std::vector<mp_limb_t>(prod.begin(), prod.begin() + n), a);
    EXPECT_EQ(mpn_mod_1(a.data(), n, 64), a[0] & 63);
  }
  mp_limb_t h, l;
  mpl_umul_ppmm(&h, &l, 0xFFFFFFFFu, 0xFFFFFFFFu);
  EXPECT_EQ(h, 0xFFFFFFFEu);
  EXPECT_EQ(l, 1u);
  mpl_add_ssaaaa(&h, &l, 1, 0xFFFFFFFFu, 2, 1);
  EXPECT_EQ(h, 4u);
  EXPECT_EQ(l, 0u);
  mp_limb_t arr[3] = {0xFFFFFFFFu, 0xFFFFFFFFu, 5};
  mpn_incr_u(arr, 1);
  EXPECT_EQ(arr[0], 0u);
  EXPECT_EQ(arr[1], 0u);
  EXPECT_EQ(arr[2], 6u);
}

namespace {
using ours_qr = void (*)(mpz_ptr, mpz_ptr, mpz_srcptr, mpz_srcptr);
using peer_qr = void (*)(gz*, gz*, const gz*, const gz*);
using ours_ui = unsigned long (*)(mpz_ptr, mpz_ptr, mpz_srcptr, unsigned long);
using peer_ui = unsigned long (*)(gz*, gz*, const gz*, unsigned long);
using ours_2exp = void (*)(mpz_ptr, mpz_srcptr, mp_bitcnt_t);
using peer_2exp = void (*)(gz*, const gz*, mp_bitcnt_t);
}  // namespace

TEST(BignumDivision, ThreeRoundingFamiliesMatchGmp) {
  std::mt19937_64 rng(21);
  struct fam {
    const char* l;
    ours_qr qr;
    ours_binary q, r;
    ours_ui qr_ui;
    ours_2exp q2, r2;
  } fams[] = {
      {"t", mpz_tdiv_qr, mpz_tdiv_q, mpz_tdiv_r, mpz_tdiv_qr_ui, mpz_tdiv_q_2exp, mpz_tdiv_r_2exp},
      {"f", mpz_fdiv_qr, mpz_fdiv_q, mpz_fdiv_r, mpz_fdiv_qr_ui, mpz_fdiv_q_2exp, mpz_fdiv_r_2exp},
      {"c", mpz_cdiv_qr, mpz_cdiv_q, mpz_cdiv_r, mpz_cdiv_qr_ui, mpz_cdiv_q_2exp, mpz_cdiv_r_2exp},
  };
  for (auto& f : fams) {
    std::string pre = std::string("__gmpz_") + f.l + "div_";
    auto pqr = gmp().sym<peer_qr>((pre + "qr").c_str());
    auto pui = gmp().sym<peer_ui>((pre + "qr_ui").c_str());
    auto pq2 = gmp().sym<peer_2exp>((pre + "q_2exp").c_str());
    auto pr2 = gmp().sym<peer_2exp>((pre + "r_2exp").c_str());
    for (int nn : {0, 1, 2, 3, 5, 9, 20, 64, 130})
      for (int dn : {1, 2, 3, 4, 9, 20, 70}) {
        std::string n = random_hex(rng, nn), d = random_hex(rng, dn);
        G gn(n), gd(d), gq, gr;
        pqr(gq.p(), gr.p(), gn.p(), gd.p());
        std::string wq = upper(gq.str()), wr = upper(gr.str());
        Z zn(n), zd(d), zq, zr;
        f.qr(zq.p(), zr.p(), zn.p(), zd.p());
        ASSERT_EQ(zq.str(), wq) << f.l << " n=" << n << " d=" << d;
        ASSERT_EQ(zr.str(), wr) << f.l << " n=" << n << " d=" << d;
        Z a(n), b(d);
        f.q(a.p(), a.p(), b.p());  // quotient over the numerator
        EXPECT_EQ(a.str(), wq);
        Z c(n), e(d);
        f.r(e.p(), c.p(), e.p());  // remainder over the divisor
        EXPECT_EQ(e.str(), wr);
        Z g(n), h(d);
        f.qr(h.p(), g.p(), g.p(), h.p());  // both outputs over the inputs
        EXPECT_EQ(h.str(), wq);
        EXPECT_EQ(g.str(), wr);
        // Word divisors, 32 and 64 bits.
        unsigned long dw = (rng() >> (rng() % 2 ? 0 : 32)) | 1;
        G gq2, gr2;
        unsigned long want = pui(gq2.p(), gr2.p(), gn.p(), dw);
        Z zq2, zr2;
        EXPECT_EQ(f.qr_ui(zq2.p(), zr2.p(), zn.p(), dw), want);
        EXPECT_EQ(zq2.str(), upper(gq2.str()));
        EXPECT_EQ(zr2.str(), upper(gr2.str()));
        // Powers of two.
        for (unsigned long k : {0UL, 1UL, 31UL, 32UL, 33UL, 100UL, 5000UL}) {
          G g3, g4;
          pq2(g3.p(), gn.p(), k);
          pr2(g4.p(), gn.p(), k);
          Z z3(n), z4;
          f.r2(z4.p(), z3.p(), k);
          f.q2(z3.p(), z3.p(), k);
          EXPECT_EQ(z3.str(), upper(g3.str())) << f.l << " q_2exp k=" << k << " n=" << n;
          EXPECT_EQ(z4.str(), upper(g4.str())) << f.l << " r_2exp k=" << k << " n=" << n;
        }
      }
  }
}

TEST(BignumDivision, LargeOperandsAndWordForms) {
  std::mt19937_64 rng(23);
  auto pqr = gmp().sym<peer_qr>("__gmpz_tdiv_qr");
  for (auto [nn, dn] : {std::pair{6250, 3125}, std::pair{700, 699}, std::pair{500, 2}}) {
    std::string n = random_hex(rng, nn), d = random_hex(rng, dn);
    G gn(n), gd(d), gq, gr;
    pqr(gq.p(), gr.p(), gn.p(), gd.p());
    Z zn(n), zd(d), zq, zr;
    mpz_tdiv_qr(zq.p(), zr.p(), zn.p(), zd.p());
    EXPECT_EQ(zq.str(), upper(gq.str()));
    EXPECT_EQ(zr.str(), upper(gr.str()));
  }
  // The remaining word forms and the modulus functions.
  auto pmod = gmp().sym<peer_binary>("__gmpz_mod");
  auto pmodui = gmp().sym<unsigned long (*)(gz*, const gz*, unsigned long)>("__gmpz_fdiv_r_ui");
  for (int i = 0; i < 50; ++i) {
    std::string n = random_hex(rng, 1 + i % 9), d = random_hex(rng, 1 + i % 4);
    unsigned long w = rng() | 1;
    G gn(n), gd(d), gm, gm2;
    pmod(gm.p(), gn.p(), gd.p());
    unsigned long want = pmodui(gm2.p(), gn.p(), w);
    Z zn(n), zd(d), zm, zm2;
    mpz_mod(zm.p(), zn.p(), zd.p());
    EXPECT_EQ(zm.str(), upper(gm.str()));
    EXPECT_EQ(mpz_mod_ui(zm2.p(), zn.p(), w), want);
    EXPECT_EQ(zm2.str(), upper(gm2.str()));
    for (const char* l : {"t", "f", "c"}) {
      std::string pre = std::string("__gmpz_") + l + "div_";
      auto pq = gmp().sym<unsigned long (*)(gz*, const gz*, unsigned long)>((pre + "q_ui").c_str());
      auto pr = gmp().sym<unsigned long (*)(gz*, const gz*, unsigned long)>((pre + "r_ui").c_str());
      auto pu = gmp().sym<unsigned long (*)(const gz*, unsigned long)>((pre + "ui").c_str());
      G a, b;
      unsigned long rq = pq(a.p(), gn.p(), w), rr = pr(b.p(), gn.p(), w);
      Z c, e;
      unsigned long (*oq)(mpz_ptr, mpz_srcptr, unsigned long) =
          *l == 't' ? mpz_tdiv_q_ui : *l == 'f' ? mpz_fdiv_q_ui : mpz_cdiv_q_ui;
      unsigned long (*orr)(mpz_ptr, mpz_srcptr, unsigned long) =
          *l == 't' ? mpz_tdiv_r_ui : *l == 'f' ? mpz_fdiv_r_ui : mpz_cdiv_r_ui;
      unsigned long (*ou)(mpz_srcptr, unsigned long) = *l == 't' ? mpz_tdiv_ui : *l == 'f' ? mpz_fdiv_ui : mpz_cdiv_ui;
      EXPECT_EQ(oq(c.p(), zn.p(), w), rq);
      EXPECT_EQ(orr(e.p(), zn.p(), w), rr);
      EXPECT_EQ(ou(zn.p(), w), pu(gn.p(), w));
      EXPECT_EQ(c.str(), upper(a.str()));
      EXPECT_EQ(e.str(), upper(b.str()));
    }
  }
}

TEST(BignumDivision, ExactDivisionDivisibilityAndRemove) {
  std::mt19937_64 rng(29);
  auto pdiv = gmp().sym<int (*)(const gz*, const gz*)>("__gmpz_divisible_p");
  auto pcong = gmp().sym<int (*)(const gz*, const gz*, const gz*)>("__gmpz_congruent_p");
  auto pcong2 = gmp().sym<int (*)(const gz*, const gz*, mp_bitcnt_t)>("__gmpz_congruent_2exp_p");
  auto pdiv2 = gmp().sym<int (*)(const gz*, mp_bitcnt_t)>("__gmpz_divisible_2exp_p");
  auto prem = gmp().sym<mp_bitcnt_t (*)(gz*, const gz*, const gz*)>("__gmpz_remove");
  for (int i = 0; i < 60; ++i) {
    std::string a = random_hex(rng, 1 + i % 7), d = random_hex(rng, 1 + i % 3);
    Z za(a), zd(d), prod, q;
    mpz_mul(prod.p(), za.p(), zd.p());
    mpz_divexact(q.p(), prod.p(), zd.p());
    EXPECT_EQ(q.str(), za.str());
    unsigned long w = (rng() % 1000) + 1;
    mpz_mul_ui(prod.p(), za.p(), w);
    mpz_divexact_ui(q.p(), prod.p(), w);
    EXPECT_EQ(q.str(), za.str());
    EXPECT_TRUE(mpz_divisible_ui_p(prod.p(), w));
    G ga(a), gd(d);
    EXPECT_EQ(mpz_divisible_p(za.p(), zd.p()) != 0, pdiv(ga.p(), gd.p()) != 0);
    std::string c = random_hex(rng, 1 + i % 5);
    G gc(c);
    Z zc(c);
    EXPECT_EQ(mpz_congruent_p(za.p(), zc.p(), zd.p()) != 0, pcong(ga.p(), gc.p(), gd.p()) != 0);
    EXPECT_EQ(mpz_congruent_2exp_p(za.p(), zc.p(), i) != 0, pcong2(ga.p(), gc.p(), i) != 0);
    EXPECT_EQ(mpz_divisible_2exp_p(za.p(), i % 40) != 0, pdiv2(ga.p(), i % 40) != 0);
    // A number with a known power of a factor.
    Z f("-3"), pw, x, r;
    mpz_pow_ui(pw.p(), f.p(), i % 9);
    mpz_mul(x.p(), pw.p(), za.p());
    G gx(x.str()), gf("-3"), gr;
    mp_bitcnt_t want = prem(gr.p(), gx.p(), gf.p());
    EXPECT_EQ(mpz_remove(r.p(), x.p(), f.p()), want);
    EXPECT_EQ(r.str(), upper(gr.str()));
  }
  Z z("7"), one("1"), r;
  EXPECT_TRUE(mpz_congruent_ui_p(z.p(), 2, 5));
  EXPECT_FALSE(mpz_congruent_ui_p(z.p(), 3, 5));
  EXPECT_EQ(mpz_remove(r.p(), z.p(), one.p()), 0UL);
  EXPECT_EQ(r.str(), "7");
}

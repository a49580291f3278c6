// The subquadratic paths against the system GMP, at sizes on both sides of every entry in
// tuning.h: divide-and-conquer division and base conversion, Lehmer's gcd.
#include <gtest/gtest.h>

#include <vector>

#include "bignum/gmp_peer.h"
#include "bignum/tuning.h"

using namespace bntest;
namespace tn = zvx::bn::tuning;

namespace {

using peer_qr = void (*)(gz*, gz*, const gz*, const gz*);

// Hex text of `limbs` limbs in one of the patterns that find correction faults: random, all ones,
// a one followed by zeros (the smallest normalised divisor), ones above zeros.
std::string pattern(std::mt19937_64& rng, int limbs, int kind) {
  if (limbs <= 0) return "0";
  switch (kind) {
    case 1: return std::string(8 * limbs, 'F');
    case 2: return "8" + std::string(8 * limbs - 1, '0');
    case 3: return std::string(4 * limbs, 'F') + std::string(4 * limbs, '0');
    case 4: return "8" + std::string(8 * limbs - 2, '0') + "1";
    default: return random_hex(rng, limbs, false);
  }
}

void check_division(const std::string& n, const std::string& d) {
  static peer_qr theirs = gmp().sym<peer_qr>("__gmpz_tdiv_qr");
  G gn(n), gd(d), gq, gr;
  theirs(gq.p(), gr.p(), gn.p(), gd.p());
  Z zn(n), zd(d), zq, zr;
  mpz_tdiv_qr(zq.p(), zr.p(), zn.p(), zd.p());
  ASSERT_EQ(zq.str(), upper(gq.str())) << "quotient, " << n.size() / 8 << " by " << d.size() / 8 << " limbs";
  ASSERT_EQ(zr.str(), upper(gr.str())) << "remainder, " << n.size() / 8 << " by " << d.size() / 8 << " limbs";
}

}  // namespace

TEST(BignumSubquadratic, DivisionAcrossTheDivideAndConquerEntry) {
  std::mt19937_64 rng(101);
  const int e = tn::dc_div_entry;
  // Divisor sizes around the entry and where the halves reach it; quotient sizes from one limb
  // (the long division) through half the entry (the first that is cut) to several blocks.
  for (int dn : {e - 1, e, e + 1, 2 * e - 1, 2 * e, 2 * e + 1, 4 * e + 3, 9 * e + 5}) {
    for (int qn : {1, e / 2 - 1, e / 2, e / 2 + 1, dn - 1, dn, dn + 1, 2 * dn + 7}) {
      for (int kind = 0; kind < 5; ++kind) {
        std::string d = pattern(rng, dn, (kind + 2) % 5);
        std::string n = pattern(rng, dn + qn, kind);
        check_division(n, d);
      }
      // A numerator just below a multiple of the divisor: the quotient's estimates are at their
      // largest error. n = d * q - 1 for a random q.
      std::string q = random_hex(rng, qn, false);
      Z zd(pattern(rng, dn, 4)), zq(q), zn, one("1");
      mpz_mul(zn.p(), zd.p(), zq.p());
      mpz_sub(zn.p(), zn.p(), one.p());
      check_division(zn.str(), zd.str());
    }
  }
  // Signs and the floor family ride on the same quotient.
  Z n("-" + pattern(rng, 5 * e, 0)), d(pattern(rng, 2 * e, 0)), q, r;
  G gn(n.str()), gd(d.str()), gq, gr;
  mpz_fdiv_qr(q.p(), r.p(), n.p(), d.p());
  gmp().sym<peer_qr>("__gmpz_fdiv_qr")(gq.p(), gr.p(), gn.p(), gd.p());
  EXPECT_EQ(q.str(), upper(gq.str()));
  EXPECT_EQ(r.str(), upper(gr.str()));
}

TEST(BignumSubquadratic, TextAcrossTheConversionEntries) {
  std::mt19937_64 rng(103);
  const int g = tn::get_str_dc_entry, s = tn::set_str_dc_entry;
  std::vector<int> sizes = {g - 1, g, g + 1, 2 * g + 1, 4 * g + 3, s - 1, s, s + 1, 2 * s + 1, 5 * s + 2, 1100};
  for (int base : {10, 3, 7, 36}) {
    for (int n : sizes) {
      for (int kind = 0; kind < 3; ++kind) {
        std::string hex = kind == 0 ? random_hex(rng, n) : pattern(rng, n, kind);
        G gx(hex);
        Z zx(hex);
        std::string want = upper(gx.str(base));
        ASSERT_EQ(zx.str(base), want) << "get_str base " << base << ", " << n << " limbs";
        Z back;
        ASSERT_EQ(mpz_set_str(back.p(), gx.str(base).c_str(), base), 0);
        ASSERT_EQ(back.str(), zx.str()) << "set_str base " << base << ", " << n << " limbs";
      }
      // Powers of the base and their neighbours: the low halves are runs of zeros or of the top
      // digit, which must keep their leading zeros.
      G p;
      std::string one_then_zeros = "1" + std::string(static_cast<size_t>(n) * 9, '0');
      for (const char* tail : {"", "1"}) {
        std::string text = one_then_zeros.substr(0, one_then_zeros.size() - (*tail ? 1 : 0)) + tail;
        p.set(text, base);
        Z z;
        ASSERT_EQ(mpz_set_str(z.p(), text.c_str(), base), 0);
        ASSERT_EQ(z.str(), upper(p.str())) << "set_str of a power of " << base;
        ASSERT_EQ(z.str(base), text) << "get_str of a power of " << base;
      }
      std::string top(static_cast<size_t>(n) * 9, base == 10 ? '9' : (base == 3 ? '2' : (base == 7 ? '6' : 'Z')));
      Z z;
      ASSERT_EQ(mpz_set_str(z.p(), top.c_str(), base), 0);
      EXPECT_EQ(z.str(base), top);
    }
  }
  // Leading zeros and a sign in the text.
  std::string digits = "000" + std::string(40 * s, '7');
  Z z;
  ASSERT_EQ(mpz_set_str(z.p(), ("-" + digits).c_str(), 10), 0);
  EXPECT_EQ(z.str(10), "-" + digits.substr(3));
}

TEST(BignumSubquadratic, GcdAcrossTheLehmerEntry) {
  auto theirs = gmp().sym<void (*)(gz*, const gz*, const gz*)>("__gmpz_gcd");
  std::mt19937_64 rng(107);
  auto check = [&](const std::string& a, const std::string& b) {
    G ga(a), gb(b), gg;
    theirs(gg.p(), ga.p(), gb.p());
    Z za(a), zb(b), zg;
    mpz_gcd(zg.p(), za.p(), zb.p());
    ASSERT_EQ(zg.str(), upper(gg.str())) << a.size() / 8 << " and " << b.size() / 8 << " limbs";
    mpz_gcd(za.p(), za.p(), zb.p());  // in place
    ASSERT_EQ(za.str(), zg.str());
  };
  const int e = tn::gcd_lehmer_entry;
  for (int n : {1, 2, e - 1, e, e + 1, 8, 33, 200, 700}) {
    if (n < 1) continue;
    for (int m : {n, n - 1, n / 2, 1}) {
      if (m < 1) continue;
      for (int kind = 0; kind < 5; ++kind) check(pattern(rng, n, kind), pattern(rng, m, (kind + 1) % 5));
      // A large common factor, and signs.
      std::string c = random_hex(rng, 1 + n / 3, false);
      Z za(random_hex(rng, n, false)), zb(random_hex(rng, m, false)), zc(c);
      mpz_mul(za.p(), za.p(), zc.p());
      mpz_mul(zb.p(), zb.p(), zc.p());
      check(za.str(), "-" + zb.str());
    }
  }
  // Consecutive Fibonacci numbers: every quotient is 1, the longest remainder sequence.
  Z f1, f2;
  mpz_fib2_ui(f1.p(), f2.p(), 20000);
  check(f1.str(), f2.str());
  check("0", "-" + random_hex(rng, 9, false));
  check(random_hex(rng, 9), "0");
}

namespace {

// Hex text of n limbs whose every w-bit digit is 2^(w-1) - 1: the balanced digits are then all
// the largest positive value, and every coefficient of the convolution has its largest size.
std::string largest_digits(int n, int w) {
  std::string hex(8 * static_cast<size_t>(n), '0');
  const long bits = 32L * n;
  for (long i = 0; i < bits; ++i)
    if (i % w != w - 1) {
      const size_t pos = hex.size() - 1 - static_cast<size_t>(i / 4);
      const int v = (hex[pos] <= '9' ? hex[pos] - '0' : hex[pos] - 'A' + 10) | (1 << (i % 4));
      hex[pos] = "0123456789ABCDEF"[v];
    }
  return hex;
}

// The transform's plan for a square product of n limbs, as digit width and length.
long transform_shape(int n) {
  const tn::transform_plan p = tn::choose_transform(32L * n, 32L * n);
  return p.w * (1L << 32) + p.length();
}

void check_product(const std::string& a, const std::string& b, const char* what) {
  static auto theirs = gmp().sym<void (*)(gz*, const gz*, const gz*)>("__gmpz_mul");
  G ga(a), gb(b), gr;
  theirs(gr.p(), ga.p(), gb.p());
  Z za(a), zb(b), zr;
  mpz_mul(zr.p(), za.p(), zb.p());
  ASSERT_EQ(zr.str(), upper(gr.str())) << what << ", " << a.size() / 8 << " by " << b.size() / 8 << " limbs";
}

}  // namespace

TEST(BignumSubquadratic, TransformProductsAtTheLargestBenchmarkedSizes) {
  // 1 and 8 million bits (31,250 and 250,000 limbs): all ones, the largest balanced digits of the
  // plan, and random operands; the working arrays come from the transform's own block there.
  std::mt19937_64 rng(127);
  for (int n : {31250, 250000}) {
    const std::string ones(8 * static_cast<size_t>(n), 'F');
    check_product(ones, ones, "all ones, square");
    const std::string big = largest_digits(n, tn::choose_transform(32L * n, 32L * n).w);
    check_product(big, big, "largest balanced digits, square");
    if (n < 100000) check_product(random_hex(rng, n, false), big, "random by largest balanced digits");
  }
}

TEST(BignumSubquadratic, TransformProductsAtItsEntryAndWhereTheDigitsNarrow) {
  std::mt19937_64 rng(109);
  std::vector<int> sizes = {tn::transform_entry - 1, tn::transform_entry, tn::transform_entry + 1};
  // Above the entry: both sides of the first sizes where the length grows (to each of the three
  // length families) and of the first two where the digits narrow; there the coefficients fill
  // the length, and the rounding error is closest to its bound.
  int widths = 0;
  bool family_seen[3] = {false, false, false};
  for (int n = tn::transform_entry + 1, prev = static_cast<int>(transform_shape(tn::transform_entry) >> 32);
       widths < 2 && n < 20000; ++n) {
    const long shape = transform_shape(n), before = transform_shape(n - 1);
    const tn::transform_plan p = tn::choose_transform(32L * n, 32L * n);
    if (shape != before && !family_seen[p.odd]) {
      family_seen[p.odd] = true;
      sizes.push_back(n - 1);
      sizes.push_back(n);
    }
    if (static_cast<int>(shape >> 32) != prev) {
      sizes.push_back(n - 1);
      sizes.push_back(n);
      ++widths;
    }
    prev = static_cast<int>(shape >> 32);
  }
  ASSERT_EQ(widths, 2);
  ASSERT_TRUE(family_seen[0] && family_seen[1] && family_seen[2]);
  // Lengths shorter than the coefficients: the first size whose top coefficients wrap, and the
  // size up to 20,000 limbs where the most of them wrap against the length.
  int first_wrap = 0, most_wrap = 0;
  double most = 0;
  for (int n = tn::transform_entry; n < 20000; ++n) {
    const tn::transform_plan p = tn::choose_transform(32L * n, 32L * n);
    if (p.over == 0) continue;
    if (first_wrap == 0) first_wrap = n;
    const double share = static_cast<double>(p.over) / static_cast<double>(p.length());
    if (share > most) most = share, most_wrap = n;
  }
  ASSERT_GT(first_wrap, 0);
  ASSERT_GT(most * tn::transform_wrap_fraction, 0.9);  // the limit is reached, not just approached
  for (int n : {first_wrap - 1, first_wrap, most_wrap - 1, most_wrap, most_wrap + 1}) sizes.push_back(n);
  // Where the working arrays (two of the length, in doubles) leave the stack for the hook, and
  // the hook for the transform's own block.
  int to_hook = 0, to_block = 0;
  for (int n = tn::transform_entry; n < 200000 && to_block == 0; ++n) {
    const unsigned long bytes = 16ul * static_cast<unsigned long>(tn::choose_transform(32L * n, 32L * n).length());
    if (to_hook == 0 && bytes > tn::transform_local_bytes) to_hook = n;
    if (bytes >= tn::transform_own_block_bytes) to_block = n;
  }
  ASSERT_GT(to_hook, 0);
  ASSERT_GT(to_block, 0);
  for (int n : {to_hook - 1, to_hook, to_block - 1, to_block}) sizes.push_back(n);
  for (int n : sizes) {
    const std::string ones(8 * static_cast<size_t>(n), 'F');
    check_product(ones, ones, "all ones, square");
    check_product(ones, pattern(rng, n, 3), "all ones by ones-and-zeros");
    const std::string big = largest_digits(n, tn::choose_transform(32L * n, 32L * n).w);
    check_product(big, big, "largest balanced digits, square");
    check_product(big, random_hex(rng, n, false), "largest balanced digits by random");
    check_product(random_hex(rng, n, false), random_hex(rng, n, false), "random");
    Z x(random_hex(rng, n, false)), sq, sq2;
    mpz_mul(sq.p(), x.p(), x.p());  // the one-transform square
    G gx(x.str()), gs;
    gmp().sym<void (*)(gz*, const gz*, const gz*)>("__gmpz_mul")(gs.p(), gx.p(), gx.p());
    ASSERT_EQ(sq.str(), upper(gs.str())) << "square, " << n << " limbs";
  }
  // Unbalanced: pieces of the shorter operand's length take the transform.
  check_product(random_hex(rng, 3 * tn::transform_entry + 17, false), random_hex(rng, tn::transform_entry, false),
                "unbalanced");
  // Signs and the accumulating forms ride on the same product.
  std::string a = "-" + random_hex(rng, tn::transform_entry + 5, false), b = random_hex(rng, tn::transform_entry + 9);
  check_product(a, b, "signed");
}

namespace {
// Allocate hook that refuses blocks from a size on, the way a memory-starved hook would.
size_t g_refuse_from = 0;
int g_refused = 0;
void* (*g_inner_alloc)(size_t) = nullptr;
void* refusing_alloc(size_t n) {
  if (n >= g_refuse_from) {
    ++g_refused;
    return nullptr;
  }
  return g_inner_alloc(n);
}
}  // namespace

TEST(BignumSubquadratic, ToomThreeServesWhenTheTransformCannotHaveItsArrays) {
  // The transform's arrays take 64 bytes a limb of the product's operands and more, Toom-3's
  // scratch and everything else below 48: refusing from 48 bytes a limb leaves Toom-3 to do the
  // product, around its entry and where its thirds reach it.
  std::mt19937_64 rng(113);
  void* (*realloc_fn)(void*, size_t, size_t);
  void (*free_fn)(void*, size_t);
  mp_get_memory_functions(&g_inner_alloc, &realloc_fn, &free_fn);
  const int e = tn::toom3_entry;
  for (int n : {e - 1, e, e + 1, e + 2, 3 * e - 2}) {
    std::string a = n % 2 ? std::string(8 * static_cast<size_t>(n), 'F') : random_hex(rng, n, false);
    std::string b = random_hex(rng, n, false);
    G ga(a), gb(b), gr;
    gmp().sym<void (*)(gz*, const gz*, const gz*)>("__gmpz_mul")(gr.p(), ga.p(), gb.p());
    Z za(a), zb(b), zr;
    mpz_realloc(zr.p(), 2 * n + 2);
    g_refuse_from = 48 * static_cast<size_t>(n);
    g_refused = 0;
    mp_set_memory_functions(refusing_alloc, realloc_fn, free_fn);
    mpz_mul(zr.p(), za.p(), zb.p());
    mp_set_memory_functions(g_inner_alloc, realloc_fn, free_fn);
    EXPECT_GT(g_refused, 0) << n;
    ASSERT_EQ(zr.str(), upper(gr.str())) << n << " limbs";
  }
}

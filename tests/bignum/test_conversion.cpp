// Text, double and byte conversion, comparisons and bit operations against the system GMP, and
// the library's own decisions on text.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>

#include "bignum/gmp_peer.h"

using namespace bntest;

TEST(BignumText, EveryBaseMatchesGmpInUpperCase) {
  auto pget = gmp().sym<char* (*)(char*, int, const gz*)>("__gmpz_get_str");
  std::mt19937_64 rng(31);
  for (int n : {0, 1, 2, 3, 10, 40}) {
    std::string x = random_hex(rng, n);
    G g(x);
    Z z(x);
    for (int base = 2; base <= 36; ++base) {
      std::string want = upper(g.str(base));
      ASSERT_EQ(z.str(base), want) << "base " << base << " x=" << x;
      EXPECT_EQ(z.str(-base), want);
      // Reading back GMP's (lower-case) text in that base.
      Z back;
      ASSERT_EQ(mpz_set_str(back.p(), g.str(base).c_str(), base), 0);
      EXPECT_EQ(back.str(), z.str());
      // A caller's buffer of sizeinbase + 2.
      std::string buf(mpz_sizeinbase(z.p(), base) + 2, '\0');
      EXPECT_EQ(mpz_get_str(buf.data(), base, z.p()), buf.data());
      EXPECT_EQ(std::string(buf.c_str()), want);
      // Exact for powers of two, at most one above otherwise.
      size_t digits = want.size() - (want[0] == '-');
      size_t est = mpz_sizeinbase(z.p(), base);
      if ((base & (base - 1)) == 0) EXPECT_EQ(est, digits);
      EXPECT_TRUE(est == digits || est == digits + 1) << base;
    }
    EXPECT_EQ(z.str(0), upper(g.str(10)));
    (void)pget;
  }
  // Above 36 the digit table continues with its second half.
  Z v;
  mpz_set_ui(v.p(), 36);
  EXPECT_EQ(v.str(37), "0");
  mpz_set_ui(v.p(), 61 + 62 * 40);
  EXPECT_EQ(v.str(62), "4p");  // digits 40 and 61
  EXPECT_EQ(mpz_get_str(nullptr, 63, v.p()), nullptr);
  EXPECT_EQ(mpz_get_str(nullptr, 1, v.p()), nullptr);
  Z zero;
  EXPECT_EQ(zero.str(16), "0");
  EXPECT_EQ(zero.str(10), "0");
}

TEST(BignumText, SetStrDecisions) {
  Z z;
  EXPECT_EQ(mpz_set_str(z.p(), "  +12  ", 0), 0);
  EXPECT_EQ(z.str(10), "12");
  EXPECT_EQ(mpz_set_str(z.p(), "0x10", 0), 0);
  EXPECT_EQ(z.str(10), "16");
  EXPECT_EQ(mpz_set_str(z.p(), "0X1f", 0), 0);
  EXPECT_EQ(z.str(10), "31");
  EXPECT_EQ(mpz_set_str(z.p(), "010", 0), 0);
  EXPECT_EQ(z.str(10), "8");
  EXPECT_EQ(mpz_set_str(z.p(), "0", 0), 0);
  EXPECT_EQ(z.str(10), "0");
  EXPECT_EQ(mpz_set_str(z.p(), "-0", 10), 0);
  EXPECT_EQ(z.str(10), "0");
  EXPECT_EQ(mpz_set_str(z.p(), "-zZ", 36), 0);
  EXPECT_EQ(z.str(10), "-1295");
  for (const char* bad : {"", "   ", "-", "+", "1 2", "12a", "0x", "--1", "\t5"})
    EXPECT_EQ(mpz_set_str(z.p(), bad, 10), -1) << '"' << bad << '"';
  EXPECT_EQ(mpz_set_str(z.p(), "19", 8), -1);
  EXPECT_EQ(mpz_set_str(z.p(), "1", 1), -1);
  EXPECT_EQ(mpz_set_str(z.p(), "1", 63), -1);
  mpz_t w;
  EXPECT_EQ(mpz_init_set_str(w, "123456789012345678901234567890", 10), 0);
  Z wv;
  mpz_set(wv.p(), w);
  EXPECT_EQ(wv.str(10), "123456789012345678901234567890");
  EXPECT_EQ(mpz_cmp_d(w, mpz_get_d(w)), 1);  // 97 bits: the double is truncated below
  mpz_clear(w);
  EXPECT_EQ(mpz_init_set_str(w, "x", 10), -1);
  mpz_clear(w);
}

TEST(BignumText, StreamsAndRationalOutput) {
  FILE* f = tmpfile();
  ASSERT_NE(f, nullptr);
  mpq_t q;
  mpz_init_set_ui(mpq_numref(q), 1);
  mpz_init_set_ui(mpq_denref(q), 1);
  EXPECT_EQ(mpq_out_str(f, 10, q), 0);
  fputc('|', f);
  mpz_set_si(mpq_numref(q), -3);
  mpz_set_ui(mpq_denref(q), 2);
  mpq_out_str(f, 10, q);
  fputc('|', f);
  mpz_set_ui(mpq_numref(q), 0);
  mpq_out_str(f, 10, q);
  fputc('|', f);
  mpz_set_str(mpq_numref(q), "123456789ABCDEF", 16);
  mpz_set_ui(mpq_denref(q), 1);
  mpq_out_str(f, 10, q);
  fputc('|', f);
  Z big("-FFFFFFFFFFFF");
  EXPECT_EQ(mpz_out_str(f, 10, big.p()), std::string("-281474976710655").size());
  fputs(" 0x1F rest", f);
  rewind(f);
  char buf[256] = {};
  size_t got = fread(buf, 1, sizeof buf - 1, f);
  buf[got] = 0;
  EXPECT_STREQ(buf, "00000001|-00000003 / 00000002|00000000 / 00000002|0123456789ABCDEF|-281474976710655 0x1F rest");
  // Reading back: the number, then the prefixed one in base 0.
  rewind(f);
  fseek(f, static_cast<long>(std::strlen("00000001|-00000003 / 00000002|00000000 / 00000002|0123456789ABCDEF|")), SEEK_SET);
  Z r;
  EXPECT_EQ(mpz_inp_str(r.p(), f, 10), std::string("-281474976710655").size());
  EXPECT_EQ(r.str(16), "-FFFFFFFFFFFF");
  EXPECT_EQ(mpz_inp_str(r.p(), f, 0), 5u);
  EXPECT_EQ(r.str(10), "31");
  fclose(f);
  mpz_clear(mpq_numref(q));
  mpz_clear(mpq_denref(q));
}

TEST(BignumConversion, WordsAndDoublesMatchGmp) {
  auto pset_d = gmp().sym<void (*)(gz*, double)>("__gmpz_set_d");
  auto pget_d = gmp().sym<double (*)(const gz*)>("__gmpz_get_d");
  auto pget_d2 = gmp().sym<double (*)(long*, const gz*)>("__gmpz_get_d_2exp");
  auto pcmp_d = gmp().sym<int (*)(const gz*, double)>("__gmpz_cmp_d");
  auto pcmpabs_d = gmp().sym<int (*)(const gz*, double)>("__gmpz_cmpabs_d");
  auto pget_si = gmp().sym<long (*)(const gz*)>("__gmpz_get_si");
  std::mt19937_64 rng(37);
  std::vector<double> ds = {0.0, -0.0, 0.5, -0.99, 1.0, -1.0, 4294967296.0, 1e19, -1e19, 1.5e300,
                            -7.25e100, 9007199254740993.0, 123456789.75};
  for (int i = 0; i < 40; ++i) ds.push_back(std::ldexp(static_cast<double>(rng() >> 11), static_cast<int>(rng() % 200) - 60) * (rng() & 1 ? 1 : -1));
  for (double d : ds) {
    G g;
    pset_d(g.p(), d);
    Z z;
    mpz_set_d(z.p(), d);
    EXPECT_EQ(z.str(), upper(g.str())) << d;
    mpz_t w;
    mpz_init_set_d(w, d);
    EXPECT_EQ(mpz_cmp(w, z.p()), 0);
    mpz_clear(w);
  }
  for (int n : {0, 1, 2, 3, 5, 40}) {
    for (int k = 0; k < 6; ++k) {
      std::string x = random_hex(rng, n);
      G g(x);
      Z z(x);
      EXPECT_EQ(mpz_get_d(z.p()), pget_d(g.p())) << x;
      long e1, e2;
      EXPECT_EQ(mpz_get_d_2exp(&e1, z.p()), pget_d2(&e2, g.p()));
      EXPECT_EQ(e1, e2);
      for (double d : ds) {
        EXPECT_EQ(mpz_cmp_d(z.p(), d), pcmp_d(g.p(), d) > 0 ? 1 : (pcmp_d(g.p(), d) < 0 ? -1 : 0)) << x << " " << d;
        int c = pcmpabs_d(g.p(), d);
        EXPECT_EQ(mpz_cmpabs_d(z.p(), d), c > 0 ? 1 : (c < 0 ? -1 : 0));
      }
      if (n <= 2) EXPECT_EQ(mpz_get_si(z.p()), pget_si(g.p())) << x;
    }
  }
  Z z;
  for (long v : {0L, 1L, -1L, LONG_MAX, LONG_MIN, 65535L, -32768L, 32767L, 4294967295L, -2147483648L, 2147483648L}) {
    mpz_set_si(z.p(), v);
    EXPECT_EQ(mpz_get_si(z.p()), v);
    EXPECT_EQ(mpz_cmp_si(z.p(), v), 0);
    EXPECT_EQ(mpz_fits_sint_p(z.p()) != 0, v >= INT_MIN && v <= INT_MAX) << v;
    EXPECT_EQ(mpz_fits_uint_p(z.p()) != 0, v >= 0 && v <= static_cast<long>(UINT_MAX)) << v;
    EXPECT_EQ(mpz_fits_sshort_p(z.p()) != 0, v >= SHRT_MIN && v <= SHRT_MAX) << v;
    EXPECT_EQ(mpz_fits_ushort_p(z.p()) != 0, v >= 0 && v <= USHRT_MAX) << v;
    EXPECT_EQ(mpz_sgn(z.p()), (v > 0) - (v < 0));
    mpz_t w;
    mpz_init_set_si(w, v);
    EXPECT_EQ(mpz_cmp(w, z.p()), 0);
    mpz_clear(w);
  }
  mpz_set_ui(z.p(), ULONG_MAX);
  EXPECT_EQ(mpz_get_ui(z.p()), ULONG_MAX);
  EXPECT_EQ(mpz_cmp_ui(z.p(), ULONG_MAX), 0);
  EXPECT_EQ(mpz_cmp_ui(z.p(), 5), 1);
  EXPECT_EQ(mpz_size(z.p()), 2u);
  EXPECT_EQ(mpz_getlimbn(z.p(), 1), 0xFFFFFFFFu);
  EXPECT_EQ(mpz_getlimbn(z.p(), 2), 0u);
  mpz_neg(z.p(), z.p());
  EXPECT_EQ(mpz_cmpabs_ui(z.p(), ULONG_MAX), 0);
  EXPECT_EQ(mpz_get_ui(z.p()), ULONG_MAX);
  mpz_t w;
  mpz_init_set_ui(w, 7);
  EXPECT_EQ(mpz_cmp_ui(w, 7), 0);
  mpz_clear(w);
}

TEST(BignumConversion, WordArithmeticMatchesGmp) {
  std::mt19937_64 rng(41);
  using pw = void (*)(gz*, const gz*, unsigned long);
  struct op {
    const char* name;
    void (*ours)(mpz_ptr, mpz_srcptr, unsigned long);
  } ops[] = {{"__gmpz_add_ui", mpz_add_ui},       {"__gmpz_sub_ui", mpz_sub_ui},   {"__gmpz_mul_ui", mpz_mul_ui},
             {"__gmpz_addmul_ui", mpz_addmul_ui}, {"__gmpz_submul_ui", mpz_submul_ui}, {"__gmpz_mul_2exp", mpz_mul_2exp}};
  for (auto& o : ops) {
    auto p = gmp().sym<pw>(o.name);
    for (int i = 0; i < 40; ++i) {
      std::string x = random_hex(rng, i % 6);
      unsigned long w = std::string(o.name) == "__gmpz_mul_2exp" ? rng() % 200 : rng() >> (rng() % 64);
      G g(x), gr(x);
      p(gr.p(), g.p(), w);
      Z z(x);
      o.ours(z.p(), z.p(), w);
      EXPECT_EQ(z.str(), upper(gr.str())) << o.name << " " << x << " " << w;
    }
  }
  auto pui_sub = gmp().sym<void (*)(gz*, unsigned long, const gz*)>("__gmpz_ui_sub");
  auto pmul_si = gmp().sym<void (*)(gz*, const gz*, long)>("__gmpz_mul_si");
  auto ppow = gmp().sym<void (*)(gz*, const gz*, unsigned long)>("__gmpz_pow_ui");
  auto puipow = gmp().sym<void (*)(gz*, unsigned long, unsigned long)>("__gmpz_ui_pow_ui");
  for (int i = 0; i < 30; ++i) {
    std::string x = random_hex(rng, i % 4);
    unsigned long w = rng();
    long s = static_cast<long>(rng());
    G g(x), a, b, c, d;
    pui_sub(a.p(), w, g.p());
    pmul_si(b.p(), g.p(), s);
    ppow(c.p(), g.p(), i);
    puipow(d.p(), w % 1000, i);
    Z z(x), za, zb, zc, zd, ze(x), zf(x);
    mpz_ui_sub(za.p(), w, z.p());
    mpz_mul_si(zb.p(), z.p(), s);
    mpz_pow_ui(zc.p(), z.p(), i);
    mpz_ui_pow_ui(zd.p(), w % 1000, i);
    EXPECT_EQ(za.str(), upper(a.str()));
    EXPECT_EQ(zb.str(), upper(b.str()));
    EXPECT_EQ(zc.str(), upper(c.str()));
    EXPECT_EQ(zd.str(), upper(d.str()));
    mpz_neg(ze.p(), ze.p());
    mpz_abs(zf.p(), ze.p());
    EXPECT_EQ(mpz_cmpabs(ze.p(), z.p()), 0);
    EXPECT_TRUE(mpz_sgn(zf.p()) >= 0);
    EXPECT_EQ(mpz_cmpabs(zf.p(), z.p()), 0);
  }
}

TEST(BignumBits, LogicAndScansMatchGmpOnEverySignCombination) {
  std::mt19937_64 rng(43);
  auto pand = gmp().sym<void (*)(gz*, const gz*, const gz*)>("__gmpz_and");
  auto pior = gmp().sym<void (*)(gz*, const gz*, const gz*)>("__gmpz_ior");
  auto pxor = gmp().sym<void (*)(gz*, const gz*, const gz*)>("__gmpz_xor");
  auto pcom = gmp().sym<void (*)(gz*, const gz*)>("__gmpz_com");
  auto ppop = gmp().sym<mp_bitcnt_t (*)(const gz*)>("__gmpz_popcount");
  auto pham = gmp().sym<mp_bitcnt_t (*)(const gz*, const gz*)>("__gmpz_hamdist");
  auto ps0 = gmp().sym<mp_bitcnt_t (*)(const gz*, mp_bitcnt_t)>("__gmpz_scan0");
  auto ps1 = gmp().sym<mp_bitcnt_t (*)(const gz*, mp_bitcnt_t)>("__gmpz_scan1");
  auto ptst = gmp().sym<int (*)(const gz*, mp_bitcnt_t)>("__gmpz_tstbit");
  auto pset = gmp().sym<void (*)(gz*, mp_bitcnt_t)>("__gmpz_setbit");
  auto pclr = gmp().sym<void (*)(gz*, mp_bitcnt_t)>("__gmpz_clrbit");
  for (int i = 0; i < 120; ++i) {
    std::string a = random_hex(rng, i % 5), b = random_hex(rng, (i / 5) % 5);
    G ga(a), gb(b), r1, r2, r3, r4;
    pand(r1.p(), ga.p(), gb.p());
    pior(r2.p(), ga.p(), gb.p());
    pxor(r3.p(), ga.p(), gb.p());
    pcom(r4.p(), ga.p());
    Z za(a), zb(b), x1, x2(a), x3, x4(a);
    mpz_and(x1.p(), za.p(), zb.p());
    mpz_ior(x2.p(), x2.p(), zb.p());
    mpz_xor(x3.p(), za.p(), zb.p());
    mpz_com(x4.p(), x4.p());
    ASSERT_EQ(x1.str(), upper(r1.str())) << a << " & " << b;
    ASSERT_EQ(x2.str(), upper(r2.str())) << a << " | " << b;
    ASSERT_EQ(x3.str(), upper(r3.str())) << a << " ^ " << b;
    ASSERT_EQ(x4.str(), upper(r4.str())) << "~" << a;
    EXPECT_EQ(mpz_popcount(za.p()), ppop(ga.p()));
    EXPECT_EQ(mpz_hamdist(za.p(), zb.p()), pham(ga.p(), gb.p())) << a << " " << b;
    for (mp_bitcnt_t k : {0UL, 1UL, 31UL, 32UL, 33UL, 64UL, 95UL, 200UL}) {
      EXPECT_EQ(mpz_scan0(za.p(), k), ps0(ga.p(), k)) << a << " " << k;
      EXPECT_EQ(mpz_scan1(za.p(), k), ps1(ga.p(), k)) << a << " " << k;
      EXPECT_EQ(mpz_tstbit(za.p(), k), ptst(ga.p(), k)) << a << " " << k;
      G gs(a), gc(a);
      pset(gs.p(), k);
      pclr(gc.p(), k);
      Z zs(a), zc(a);
      mpz_setbit(zs.p(), k);
      mpz_clrbit(zc.p(), k);
      EXPECT_EQ(zs.str(), upper(gs.str())) << "setbit " << a << " " << k;
      EXPECT_EQ(zc.str(), upper(gc.str())) << "clrbit " << a << " " << k;
    }
  }
}

TEST(BignumConversion, ImportExportMatchGmp) {
  auto pimp = gmp().sym<void (*)(gz*, size_t, int, size_t, int, size_t, const void*)>("__gmpz_import");
  auto pexp = gmp().sym<void* (*)(void*, size_t*, int, size_t, int, size_t, const gz*)>("__gmpz_export");
  std::mt19937_64 rng(47);
  for (int order : {1, -1})
    for (int endian : {1, -1, 0})
      for (size_t size : {1u, 2u, 3u, 4u, 8u, 9u})
        for (size_t nails : {0u, 1u, 7u}) {
          if (nails >= size * 8) continue;
          for (size_t count : {0u, 1u, 2u, 7u}) {
            std::vector<unsigned char> data(count * size);
            for (auto& c : data) c = static_cast<unsigned char>(rng());
            G g;
            pimp(g.p(), count, order, size, endian, nails, data.data());
            Z z;
            mpz_import(z.p(), count, order, size, endian, nails, data.data());
            ASSERT_EQ(z.str(), upper(g.str())) << order << endian << size << nails << count;
            std::vector<unsigned char> o1(count * size + 16, 0), o2(count * size + 16, 0);
            size_t c1 = 99, c2 = 98;
            pexp(o1.data(), &c1, order, size, endian, nails, g.p());
            mpz_export(o2.data(), &c2, order, size, endian, nails, z.p());
            EXPECT_EQ(c1, c2);
            EXPECT_EQ(o1, o2);
          }
        }
  // Export with a null buffer allocates through the hook.
  Z z("123456789ABCDEF01");
  size_t count = 0;
  void* p = mpz_export(nullptr, &count, 1, 4, 1, 0, z.p());
  EXPECT_EQ(count, 3u);
  const unsigned char* b = static_cast<const unsigned char*>(p);
  EXPECT_EQ(b[0], 0u);
  EXPECT_EQ(b[3], 1u);
  EXPECT_EQ(b[11], 1u);
  void (*f)(void*, size_t);
  mp_get_memory_functions(nullptr, nullptr, &f);
  f(p, count * 4);
}
